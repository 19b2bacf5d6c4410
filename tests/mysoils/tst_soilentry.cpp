// A soil as the user describes it: the ranges, the problems named by field,
// the units, and the catalogue handed to the database builder.
#include "mysoils/SoilEntry.h"

#include "base/SoilRanges.h"

#include <QtTest>

namespace {

SoilEntry loam()
{
    SoilEntry s;
    s.name = "North field";
    s.texture = "medium";
    s.clayPercent = 20;
    s.classification = "lab sample 12, 0-30 cm";
    s.thetaR = 0.078;
    s.thetaS = 0.43;
    s.alpha = 0.036;
    s.alphaUnit = SoilEntry::AlphaUnit::PerCentimetre;
    s.n = 1.56;
    s.ks = 24.96;
    s.ksUnit = SoilEntry::KsUnit::CentimetrePerDay;
    return s;
}

} // namespace

class TestSoilEntry : public QObject
{
    Q_OBJECT
private slots:
    void aGoodSoilHasNoProblems()
    {
        QVERIFY(loam().problems({"Sand", "Loam"}).isEmpty());
        SoilEntry s = loam();
        s.clayPercent.reset(); // clay is optional
        s.classification.clear();
        QVERIFY(s.problems({}).isEmpty());
    }

    void unitsConvertToSi()
    {
        const SoilEntry s = loam();
        QVERIFY(qAbs(s.alphaSi() - 3.6) < 1e-12);
        QVERIFY(qAbs(s.ksSi() - 24.96 / 100 / 86400) < 1e-18);
        QCOMPARE(SoilEntry::toSi(SoilEntry::KsUnit::CentimetrePerHour), 0.01 / 3600);
        QCOMPARE(SoilEntry::toSi(SoilEntry::KsUnit::MetrePerDay), 1.0 / 86400);
        QCOMPARE(SoilEntry::toSi(SoilEntry::KsUnit::MetrePerSecond), 1.0);
        QCOMPARE(SoilEntry::toSi(SoilEntry::AlphaUnit::PerMetre), 1.0);
        // The ranges are those of the program's one table, in every unit.
        for (SoilEntry::KsUnit u : SoilEntry::ksUnits()) {
            const SoilEntry::Range r = SoilEntry::ksRange(u);
            QVERIFY(qAbs(r.low * SoilEntry::toSi(u) / SoilRanges::ks().low - 1) < 1e-9);
            QVERIFY(qAbs(r.high * SoilEntry::toSi(u) / SoilRanges::ks().high - 1) < 1e-9);
        }
        QCOMPARE(SoilEntry::alphaRange(SoilEntry::AlphaUnit::PerCentimetre).low, SoilRanges::alpha().low / 100);
        QCOMPARE(SoilEntry::alphaRange(SoilEntry::AlphaUnit::PerCentimetre).high, SoilRanges::alpha().high / 100);
        QCOMPARE(SoilEntry::ksRange(SoilEntry::KsUnit::CentimetrePerDay).high,
                 QString::number(SoilRanges::ks().high * 8640000, 'g', 12).toDouble());
    }

