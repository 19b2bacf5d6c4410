#pragma once

#include "builder/TrickleBuild.h"

#include <QString>
#include <QStringList>

struct ShardMergeOptions
{
    QStringList parts;  // the partial databases, one per shard, in any order
    QString outPath;
    bool force = false; // replace an existing output file
    QString buildDate;  // empty: the parts' own (the latest, should they differ)
};

// Joins the partial databases of a build shared out over several machines
// (trickle-build --shard K/N) into the database that the same build writes in
// one run, byte for byte.
//
// Every part carries the build's inputs (ShardInputs: the catalogue and the
// base as files, the options) and the results of its own cases in the usual
// tables. The merge reads every part completely and checks them against each
// other, rebuilds the inputs under their original file names in a temporary
// folder beside the output, and runs that build once more through
// TrickleBuild::run(), with the stored results in place of the solver. So the
// merged file is written by the very code that writes a build made in one run.
//
// A missing shard, a shard given twice, parts of different builds, a file that
// is no part of a build and a part whose results are incomplete are refused
// (TrickleBuildErrors::Merge) with the files named, before anything is written.
class ShardMerge
{
public:
    explicit ShardMerge(ShardMergeOptions options);

    // Where progress goes; standard error by default.
    void setLog(TrickleBuild::Log log) { m_log = std::move(log); }

    // The summary of the database written (no case is computed: the seconds
    // are zero). Throws UlvexError on any failure.
    TrickleBuildSummary run();

private:
    ShardMergeOptions m_options;
    TrickleBuild::Log m_log;
};
