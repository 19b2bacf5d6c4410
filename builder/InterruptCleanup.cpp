#include "builder/InterruptCleanup.h"

#include <QFile>

#include <csignal>
#include <cstring>

#include <unistd.h>

namespace {

constexpr int kSlots = 32;
char g_paths[kSlots][4096];
volatile std::sig_atomic_t g_used[kSlots];

extern "C" void onInterrupt(int sig)
{
    for (int i = 0; i < kSlots; ++i) {
        if (g_used[i])
            ::unlink(g_paths[i]);
    }
    // A folder goes only once the folders in it have gone: the latest
    // registered first, which is the usual order, and a second round for any
    // other.
    for (int round = 0; round < 2; ++round) {
        for (int i = kSlots - 1; i >= 0; --i) {
            if (g_used[i])
                ::rmdir(g_paths[i]);
        }
    }
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

} // namespace

namespace InterruptCleanup {

void install()
{
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

Guard::Guard(const QString &path)
{
    const QByteArray p = QFile::encodeName(path);
    if (p.isEmpty() || size_t(p.size()) >= sizeof g_paths[0])
        return;
    for (int i = 0; i < kSlots; ++i) {
        if (!g_used[i]) {
            std::memcpy(g_paths[i], p.constData(), size_t(p.size()) + 1);
            g_used[i] = 1;
            m_slot = i;
            return;
        }
    }
}

Guard::~Guard()
{
    if (m_slot >= 0)
        g_used[m_slot] = 0;
}

} // namespace InterruptCleanup
