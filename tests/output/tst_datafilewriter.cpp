#include "output/DataFileWriter.h"
#include "output/GraphPageLayout.h"

#include <QBuffer>
#include <QLocale>
#include <QRegularExpression>
#include <QtTest>

// The text layout of the export and the page geometry, without any window.
class TestDataFileWriter : public QObject
{
    Q_OBJECT

    static QByteArray crlf(const QByteArray &lfText)
    {
        QByteArray out = lfText;
        out.replace("\n", "\r\n");
        return out;
    }

    // A table [column][row] from rows written as they appear.
    static QVector<QVector<QVariant>> columns(const QList<QVariantList> &rows, int width)
    {
        QVector<QVector<QVariant>> table(width);
        for (const QVariantList &row : rows)
            for (int c = 0; c < width; ++c)
                table[c].append(row.value(c));
        return table;
    }

private slots:
    void fileHeaderIsLinesOneToFour()
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        const QDateTime when(QDate(2026, 3, 4), QTime(5, 6, 7));
        writer.writeFileHeader(when);
        QVERIFY(writer.ok());
        const QByteArray date = DataFileWriter::generalDate(when).toLocal8Bit();
        QCOMPARE(buffer.data(), "Ulvex Simulation Data         Generated: " + date
                                    + "\r\nZplus is below emitter\r\nZminus is above emitter\r\n\r\n\r\n");
    }

    // The general date: the locale's short date, a blank, the long time of
    // day without its time zone. The zone is set to ones whose names are easy
    // to look for: a made-up abbreviation and a numeric offset.
    void generalDateHasNoTimeZone_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("expected"); // for 2026-11-21 13:47:52, "" when not pinned
        QTest::newRow("C") << QLocale::c() << "21 Nov 2026 13:47:52";
        QTest::newRow("en_US") << QLocale("en_US") << "11/21/26 1:47:52 PM";
        QTest::newRow("de_DE") << QLocale("de_DE") << "21.11.26 13:47:52";
        QTest::newRow("en_GB") << QLocale("en_GB") << "21/11/2026 13:47:52";
        QTest::newRow("fr_FR") << QLocale("fr_FR") << "21/11/2026 13:47:52";
        // Zones in brackets, after a comma, before the time, quoted literals.
        QTest::newRow("ca_ES (t)") << QLocale("ca_ES") << "";
        QTest::newRow("zh_TW [t]") << QLocale("zh_TW") << "";
        QTest::newRow("be_BY comma") << QLocale("be_BY") << "";
        QTest::newRow("zh_HK zone first") << QLocale("zh_HK") << "";
        QTest::newRow("fr_CA quoted h") << QLocale("fr_CA") << "";
        QTest::newRow("bg_BG quoted before zone") << QLocale("bg_BG") << "";
        QTest::newRow("ko_KR") << QLocale("ko_KR") << "";
        QTest::newRow("ar_EG native digits") << QLocale("ar_EG") << "";
    }
    void generalDateHasNoTimeZone()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, expected);
        const QDateTime when(QDate(2026, 11, 21), QTime(13, 47, 52));
        const QByteArray savedZone = qgetenv("TZ");
        const bool hadZone = qEnvironmentVariableIsSet("TZ");
        for (const char *zone : {"QQT-3", "<+0530>-5:30", "UTC0"}) {
            qputenv("TZ", zone);
            const QString name = QDateTime::currentDateTime().timeZoneAbbreviation();
            const QString text = DataFileWriter::generalDate(when, locale);
            // The zone is really in use: the long time of the locale names it.
            QVERIFY2(locale.toString(when.time(), QLocale::LongFormat).contains(name), qPrintable(name));
            QVERIFY2(!text.contains(name), qPrintable(text + " / " + name));
            for (const char *other : {"QQT", "UTC", "GMT", "+0530", "+05", "+03"})
                QVERIFY2(!text.contains(QLatin1String(other)), qPrintable(text));
            // Short date, a blank, then a time that reads back whole: hours,
            // minutes and seconds (and the half of the day where shown).
            const QString date = locale.toString(when.date(), QLocale::ShortFormat) + ' ';
            QVERIFY2(text.startsWith(date), qPrintable(text));
            const QString time = text.mid(date.size());
            QCOMPARE(locale.toTime(time, DataFileWriter::timeOfDayFormat(locale)), when.time());
            QVERIFY2(time == time.trimmed() && !time.contains("  ") && !time.endsWith(','), qPrintable(time));
            if (!expected.isEmpty())
                QCOMPARE(text, expected);
        }
        if (hadZone)
            qputenv("TZ", savedZone);
        else
            qunsetenv("TZ");
    }

    // Every locale the toolkit knows: the time-of-day format keeps hours,
    // minutes and seconds and loses the zone field (outside quoted text).
    void everyLocaleLosesTheZoneAndKeepsTheSeconds()
    {
        const QList<QLocale> all =
            QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyTerritory);
        QVERIFY(all.size() > 100);
        const QRegularExpression quoted("'[^']*'");
        for (const QLocale &locale : all) {
            const QString format = DataFileWriter::timeOfDayFormat(locale);
            const QString fields = QString(format).remove(quoted);
            const QString where = locale.name() + ": " + locale.timeFormat(QLocale::LongFormat) + " -> " + format;
            QVERIFY2(!fields.contains('t'), qPrintable(where));
            QVERIFY2(fields.contains('h', Qt::CaseInsensitive) && fields.contains('m') && fields.contains('s'),
                     qPrintable(where));
            QVERIFY2(format == format.trimmed() && !format.contains("()") && !format.contains("[]"),
                     qPrintable(where));
        }
    }

    void zoneFieldRemoval_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("expected");
        QTest::newRow("end") << "HH:mm:ss t" << "HH:mm:ss";
        QTest::newRow("start") << "t HH:mm:ss" << "HH:mm:ss";
        QTest::newRow("middle keeps one blank") << "h:mm:ss t AP" << "h:mm:ss AP";
        QTest::newRow("no blanks") << "tAPh:mm:ss" << "APh:mm:ss";
        QTest::newRow("brackets") << "HH:mm:ss (t)" << "HH:mm:ss";
        QTest::newRow("square brackets") << "APh:mm:ss [t]" << "APh:mm:ss";
        QTest::newRow("comma") << "HH:mm:ss, t" << "HH:mm:ss";
        QTest::newRow("comma after zone first") << "t, HH:mm:ss" << "HH:mm:ss";
        QTest::newRow("quoted t kept") << "HH 'h' mm 'min' ss 's' t" << "HH 'h' mm 'min' ss 's'";
        QTest::newRow("quoted with t inside kept") << "'at' HH:mm:ss t" << "'at' HH:mm:ss";
        QTest::newRow("escaped quote") << "HH''mm''ss t" << "HH''mm''ss";
        QTest::newRow("quote inside quotes") << "'o''clock' t HH:mm:ss" << "'o''clock' HH:mm:ss";
        QTest::newRow("two zones") << "t HH:mm:ss tt" << "HH:mm:ss";
        QTest::newRow("unclosed quote") << "HH:mm:ss 'and t" << "HH:mm:ss 'and t";
        QTest::newRow("no zone") << "HH:mm:ss" << "HH:mm:ss";
    }
    void zoneFieldRemoval()
    {
        QFETCH(QString, format);
        QFETCH(QString, expected);
        QCOMPARE(DataFileWriter::withoutTimeZone(format), expected);
    }

    void buriedBlock()
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        writer.writeBlockHeader("Ulvex Simulation 7", "Loam", "2", "Wet", true, 0.4f);
        writer.writeRows(columns({{11, 4, 2, 1, 0.5, 0.25, 0.125}, {12, 4, 2, 2, 0.75, 0.5, 0.25}}, 7));
        writer.writeBlockEnd();
        QCOMPARE(buffer.data(), crlf("Ulvex Simulation 7\n"
                                     "SoilType: Loam\n"
                                     "FlowRate: 2L/Hr\n"
                                     "Initial water content: Wet\n"
                                     "Emitter:Buried at 0.4 (m)\n"
                                     "\n"
                                     "TimeStep,Radius,Zplus,Zminus\n"
                                     "1,0.5,0.25,0.125\n"
                                     "2,0.75,0.5,0.25\n"
                                     "\n"
                                     "\n"));
    }

    void surfaceBlockKeepsTrailingBlank()
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        writer.writeBlockHeader("Ulvex Simulation 2", "Sand", "0.5", "Dry", false, 0.25f);
        writer.writeRows(columns({{1, 1, 1, 24, 0.3, 0.2}}, 6));
        writer.writeBlockEnd();
        QCOMPARE(buffer.data(), crlf("Ulvex Simulation 2\n"
                                     "SoilType: Sand\n"
                                     "FlowRate: 0.5L/Hr\n"
                                     "Initial water content: Dry\n"
                                     "Emitter:Surface \n"
                                     "\n"
                                     "TimeStep,Zplus,Radius\n"
                                     "24,0.3,0.2\n"
                                     "\n"
                                     "\n"));
    }

    void fourColumnTableWritesOneValueWithoutComma()
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        writer.writeRows(columns({{1, 1, 1, 3}, {2, 1, 1, 6}, {3, 1, 1, 9}}, 4));
        QCOMPARE(buffer.data(), QByteArray("3\r\n6\r\n9\r\n"));
    }

    void tablesWithoutValueColumnsOrRowsWriteNothing()
    {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        writer.writeRows({});
        writer.writeRows(columns({{1, 1, 1}}, 3));
        writer.writeRows(QVector<QVector<QVariant>>(5)); // five columns, no rows
        QCOMPARE(buffer.data(), QByteArray());
        QVERIFY(writer.ok());
    }

    void valuesInTheirPlainForm()
    {
        QCOMPARE(DataFileWriter::formatValue(QVariant(0.1)), QString("0.1"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(2.0)), QString("2"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(qlonglong(14))), QString("14"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(-3)), QString("-3"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(0.011272)), QString("0.011272"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(1.0 / 3.0)), QString("0.333333333333333"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(0.14369305032500043)), QString("0.143693050325"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(0.4f)), QString("0.4"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(QString("abc"))), QString("abc"));
        QCOMPARE(DataFileWriter::formatValue(QVariant()), QString());
        QCOMPARE(DataFileWriter::formatValue(QVariant(QMetaType(QMetaType::Double))), QString());
        QCOMPARE(DataFileWriter::formatSingle(0.25f), QString("0.25"));
        QCOMPARE(DataFileWriter::formatSingle(0.4f), QString("0.4"));
        QCOMPARE(DataFileWriter::formatSingle(1.0f), QString("1"));
        QCOMPARE(DataFileWriter::formatSingle(0.1f + 0.2f), QString("0.3"));
    }

    // The default text of a double: at most 15 significant digits, the
    // shortest form of them, exponent form below 1E-04 and from 1E+15.
    void doublesHaveAtMostFifteenDigits_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("17 digits cut to 15") << 0.14369305032500043 << "0.143693050325";
        QTest::newRow("0.1 + 0.2") << 0.1 + 0.2 << "0.3";
        QTest::newRow("whole") << 2.0 << "2";
        QTest::newRow("quarter") << 0.25 << "0.25";
        QTest::newRow("hundred") << 100.0 << "100";
        QTest::newRow("negative") << -1.5 << "-1.5";
        QTest::newRow("negative zero") << -0.0 << "0";
        QTest::newRow("zero") << 0.0 << "0";
        QTest::newRow("third") << 1.0 / 3.0 << "0.333333333333333";
        QTest::newRow("two thirds rounded") << 2.0 / 3.0 << "0.666666666666667";
        QTest::newRow("one tenth") << 0.1 << "0.1";
        QTest::newRow("fifteen digits whole") << 123456789012345.0 << "123456789012345";
        QTest::newRow("sixteen digits") << 1234567890123456.0 << "1.23456789012346E+15";
        QTest::newRow("1E+15") << 1e15 << "1E+15";
        QTest::newRow("rounds up to 1E+15") << 999999999999999.9 << "1E+15";
        QTest::newRow("large") << 1.5e20 << "1.5E+20";
        QTest::newRow("0.0001 without exponent") << 0.0001 << "0.0001";
        QTest::newRow("small with 15 digits")
            << 0.00012345678901234567 << "0.000123456789012346";
        QTest::newRow("1E-05") << 1e-5 << "1E-05";
        QTest::newRow("small with fraction") << 0.00001234 << "1.234E-05";
        QTest::newRow("negative small") << -2.5e-7 << "-2.5E-07";
        QTest::newRow("three-digit exponent") << 1e-300 << "1E-300";
        QTest::newRow("smallest") << 5e-324 << "4.94065645841247E-324";
    }
    void doublesHaveAtMostFifteenDigits()
    {
        QFETCH(double, value);
        QFETCH(QString, text);
        QCOMPARE(DataFileWriter::formatDouble(value), text);
        QCOMPARE(DataFileWriter::formatValue(QVariant(value)), text);
        // Never more than 15 significant digits; the text reads back within
        // the rounding to 15 of them.
        const QString mantissa = text.section('E', 0, 0).remove('-').remove('.');
        QVERIFY2(QString(mantissa).remove(QRegularExpression("^0+")).size() <= 15, qPrintable(text));
        bool ok = false;
        const double back = text.toDouble(&ok);
        QVERIFY(ok);
        QVERIFY2(qAbs(back - value) <= qAbs(value) * 5e-15, qPrintable(text));
    }

    void numbersIgnoreTheLocale()
    {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        DataFileWriter writer(&buffer);
        writer.writeBlockHeader("W", "S", "1.5", "Wet", true, 0.75f);
        writer.writeRows(columns({{1, 1, 1, 2, 0.5, 1234.5}}, 6));
        QLocale::setDefault(saved);
        QVERIFY(buffer.data().contains("Emitter:Buried at 0.75 (m)\r\n"));
        QVERIFY(buffer.data().endsWith("\r\n2,0.5,1234.5\r\n"));
    }

    void aDeviceThatStopsTakingBytesIsNoticed()
    {
        QBuffer buffer;
        buffer.open(QIODevice::ReadOnly); // refuses every write
        DataFileWriter writer(&buffer);
        writer.writeFileHeader(QDateTime::currentDateTime());
        QVERIFY(!writer.ok());
    }

    void pagesHoldTwoGraphsSideBySide()
    {
        QCOMPARE(GraphPageLayout::pageCount(0), 0);
        QCOMPARE(GraphPageLayout::pageCount(1), 1);
        QCOMPARE(GraphPageLayout::pageCount(2), 1);
        QCOMPARE(GraphPageLayout::pageCount(3), 2);
        QCOMPARE(GraphPageLayout::pageCount(4), 2);
        QCOMPARE(GraphPageLayout::slotOf(2), 0);
        QCOMPARE(GraphPageLayout::pageOf(2), 2);

        // A4 and US Letter printable areas with 15 mm margins, in points.
        const double margin = 15 / 25.4 * 72;
        for (const QSizeF paper : {QSizeF(595.276, 841.89), QSizeF(612, 792)}) {
            const GraphPageLayout layout(paper - QSizeF(2 * margin, 2 * margin));
            const QRectF area(QPointF(0, 0), layout.area());
            const double aspect = 2895.0 / 4335.0;
            const QRectF left = layout.frameRect(0, aspect);
            const QRectF right = layout.frameRect(1, aspect);
            QVERIFY(area.contains(layout.logoRect()));
            QVERIFY(area.contains(layout.textLine()));
            QVERIFY(area.contains(left));
            QVERIFY(area.contains(right));
            QVERIFY(left.right() < right.left());
            QVERIFY(!left.intersects(layout.logoRect()));
            QVERIFY(!left.intersects(layout.textLine()));
            QVERIFY(!right.intersects(layout.textLine()));
            // The graph keeps its shape and fills its column's width.
            const QRectF g = layout.graphRect(0, aspect);
            QVERIFY(qAbs(g.width() / g.height() - aspect) < 1e-9);
            QVERIFY(qAbs(g.width() - (layout.slotRect(0).width() - 2 * GraphPageLayout::FramePadding))
                    < 1e-9);
            QVERIFY(g.width() > 220); // about 8 cm across: legible on paper
        }
    }

    void aWideGraphIsLimitedByItsColumn()
    {
        const GraphPageLayout layout(QSizeF(500, 300));
        const QRectF g = layout.graphRect(1, 4.0);
        QVERIFY(layout.slotRect(1).contains(g));
        QVERIFY(qAbs(g.width() / g.height() - 4.0) < 1e-9);
    }
};

QTEST_GUILESS_MAIN(TestDataFileWriter)
#include "tst_datafilewriter.moc"
