#include "settings/basIndProfile.h"

#include "settings/IniFile.h"
#include "base/UserFolders.h"
#include "settings/SettingsFileError.h"

#include <QFileInfo>

#include <charconv>
#include <cmath>
#include <limits>

namespace {

// Error numbers of the conversions that fail a load, kept from the old
// program so that a message box shows the numbers users have always seen.
const int ErrOverflow = 6;
const int ErrTypeMismatch = 13;

// Buffer sizes of the record loads: a graph float keeps at most 8 characters,
// a soil-list float 18, and the soil-list section test 998.
const qint16 GraphBuffer = 10;
const qint16 LVSoilBuffer = 20;
const qint16 SectionBuffer = 1000;

QString where(const QString &section, const QString &key, const QString &file)
{
    return QStringLiteral("key \"%1\" in section \"%2\" of \"%3\"").arg(key, section, file);
}

// Fails a load with one of the old conversion error numbers. The problem's
// text takes the place of the key (key, section and file) for its lowest
// placeholder; the error carries the file, so that callers can name it.
[[noreturn]] void fail(int number, const QString &problem, const QString &section,
                       const QString &key, const QString &file)
{
    throw SettingsFileError(number, problem.arg(where(section, key, file)), file);
}

QString cutText()
{
    return QStringLiteral("Type mismatch: the value of %1 is too long for its buffer and may "
                          "have been cut");
}

// A float value as the old Single conversion took it: surrounding blanks
// allowed, "." as decimal separator whatever the locale, an exponent allowed.
// A cut read (the error value), text that is no number, and infinity or
// not-a-number fail with "Type mismatch"; a number beyond single precision
// fails with "Overflow".
float toSingle(const std::optional<QString> &text, const QString &section, const QString &key,
               const QString &file)
{
    if (!text)
        fail(ErrTypeMismatch, cutText(), section, key, file);
    const QString trimmed = text->trimmed();
    bool ok = false;
    // QString::toDouble follows the "C" rules whatever the locale and takes
    // the text only whole; "inf" and "nan" are not numbers here.
    const double d = trimmed.toDouble(&ok);
    const bool tooBig = std::isinf(d)
        || (std::isfinite(d) && std::abs(d) > double(std::numeric_limits<float>::max()));
    const bool special = trimmed.contains(QLatin1String("inf"), Qt::CaseInsensitive)
        || trimmed.contains(QLatin1String("nan"), Qt::CaseInsensitive);
    if (tooBig && !special)
        fail(ErrOverflow, QStringLiteral("Overflow: the value of %1 is beyond single precision"),
             section, key, file);
    if (!ok || special || std::isnan(d))
        fail(ErrTypeMismatch, QStringLiteral("Type mismatch: the value of %1 is not a number"),
             section, key, file);
    return float(d);
}

float readSingle(const QString &section, const QString &key, qint16 buffer, const QString &def,
                 const QString &file)
{
    return toSingle(basIndProfile::GetIniString(section, key, buffer, def, file), section, key,
                    file);
}

void writeInt(IniFile &ini, const QString &section, const QString &key, qint64 value)
{
    ini.setString(section, key, QString::number(value));
}

void writeSingle(IniFile &ini, const QString &section, const QString &key, float value)
{
    ini.setString(section, key, basIndProfile::SingleText(value));
}

QString colourKey(int i)
{
    return QStringLiteral("Color%1").arg(i);
}

// Writes every key of the graph record in the record's order. The keys are
// set one after the other, exactly as single writes would place them, and the
// file is replaced once: a record reaches the file whole or not at all. A
// file that cannot be written (read-only, disk full) is left as it was; the
// result says whether the record was written. (Setting a key fails only for
// names that could not be read back, never for these.)
bool writeGraph(const GraphSettings &s, const QString &file)
{
    IniFile ini(file);
    const QString sec = QString::fromLatin1(basIndProfile::GraphSection);
    writeInt(ini, sec, QStringLiteral("AutoScaleX"), s.AutoScaleX);
    writeInt(ini, sec, QStringLiteral("AutoScaleY"), s.AutoScaleY);
    writeSingle(ini, sec, QStringLiteral("MaxX"), s.MaxX);
    writeSingle(ini, sec, QStringLiteral("MaxY"), s.MaxY);
    writeInt(ini, sec, QStringLiteral("XDecPlaces"), s.XDecPlaces);
    writeInt(ini, sec, QStringLiteral("YDecPlaces"), s.YDecPlaces);
    writeInt(ini, sec, QStringLiteral("BackOn"), s.BackOn);
    writeSingle(ini, sec, QStringLiteral("EmitterDepth"), s.EmitterDepth);
    writeInt(ini, sec, QStringLiteral("MaxSim"), s.MaxSim);
    for (int i = 1; i <= 8; ++i)
        writeInt(ini, sec, colourKey(i), s.Color[size_t(i)]);
    writeSingle(ini, sec, QStringLiteral("Width"), s.Width);
    ini.setString(sec, QStringLiteral("TimeScale"), s.TimeScale);
    return ini.commit();
}

bool writeLVSoil(const LVSoilSettings &s, const QString &file)
{
    IniFile ini(file);
    const QString sec = QString::fromLatin1(basIndProfile::LVSoilSection);
    writeSingle(ini, sec, QStringLiteral("C1"), s.C1);
    writeSingle(ini, sec, QStringLiteral("C2"), s.C2);
    writeSingle(ini, sec, QStringLiteral("C3"), s.C3);
    writeSingle(ini, sec, QStringLiteral("C4"), s.C4);
    writeSingle(ini, sec, QStringLiteral("C5"), s.C5);
    writeInt(ini, sec, QStringLiteral("Height"), s.Height);
    writeInt(ini, sec, QStringLiteral("Width"), s.Width);
    return ini.commit();
}

// Reads the keys of the graph section in the record's order. Each key's read
// is handed to `take`, which either lets a failure through (the load stops
// there) or deals with it and goes on with the next key.
template <typename Take> void readGraph(GraphSettings &s, const QString &file, Take take)
{
    using namespace basIndProfile;
    const QString sec = QString::fromLatin1(GraphSection);
    take([&] { s.AutoScaleX = GetIniInt(sec, QStringLiteral("AutoScaleX"), 0, file); });
    take([&] { s.AutoScaleY = GetIniInt(sec, QStringLiteral("AutoScaleY"), 0, file); });
    take([&] { s.MaxX = readSingle(sec, QStringLiteral("MaxX"), GraphBuffer, QStringLiteral("1.5"), file); });
    take([&] { s.MaxY = readSingle(sec, QStringLiteral("MaxY"), GraphBuffer, QStringLiteral("1.5"), file); });
    take([&] { s.XDecPlaces = GetIniInt(sec, QStringLiteral("XDecPlaces"), 1, file); });
    take([&] { s.YDecPlaces = GetIniInt(sec, QStringLiteral("YDecPlaces"), 1, file); });
    take([&] { s.BackOn = GetIniInt(sec, QStringLiteral("BackOn"), 0, file); });
    take([&] {
        s.EmitterDepth = readSingle(sec, QStringLiteral("EmitterDepth"), GraphBuffer,
                                    QStringLiteral("0.25"), file);
    });
    take([&] { s.MaxSim = GetIniInt(sec, QStringLiteral("MaxSim"), 6, file); });
    for (int i = 1; i <= 8; ++i)
        take([&] { s.Color[size_t(i)] = GetIniLong(sec, colourKey(i), i - 1, file); });
    take([&] { s.Width = readSingle(sec, QStringLiteral("Width"), GraphBuffer, QStringLiteral("1.5"), file); });
    take([&] {
        const std::optional<QString> timeScale =
            GetIniString(sec, QStringLiteral("TimeScale"), GraphBuffer, QStringLiteral("LOG"), file);
        if (!timeScale)
            fail(ErrTypeMismatch, cutText(), sec, QStringLiteral("TimeScale"), file);
        s.TimeScale = *timeScale;
    });
}

} // namespace

