#pragma once

#include <QString>

#include <optional>

// Where the program keeps the files it writes for the user. Run from a program
// folder the user may write to (the build tree), everything stays beside the
// executable as it always has. An installed program folder belongs to the
// system and ordinary users cannot write it; then the settings file lives in
// the user's configuration folder and the export starts in the user's
// documents, following the desktop's conventions (XDG, through
// QStandardPaths).
namespace UserFolders {

// Whether the user may write the program folder.
bool programFolderWritable();

// Tests may decide the answer instead of the file system (std::nullopt: ask
// the file system again).
void setProgramFolderWritableOverride(std::optional<bool> writable);

// The user's configuration folder for the program, "$XDG_CONFIG_HOME/ulvex"
// (by default "~/.config/ulvex"), without a trailing "/".
QString configFolder();

// The settings file Quillon.ini: in the program folder when that is writable,
// else in the configuration folder. On its first use there, the file starts
// as a copy of the program folder's Quillon.ini when the installation ships
// one. Should that copy fail (a configuration folder that cannot be made or
// written), the program folder's file is named instead, so that its settings
// are still read; saving them then fails as it would for any read-only file.
QString settingsFile();

// The user's data folder for the program, "$XDG_DATA_HOME/ulvex" (by default
// "~/.local/share/ulvex"), without a trailing "/". The user's own soils live
// there, in a database of their own.
QString dataFolder();

// The user's database: the shipped database plus the user's own soils,
// "trickle.db" in the data folder. Written only by the database builder.
QString userDatabase();

// The folder the export offers first: the program folder's "data" when the
// user may write there, else the user's documents folder (the home folder
// when there is none).
QString exportFolder();

} // namespace UserFolders
