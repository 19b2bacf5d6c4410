#include "tests/common/FullDisk.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

const char *const FullDisk::FillerName = "filler.bin";

namespace {

// Exit statuses of the child besides 0 (all held) and 1 (a check failed).
const int PrepareFailed = 2;
const int Unavailable = 3;
const int Crashed = 4;

QString systemError(const char *what)
{
    return QStringLiteral("%1: %2").arg(QString::fromLatin1(what), QString::fromLocal8Bit(std::strerror(errno)));
}

bool writeFileText(const char *path, const QByteArray &text)
{
    const int fd = ::open(path, O_WRONLY);
    if (fd < 0)
        return false;
    const bool ok = ::write(fd, text.constData(), size_t(text.size())) == text.size();
    ::close(fd);
    return ok;
}

// A mount namespace of the child's own, so that the tmpfs is seen by nobody
// else and vanishes with the child. Without the right to mount (no root, or a
// root without CAP_SYS_ADMIN in a container), a user namespace lends it where
// the system allows unprivileged user namespaces.
QString enterPrivateMountNamespace()
{
    if (::unshare(CLONE_NEWNS) != 0) {
        const QString plain = systemError("unshare(CLONE_NEWNS)");
        const uid_t uid = ::getuid();
        const gid_t gid = ::getgid();
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return plain + QStringLiteral("; ") + systemError("unshare(CLONE_NEWUSER | CLONE_NEWNS)");
        if (!writeFileText("/proc/self/setgroups", "deny")
            || !writeFileText("/proc/self/uid_map", QByteArray("0 ") + QByteArray::number(uid) + " 1")
            || !writeFileText("/proc/self/gid_map", QByteArray("0 ") + QByteArray::number(gid) + " 1"))
            return systemError("mapping the user namespace");
    }
    // Mounts made below must not reach the parent's namespace.
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return systemError("mount --make-rprivate /");
    return QString();
}

QString mountSmallTmpfs(const QString &folder)
{
    const QString entered = enterPrivateMountNamespace();
    if (!entered.isEmpty())
        return entered;
    if (::mount("ulvex-full", QFile::encodeName(folder).constData(), "tmpfs", MS_NOSUID | MS_NODEV,
                "size=64k,nr_inodes=64,mode=0777")
        != 0)
        return systemError("mount -t tmpfs");
    return QString();
}

// Writes the filler until the file system refuses even one more byte.
QString fill(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder + QLatin1Char('/') + QLatin1String(FullDisk::FillerName));
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return systemError("creating the filler");
    static char block[4096];
    qint64 total = 0;
    bool full = false;
    for (size_t chunk : {sizeof block, size_t(1)}) {
        for (;;) {
            const ssize_t n = ::write(fd, block, chunk);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                full = n < 0 && errno == ENOSPC;
                break;
            }
            total += n;
            if (total > (qint64(16) << 20))
                break; // far beyond the 64 KiB asked for: this is no small tmpfs
        }
    }
    ::close(fd);
    if (!full)
        return QStringLiteral("the tmpfs did not fill up after %1 bytes").arg(total);
    return QString();
}

void report(int fd, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    if (::write(fd, bytes.constData(), size_t(bytes.size())) < 0) {
        // Nothing more to be done from the child; the exit status still tells.
    }
}

int child(FullDisk::Kind kind, const QString &folder, const FullDisk::Step &prepare,
          const FullDisk::Step &check, long limitBytes, int out)
{
    if (kind == FullDisk::Kind::SmallTmpfs) {
        const QString mounted = mountSmallTmpfs(folder);
        if (!mounted.isEmpty()) {
            report(out, mounted);
            return Unavailable;
        }
    }
    const QString prepared = prepare(folder);
    if (!prepared.isEmpty()) {
        report(out, QStringLiteral("prepare: ") + prepared);
        return PrepareFailed;
    }
    if (kind == FullDisk::Kind::SmallTmpfs) {
        const QString filled = fill(folder);
        if (!filled.isEmpty()) {
            report(out, QStringLiteral("prepare: ") + filled);
            return PrepareFailed;
        }
    } else {
        // Ignored, the signal turns a write beyond the limit into EFBIG
        // instead of ending the process.
        std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {rlim_t(limitBytes), rlim_t(limitBytes)};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) {
            report(out, systemError("setrlimit(RLIMIT_FSIZE)"));
            return Unavailable;
        }
    }
    const QString checked = check(folder);
    if (!checked.isEmpty()) {
        report(out, checked);
        return 1;
    }
    return 0;
}

} // namespace

FullDisk::Outcome FullDisk::run(Kind kind, const QString &folder, const Step &prepare,
                                const Step &check, long limitBytes)
{
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0)
        return {true, systemError("pipe")};
    const pid_t pid = ::fork();
    if (pid < 0) {
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        return {true, systemError("fork")};
    }
    if (pid == 0) {
        ::close(pipeEnds[0]);
        int status = Crashed;
        try {
            status = child(kind, folder, prepare, check, limitBytes, pipeEnds[1]);
        } catch (...) {
            report(pipeEnds[1], QStringLiteral("the checks threw an exception"));
        }
        // Never back into the test framework, and no buffers of the parent flushed twice.
        ::_exit(status);
    }
    ::close(pipeEnds[1]);
    QByteArray text;
    char buffer[512];
    for (;;) {
        const ssize_t n = ::read(pipeEnds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        text.append(buffer, int(n));
    }
    ::close(pipeEnds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    const QString message = QString::fromUtf8(text);
    if (!WIFEXITED(status))
        return {true, QStringLiteral("the child process ended abnormally (signal %1)").arg(WTERMSIG(status))};
    switch (WEXITSTATUS(status)) {
    case 0:
        return {true, QString()};
    case Unavailable:
        return {false, message};
    default:
        return {true, message.isEmpty() ? QStringLiteral("the child process failed") : message};
    }
}

void FullDisk::addRows()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("file size limit") << int(Kind::FileSizeLimit);
    QTest::newRow("full tmpfs") << int(Kind::SmallTmpfs);
}

void FullDisk::verify(Kind kind, const QString &folder, const Step &prepare, const Step &check,
                      long limitBytes)
{
    const Outcome outcome = run(kind, folder, prepare, check, limitBytes);
    if (!outcome.available)
        QSKIP(qPrintable(QStringLiteral("no small tmpfs here: ") + outcome.message));
    QVERIFY2(outcome.message.isEmpty(), qPrintable(outcome.message));
}

QString FullDisk::keptBytes(const QString &path, const QByteArray &old, const QString &step)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("after %1 the file %2 cannot be read").arg(step, path);
    const QByteArray now = file.readAll();
    if (now == old)
        return QString();
    return QStringLiteral("after %1 the file holds %2 bytes instead of its old %3: \"%4\"")
        .arg(step).arg(now.size()).arg(old.size()).arg(QString::fromUtf8(now.left(200)));
}

QStringList FullDisk::files(const QString &folder)
{
    QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    names.removeAll(QLatin1String(FillerName));
    return names;
}
