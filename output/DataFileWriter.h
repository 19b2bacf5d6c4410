#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QVariant>
#include <QVector>

class QIODevice;

// The text layout of the simulation data file, written line by line onto an
// open device: the file header, then for every simulation window a block with
// its header lines, the column header and the rows of its export query.
//
// Lines end in CR LF and are written in the system's text encoding, so the file
// opens the same way in the spreadsheet and analysis programs it is meant for
// on every platform. Numbers use "." whatever the locale; the date on the first
// line follows the user's locale (short date, a blank, the long time of day
// without its time zone).
//
// Holds no widget: the export routine reads the windows and hands the values in.
class DataFileWriter
{
public:
    explicit DataFileWriter(QIODevice *device);

    // Lines 1 to 4: the title with the date, the two notes on the signs of
    // Zplus and Zminus, two empty lines.
    void writeFileHeader(const QDateTime &now);
    // A window's header lines, its emitter line, one empty line and the
    // column header that matches the rows of its emitter type.
    void writeBlockHeader(const QString &caption, const QString &soilType,
                          const QString &flowRate, const QString &waterContent,
                          bool buried, float emitterDepth);
    // The rows of a table indexed [column][row]; the first three columns are
    // the selection keys and are left out. An empty table writes nothing.
    void writeRows(const QVector<QVector<QVariant>> &table);
    // The two empty lines that close a block.
    void writeBlockEnd();

    // False once any write fell short (disk full, device closed...).
    bool ok() const { return m_ok; }
    QString errorString() const;

    // The date on the first line and on printed pages: the locale's short
    // date, a blank, and the time of day in the locale's long form without
    // its time zone (timeOfDayFormat), seconds included.
    static QString generalDate(const QDateTime &when, const QLocale &locale = QLocale());
    // The locale's long time format without the time-zone field: a page says
    // when it was made, in the reader's own clock; "13:05:09 UTC" or
    // "13:05:09 (CET)" would only add the name of a zone. The field goes with
    // the brackets and blanks around it and a comma that parted it from the
    // time; quoted literals are kept as they are ("HH 'h' mm" keeps its "h").
    static QString timeOfDayFormat(const QLocale &locale);
    // The same for any time format in QLocale's notation.
    static QString withoutTimeZone(const QString &timeFormat);
    // A value in its plain text form: whole numbers as they are, doubles as
    // formatDouble, singles as formatSingle, text unchanged, null as nothing.
    static QString formatValue(const QVariant &value);
    // A single-precision number in its shortest decimal text (0.4f gives "0.4").
    static QString formatSingle(float value);
    // A double in its default text: at most 15 significant digits, in the
    // shortest form, "." whatever the locale ("0.143693050325", "0.25", "2"),
    // exponent form below 1E-04 and from 1E+15 ("1E-05", "1.5E+20").
    static QString formatDouble(double value);

    // The fixed texts of the layout.
    static const QString TitlePrefix;    // "Ulvex Simulation Data         Generated: "
    static const QString BuriedHeader;   // "TimeStep,Radius,Zplus,Zminus"
    static const QString SurfaceHeader;  // "TimeStep,Zplus,Radius"
    static constexpr int KeyColumns = 3; // columns of the table not written

private:
    void line(const QString &text = QString());

    QIODevice *m_device;
    bool m_ok = true;
};
