#include "output/DataFileWriter.h"

#include <QIODevice>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

const QString DataFileWriter::TitlePrefix =
    QStringLiteral("Ulvex Simulation Data         Generated: ");
const QString DataFileWriter::BuriedHeader = QStringLiteral("TimeStep,Radius,Zplus,Zminus");
const QString DataFileWriter::SurfaceHeader = QStringLiteral("TimeStep,Zplus,Radius");

DataFileWriter::DataFileWriter(QIODevice *device) : m_device(device) {}

void DataFileWriter::line(const QString &text)
{
    if (!m_ok || !m_device)
        return;
    QByteArray bytes = text.toLocal8Bit();
    bytes.append("\r\n", 2);
    if (m_device->write(bytes) != bytes.size())
        m_ok = false;
}

QString DataFileWriter::errorString() const
{
    return m_device ? m_device->errorString() : QString();
}

void DataFileWriter::writeFileHeader(const QDateTime &now)
{
    line(TitlePrefix + generalDate(now));
    line(QStringLiteral("Zplus is below emitter"));
    line(QStringLiteral("Zminus is above emitter"));
    line();
    line();
}

void DataFileWriter::writeBlockHeader(const QString &caption, const QString &soilType,
                                      const QString &flowRate, const QString &waterContent,
                                      bool buried, float emitterDepth)
{
    line(caption);
    line(QStringLiteral("SoilType: ") + soilType);
    // No blank before the unit: files written by earlier versions look the
    // same and the programs reading them expect it.
    line(QStringLiteral("FlowRate: ") + flowRate + QStringLiteral("L/Hr"));
    line(QStringLiteral("Initial water content: ") + waterContent);
    if (buried) {
        line(QStringLiteral("Emitter:Buried at ") + formatSingle(emitterDepth)
             + QStringLiteral(" (m)"));
        line();
        line(BuriedHeader);
    } else {
        line(QStringLiteral("Emitter:Surface "));
        line();
        line(SurfaceHeader);
    }
}

void DataFileWriter::writeRows(const QVector<QVector<QVariant>> &table)
{
    if (table.size() <= KeyColumns)
        return;
    // Every column holds the same number of rows; the first one says how many.
    const int rows = int(table.at(0).size());
    for (int r = 0; r < rows; ++r) {
        QString text;
        for (int c = KeyColumns; c < table.size(); ++c) {
            if (c > KeyColumns)
                text += QLatin1Char(',');
            const QVector<QVariant> &column = table.at(c);
            if (r < column.size())
                text += formatValue(column.at(r));
        }
        line(text);
    }
}

void DataFileWriter::writeBlockEnd()
{
    line();
    line();
}

namespace {

// One piece of a date-time format: a field (a run of one letter, "HH", "t"),
// a quoted literal ("'h'", "''") or one other character.
struct FormatToken
{
    enum Kind { Field, Quoted, Other } kind;
    QString text;

