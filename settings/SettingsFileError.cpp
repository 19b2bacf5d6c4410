#include "settings/SettingsFileError.h"

SettingsFileError::SettingsFileError(int number, const QString &description, const QString &file)
    : UlvexError(number, description), m_file(file)
{
}
