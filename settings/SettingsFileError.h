#pragma once

#include "base/UlvexError.h"

#include <QString>

// A settings file whose contents cannot be used: a value that is no number,
// fills its buffer or does not fit its type. It is an UlvexError like any other
// (the window that asked shows it), and it carries the file's path, so that a
// caller can tell a settings problem from a database problem and name the file
// the user has to mend: the command-line renderer exits with its own status.
class SettingsFileError : public UlvexError
{
public:
    SettingsFileError(int number, const QString &description, const QString &file);

    // The settings file concerned, as it was read.
    const QString &file() const { return m_file; }

private:
    QString m_file;
};
