// The one table of the soils the program can compute: the twelve soil classes
// lie inside it, every parameter and joint rule refuses what lies outside and
// names its field, and names must be one line of printable text.

#include "base/SoilRanges.h"

#include <QtTest>

#include <cmath>
#include <limits>

namespace {

struct Soil
{
    const char *name;
    double thetaR, thetaS, alpha, n, ks; // SI
};

// The class averages of the shipped catalogue (alpha in 1/m, Ks in m/s).
const Soil kClasses[] = {
    {"Sand", 0.045, 0.43, 14.5, 2.68, 712.8 / 8.64e6},        {"Loamy Sand", 0.057, 0.41, 12.4, 2.28, 350.2 / 8.64e6},
    {"Sandy Loam", 0.065, 0.41, 7.5, 1.89, 106.1 / 8.64e6},   {"Loam", 0.078, 0.43, 3.6, 1.56, 24.96 / 8.64e6},
    {"Silt", 0.034, 0.46, 1.6, 1.37, 6.0 / 8.64e6},           {"Silt Loam", 0.067, 0.45, 2.0, 1.41, 10.8 / 8.64e6},
    {"Sandy Clay Loam", 0.1, 0.39, 5.9, 1.48, 31.44 / 8.64e6}, {"Clay Loam", 0.095, 0.41, 1.9, 1.31, 6.24 / 8.64e6},
    {"Silty Clay Loam", 0.089, 0.43, 1.0, 1.23, 1.68 / 8.64e6}, {"Sandy Clay", 0.1, 0.38, 2.7, 1.23, 2.88 / 8.64e6},
    {"Silty Clay", 0.07, 0.36, 0.5, 1.09, 0.48 / 8.64e6},     {"Clay", 0.068, 0.38, 0.8, 1.09, 4.8 / 8.64e6},
};

const Soil kLoam = kClasses[3];

QStringList fields(const std::vector<SoilRanges::Problem> &problems)
{
    QStringList f;
    for (const auto &p : problems)
        f << p.field;
    return f;
}

} // namespace

