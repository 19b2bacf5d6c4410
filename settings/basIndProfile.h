#pragma once

#include "settings/GraphSettings.h"
#include "settings/LVSoilSettings.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <optional>

// The settings file Quillon.ini (in the program folder, or in the user's
// configuration folder for an installed program). Six thin routines over
// the program's INI reader and writer (IniFile), and four routines that load or
// save one settings record each. Nothing is cached: every call reads the file
// afresh, and every write replaces it atomically.
namespace basIndProfile {

// Section names of the two records.
inline const char *const GraphSection = "Graph Settings";
inline const char *const LVSoilSection = "LVSoil Settings";

// The settings file: "Quillon.ini" in the program folder, or in the user's
// configuration folder when the program folder is not the user's to write
// (see UserFolders::settingsFile).
QString IniPath();

// The text of a whole section, each entry as "key=value" followed by a NUL
// character (see IniFile::getSection). std::nullopt is the error value (code 1):
// the text filled the buffer of bufferSize bytes (returned length == size - 2)
// and may have been cut. A missing section or file gives empty text.
std::optional<QString> GetIniSection(const QString &section, qint16 bufferSize,
                                     const QString &file);

// The integer value of a key (leading decimal digits, or hexadecimal ones
// after "0x"; enclosing quotes removed; see IniFile::getInt), or the default
// when the key is missing. Throws SettingsFileError 6 (overflow) when the value
// does not fit in 16 bits.
qint16 GetIniInt(const QString &section, const QString &key, qint16 defaultValue,
                 const QString &file);

// Same as GetIniInt for 32-bit values; never throws.
qint32 GetIniLong(const QString &section, const QString &key, qint32 defaultValue,
                  const QString &file);

// The value of a key without enclosing quotes (or the default text when the
// key is missing), read through a buffer of bufferSize bytes. std::nullopt is
// the error value (code 1): the text filled the buffer (returned length ==
// size - 1) and may have been cut.
std::optional<QString> GetIniString(const QString &section, const QString &key,
                                    qint16 bufferSize, const QString &defaultValue,
                                    const QString &file);

// Writes key=value into the section; non-zero on success, 0 when the file
// could not be written (it is then left as it was).
qint16 WriteIniString(const QString &section, const QString &key, const QString &value,
                      const QString &file);

// True when path names an existing file.
bool IniFileExists(const QString &path);

// Fills the record from the "Graph Settings" section. When the file does not
// exist it is created with every key at its default and the record is set to
// the defaults. Throws SettingsFileError (an UlvexError naming the file) when
// a value cannot be taken (a float that is not a number or fills its buffer,
// an integer outside 16 bits); the fields read before the failing one keep
// their new values.
void LoadGraphSettings(GraphSettings &settings);

// The load of the options dialog, which must open whatever the file holds so
// that the user can repair it: like LoadGraphSettings, but a key whose value
// cannot be used keeps its default and the load goes on. Returns one
// description (naming the key, its section and the file) for each such key.
QStringList LoadGraphSettingsOrDefaults(GraphSettings &settings);

// Writes every key of the record, in the record's order, all at once. False
// when the file could not be written (read-only folder or file, disk full): it
// then keeps its old bytes. The options dialog goes on without a word, as it
// always did; the result is there for callers that can tell the user.
bool SaveGraphSettings(const GraphSettings &settings);

// Fills the record from the "LVSoil Settings" section; a missing (or empty)
// section is written out with its defaults (6825 x 4200 twips) first. Throws
// SettingsFileError like LoadGraphSettings.
void LoadLVSoilSettings(LVSoilSettings &settings);

// Writes C1..C5, then Height, then Width; the result as SaveGraphSettings.
bool SaveLVSoilSettings(const LVSoilSettings &settings);

// Shortest decimal text that reads back as the same single-precision value,
// always with "." ("1.5", "0.25", "0.3").
QString SingleText(float value);

} // namespace basIndProfile
