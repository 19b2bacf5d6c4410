#pragma once

#include <QString>

// The temporary database the builder writes beside its output and renames
// when it is complete: ".<name>.XXXXXX.part" (QTemporaryFile puts six letters
// or digits in place of XXXXXX), with SQLite's journal "<that>-journal".
// The builder and My Soils both remove those a killed build left, under the
// output's lock, and never another program's files.
class BuildTemporary
{
public:
    // The QTemporaryFile template for an output named `outName`.
    static QString templateFor(const QString &outName);
    // Whether `fileName` is such a temporary (or its journal) of `outName`.
    static bool isTemporaryOf(const QString &outName, const QString &fileName);
};
