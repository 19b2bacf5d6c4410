#include "output/DataFileWriter.h"
#include "output/GraphPageLayout.h"

#include <QBuffer>
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

    void generalDateIsShortDateBlankLongTime()
    {
        const QDateTime when(QDate(2026, 11, 21), QTime(13, 5, 9));
        const QLocale german(QLocale::German, QLocale::Germany);
        const QString text = DataFileWriter::generalDate(when, german);
        QCOMPARE(text, german.toString(when.date(), QLocale::ShortFormat) + " "
                           + german.toString(when.time(), QLocale::LongFormat));
        QVERIFY(text.startsWith("21.11.26 13:05:09"));
        const QLocale us(QLocale::English, QLocale::UnitedStates);
        QVERIFY(DataFileWriter::generalDate(when, us).startsWith("11/21/26 1:05:09"));
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
        QCOMPARE(DataFileWriter::formatValue(QVariant(1.0 / 3.0)), QString("0.3333333333333333"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(0.4f)), QString("0.4"));
        QCOMPARE(DataFileWriter::formatValue(QVariant(QString("abc"))), QString("abc"));
        QCOMPARE(DataFileWriter::formatValue(QVariant()), QString());
        QCOMPARE(DataFileWriter::formatValue(QVariant(QMetaType(QMetaType::Double))), QString());
        QCOMPARE(DataFileWriter::formatSingle(0.25f), QString("0.25"));
        QCOMPARE(DataFileWriter::formatSingle(0.4f), QString("0.4"));
        QCOMPARE(DataFileWriter::formatSingle(1.0f), QString("1"));
        QCOMPARE(DataFileWriter::formatSingle(0.1f + 0.2f), QString("0.3"));
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
