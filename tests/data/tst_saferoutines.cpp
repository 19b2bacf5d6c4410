#include "data/basSafeRoutines.h"
#include "data/clsRecordset.h"

#include <QtTest>

using namespace basSafeRoutines;

class TestSafeRoutines : public QObject
{
    Q_OBJECT

private:
    static clsRecordset rowsOf(int count)
    {
        clsRecordset rs;
        rs.appendField("Time", QMetaType::Int);
        rs.Open();
        for (int i = 1; i <= count; ++i) {
            rs.AddNew();
            rs.setValue(0, i);
        }
        rs.Update();
        if (count > 0)
            rs.MoveFirst();
        return rs;
    }

private slots:
    // SQL value formatter
    void apostropheIsDoubledInsideApostrophes()
    {
        QCOMPARE(FormatSqlValue(QString("it's")), QString("'it''s'"));
        QCOMPARE(FormatSqlValue(QString("''")), QString("''''''"));
        QCOMPARE(FormatSqlValue(QString("Loam")), QString("'Loam'"));
        QCOMPARE(FormatSqlValue(QString("")), QString("''"));
    }

    void emptyValueIsNull()
    {
        QCOMPARE(FormatSqlValue(QVariant()), QString("NULL"));
        QCOMPARE(FormatSqlValue(QVariant(QMetaType(QMetaType::Int))), QString("NULL"));
        QCOMPARE(FormatSqlValue(QVariant::fromValue(nullptr)), QString("NULL"));
    }

    void numbersAreTheirPlainText()
    {
        QCOMPARE(FormatSqlValue(3), QString("3"));
        QCOMPARE(FormatSqlValue(qint16(14)), QString("14"));
        QCOMPARE(FormatSqlValue(-7LL), QString("-7"));
        QCOMPARE(FormatSqlValue(2.5), QString("2.5"));
        QCOMPARE(FormatSqlValue(24.0), QString("24"));
        QCOMPARE(FormatSqlValue(0.25f), QString("0.25"));
        QCOMPARE(FormatSqlValue(true), QString("True"));
        QCOMPARE(FormatSqlValue(false), QString("False"));
    }

    void datesAreEnclosedInHashes()
    {
        const QLocale locale;
        const QDate date(2024, 3, 9);
        QCOMPARE(FormatSqlValue(date), "#" + locale.toString(date, QLocale::ShortFormat) + "#");
        const QDateTime midnight(date, QTime(0, 0));
        QCOMPARE(FormatSqlValue(midnight),
                 "#" + locale.toString(date, QLocale::ShortFormat) + "#");
        const QDateTime dt(date, QTime(13, 5, 7));
        QCOMPARE(FormatSqlValue(dt), "#" + locale.toString(date, QLocale::ShortFormat) + " "
                                         + locale.toString(QTime(13, 5, 7), QLocale::LongFormat)
                                         + "#");
    }

    void valueWithoutTextFormGivesPlainConversion()
    {
        QCOMPARE(FormatSqlValue(QVariant::fromValue(QSize(2, 3))), QString());
    }

    // Safe error message builder
    void messageIsComposedInOrder()
    {
        QCOMPARE(SafeErrorMessage("sfMoveFirstAdd", -46, "Empty RS ", "Detail:"),
                 QString("Detail:sfMoveFirstAdd\t-46\tEmpty RS \n"));
        QCOMPARE(SafeErrorMessage("r", 0, "m"), QString("r\t0\tm\n"));
        // Name and message are converted to text, the number to 32 bits.
        QCOMPARE(SafeErrorMessage(12, QString(" 7 "), 3.5), QString("12\t7\t3.5\n"));
        QCOMPARE(SafeErrorMessage("r", 2.5, "m"), QString("r\t2\tm\n"));
        QCOMPARE(SafeErrorMessage("r", 3.5, "m"), QString("r\t4\tm\n"));
        QCOMPARE(SafeErrorMessage("r", 2147483647LL, "m"), QString("r\t2147483647\tm\n"));
    }

    void unconvertibleInputsGiveTheFixedText()
    {
        const QString failed("Could not create Safe Error Message.");
        QCOMPARE(SafeErrorMessage("r", "abc", "m"), failed);
        QCOMPARE(SafeErrorMessage("r", 2147483648LL, "m"), failed);
        QCOMPARE(SafeErrorMessage("r", QVariant(), "m"), failed);
        QCOMPARE(SafeErrorMessage(QVariant::fromValue(QSize(1, 1)), 1, "m"), failed);
        QCOMPARE(SafeErrorMessage("r", 1, QVariant::fromValue(QSize(1, 1))), failed);
    }

