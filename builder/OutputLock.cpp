#include "builder/OutputLock.h"

#include "base/BuildTemporary.h"

#include "builder/InterruptCleanup.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

OutputLock::OutputLock(const QString &outPath, const Log &log)
    : m_lock(lockPath(outPath))
{
    // A build may take hours: the lock is never taken from a running build
    // for its age, only from a process that has died.
    m_lock.setStaleLockTime(0);
    if (!m_lock.tryLock(0) && m_lock.error() == QLockFile::LockFailedError) {
        qint64 pid = 0;
        QString host, app;
        m_lock.getLockInfo(&pid, &host, &app);
        log(QStringLiteral("trickle-build: waiting for %1: it is locked by %2 (pid %3 on %4)")
                .arg(outPath, app.isEmpty() ? QStringLiteral("another program") : app)
                .arg(pid)
                .arg(host.isEmpty() ? QStringLiteral("an unknown host") : host));
        m_lock.lock();
    }
    if (!m_lock.isLocked())
        throw UlvexError(TrickleBuildErrors::FileSystem,
                         QStringLiteral("cannot lock %1: the lock file %2 cannot be written")
                             .arg(outPath, lockPath(outPath)));
    // SIGINT and SIGTERM end the process without unlocking: the handler
    // removes the lock file with the build's temporary files.
    m_guard = std::make_unique<InterruptCleanup::Guard>(lockPath(outPath));
    removeStaleTemporaries(outPath, log);
}

OutputLock::~OutputLock()
{
    m_guard.reset();
    m_lock.unlock();
}

void OutputLock::removeStaleTemporaries(const QString &outPath, const Log &log)
{
    const QFileInfo out(outPath);
    const QDir dir = out.absoluteDir();
    const QStringList hidden = dir.entryList({QStringLiteral(".*")}, QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : hidden) {
        if (!BuildTemporary::isTemporaryOf(out.fileName(), name))
            continue;
        if (QFile::remove(dir.filePath(name)))
            log(QStringLiteral("trickle-build: removed %1, left by a build of %2 that did not finish")
                    .arg(dir.filePath(name), outPath));
    }
}
