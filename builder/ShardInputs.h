#pragma once

#include "builder/TrickleBuild.h"

#include <QByteArray>
#include <QString>
#include <map>
#include <utility>
#include <vector>

// What a build shared out over several machines (trickle-build --shard K/N)
// computes from. Every part stores it in its table ShardInputs (name, content),
// so that trickle-build --merge can repeat the build's write phase exactly, with
// the same files under the same names, and tell parts of one build from parts of
// another:
//
//   builder_version             the version of trickle-build that wrote the part
//   catalogue_name, catalogue   the soil catalogue's file name and bytes (when given)
//   base_name, base             the base database's file name and bytes (with --base)
//   options                     what else decides the result, as JSON: the flow
//                               rates, hours and front threshold (without --base),
//                               --only, --drop-soil and the solver's settings
//
// The build's fingerprint is a hash over these rows; the thread count, the shard
// and the build date are not among them, so every shard of one build carries the
// same fingerprint whatever machine and date it was computed on.
namespace ShardInputs {

using Rows = std::map<QString, QByteArray>;
using Files = std::vector<std::pair<QString, QByteArray>>; // path, bytes

// The rows of a build with these options; `catalogue` and `base` are the bytes
// of the files the options name.
Rows collect(const TrickleBuildOptions &options, const QByteArray &catalogue, const QByteArray &base);

// The bytes of a file (none for an empty path); UlvexError (TrickleBuildErrors::FileSystem) naming it when it cannot be read.
QByteArray readFile(const QString &path);

// SHA-256 over every row, its name and its content, in hex.
QString fingerprint(const Rows &rows);

// The BuildInfo value `partial` of shard k of n, telling what the file is.
QString partialNote(int shard, int shards);

// "K/N" (BuildInfo `shard`, the option --shard) into its numbers; false unless 1 <= K <= N.
bool parseShard(const QString &text, int &shard, int &shards);

// The options of the build the rows describe, with its catalogue and base
// placed in `folder` under their original file names; `files` receives what
// must be written there. Throws UlvexError (TrickleBuildErrors::Merge) naming
// `source` when the rows cannot be those of a build.
TrickleBuildOptions restore(const Rows &rows, const QString &folder, const QString &source, Files &files);

} // namespace ShardInputs
