#pragma once

#include <QLockFile>
#include <QString>

#include <functional>
#include <memory>

namespace InterruptCleanup {
class Guard;
}

// The lock a build holds on its output for the whole read-modify-write: from
// before the base is read until after the finished database has been renamed
// into place. Two builds on one output (two soils added to the user's database
// at once, a soil dropped while another is added) then run one after the
// other, each reading what the one before wrote; without it the second rename
// would bring back the state the first one had replaced.
//
// The lock is the file "<output>.lock" (QLockFile: it holds the owner's pid,
// host and program name, and a lock whose process has died is taken over).
// The program takes the same lock before it deletes the user's database and
// to see whether a build is running. A build that finds the lock taken says
// on one line who holds it and waits.
//
// Once it holds the lock, nothing else may be writing this output's temporary
// files: the temporary database (".<name>.XXXXXX.part") and SQLite's journal
// beside it left by a build that was killed outright (kill -9, a power cut)
// are removed then, and only those.
class OutputLock
{
public:
    using Log = std::function<void(const QString &)>;

    // Takes the lock on `outPath`, waiting for it when another process holds
    // it (telling `log` so), then removes stale temporary files of the output.
    // Throws UlvexError (TrickleBuildErrors::FileSystem) when the lock file
    // cannot be written.
    OutputLock(const QString &outPath, const Log &log);
    ~OutputLock();
    OutputLock(const OutputLock &) = delete;
    OutputLock &operator=(const OutputLock &) = delete;

    static QString lockPath(const QString &outPath) { return outPath + QStringLiteral(".lock"); }

private:
    void removeStaleTemporaries(const QString &outPath, const Log &log);

    QLockFile m_lock;
    std::unique_ptr<InterruptCleanup::Guard> m_guard;
};