namespace basIndProfile {

QString IniPath()
{
    return UserFolders::settingsFile();
}

std::optional<QString> GetIniSection(const QString &section, qint16 bufferSize,
                                     const QString &file)
{
    QString text;
    const int length = IniFile(file).getSection(section, text, bufferSize);
    if (length == bufferSize - 2)
        return std::nullopt;
    return text;
}

qint16 GetIniInt(const QString &section, const QString &key, qint16 defaultValue,
                 const QString &file)
{
    const qint32 v = IniFile(file).getInt(section, key, defaultValue);
    if (v < std::numeric_limits<qint16>::min() || v > std::numeric_limits<qint16>::max())
        fail(ErrOverflow, QStringLiteral("Overflow: the value %1 of %2 does not fit in 16 bits").arg(v),
             section, key, file);
    return qint16(v);
}

qint32 GetIniLong(const QString &section, const QString &key, qint32 defaultValue,
                  const QString &file)
{
    return IniFile(file).getInt(section, key, defaultValue);
}

std::optional<QString> GetIniString(const QString &section, const QString &key,
                                    qint16 bufferSize, const QString &defaultValue,
                                    const QString &file)
{
    QString text;
    const int length = IniFile(file).getString(section, key, defaultValue, text, bufferSize);
    if (length == bufferSize - 1)
        return std::nullopt;
    return text;
}

qint16 WriteIniString(const QString &section, const QString &key, const QString &value,
                      const QString &file)
{
    IniFile ini(file);
    return ini.writeString(section, key, value) ? 1 : 0;
}

bool IniFileExists(const QString &path)
{
    return QFileInfo(path).isFile();
}

QString SingleText(float value)
{
    char buf[64];
    const auto res = std::to_chars(buf, buf + sizeof buf, value);
    return QString::fromLatin1(buf, int(res.ptr - buf));
}

void LoadGraphSettings(GraphSettings &s)
{
    const QString file = IniPath();
    if (!IniFileExists(file)) {
        const GraphSettings defaults;
        writeGraph(defaults, file);
        s = defaults;
        return;
    }
    // Each field is stored as soon as it is read, so a failing key leaves the
    // fields before it with their new values.
    readGraph(s, file, [](const auto &read) { read(); });
}

QStringList LoadGraphSettingsOrDefaults(GraphSettings &s)
{
    const QString file = IniPath();
    if (!IniFileExists(file)) {
        LoadGraphSettings(s);
        return {};
    }
    // Every key is read on its own: one that cannot be used keeps its default
    // and is reported, and the keys after it are still read.
    s = GraphSettings();
    QStringList problems;
    readGraph(s, file, [&problems](const auto &read) {
        try {
            read();
        } catch (const UlvexError &e) {
            problems << e.description();
        }
    });
    return problems;
}

bool SaveGraphSettings(const GraphSettings &s)
{
    return writeGraph(s, IniPath());
}

void LoadLVSoilSettings(LVSoilSettings &s)
{
    const QString file = IniPath();
    const QString sec = QString::fromLatin1(LVSoilSection);
    const std::optional<QString> section = GetIniSection(sec, SectionBuffer, file);
    // A section too long for the buffer is still a section that exists.
    if (!section || !section->isEmpty()) {
        s.C1 = readSingle(sec, QStringLiteral("C1"), LVSoilBuffer, QStringLiteral("0.25"), file);
        s.C2 = readSingle(sec, QStringLiteral("C2"), LVSoilBuffer, QStringLiteral("0.3"), file);
        s.C3 = readSingle(sec, QStringLiteral("C3"), LVSoilBuffer, QStringLiteral("0.2"), file);
        s.C4 = readSingle(sec, QStringLiteral("C4"), LVSoilBuffer, QStringLiteral("0.12"), file);
        s.C5 = readSingle(sec, QStringLiteral("C5"), LVSoilBuffer, QStringLiteral("0.13"), file);
        s.Height = GetIniInt(sec, QStringLiteral("Height"), 2535, file);
        s.Width = GetIniInt(sec, QStringLiteral("Width"), 6495, file);
        return;
    }
    const LVSoilSettings defaults; // 6825 x 4200, the size of a first start
    writeLVSoil(defaults, file);
    s = defaults;
}

bool SaveLVSoilSettings(const LVSoilSettings &s)
{
    return writeLVSoil(s, IniPath());
}

} // namespace basIndProfile
