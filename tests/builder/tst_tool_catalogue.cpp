// The soil catalogue of trickle-build: the shipped file reads as the twelve USDA
// classes in SI units, a catalogue without SoilTypeNo is numbered in file order,
// and every kind of bad line is refused with its line number.

#include "builder/SoilCatalogue.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QtTest>

#include <cmath>
#include <limits>

namespace {

const char *const kHeader = "SoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),alpha (1/cm),n (-),Ks (cm/day)";

QString catalogueWith(const QStringList &dataLines)
{
    QStringList lines;
    lines << QStringLiteral("# a test catalogue") << QString::fromLatin1(kHeader);
    lines << QStringLiteral("1,Sand,coarse,3,USDA sand,0.045,0.43,0.145,2.68,712.8");
    lines << dataLines;
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

} // namespace

class TstToolCatalogue : public QObject
{
    Q_OBJECT

private slots:
    void shippedCatalogue()
    {
        const SoilCatalogue cat = SoilCatalogue::fromFile(QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv"));
        const auto &soils = cat.soils();
        QCOMPARE(int(soils.size()), 12);
        const QStringList names = {"Sand", "Loamy Sand", "Sandy Loam", "Loam", "Silt", "Silt Loam", "Sandy Clay Loam",
                                   "Clay Loam", "Silty Clay Loam", "Sandy Clay", "Silty Clay", "Clay"};
        const QStringList textures = {"coarse", "coarse", "moderately coarse", "medium", "medium", "medium",
                                      "moderately fine", "moderately fine", "moderately fine", "fine", "fine", "fine"};
        // theta_r, theta_s, alpha (1/cm), n, Ks (cm/day)
        const double expected[12][5] = {
            {0.045, 0.43, 0.145, 2.68, 712.8}, {0.057, 0.41, 0.124, 2.28, 350.2}, {0.065, 0.41, 0.075, 1.89, 106.1},
            {0.078, 0.43, 0.036, 1.56, 24.96}, {0.034, 0.46, 0.016, 1.37, 6.0},   {0.067, 0.45, 0.020, 1.41, 10.8},
            {0.100, 0.39, 0.059, 1.48, 31.44}, {0.095, 0.41, 0.019, 1.31, 6.24},  {0.089, 0.43, 0.010, 1.23, 1.68},
            {0.100, 0.38, 0.027, 1.23, 2.88},  {0.070, 0.36, 0.005, 1.09, 0.48},  {0.068, 0.38, 0.008, 1.09, 4.8},
        };
        for (int i = 0; i < 12; ++i) {
            const solver::SoilParams &s = soils[size_t(i)];
            QCOMPARE(s.number, i + 1);
            QCOMPARE(QString::fromStdString(s.name), names[i]);
            QCOMPARE(QString::fromStdString(s.texture), textures[i]);
            QVERIFY(!s.classification.empty());
            QVERIFY(s.clayPercent > 0 && s.clayPercent < 100);
            QCOMPARE(s.thetaR, expected[i][0]);
            QCOMPARE(s.thetaS, expected[i][1]);
            QVERIFY(qAbs(s.alpha - expected[i][2] * 100.0) < 1e-12 * s.alpha);            // 1/cm -> 1/m
            QCOMPARE(s.n, expected[i][3]);
            QVERIFY(qAbs(s.ks - expected[i][4] / 100.0 / 86400.0) < 1e-12 * s.ks);         // cm/day -> m/s
        }
        QVERIFY(cat.find(4) != nullptr);
        QCOMPARE(QString::fromStdString(cat.find(4)->name), QStringLiteral("Loam"));
        QVERIFY(cat.find(13) == nullptr);
        // Clay content rises from sand to clay.
        QVERIFY(soils[0].clayPercent < soils[11].clayPercent);
    }

    void otherUnitsAndQuotes()
    {
        const QString text = QString::fromUtf8(
            "\xef\xbb\xbf# a byte-order mark, units, quoted description with a comma\r\n"
            "Name,SoilTypeNo,Texture,Clay (%),Soil Classification,theta_r,theta_s (m3/m3),alpha (1/m),n,Ks (m/h)\r\n"
            "\r\n"
            "\"Loam, test\",7,medium,20,\"USDA \"\"loam\"\", averaged\",0.078,0.43,3.6,1.56,0.0104\r\n");
        const SoilCatalogue cat = SoilCatalogue::fromText(text, QStringLiteral("t.csv"));
        QCOMPARE(int(cat.soils().size()), 1);
        const solver::SoilParams &s = cat.soils().front();
        QCOMPARE(s.number, 7);
        QCOMPARE(QString::fromStdString(s.name), QStringLiteral("Loam, test"));
        QCOMPARE(QString::fromStdString(s.classification), QStringLiteral("USDA \"loam\", averaged"));
        QCOMPARE(s.alpha, 3.6);
        QVERIFY(qAbs(s.ks - 0.0104 / 3600.0) < 1e-15);
    }

    void soilsAreSortedByNumber()
    {
        const SoilCatalogue cat = SoilCatalogue::fromText(
            catalogueWith({QStringLiteral("3,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"),
                           QStringLiteral("2,Silt,medium,6,USDA silt,0.034,0.46,0.016,1.37,6.0")}),
            QStringLiteral("t.csv"));
        QCOMPARE(int(cat.soils().size()), 3);
        QCOMPARE(cat.soils()[1].number, 2);
        QCOMPARE(QString::fromStdString(cat.soils()[2].name), QStringLiteral("Loam"));
    }

    void withoutSoilTypeNo()
    {
        // Numbered in the order of the file; renumbered after a database's last soil.
        const QString text = QStringLiteral(
            "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
            "Silt,medium,6,USDA silt,0.034,0.46,0.016,1.37,6.0\n"
            "\n"
            "Sand,coarse,3,USDA sand,0.045,0.43,0.145,2.68,712.8\n");
        SoilCatalogue cat = SoilCatalogue::fromText(text, QStringLiteral("u.csv"));
        QVERIFY(!cat.hasSoilTypeNo());
        QCOMPARE(int(cat.soils().size()), 2);
        QCOMPARE(cat.soils()[0].number, 1);
        QCOMPARE(QString::fromStdString(cat.soils()[0].name), QStringLiteral("Silt"));
        QCOMPARE(cat.soils()[1].number, 2);
        QCOMPARE(cat.lineOf(2), 4);
        cat.renumberFrom(13);
        QCOMPARE(cat.soils()[0].number, 13);
        QCOMPARE(QString::fromStdString(cat.soils()[1].name), QStringLiteral("Sand"));
        QCOMPARE(cat.lineOf(14), 4);
        QCOMPARE(cat.lineOf(1), 0);
        const UlvexError e = cat.lineError(14, QStringLiteral("a reason"));
        QCOMPARE(e.number(), int(TrickleBuildErrors::Catalogue));
        QCOMPARE(e.description(), QStringLiteral("u.csv line 4: a reason"));

        // A repeated name is still refused with its line.
        try {
            SoilCatalogue::fromText(text + QStringLiteral("SILT,medium,6,USDA silt,0.034,0.46,0.016,1.37,6.0\n"), QStringLiteral("u.csv"));
            QFAIL("a repeated name was accepted");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().startsWith(QStringLiteral("u.csv line 5: the Name \"SILT\" was already given on line 2")),
                     qPrintable(e.description()));
        }

        // Soils with their own numbers keep them, and their lines are known.
        SoilCatalogue numbered = SoilCatalogue::fromText(
            catalogueWith({QStringLiteral("7,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96")}), QStringLiteral("n.csv"));
        QVERIFY(numbered.hasSoilTypeNo());
        QCOMPARE(numbered.lineOf(7), 4);
        QCOMPARE(numbered.lineOf(1), 3);
        QVERIFY_THROWS_EXCEPTION(UlvexError, numbered.renumberFrom(13));
        QCOMPARE(numbered.soils()[1].number, 7);
    }