    bool isZone() const { return kind == Field && text.front() == QLatin1Char('t'); }
    bool isBlank() const { return kind == Other && text.front().isSpace(); }
    bool is(char c) const { return kind == Other && text.front() == QLatin1Char(c); }
};

// Splits a format as QLocale reads it: text between single quotes is literal,
// two single quotes stand for one, and only ASCII letters make fields.
QVector<FormatToken> tokenise(const QString &format)
{
    QVector<FormatToken> tokens;
    const int n = int(format.size());
    for (int i = 0; i < n;) {
        const QChar c = format.at(i);
        int end = i + 1;
        FormatToken::Kind kind = FormatToken::Other;
        if (c == QLatin1Char('\'')) {
            kind = FormatToken::Quoted;
            if (end < n && format.at(end) == QLatin1Char('\'')) {
                ++end; // '' outside quotes: one quote character
            } else {
                // Up to the closing quote; '' inside stands for one quote. An
                // unclosed quote runs to the end.
                while (end < n) {
                    if (format.at(end) == QLatin1Char('\'')) {
                        if (end + 1 < n && format.at(end + 1) == QLatin1Char('\'')) {
                            end += 2;
                            continue;
                        }
                        ++end;
                        break;
                    }
                    ++end;
                }
            }
        } else if (c.isLetter() && c.unicode() < 128) {
            kind = FormatToken::Field;
            while (end < n && format.at(end) == c)
                ++end;
        }
        tokens.append({kind, format.mid(i, end - i)});
        i = end;
    }
    return tokens;
}

// Takes the time-zone field at index `zone` out of the tokens, with what only
// served it: the brackets around it ("(t)", "[t]"), the blanks beside it and,
// at either end of the format, the comma that parted it from the time
// ("HH:mm:ss, t"). Between two kept parts one blank stays.
void removeZone(QVector<FormatToken> &tokens, int zone)
{
    const int count = int(tokens.size());
    int lo = zone;
    int hi = zone;
    const auto before = [&](auto test) { return lo > 0 && test(tokens.at(lo - 1)); };
    const auto after = [&](auto test) { return hi + 1 < count && test(tokens.at(hi + 1)); };
    const auto opens = [](char open) { return [open](const FormatToken &t) { return t.is(open); }; };
    if ((before(opens('(')) && after(opens(')'))) || (before(opens('[')) && after(opens(']')))) {
        --lo;
        ++hi;
    }
    const auto blank = [](const FormatToken &t) { return t.isBlank(); };
    const auto comma = [](const FormatToken &t) { return t.is(','); };
    bool blanks = false;
    while (before(blank)) {
        --lo;
        blanks = true;
    }
    while (after(blank)) {
        ++hi;
        blanks = true;
    }
    if (hi + 1 == count && before(comma)) {
        --lo;
        while (before(blank))
            --lo;
    } else if (lo == 0 && after(comma)) {
        ++hi;
        while (after(blank))
            ++hi;
    }
    const bool between = lo > 0 && hi + 1 < count;
    tokens.erase(tokens.begin() + lo, tokens.begin() + hi + 1);
    if (between && blanks)
        tokens.insert(lo, {FormatToken::Other, QStringLiteral(" ")});
}

} // namespace

QString DataFileWriter::timeOfDayFormat(const QLocale &locale)
{
    return withoutTimeZone(locale.timeFormat(QLocale::LongFormat));
}

QString DataFileWriter::withoutTimeZone(const QString &timeFormat)
{
    QVector<FormatToken> tokens = tokenise(timeFormat);
    for (;;) {
        const auto zone = std::find_if(tokens.cbegin(), tokens.cend(),
                                       [](const FormatToken &t) { return t.isZone(); });
        if (zone == tokens.cend())
            break;
        removeZone(tokens, int(zone - tokens.cbegin()));
    }
    QString format;
    for (const FormatToken &t : tokens)
        format += t.text;
    return format;
}

QString DataFileWriter::generalDate(const QDateTime &when, const QLocale &locale)
{
    return locale.toString(when.date(), QLocale::ShortFormat) + QLatin1Char(' ')
           + locale.toString(when.time(), timeOfDayFormat(locale));
}

namespace {

// Not-a-number and the infinities have no digits to write.
std::optional<QString> nonFiniteText(double value)
{
    if (std::isnan(value))
        return QStringLiteral("NaN");
    if (std::isinf(value))
        return value > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity");
    return std::nullopt;
}

} // namespace

QString DataFileWriter::formatSingle(float value)
{
    if (const std::optional<QString> word = nonFiniteText(double(value)))
        return *word;
    char buffer[64];
    // The shortest text that reads back as the same float: 0.4f is "0.4",
    // not the "0.4000000059604645" of its double widening.
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, int(result.ptr - buffer));
}

QString DataFileWriter::formatDouble(double value)
{
    if (const std::optional<QString> word = nonFiniteText(value))
        return *word;
    if (value == 0.0)
        value = 0.0; // no "-0"
    // The classic default text of a double: rounded to 15 significant digits,
    // the digits a double holds for sure, so that a value computed as
    // 0.14369305032500043 is written 0.143693050325 and 0.1 + 0.2 is 0.3.
    // Shortest form: no trailing zeros, no "." without a fraction. Like the
    // C "%.15g" (never the locale's separator: to_chars ignores the locale),
    // with the exponent form for magnitudes below 1E-04 and from 1E+15, its
    // "e" written "E": 1E-05, 1.5E+20.
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    QString text = QString::fromLatin1(buffer, int(result.ptr - buffer));
    text.replace(QLatin1Char('e'), QLatin1Char('E'));
    return text;
}

QString DataFileWriter::formatValue(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return QString();
    switch (value.typeId()) {
    case QMetaType::Float:
        return formatSingle(value.toFloat());
    case QMetaType::Double:
        return formatDouble(value.toDouble());
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    default:
        // Integers and text: their own plain form, never the locale's.
        return value.toString();
    }
}
