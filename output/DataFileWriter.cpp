#include "output/DataFileWriter.h"

#include <QIODevice>

#include <charconv>
#include <cmath>

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

QString DataFileWriter::generalDate(const QDateTime &when, const QLocale &locale)
{
    return locale.toString(when.date(), QLocale::ShortFormat) + QLatin1Char(' ')
           + locale.toString(when.time(), QLocale::LongFormat);
}

QString DataFileWriter::formatSingle(float value)
{
    if (std::isnan(value))
        return QStringLiteral("NaN");
    if (std::isinf(value))
        return value > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity");
    char buffer[64];
    // The shortest text that reads back as the same float: 0.4f is "0.4",
    // not the "0.4000000059604645" of its double widening.
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QString::fromLatin1(buffer, int(result.ptr - buffer));
}

QString DataFileWriter::formatValue(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return QString();
    switch (value.typeId()) {
    case QMetaType::Float:
        return formatSingle(value.toFloat());
    case QMetaType::Double: {
        const double d = value.toDouble();
        if (std::isnan(d))
            return QStringLiteral("NaN");
        if (std::isinf(d))
            return d > 0 ? QStringLiteral("Infinity") : QStringLiteral("-Infinity");
        char buffer[64];
        const auto result = std::to_chars(buffer, buffer + sizeof buffer, d);
        return QString::fromLatin1(buffer, int(result.ptr - buffer));
    }
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    default:
        // Integers and text: their own plain form, never the locale's.
        return value.toString();
    }
}
