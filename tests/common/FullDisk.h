#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// Runs the checks of a save against a place that has no room left, with real
// failing writes: nothing in the code under test is replaced or told. The
// checks run in a forked child process, so that neither the small mount nor the
// file-size limit outlives them, and the test process keeps its own limits.
//
// Two ways to take the room away:
// - FileSizeLimit: RLIMIT_FSIZE with SIGXFSZ ignored, so that a write beyond
//   the limit fails with EFBIG. Needs no rights and works everywhere.
// - SmallTmpfs: a 64 KiB tmpfs mounted over the folder in a private mount
//   namespace (as root, or in a user namespace otherwise) and filled up, so
//   that writes fail with ENOSPC as on a full disk. Not available where
//   mounting is not permitted (some containers); run() then says why.
class FullDisk
{
public:
    enum class Kind { FileSizeLimit, SmallTmpfs };

    // What a prepare or check step returns: empty when all went well, else a
    // description of what did not.
    using Step = std::function<QString(const QString &folder)>;

    struct Outcome
    {
        bool available = false; // the room could be taken away
        QString message;        // why not (unavailable), or the first failed check; empty when all held
    };

    // In a child process: makes room in `folder` (an existing, empty folder
    // the child may write), runs prepare(folder) to write the files whose
    // survival is checked, takes the room away (no file may grow beyond
    // limitBytes, or the tmpfs is filled with the file FillerName) and runs
    // check(folder).
    static Outcome run(Kind kind, const QString &folder, const Step &prepare, const Step &check,
                       long limitBytes = 16);

    // The data rows of a test that runs under both kinds: the column "kind"
    // (an int holding a Kind), one row each.
    static void addRows();

    // run() with the test's verdict: a failed check fails the test with its
    // description; a kind that cannot be set up here skips its row alone, with
    // the reason. Call it last in the test function.
    static void verify(Kind kind, const QString &folder, const Step &prepare, const Step &check,
                       long limitBytes = 16);

    // Empty when the file at path still holds exactly old, else a description
    // naming the step ("after ...") and what the file holds now.
    static QString keptBytes(const QString &path, const QByteArray &old, const QString &step);

    // The file that fills the tmpfs; a check that lists the folder ignores it.
    static const char *const FillerName;

    // The names of the files in folder, the filler left out.
    static QStringList files(const QString &folder);
};