class TstSoilRanges : public QObject
{
    Q_OBJECT

private slots:
    void everyClassIsAccepted()
    {
        for (const Soil &s : kClasses) {
            const auto p = SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks);
            QVERIFY2(p.empty(), qPrintable(QStringLiteral("%1: %2").arg(QLatin1String(s.name), p.empty() ? QString() : p.front().message)));
        }
    }

    void eachRangeNamesItsField_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("message");
        QTest::newRow("theta_r below") << 0 << -0.01 << "theta_r" << "theta_r -0.01 m3/m3 lies outside 0 to 0.25 m3/m3";
        QTest::newRow("theta_r above") << 0 << 0.3 << "theta_r" << "theta_r 0.3 m3/m3 lies outside";
        QTest::newRow("theta_s below") << 1 << 0.2 << "theta_s" << "theta_s 0.2 m3/m3 lies outside 0.25 to 0.7 m3/m3";
        QTest::newRow("theta_s above") << 1 << 0.75 << "theta_s" << "theta_s 0.75 m3/m3 lies outside";
        QTest::newRow("alpha below") << 2 << 0.01 << "alpha" << "alpha 0.01 1/m lies outside 0.2 to 15 1/m";
        QTest::newRow("alpha above") << 2 << 100.0 << "alpha" << "alpha 100 1/m lies outside";
        QTest::newRow("n below") << 3 << 1.0001 << "n" << "n 1.0001 lies outside 1.09 to 2.8";
        QTest::newRow("n above") << 3 << 10.0 << "n" << "n 10 lies outside";
        QTest::newRow("Ks below") << 4 << 1e-9 << "Ks" << "Ks 1e-09 m/s lies outside 1e-08 to 0.0001 m/s";
        QTest::newRow("Ks above") << 4 << 1e3 << "Ks" << "Ks 1000 m/s lies outside";
        QTest::newRow("not a number") << 4 << std::numeric_limits<double>::quiet_NaN() << "Ks" << "Ks is not a number";
    }

    void eachRangeNamesItsField()
    {
        QFETCH(int, which);
        QFETCH(double, value);
        QFETCH(QString, field);
        QFETCH(QString, message);
        double v[5] = {kLoam.thetaR, kLoam.thetaS, kLoam.alpha, kLoam.n, kLoam.ks};
        v[which] = value;
        const auto p = SoilRanges::problems(v[0], v[1], v[2], v[3], v[4]);
        QCOMPARE(fields(p), QStringList{field});
        QVERIFY2(p.front().message.startsWith(message), qPrintable(p.front().message));
    }

    void rangesAreInclusive()
    {
        // The ends themselves are accepted: the corner tests compute them.
        const SoilRanges::Range r[5] = {SoilRanges::thetaR(), SoilRanges::thetaS(), SoilRanges::alpha(), SoilRanges::n(),
                                        SoilRanges::ks()};
        for (const auto &range : r) {
            QVERIFY(range.contains(range.low) && range.contains(range.high));
            QVERIFY(!range.contains(std::nextafter(range.low, -1e300)) && !range.contains(std::nextafter(range.high, 1e300)));
            QVERIFY(!range.contains(std::numeric_limits<double>::quiet_NaN()));
        }
    }

    void anEndConvertedFromAnotherUnitIsTheEnd()
    {
        // The least Ks, 1e-8 m/s, as the form shows it in m/day and back
        // (times 1/86400, as the form converts): the conversion's last digit
        // is no reason to refuse it.
        const double ks = 0.000864 * (1.0 / 86400);
        QVERIFY(ks < 1e-8);
        QVERIFY(SoilRanges::problems(0.089, 0.43, 1.0, 1.23, ks).empty());
        QCOMPARE(fields(SoilRanges::problems(0.089, 0.43, 1.0, 1.23, 0.99e-8)), QStringList{"Ks"});
    }

    void everyProblemIsListed()
    {
        const auto p = SoilRanges::problems(0.69, 0.7, 0.01, 10.0, 1e3);
        QCOMPARE(fields(p), QStringList({"theta_r", "alpha", "n", "Ks"}));
    }

    void leastWaterCapacity()
    {
        // theta_s must exceed theta_r by a tenth in fine-textured soils, by
        // 0.3 in coarse-textured ones (whose bulbs grow large and dear).
        QVERIFY(SoilRanges::problems(0.2, 0.3, kLoam.alpha, kLoam.n, kLoam.ks).empty());
        auto p = SoilRanges::problems(0.25, 0.3, kLoam.alpha, kLoam.n, kLoam.ks);
        QCOMPARE(fields(p), QStringList{"theta_s"});
        QCOMPARE(p.front().message, QStringLiteral("theta_s 0.3 must exceed theta_r 0.25 by at least 0.1 m3/m3 in fine-textured soils "
                                                   "(n below 1.85)"));
        const Soil &sand = kClasses[0];
        QVERIFY(SoilRanges::problems(0.05, 0.35, sand.alpha, sand.n, sand.ks).empty());
        p = SoilRanges::problems(0.06, 0.35, sand.alpha, sand.n, sand.ks);
        QCOMPARE(fields(p), QStringList{"theta_s"});
        QVERIFY2(p.front().message.endsWith(QStringLiteral("by at least 0.3 m3/m3 in coarse-textured soils (n from 1.85)")),
                 qPrintable(p.front().message));
    }

    void familiesByN()
    {
        // Fine-textured soils (n below 1.85, computed with an air-entry
        // value): alpha 0.2 to 8 1/m; coarse-textured ones: 4 to 15 1/m.
        QCOMPARE(SoilRanges::familyOf(1.84).name, "fine-textured");
        QCOMPARE(SoilRanges::familyOf(1.85).name, "coarse-textured");
        QVERIFY(SoilRanges::problems(kLoam.thetaR, kLoam.thetaS, 8.0, 1.84, 1e-5).empty());
        QVERIFY(SoilRanges::problems(kLoam.thetaR, kLoam.thetaS, 4.0, 1.85, 1e-5).empty());
        auto p = SoilRanges::problems(kLoam.thetaR, kLoam.thetaS, 8.5, 1.84, 1e-5);
        QCOMPARE(fields(p), QStringList{"alpha"});
        QCOMPARE(p.front().message, QStringLiteral("alpha 8.5 1/m does not suit n 1.84: fine-textured soils (n below 1.85) are accepted "
                                                   "with alpha from 0.2 to 8 1/m"));
        p = SoilRanges::problems(kLoam.thetaR, kLoam.thetaS, 3.9, 1.85, 1e-5);
        QCOMPARE(fields(p), QStringList{"alpha"});
        QVERIFY2(p.front().message.contains(QStringLiteral("coarse-textured soils (n from 1.85) are accepted with alpha from 4 to 15 1/m")),
                 qPrintable(p.front().message));
    }

    void ksSuitsAlpha()
    {
        // A fine-pored soil with a coarse soil's Ks, and a coarse-pored soil
        // with a clay's: both refused, naming Ks and the Ks accepted there.
        const double clayAlpha = 0.8;
        QVERIFY(SoilRanges::problems(0.068, 0.38, clayAlpha, 1.09, 3.2e-6).empty());
        auto p = SoilRanges::problems(0.068, 0.38, clayAlpha, 1.09, 1e-4);
        QCOMPARE(fields(p), QStringList{"Ks"});
        QCOMPARE(p.front().message, QStringLiteral("Ks 0.0001 m/s does not suit alpha 0.8 1/m and n 1.09: fine-textured soils (n below "
                                                   "1.85) with pores of that size are accepted with Ks from 1e-08 to 3.2e-06 m/s"));
        p = SoilRanges::problems(0.045, 0.43, 14.5, 2.68, 1e-7);
        QCOMPARE(fields(p), QStringList{"Ks"});
        QVERIFY2(p.front().message.contains(QStringLiteral("from 4.21e-06 to 0.0001 m/s")), qPrintable(p.front().message));
        // Within each family's band and range of Ks.
        QCOMPARE(SoilRanges::ksFor(0.2, 1.5).low, 1e-8);
        QCOMPARE(SoilRanges::ksFor(0.2, 1.5).high, 5e-6 * (0.2 * 0.2));
        QCOMPARE(SoilRanges::ksFor(8, 1.5).low, 4e-9 * (8.0 * 8.0));
        QCOMPARE(SoilRanges::ksFor(8, 1.5).high, 4e-5);
        QCOMPARE(SoilRanges::ksFor(15, 2.5).low, 2e-8 * (15.0 * 15.0));
        QCOMPARE(SoilRanges::ksFor(15, 2.5).high, 1e-4);
    }

    void measuredSoilsOfAClassAreAccepted()
    {
        // A user's measured conductivity often lies ten times above or below
        // the class average: every class with its Ks so changed is accepted
        // but for Silty Clay's tenth (below the least Ks), the tenfold of the
        // three sandy classes (above the largest) and Clay's tenfold (a
        // clay's pores conducting as a sandy loam's).
        QStringList refused;
        for (const Soil &s : kClasses) {
            for (double factor : {0.1, 10.0}) {
                if (!SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks * factor).empty())
                    refused << QStringLiteral("%1 x %2").arg(QLatin1String(s.name)).arg(factor);
            }
        }
        QCOMPARE(refused, QStringList({"Sand x 10", "Loamy Sand x 10", "Sandy Loam x 10", "Silty Clay x 0.1", "Clay x 10"}));
        // The pedotransfer estimate of a plain loam (sand 40 %, silt 40 %,
        // clay 20 %, bulk density 1.4 g/cm3): fine pores, a high Ks.
        QVERIFY(SoilRanges::problems(0.0858, 0.4036, 0.729, 1.415, 1.92e-6).empty());
    }

    void names_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("problem"); // empty: accepted
        QTest::newRow("plain") << "Loam of the north field" << QString();
        QTest::newRow("accents and quotes") << QString::fromUtf8("Lehm \"Süd\", Feld 3") << QString();
        QTest::newRow("longest") << QString(100, QLatin1Char('x')) << QString();
        QTest::newRow("too long") << QString(101, QLatin1Char('x')) << "the Name has 101 characters; at most 100 are allowed";
        QTest::newRow("ten megabytes") << QString(10 * 1024 * 1024, QLatin1Char('x')) << "at most 100 are allowed";
        QTest::newRow("empty") << QString() << "the Name is empty";
        QTest::newRow("blank") << "   " << "the Name is empty";
        QTest::newRow("NUL") << QStringLiteral("Loam") + QChar(0) + QStringLiteral("hidden") << "not printable (U+0000) at position 5";
        QTest::newRow("line break") << "Loam\nsecond line" << "not printable (U+000a)";
        QTest::newRow("tab") << "Loam\tA" << "not printable (U+0009)";
    }

    void names()
    {
        QFETCH(QString, name);
        QFETCH(QString, problem);
        const QString got = SoilRanges::nameProblem(name);
        if (problem.isEmpty())
            QVERIFY2(got.isEmpty(), qPrintable(got));
        else
            QVERIFY2(got.contains(problem), qPrintable(got));
    }

    void otherTextFields()
    {
        QVERIFY(SoilRanges::textProblem(QStringLiteral("Texture"), QString(), 200).isEmpty());
        QVERIFY(SoilRanges::textProblem(QStringLiteral("Texture"), QStringLiteral("medium"), 200).isEmpty());
        QVERIFY(SoilRanges::textProblem(QStringLiteral("Texture"), QString(201, QLatin1Char('m')), 200).startsWith(QLatin1String("the Texture")));
        QVERIFY(!SoilRanges::textProblem(QStringLiteral("Texture"), QStringLiteral("a\rb"), 200).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstSoilRanges)
#include "tst_soilranges.moc"