    void clayMayBeLeftEmpty()
    {
        // Shown in the soil list, never computed with: an empty field is "not given".
        const SoilCatalogue cat = SoilCatalogue::fromText(QStringLiteral(
            "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
            "Field 7,medium,,lab sample,0.078,0.43,0.036,1.56,24.96\n"
            "Field 8,medium,12,lab sample,0.078,0.43,0.036,1.56,24.96\n"), QStringLiteral("u.csv"));
        QVERIFY(std::isnan(cat.soils()[0].clayPercent));
        QCOMPARE(cat.soils()[1].clayPercent, 12.0);
    }

    void badLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("what");

        auto add = [](const char *tag, const QString &text, int line, const char *what) {
            QTest::newRow(tag) << text << line << QString::fromLatin1(what);
        };
        // Data lines of catalogueWith() start on line 4.
        add("too few fields", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56"}), 4, "9 fields, the header has 10");
        add("too many fields", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96,7"}), 4, "11 fields");
        add("not a number", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,abc,1.56,24.96"}), 4, "alpha \"abc\" is not a number");
        add("empty number", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,,0.036,1.56,24.96"}), 4, "theta_s \"\" is not a number");
        add("bad soil number", catalogueWith({"2.5,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "SoilTypeNo \"2.5\"");
        add("zero soil number", catalogueWith({"0,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "SoilTypeNo \"0\"");
        add("duplicate number", catalogueWith({"1,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "SoilTypeNo 1 was already given on line 3");
        add("duplicate name", catalogueWith({"", "# gap", "2,sand,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 6, "already given on line 3");
        add("empty name", catalogueWith({"2,,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "the Name is empty");
        add("theta_s below theta_r", catalogueWith({"2,Loam,medium,20,USDA loam,0.2,0.25,0.036,1.56,24.96"}), 4,
            "theta_s 0.25 must exceed theta_r 0.2 by at least 0.1 m3/m3");
        add("theta_s above one", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,1.2,0.036,1.56,24.96"}), 4,
            "theta_s 1.2 m3/m3 lies outside 0.25 to 0.7 m3/m3");
        add("negative theta_r", catalogueWith({"2,Loam,medium,20,USDA loam,-0.01,0.43,0.036,1.56,24.96"}), 4, "theta_r -0.01 m3/m3 lies outside");
        add("n not above one", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.0,24.96"}), 4, "n 1 lies outside 1.09 to 2.8");
        add("n beyond the range", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,10,24.96"}), 4, "n 10 lies outside");
        add("alpha not positive", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,-0.036,1.56,24.96"}), 4, "alpha -3.6 1/m lies outside");
        add("alpha too small", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.0001,1.56,24.96"}), 4, "alpha 0.01 1/m lies outside 0.2 to 15 1/m");
        add("Ks zero", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,0"}), 4, "Ks 0 m/s lies outside");
        add("Ks of a gravel", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,8.64e9"}), 4, "Ks 1000 m/s lies outside 1e-08 to 0.0001 m/s");
        add("every problem", catalogueWith({"2,Loam,medium,20,USDA loam,0.69,0.7,0.0001,10,8.64e9"}), 4,
            "theta_r 0.69 m3/m3 lies outside 0 to 0.25 m3/m3; alpha 0.01 1/m lies outside 0.2 to 15 1/m; n 10 lies outside 1.09 to 2.8; Ks 1000 m/s");
        add("Ks not suiting alpha", catalogueWith({"2,Clay,fine,60,USDA clay,0.068,0.38,0.008,1.09,864"}), 4,
            "Ks 0.0001 m/s does not suit alpha 0.8 1/m and n 1.09: fine-textured soils (n below 1.85) with pores of that size are accepted "
            "with Ks from 1e-08 to 3.2e-06 m/s");
        add("high alpha, small n", catalogueWith({"2,Loam,medium,20,USDA loam,0.078,0.43,0.15,1.56,24.96"}), 4,
            "alpha 15 1/m does not suit n 1.56: fine-textured soils (n below 1.85) are accepted with alpha from 0.2 to 8 1/m");
        add("NUL in the name", catalogueWith({QStringLiteral("2,Lo") + QChar(0) + QStringLiteral("am,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96")}), 4,
            "the Name holds a character that is not printable (U+0000) at position 3");
        add("carriage return in the name", catalogueWith({"2,\"Lo\ram\",medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "(U+000d)");
        add("long name", catalogueWith({QStringLiteral("2,%1,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96").arg(QString(101, QLatin1Char('L')))}), 4,
            "the Name has 101 characters; at most 100 are allowed");
        add("long classification", catalogueWith({QStringLiteral("2,Loam,medium,20,%1,0.078,0.43,0.036,1.56,24.96").arg(QString(201, QLatin1Char('c')))}), 4,
            "the Soil Classification has 201 characters; at most 200 are allowed");
        add("clay out of range", catalogueWith({"2,Loam,medium,120,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "Clay (%) 120 is outside 0 to 100");
        add("open quote", catalogueWith({"2,\"Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "a quote in field 2 is not closed");
        add("text after quote", catalogueWith({"2,\"Loam\"x,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"}), 4, "text after a closing quote in field 2");
        add("unknown column", "# c\n\nSoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day),pH\n", 3,
            "unknown column \"pH\"");
        add("unknown unit", "SoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/ft),n,Ks (cm/day)\n", 1,
            "unknown unit \"1/ft\" for column alpha");
        add("Ks without unit", "SoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks\n", 1,
            "must state the unit of Ks");
        add("missing column", "SoilTypeNo,Name,Texture,Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n", 1,
            "the header lacks the column Clay (%)");
        add("repeated column", "SoilTypeNo,Name,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n", 1,
            "column \"Name\" appears twice");
    }

    void badLine()
    {
        QFETCH(QString, text);
        QFETCH(int, line);
        QFETCH(QString, what);
        try {
            SoilCatalogue::fromText(text, QStringLiteral("bad.csv"));
            QFAIL("a bad catalogue was accepted");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::Catalogue));
            const QString prefix = QStringLiteral("bad.csv line %1: ").arg(line);
            QVERIFY2(e.description().startsWith(prefix), qPrintable(e.description()));
            QVERIFY2(e.description().contains(what), qPrintable(e.description()));
        }
    }

    void numbersWithoutGaps()
    {
        // The program takes a soil's place in its list for its number: the
        // numbers must run on from the first one without a gap.
        const SoilCatalogue cat = SoilCatalogue::fromText(
            catalogueWith({QStringLiteral("2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96"),
                           QStringLiteral("4,Silt,medium,6,USDA silt,0.034,0.46,0.016,1.37,6.0")}),
            QStringLiteral("gap.csv"));
        try {
            cat.requireNumbersFrom(1);
            QFAIL("the gap after 2 was accepted");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::Catalogue));
            QVERIFY2(e.description().startsWith(QStringLiteral("gap.csv line 5: SoilTypeNo 4 leaves a gap: the soils must be numbered 1, 2, ...")),
                     qPrintable(e.description()));
        }
        // Not starting at the first number (13 after a base's 12 soils) is a gap too.
        try {
            cat.requireNumbersFrom(13);
            QFAIL("soils numbered from 1 were accepted after 12");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().startsWith(QStringLiteral("gap.csv line 3: SoilTypeNo 1 leaves a gap")), qPrintable(e.description()));
        }
        const SoilCatalogue good = SoilCatalogue::fromText(
            catalogueWith({QStringLiteral("2,Loam,medium,20,USDA loam,0.078,0.43,0.036,1.56,24.96")}), QStringLiteral("good.csv"));
        good.requireNumbersFrom(1);
    }

    void numbersWithinRange()
    {
        // After a base whose last soil is the largest int the next number does
        // not exist: refused rather than wrapped round to a negative one.
        SoilCatalogue cat = SoilCatalogue::fromText(QStringLiteral(
            "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
            "Field 7,medium,,lab sample,0.078,0.43,0.036,1.56,24.96\n"), QStringLiteral("u.csv"));
        cat.renumberFrom(qint64(std::numeric_limits<int>::max()));
        QCOMPARE(cat.soils().front().number, std::numeric_limits<int>::max());
        try {
            cat.renumberFrom(qint64(std::numeric_limits<int>::max()) + 1);
            QFAIL("a number beyond the largest SoilTypeNo was given");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().contains(QStringLiteral("beyond the largest SoilTypeNo 2147483647")), qPrintable(e.description()));
        }
    }

    void emptyOrMissingFile()
    {
        QVERIFY_THROWS_EXCEPTION(UlvexError, SoilCatalogue::fromText(QStringLiteral("# only a comment\n\n"), QStringLiteral("e.csv")));
        QVERIFY_THROWS_EXCEPTION(UlvexError, SoilCatalogue::fromText(QString::fromLatin1(kHeader) + QLatin1Char('\n'), QStringLiteral("e.csv")));
        try {
            SoilCatalogue::fromFile(QStringLiteral("/nonexistent/soils.csv"));
            QFAIL("a missing file was accepted");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().contains(QStringLiteral("/nonexistent/soils.csv")), qPrintable(e.description()));
            QVERIFY2(e.description().contains(QStringLiteral("cannot open")), qPrintable(e.description()));
        }
    }
};

QTEST_GUILESS_MAIN(TstToolCatalogue)
#include "tst_tool_catalogue.moc"
