// The emitter's schedule: a watering then rest, or pulses; when it runs, how
// long it has run, where the solver's steps must end, and what is refused.

#include "scenario/Schedule.h"

#include "tests/scenario/ProblemTexts.h"

#include <QtTest>

using scenario::Schedule;

class TstSchedule : public QObject
{
    Q_OBJECT

private slots:
    void wateringThenRest()
    {
        const Schedule s = Schedule::wateringThenRest(3, 48);
        QVERIFY(s.problems().empty());
        QVERIFY(s.watersAt(0));
        QVERIFY(s.watersAt(2.999));
        QVERIFY(!s.watersAt(3));
        QVERIFY(!s.watersAt(47));
        QCOMPARE(s.wateredHoursUntil(1.5), 1.5);
        QCOMPARE(s.wateredHoursUntil(48), 3.0);
        QCOMPARE(s.switchTimes(), std::vector<double>{3.0});
    }

    void wateringTheWholeTime()
    {
        // No stop before the end: nothing to switch.
        const Schedule s = Schedule::wateringThenRest(24, 24);
        QVERIFY(s.problems().empty());
        QVERIFY(s.switchTimes().empty());
        QCOMPARE(s.wateredHoursUntil(30), 24.0);
    }

    void threePulses()
    {
        const Schedule s({{1, 2}, {1, 2}, {1, 17}}, 24);
        QVERIFY(s.problems().empty());
        QCOMPARE(s.switchTimes(), std::vector<double>({1, 3, 4, 6, 7}));
        QVERIFY(s.watersAt(3.5));
        QVERIFY(!s.watersAt(2));
        QVERIFY(!s.watersAt(8));
        QCOMPARE(s.wateredHoursUntil(3.5), 1.5);
        QCOMPARE(s.wateredHoursUntil(24), 3.0);
        QCOMPARE(s.pulsesHours(), 24.0);
    }

    void pulsesShorterThanTheTotalRestAfterwards()
    {
        const Schedule s({{0.5, 0.5}, {0.5, 0}}, 10);
        QVERIFY(s.problems().empty());
        QCOMPARE(s.switchTimes(), std::vector<double>({0.5, 1.0, 1.5}));
        QCOMPARE(s.wateredHoursUntil(10), 1.0);
    }

    void refused_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("problem");
        QTest::newRow("pulses beyond the total") << "long" << "schedule.pulses: the pulses take 30 h, more than schedule.total_h (24 h)";
        QTest::newRow("more than a week") << "week" << "schedule.total_h: 200 h lies outside 0 (not included) to 168 h";
        QTest::newRow("zero total") << "zero" << "schedule.total_h: 0 h lies outside";
        QTest::newRow("no pulse") << "none" << "schedule.pulses: no pulse";
        QTest::newRow("empty watering") << "empty on" << "schedule.pulses[1][0]: the watering of a pulse must last more than 0 h, not 0";
        QTest::newRow("negative rest") << "negative off" << "schedule.pulses[0][1]: the rest after a pulse must be 0 h or more, not -1";
    }

    void refused()
    {
        QFETCH(QString, which);
        QFETCH(QString, problem);
        Schedule s;
        if (which == "long")
            s = Schedule({{10, 10}, {5, 5}}, 24);
        else if (which == "week")
            s = Schedule::wateringThenRest(3, 200);
        else if (which == "zero")
            s = Schedule({{1, 0}}, 0);
        else if (which == "none")
            s = Schedule({}, 24);
        else if (which == "empty on")
            s = Schedule({{1, 1}, {0, 1}}, 24);
        else
            s = Schedule({{1, -1}}, 24);
        const QStringList p = problemTexts(s.problems());
        QVERIFY2(!p.isEmpty() && p.first().startsWith(problem), qPrintable(p.join(QLatin1String(" | "))));
    }
};

QTEST_APPLESS_MAIN(TstSchedule)
#include "tst_schedule.moc"