    // Guarded moves
    void closedOrMissingRecordsetGivesClosedRs()
    {
        QCOMPARE(sfMoveFirstAdd(nullptr), QString("sfMoveFirstAdd\t-46\tClosed RS \n"));
        clsRecordset rs = rowsOf(2);
        rs.Close();
        QCOMPARE(sfMoveFirstAdd(&rs), QString("sfMoveFirstAdd\t-46\tClosed RS \n"));
        QCOMPARE(sfMoveNextAdd(&rs), QString("sfMoveNextAdd\t-46\tClosed RS \n"));
    }

    void recordsetWithoutRowsGivesEmptyRsNotUnableToMove()
    {
        clsRecordset rs = rowsOf(0);
        const QString first = sfMoveFirstAdd(&rs);
        QCOMPARE(first, QString("sfMoveFirstAdd\t-46\tEmpty RS \n"));
        QVERIFY(!first.contains("Unable"));
        QCOMPARE(sfMoveNextAdd(&rs), QString("sfMoveNextAdd\t-46\tEmpty RS \n"));
        // A filter that leaves nothing is empty as well.
        clsRecordset filtered = rowsOf(3);
        filtered.setFilter("Time =9");
        QCOMPARE(sfMoveFirstAdd(&filtered), QString("sfMoveFirstAdd\t-46\tEmpty RS \n"));
    }

    void movesWalkTheRows()
    {
        clsRecordset rs = rowsOf(3);
        rs.MoveLast();
        QCOMPARE(sfMoveFirstAdd(&rs), QString());
        QCOMPARE(rs.value(0).toInt(), 1);
        QCOMPARE(sfMoveNextAdd(&rs), QString());
        QCOMPARE(rs.value(0).toInt(), 2);
        QCOMPARE(sfMoveNextAdd(&rs), QString());
        QCOMPARE(sfMoveNextAdd(&rs), QString());
        QVERIFY(rs.isEOF());
        // Past the end the move itself fails.
        const QString past = sfMoveNextAdd(&rs);
        QVERIFY2(past.startsWith("sfMoveNextAdd\t-46\tUnable to MoveNext "), qPrintable(past));
        QVERIFY(past.endsWith("\n"));
        QVERIFY(past.size() > QString("sfMoveNextAdd\t-46\tUnable to MoveNext \n").size());
    }

    // Pause
    void pauseRefusesNegativeAndTooLongDelays()
    {
        QElapsedTimer t;
        t.start();
        QCOMPARE(sfPause(-1), QString("Error sfPause, delay negative"));
        QCOMPARE(sfPause(10001), QString("Error sfPause, Maximum delay exceeded"));
        QCOMPARE(sfPause(32767), QString("Error sfPause, Maximum delay exceeded"));
        QVERIFY(t.elapsed() < 100);
    }

    void pauseOfZeroReturnsAtOnce()
    {
        QElapsedTimer t;
        t.start();
        QCOMPARE(sfPause(0), QString());
        QVERIFY(t.elapsed() < 20);
    }

    void pauseWaitsAndKeepsEventsRunning()
    {
        bool fired = false;
        QTimer::singleShot(50, this, [&] { fired = true; });
        QElapsedTimer t;
        t.start();
        QCOMPARE(sfPause(300), QString());
        const qint64 elapsed = t.elapsed();
        QVERIFY2(elapsed >= 300, qPrintable(QString::number(elapsed)));
        QVERIFY2(elapsed < 1000, qPrintable(QString::number(elapsed)));
        QVERIFY(fired);
    }

    void pauseOfTenThousandWaitsTenSeconds()
    {
        QElapsedTimer t;
        t.start();
        QCOMPARE(sfPause(10000), QString());
        const qint64 elapsed = t.elapsed();
        QVERIFY2(elapsed >= 10000, qPrintable(QString::number(elapsed)));
        QVERIFY2(elapsed < 11000, qPrintable(QString::number(elapsed)));
    }
};

QTEST_MAIN(TestSafeRoutines)
#include "tst_saferoutines.moc"
