#pragma once

#include <QString>

// The optional plain-text files beside the program ("Splash.txt", "About.txt",
// "disclaimer.txt") let an installer change the splash and About texts without
// rebuilding. A missing file is not an error: the window keeps its own text.
namespace ProgramTextFile {

// Reads the whole of `name` from the program folder into `text`. Returns false
// (and leaves `text` alone) when the file does not exist or cannot be opened.
// The text is taken as UTF-8, or as Latin-1 when it is not valid UTF-8 (files
// written on older systems); a leading byte-order mark is dropped and CR LF line
// ends become LF.
bool read(const QString &name, QString *text);

} // namespace ProgramTextFile
