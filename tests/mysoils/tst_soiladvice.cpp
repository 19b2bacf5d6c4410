// The builder's failures in the words of the person who asked: what went
// wrong, the value most likely at fault, what to try; never the builder's
// error numbers.
#include "mysoils/SoilAdvice.h"

#include <QtTest>

namespace {

// A loam, well inside every range, alpha in 1/m and Ks in cm/day.
SoilEntry loam()
{
    return SoilEntry::fromSi("Field Loam", "medium", std::nullopt, QString(), 0.078, 0.43, 3.6, 1.56,
                             24.96 / 100 / 86400, SoilEntry::AlphaUnit::PerMetre,
                             SoilEntry::KsUnit::CentimetrePerDay);
}

const QString CaseLine = "trickle-build: error 3005: case soil 13 (Field Loam), 8 L/h, -3 m, surface: %1; "
                         "no database written";

} // namespace

class TestSoilAdvice : public QObject
{
    Q_OBJECT
private slots:
    void reasonsInWords_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("words");
        QTest::newRow("balance") << "mass balance: the water balance is off by 29.8 % of the water given"
                                 << "lost track of the water";
        QTest::newRow("recedes") << "front recedes: r falls from 0.3 m at hour 3 to 0.2 m at hour 4"
                                 << "shrank while the emitter";
        QTest::newRow("no front") << "no front: the wetting front at hour 1 has no extent" << "no wetted zone";
        QTest::newRow("edge") << "domain edge: a front reached the boundary" << "beyond the largest block";
        QTest::newRow("convergence") << "no convergence: no time step converged" << "could not find a solution";
        QTest::newRow("time") << "time limit: the case used more than 600 s" << "took longer than Ulvex allows";
        QTest::newRow("memory") << "memory limit: more than 250000 cells" << "more memory than Ulvex allows";
        QTest::newRow("incomplete") << "incomplete: the solver returned 0 front(s)" << "ended before the last hour";
        QTest::newRow("solver error") << "solver error: bad_alloc" << "stopped with an error";
        QTest::newRow("other") << "something else entirely" << "the computation failed";
    }
    void reasonsInWords()
    {
        QFETCH(QString, reason);
        QFETCH(QString, words);
        const QString text = SoilAdvice::explain(CaseLine.arg(reason), loam());
        QVERIFY2(text.startsWith("Ulvex could not compute the soil \"Field Loam\": for 8 L/h from a surface "
                                 "emitter in wet soil, "),
                 qPrintable(text));
        QVERIFY2(text.contains(words), qPrintable(text));
        QVERIFY2(!text.contains("3005") && !text.contains("trickle-build"), qPrintable(text));
        QVERIFY2(text.contains("your soils are as they were"), qPrintable(text));
        // Nothing unusual about a loam: no value is blamed.
        QVERIFY2(!text.contains("likely cause"), qPrintable(text));
    }

    void theValueNearestALimitIsNamed_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("expected");
        QTest::newRow("alpha low") << "alpha" << "alpha (%1 1/m) is at the low end";
        QTest::newRow("n high") << "n" << "n (%1) is at the high end";
        QTest::newRow("Ks high") << "Ks" << "Ks (%1 cm/day) is at the high end";
    }
    void theValueNearestALimitIsNamed()
    {
        QFETCH(QString, field);
        QFETCH(QString, expected);
        SoilEntry s = loam();
        double value = 0;
        if (field == "alpha")
            value = s.alpha = SoilEntry::alphaRange(s.alphaUnit).low * 1.05;
        else if (field == "n")
            value = s.n = SoilEntry::nRange().high * 0.99;
        else
            value = s.ks = SoilEntry::ksRange(s.ksUnit).high * 0.95;
        const QString named = SoilAdvice::mostUnusualValue(s);
        QVERIFY2(named.startsWith(expected.arg(SoilEntry::numberText(value))), qPrintable(named));
        const QString text = SoilAdvice::explain(CaseLine.arg("mass balance: off by 1 %"), s);
        QVERIFY2(text.contains("The likely cause: " + named), qPrintable(text));
    }

    void otherFailuresAreToldPlainly()
    {
        const QString full = SoilAdvice::explain(
            "trickle-build: error 3006: cannot write /home/u/.local/share/ulvex/trickle.db: No space left", loam());
        QVERIFY2(full.contains("could not write your database") && full.contains("disk is not full"),
                 qPrintable(full));
        const QString missing = SoilAdvice::explain(
            "The database builder /opt/ulvex/trickle-build cannot be started: No such file", loam());
        QVERIFY2(missing.contains("could not start its database builder"), qPrintable(missing));
        const QString recompute = SoilAdvice::explain("The database builder x stopped unexpectedly", std::nullopt);
        QVERIFY2(recompute.startsWith("Ulvex could not compute your soils."), qPrintable(recompute));
    }
};

QTEST_GUILESS_MAIN(TestSoilAdvice)
#include "tst_soiladvice.moc"