    void problemsNameTheirField_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("field");
        QTest::newRow("empty name") << "name=" << "Name:";
        QTest::newRow("name taken, other case") << "name=sand" << "Name:";
        QTest::newRow("long name") << "name=" + QString(41, 'x') << "Name:";
        QTest::newRow("texture") << "texture=gravel" << "Texture group:";
        QTest::newRow("clay") << "clay=101" << "Clay (%):";
        QTest::newRow("theta_r") << "thetaR=-0.01" << "theta_r:";
        QTest::newRow("theta_s") << "thetaS=0.71" << "theta_s:";
        QTest::newRow("theta_s below theta_r") << "thetaS=0.05" << "theta_s:";
        QTest::newRow("theta_s equal to theta_r") << "thetaS=0.078" << "theta_s:";
        QTest::newRow("alpha") << "alpha=2" << "alpha:";
        QTest::newRow("alpha zero") << "alpha=0" << "alpha:";
        QTest::newRow("n one") << "n=1" << "n:";
        QTest::newRow("n large") << "n=11" << "n:";
        QTest::newRow("Ks") << "ks=9000" << "Ks:";
        QTest::newRow("Ks zero") << "ks=0" << "Ks:";
    }
    void problemsNameTheirField()
    {
        QFETCH(QString, what);
        QFETCH(QString, field);
        SoilEntry s = loam();
        const QString key = what.section('=', 0, 0);
        const QString value = what.section('=', 1);
        if (key == "name")
            s.name = value;
        else if (key == "texture")
            s.texture = value;
        else if (key == "clay")
            s.clayPercent = value.toDouble();
        else if (key == "thetaR")
            s.thetaR = value.toDouble();
        else if (key == "thetaS")
            s.thetaS = value.toDouble();
        else if (key == "alpha")
            s.alpha = value.toDouble();
        else if (key == "n")
            s.n = value.toDouble();
        else if (key == "ks")
            s.ks = value.toDouble();
        const QStringList p = s.problems({"Sand", "Loam"});
        QCOMPARE(p.size(), 1);
        QVERIFY2(p.first().startsWith(field), qPrintable(p.first()));
    }

    void alphaInOtherUnitsHasItsOwnRange()
    {
        SoilEntry s = loam();
        s.alphaUnit = SoilEntry::AlphaUnit::PerMetre;
        s.alpha = 3.6;
        QVERIFY(s.problems({}).isEmpty());
        // 0.5 is fine in 1/m (0.01 to 100) but not in 1/cm (0.0001 to 1).
        s.alpha = 0.005;
        QCOMPARE(s.problems({}).size(), 1);
        s.alpha = 5;
        QVERIFY(s.problems({}).isEmpty());
        s.alphaUnit = SoilEntry::AlphaUnit::PerCentimetre;
        QCOMPARE(s.problems({}).size(), 1);
    }

    void catalogueForTheBuilder()
    {
        SoilEntry quoted = loam();
        quoted.name = "Field 7, \"wet corner\"";
        quoted.clayPercent.reset();
        const QString text = SoilEntry::catalogue({loam(), quoted});
        const QStringList lines = text.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.at(0).startsWith('#'));
        QCOMPARE(lines.at(1), QString("Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),"
                                      "alpha (1/cm),n (-),Ks (cm/day)"));
        QCOMPARE(lines.at(2), QString("North field,medium,20,\"lab sample 12, 0-30 cm\",0.078,0.43,0.036,1.56,24.96"));
        QCOMPARE(lines.at(3), QString("\"Field 7, \"\"wet corner\"\"\",medium,,\"lab sample 12, 0-30 cm\","
                                      "0.078,0.43,0.036,1.56,24.96"));
        // Soils in other units are written in those of the first.
        SoilEntry metres = SoilEntry::fromSi("B", "fine", 40, "", 0.07, 0.36, 0.5, 1.09, 5.555555555555556e-9,
                                             SoilEntry::AlphaUnit::PerMetre, SoilEntry::KsUnit::MetrePerSecond);
        const QStringList two = SoilEntry::catalogue({loam(), metres}).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(two.at(3), QString("B,fine,40,,0.07,0.36,0.005,1.09,0.048"));
    }

    void fromSiShowsTidyNumbers()
    {
        const SoilEntry s = SoilEntry::fromSi("Loam", "medium", 20, "", 0.078, 0.43, 3.6, 1.56,
                                              24.96 / 100 / 86400, SoilEntry::AlphaUnit::PerCentimetre,
                                              SoilEntry::KsUnit::CentimetrePerDay);
        QCOMPARE(SoilEntry::numberText(s.alpha), QString("0.036"));
        QCOMPARE(SoilEntry::numberText(s.ks), QString("24.96"));
    }
};

QTEST_GUILESS_MAIN(TestSoilEntry)
#include "tst_soilentry.moc"
