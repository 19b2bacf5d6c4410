#pragma once

#include <QString>

// The program folder is the folder of the executable, never the working
// directory: the database, the settings file, help, images and the export's
// "data" folder all live there. Tests and the command-line renderer may point
// it somewhere else.
namespace ProgramFolder {

// The folder, without a trailing "/".
QString path();

// Joins a relative name onto the folder with "/".
QString file(const QString &name);

// Replaces the folder for the rest of the process (empty: back to the
// executable's folder).
void setOverride(const QString &folder);

} // namespace ProgramFolder
