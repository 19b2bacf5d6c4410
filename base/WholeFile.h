#pragma once

#include <QString>

class QSaveFile;

// The last step of writing a file through QSaveFile: everything written
// reaches the disk, or the file is left as it was. A write that the system
// cuts short (a full disk, a file-size limit) can pass unnoticed when part of
// the last block got through; the size on disk is compared with what was
// written before the new file takes the old one's place.
class WholeFile
{
public:
    // Commits the file when every byte written is on disk; otherwise cancels
    // it (the old file stays) and says why in `why`.
    static bool commit(QSaveFile &file, QString *why);
};
