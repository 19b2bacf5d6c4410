// The build driver and the database writer of trickle-build, run with a test
// double in place of the solver (so that these tests are fast and their expected
// rows known): table layout, --only, the flow rates and hours of the sweep,
// refusing to overwrite, no partial file after a failed case, byte-identical output.

#include "StandInSolver.h"
#include "ToolTestSupport.h"

#include "builder/DatabaseWriter.h"
#include "builder/TrickleBuild.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <limits>

#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>

namespace {

using solver::CaseResult;
using solver::CaseSpec;
using solver::Emitter;

CaseResult fakeRun(const CaseSpec &s) { return standInRun(s); }

double fakeK(int soil, int flowNo, double head)
{
    return standInK(soil, TrickleBuild::defaultFlowRates()[size_t(flowNo - 1)], head);
}

const QString kSoils = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");

TrickleBuildOptions optionsFor(const QString &out)
{
    TrickleBuildOptions o;
    o.soilsPath = kSoils;
    o.outPath = out;
    o.threads = 2;
    o.buildDate = QStringLiteral("2026-01-01T00:00:00Z");
    o.solverSettings = QStringLiteral("test double");
    return o;
}

TrickleBuildSummary build(const TrickleBuildOptions &o, TrickleBuild::Runner runner = fakeRun)
{
    return standInBuild(o, std::move(runner));
}

} // namespace

class TstToolDatabase : public QObject
{
    Q_OBJECT

private slots:
    void fullSweepLayout()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        std::atomic<int> calls{0};
        const TrickleBuildSummary sum = build(optionsFor(out), [&](const CaseSpec &s) { ++calls; return fakeRun(s); });
        QCOMPARE(calls.load(), 360);
        QCOMPARE(sum.cases, 360);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("trickle.db")});

        ToolDb db(out);
        QVERIFY(db.ok());
        QCOMPARE(db.tables(), expectedTables());

        QCOMPARE(db.columns(QStringLiteral("SoilTypeData")),
                 QStringList({"SoilTypeNo INTEGER", "Name TEXT", "Texture TEXT", "Clay (%) REAL", "Soil Classification TEXT",
                              "theta_r (m3/m3) REAL", "theta_s (m3/m3) REAL", "alpha (1/m) REAL", "n (-) REAL", "Ks (m/s) REAL"}));
        QCOMPARE(db.columns(QStringLiteral("FlowRateData")), QStringList({"FlowRateNo INTEGER", "FlowRate REAL"}));
        QCOMPARE(db.columns(QStringLiteral("TimeData")), QStringList({"ID INTEGER", "Time INTEGER"}));
        const QStringList surface = {"SoilType INTEGER", "FlowRate INTEGER", "Time INTEGER", "r REAL", "z REAL"};
        const QStringList buried = {"SoilType INTEGER", "FlowRate INTEGER", "Time INTEGER", "r REAL", "zplus REAL", "zminus REAL"};
        for (const char *t : {"SurfaceData-c3", "SurfaceData-c6", "SurfaceData-c"})
            QCOMPARE(db.columns(QString::fromLatin1(t)), surface);
        for (const char *t : {"BuriedData-c3", "BuriedData-c6", "BuriedData-c"})
            QCOMPARE(db.columns(QString::fromLatin1(t)), buried);
        QCOMPARE(db.columns(QStringLiteral("BuriedData")),
                 QStringList({"ID INTEGER", "SoilType INTEGER", "FlowRate INTEGER", "Time INTEGER", "r REAL", "zplus REAL", "zminus REAL"}));
        QCOMPARE(db.columns(QStringLiteral("SurfaceData")),
                 QStringList({"ID INTEGER", "SoilType INTEGER", "FlowRate INTEGER", "Time INTEGER", "z REAL", "r REAL"}));
        QCOMPARE(db.columns(QStringLiteral("BuildInfo")), QStringList({"key TEXT", "value TEXT"}));
        QCOMPARE(db.columns(QStringLiteral("CaseInfo")),
                 QStringList({"SoilType INTEGER", "FlowRate INTEGER", "InitialHead REAL", "Emitter TEXT", "MassBalanceError REAL",
                              "TimeSteps INTEGER", "MeshChange REAL"}));
        QCOMPARE(db.columns(QStringLiteral("PondData")),
                 QStringList({"SoilType INTEGER", "FlowRate INTEGER", "InitialHead REAL", "Time INTEGER", "PondRadius REAL"}));
        // keyed like the other tables, without a rowid
        QVERIFY(db.value(QStringLiteral("SELECT sql FROM sqlite_master WHERE name = 'PondData'")).toString()
                    .contains(QLatin1String("PRIMARY KEY (SoilType, FlowRate, InitialHead, Time)) WITHOUT ROWID")));

        // Row counts.
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM SoilTypeData")).toInt(), 12);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM TimeData")).toInt(), 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 360);
        for (const QString &t : expectedTables()) {
            if (t.contains(QLatin1String("Data")) && t != QLatin1String("SoilTypeData") && t != QLatin1String("FlowRateData")
                && t != QLatin1String("TimeData") && t != QLatin1String("PondData"))
                QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM \"%1\"").arg(t)).toInt(), 12 * 5 * 24);
        }

        // Lookup contents.
        QCOMPARE(db.rows(QStringLiteral("SELECT FlowRateNo, FlowRate FROM FlowRateData ORDER BY FlowRateNo")),
                 QList<QVariantList>({{1, 0.5}, {2, 1.0}, {3, 2.0}, {4, 4.0}, {5, 8.0}}));
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM TimeData WHERE ID = Time AND ID BETWEEN 1 AND 24")).toInt(), 24);
        const auto loam = db.rows(QStringLiteral("SELECT * FROM SoilTypeData WHERE SoilTypeNo = 4")).first();
        QCOMPARE(loam.at(1).toString(), QStringLiteral("Loam"));
        QCOMPARE(loam.at(2).toString(), QStringLiteral("medium"));
        QVERIFY(qAbs(loam.at(7).toDouble() - 3.6) < 1e-12);
        QVERIFY(qAbs(loam.at(9).toDouble() - 24.96 / 100 / 86400) < 1e-18);

        // Keys are stored as integers, lengths as reals.
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM \"BuriedData-c6\" WHERE typeof(SoilType) = 'integer' AND "
                                         "typeof(FlowRate) = 'integer' AND typeof(Time) = 'integer' AND typeof(r) = 'real' "
                                         "AND typeof(zplus) = 'real' AND typeof(zminus) = 'real'")).toInt(), 1440);

        // The program's own query, in its bracketed dialect, finds the solver's numbers.
        const auto rows = db.rows(QStringLiteral("Select * From [SurfaceData-c6] Where SoilType = 4 And FlowRate = 3 And Time <= 3 Order By Time"));
        QCOMPARE(rows.size(), 3);
        const double k = fakeK(4, 3, -6.0);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(rows[i].at(2).toInt(), i + 1);
            QCOMPARE(rows[i].at(3).toDouble(), 0.01 * (i + 1) + k);
            QCOMPARE(rows[i].at(4).toDouble(), 0.02 * (i + 1) + k);
        }
        const auto b = db.rows(QStringLiteral("Select r, zplus, zminus From [BuriedData-c3] Where SoilType = 12 And FlowRate = 5 And Time = 24"));
        QCOMPARE(b.size(), 1);
        QCOMPARE(b[0].at(0).toDouble(), 0.24 + fakeK(12, 5, -3.0));
        QCOMPARE(b[0].at(1).toDouble(), 0.48 + fakeK(12, 5, -3.0));
        QCOMPARE(b[0].at(2).toDouble(), 0.12 + fakeK(12, 5, -3.0));

        // Export tables: the dry fronts, in the export's column order.
        const auto sx = db.rows(QStringLiteral("Select * From SurfaceData Where SoilType = 2 And FlowRate = 1 Order By Time"));
        QCOMPARE(sx.size(), 24);
        QCOMPARE(sx[4].at(3).toInt(), 5);
        QCOMPARE(sx[4].at(4).toDouble(), 0.10 + fakeK(2, 1, -10.0)); // z
        QCOMPARE(sx[4].at(5).toDouble(), 0.05 + fakeK(2, 1, -10.0)); // r
        const auto bx = db.rows(QStringLiteral("Select * From BuriedData Where SoilType = 2 And FlowRate = 1 Order By Time"));
        QCOMPARE(bx.size(), 24);
        QCOMPARE(bx[4].at(4).toDouble(), 0.05 + fakeK(2, 1, -10.0));  // r
        QCOMPARE(bx[4].at(5).toDouble(), 0.10 + fakeK(2, 1, -10.0));  // zplus
        QCOMPARE(bx[4].at(6).toDouble(), 0.025 + fakeK(2, 1, -10.0)); // zminus
        QCOMPARE(db.value(QStringLiteral("SELECT count(DISTINCT ID) FROM BuriedData")).toInt(), 1440);

        // BuildInfo and CaseInfo.
        QCOMPARE(db.buildInfo(QStringLiteral("build_date")), QStringLiteral("2026-01-01T00:00:00Z"));
        QCOMPARE(db.buildInfo(QStringLiteral("front_threshold")), QStringLiteral("0.1"));
        QCOMPARE(db.buildInfo(QStringLiteral("solver_settings")), QStringLiteral("test double"));
        QCOMPARE(db.buildInfo(QStringLiteral("builder_version")), QStringLiteral(ULVEX_VERSION));
        QCOMPARE(db.buildInfo(QStringLiteral("cases")), QStringLiteral("360"));
        const double largest = standInMassBalance(12, 8, -10, true);
        QVERIFY(qAbs(db.buildInfo(QStringLiteral("max_mass_balance_error")).toDouble() - largest) < 1e-9);
        QVERIFY(qAbs(sum.largestMassBalanceError - largest) < 1e-15);
        QCOMPARE(db.buildInfo(QStringLiteral("max_mass_balance_case")), QStringLiteral("soil 12 (Clay), 8 L/h, -10 m, buried"));
        QCOMPARE(db.value(QStringLiteral("SELECT MassBalanceError FROM CaseInfo WHERE SoilType = 3 AND FlowRate = 2 AND "
                                         "InitialHead = -6 AND Emitter = 'surface'")).toDouble(),
                 standInMassBalance(3, 1, -6, false));
        QCOMPARE(db.value(QStringLiteral("SELECT TimeSteps FROM CaseInfo WHERE SoilType = 7 AND FlowRate = 1 AND "
                                         "InitialHead = -3 AND Emitter = 'buried'")).toInt(), 107);
        QCOMPARE(db.value(QStringLiteral("SELECT MeshChange FROM CaseInfo WHERE SoilType = 7 AND FlowRate = 2 AND "
                                         "InitialHead = -3 AND Emitter = 'buried'")).toDouble(), 0.001 * 7 + 0.0001 * 1);
        QCOMPARE(db.buildInfo(QStringLiteral("max_mesh_change_case")), QStringLiteral("soil 12 (Clay), 8 L/h, -3 m, surface"));
        QVERIFY(db.buildInfo(QStringLiteral("check_mesh")).startsWith(QLatin1String("yes")));
        QCOMPARE(db.buildInfo(QStringLiteral("surface_source")), QStringLiteral("ponded disc"));

        // PondData: every hour of every surface case, none of the buried ones
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM PondData")).toInt(), 12 * 5 * 3 * 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM PondData WHERE typeof(SoilType) = 'integer' AND typeof(FlowRate) = 'integer'"
                                         " AND typeof(InitialHead) = 'real' AND typeof(Time) = 'integer' AND typeof(PondRadius) = 'real'"))
                     .toInt(), 12 * 5 * 3 * 24);
        QCOMPARE(db.value(QStringLiteral("SELECT PondRadius FROM PondData WHERE SoilType = 4 AND FlowRate = 3 AND InitialHead = -6 AND Time = 5"))
                     .toDouble(), 0.01 + 0.002 * 5 + fakeK(4, 3, -6.0));
    }

    void meshChangeIsNullWhenNotChecked()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("t.db"));
        TrickleBuildOptions o = optionsFor(out);
        o.only = {TrickleBuild::parseCase(QStringLiteral("4,5,6,buried")), TrickleBuild::parseCase(QStringLiteral("4,5,6,surface"))};
        build(o, [](const CaseSpec &s) {
            CaseResult r = fakeRun(s);
            r.meshChange = std::numeric_limits<double>::quiet_NaN();
            return r;
        });
        ToolDb db(out);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE MeshChange IS NULL")).toInt(), 2);
        QCOMPARE(db.buildInfo(QStringLiteral("check_mesh")), QStringLiteral("no"));
        QVERIFY(db.buildInfo(QStringLiteral("max_mesh_change")).isEmpty());
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM PondData")).toInt(), 24);
    }

    void surfaceSourceIsRecorded()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("t.db"));
        TrickleBuildOptions o = optionsFor(out);
        o.only = {TrickleBuild::parseCase(QStringLiteral("4,5,6,surface"))};
        o.surfaceFluxRadius = TrickleBuild::parseSurfaceSource(QStringLiteral("disc:0.05"));
        build(o);
        ToolDb db(out);
        QCOMPARE(db.buildInfo(QStringLiteral("surface_source")), QStringLiteral("flux disc 0.05 m"));
        for (const char *bad : {"disc:0", "disc:-1", "disc:x", "0.05", "disc:2", "ring:0.05"}) {
            try {
                TrickleBuild::parseSurfaceSource(QString::fromLatin1(bad));
                QFAIL(bad);
            } catch (const UlvexError &e) {
                QCOMPARE(e.number(), int(TrickleBuildErrors::Usage));
            }
        }
    }

    void casesReachTheSolverAsSpecified()
    {
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("t.db")));
        o.only = {TrickleBuild::parseCase(QStringLiteral("4,5,6,buried"))};
        o.frontThreshold = 0.25;
        CaseSpec seen;
        int calls = 0;
        build(o, [&](const CaseSpec &s) { seen = s; ++calls; return fakeRun(s); });
        QCOMPARE(calls, 1);
        QCOMPARE(seen.soil.number, 4);
        QCOMPARE(QString::fromStdString(seen.soil.name), QStringLiteral("Loam"));
        QCOMPARE(seen.flowLitresPerHour, 8.0);
        QCOMPARE(seen.initialHead, -6.0);
        QVERIFY(seen.emitter == Emitter::Buried);
        QCOMPARE(seen.hours, 24);
        QCOMPARE(seen.frontThreshold, 0.25);
        ToolDb db(o.outPath);
        QCOMPARE(db.buildInfo(QStringLiteral("front_threshold")), QStringLiteral("0.25"));
    }

    void onlyHoldsThatCase()
    {
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("only.db")));
        o.only = {TrickleBuild::parseCase(QStringLiteral("4,5,10,buried"))};
        build(o);
        ToolDb db(o.outPath);
        QCOMPARE(db.tables(), expectedTables());
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM SoilTypeData")).toInt(), 12);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM FlowRateData")).toInt(), 5);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM TimeData")).toInt(), 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [BuriedData-c] WHERE SoilType = 4 AND FlowRate = 5")).toInt(), 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [BuriedData-c]")).toInt(), 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM BuriedData WHERE SoilType = 4 AND FlowRate = 5")).toInt(), 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM BuriedData")).toInt(), 24);
        for (const char *t : {"BuriedData-c3", "BuriedData-c6", "SurfaceData-c3", "SurfaceData-c6", "SurfaceData-c", "SurfaceData"})
            QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM \"%1\"").arg(QString::fromLatin1(t))).toInt(), 0);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 1);
        QCOMPARE(db.buildInfo(QStringLiteral("cases")), QStringLiteral("1"));

        // A wet case does not reach the export tables.
        TrickleBuildOptions w = optionsFor(dir.filePath(QStringLiteral("wet.db")));
        w.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,s")), TrickleBuild::parseCase(QStringLiteral("2,1,-6,surface"))};
        build(w);
        ToolDb wdb(w.outPath);
        QCOMPARE(wdb.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c3]")).toInt(), 24);
        QCOMPARE(wdb.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c6]")).toInt(), 24);
        QCOMPARE(wdb.value(QStringLiteral("SELECT count(*) FROM SurfaceData")).toInt(), 0);
    }

    void parseCase()
    {
        const TrickleBuildCase c = TrickleBuild::parseCase(QStringLiteral(" 12 , 1 , -3 , Buried "));
        QCOMPARE(c.soil, 12);
        QCOMPARE(c.flowRateNo, 1);
        QCOMPARE(c.initialHead, -3.0);
        QVERIFY(c.emitter == Emitter::Buried);
        for (const char *bad : {"1,2,3", "1,2,3,up", "1,0,3,surface", "1,0.5,3,surface", "x,1,3,surface", "1,1,5,surface", "1,1,3,surface,9"}) {
            try {
                TrickleBuild::parseCase(QString::fromLatin1(bad));
                QFAIL(bad);
            } catch (const UlvexError &e) {
                QCOMPARE(e.number(), int(TrickleBuildErrors::Usage));
                QVERIFY(e.description().contains(QString::fromLatin1(bad)));
            }
        }
        // A soil the catalogue does not hold, and a case given twice.
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("x.db")));
        o.only = {TrickleBuild::parseCase(QStringLiteral("13,1,3,surface"))};
        QVERIFY_THROWS_EXCEPTION(UlvexError, build(o));
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("1,1,-3,s"))};
        QVERIFY_THROWS_EXCEPTION(UlvexError, build(o));
        QVERIFY(QDir(dir.path()).isEmpty(QDir::Files | QDir::Hidden));
    }

    void onlyRangesOverTheFlowList()
    {
        // FLOW 6 is beyond the five standard flow rates, but the sixth of a list of six.
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("t.db")));
        o.only = {TrickleBuild::parseCase(QStringLiteral("2,6,3,surface"))};
        try {
            build(o);
            QFAIL("FlowRateNo 6 of five flow rates was accepted");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::Usage));
            QVERIFY2(e.description().contains(QStringLiteral("FLOW must be a FlowRateNo from 1 (0.5 L/h) to 5 (8 L/h)")), qPrintable(e.description()));
        }
        QVERIFY(QDir(dir.path()).isEmpty(QDir::Files | QDir::Hidden));
        o.flowRates = std::vector<double>{0.5, 1, 2, 4, 8, 16};
        CaseSpec seen;
        build(o, [&](const CaseSpec &s) { seen = s; return fakeRun(s); });
        QCOMPARE(seen.flowLitresPerHour, 16.0);
        ToolDb db(o.outPath);
        QCOMPARE(db.rows(QStringLiteral("SELECT DISTINCT SoilType, FlowRate FROM [SurfaceData-c3]")), QList<QVariantList>({{2, 6}}));
    }

    void sweepFromOptions_data()
    {
        QTest::addColumn<QList<double>>("flows");
        QTest::addColumn<int>("hours");
        QTest::newRow("eight flow rates") << QList<double>{0.5, 1, 1.6, 2, 3, 4, 6, 8} << 24;
        QTest::newRow("48 hours") << QList<double>{0.5, 1, 2, 4, 8} << 48;
        QTest::newRow("72 hours, two flow rates") << QList<double>{0.25, 12.5} << 72;
    }

    void sweepFromOptions()
    {
        QFETCH(QList<double>, flows);
        QFETCH(int, hours);
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("sweep.db")));
        o.flowRates = std::vector<double>(flows.begin(), flows.end());
        o.hours = hours;
        std::mutex mutex;
        QList<double> seenFlows;
        QList<int> seenHours;
        const TrickleBuildSummary sum = build(o, [&](const CaseSpec &s) {
            std::lock_guard<std::mutex> lock(mutex);
            seenFlows << s.flowLitresPerHour;
            seenHours << s.hours;
            return fakeRun(s);
        });
        const int cases = 12 * int(flows.size()) * 6;
        QCOMPARE(sum.cases, cases);
        QCOMPARE(seenHours.count(hours), cases);
        for (double q : flows)
            QCOMPARE(seenFlows.count(q), 12 * 6);

        ToolDb db(o.outPath);
        QList<QVariantList> flowRows;
        for (int i = 0; i < flows.size(); ++i)
            flowRows << QVariantList{i + 1, flows[i]};
        QCOMPARE(db.rows(QStringLiteral("SELECT FlowRateNo, FlowRate FROM FlowRateData ORDER BY FlowRateNo")), flowRows);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM TimeData")).toInt(), hours);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM TimeData WHERE ID = Time AND ID BETWEEN 1 AND %1").arg(hours)).toInt(), hours);
        for (const QString &t : expectedTables()) {
            if (t.startsWith(QLatin1String("SurfaceData")) || t.startsWith(QLatin1String("BuriedData")))
                QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM \"%1\"").arg(t)).toInt(), 12 * int(flows.size()) * hours);
        }
        QCOMPARE(db.value(QStringLiteral("SELECT max(Time) FROM [BuriedData-c6]")).toInt(), hours);
        QCOMPARE(db.value(QStringLiteral("SELECT max(FlowRate) FROM SurfaceData")).toInt(), int(flows.size()));
        // The last flow rate's front at the last hour holds the stand-in's numbers for that flow.
        QCOMPARE(db.value(QStringLiteral("SELECT r FROM [SurfaceData-c3] WHERE SoilType = 5 AND FlowRate = %1 AND Time = %2")
                              .arg(flows.size()).arg(hours)).toDouble(),
                 0.01 * hours + standInK(5, flows.last(), -3.0));
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), cases);
        QCOMPARE(db.buildInfo(QStringLiteral("hours")), QString::number(hours));
        QStringList texts;
        for (double q : flows)
            texts << QString::number(q);
        QCOMPARE(db.buildInfo(QStringLiteral("flow_rates_l_per_h")), texts.join(QLatin1Char(',')));
        QCOMPARE(db.buildInfo(QStringLiteral("cases")), QString::number(cases));
    }

    void badSweepIsRefused_data()
    {
        QTest::addColumn<QList<double>>("flows"); // empty: the default
        QTest::addColumn<int>("hours");           // 0 is itself bad; -1: the default
        QTest::addColumn<QString>("message");
        QTest::newRow("0 hours") << QList<double>() << 0 << QStringLiteral("--hours 0: the number of hours must be a whole number from 1 to 72");
        QTest::newRow("73 hours") << QList<double>() << 73 << QStringLiteral("--hours 73: the number of hours must be a whole number from 1 to 72");
        QTest::newRow("decreasing") << QList<double>{1, 0.5} << -1 << QStringLiteral("--flows 1,0.5: the flow rates must be positive and strictly increasing");
        QTest::newRow("repeated") << QList<double>{0.5, 1, 1} << -1 << QStringLiteral("--flows 0.5,1,1: the flow rates must be positive");
        QTest::newRow("zero") << QList<double>{0, 1} << -1 << QStringLiteral("--flows 0,1: the flow rates must be positive");
        QTest::newRow("negative") << QList<double>{-2} << -1 << QStringLiteral("--flows -2: the flow rates must be positive");
        QTest::newRow("not a number") << QList<double>{0.5, std::nan("")} << -1 << QStringLiteral("the flow rates must be positive");
    }

    void badSweepIsRefused()
    {
        QFETCH(QList<double>, flows);
        QFETCH(int, hours);
        QFETCH(QString, message);
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("t.db")));
        if (!flows.isEmpty())
            o.flowRates = std::vector<double>(flows.begin(), flows.end());
        if (hours >= 0)
            o.hours = hours;
        expectRefused(o, TrickleBuildErrors::Usage, QString(), message);
        QVERIFY(QDir(dir.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void catalogueWithoutSoilTypeNo()
    {
        // Without the column the soils are numbered from 1 in the order of the file.
        QTemporaryDir dir;
        const QString soils = dir.filePath(QStringLiteral("unnumbered.csv"));
        QVERIFY(writeFileBytes(soils,
            "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
            "Silt,medium,6,USDA silt,0.034,0.46,0.016,1.37,6.0\n"
            "# a comment between soils\n"
            "Sand,coarse,3,USDA sand,0.045,0.43,0.145,2.68,712.8\n"));
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("t.db")));
        o.soilsPath = soils;
        build(o);
        ToolDb db(o.outPath);
        QCOMPARE(db.rows(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData ORDER BY SoilTypeNo")),
                 QList<QVariantList>({{1, "Silt"}, {2, "Sand"}}));
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [BuriedData-c3] WHERE SoilType = 2")).toInt(), 5 * 24);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 60);
    }

    void refusesToOverwrite()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        QVERIFY(writeFileBytes(out, "keep me"));
        TrickleBuildOptions o = optionsFor(out);
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface"))};
        // Refused before computing anything.
        expectRefused(o, TrickleBuildErrors::OutputExists, QString(), QStringLiteral("--force"));
        QCOMPARE(fileBytes(out), QByteArray("keep me"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);

        o.force = true;
        build(o);
        ToolDb db(out);
        QVERIFY(db.ok());
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c3]")).toInt(), 24);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("trickle.db")});
    }

    void failedCaseLeavesNoFile_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("why");
        // "case <name>: <reason>: <what happened>", the reason one of the
        // fixed phrases the program turns into words for the user.
        QTest::newRow("front reached boundary")
            << 0 << QStringLiteral("buried: domain edge: a front reached the boundary of the solution domain (edge at r = 3 m)");
        QTest::newRow("solver threw") << 1 << QStringLiteral("buried: solver error: no convergence");
        QTest::newRow("missing fronts") << 2 << QStringLiteral("buried: incomplete: the solver returned 23 front(s), not one for each hour 1 to 24");
        QTest::newRow("not a number") << 3 << QStringLiteral("buried: mass balance: the mass balance error is not a number");
        QTest::newRow("water lost") << 4 << QStringLiteral("buried: mass balance: the water balance is off by 29.8 % of the water given "
                                                           "(at most 0.1 % is accepted)");
        QTest::newRow("just beyond the bound") << 5 << QStringLiteral("buried: mass balance: the water balance is off by 0.101 %");
        QTest::newRow("no front") << 6 << QStringLiteral("buried: no front: the wetting front at hour 1 has no extent "
                                                         "(r = 0.0000 m, zplus = 0.0000 m, zminus = 0.0000 m)");
        QTest::newRow("no front above") << 7 << QStringLiteral("buried: no front: the wetting front at hour 5 has no extent");
        QTest::newRow("front recedes") << 8 << QStringLiteral("buried: front recedes: zplus falls from 0.2500 m at hour 12 to 0.2400 m at hour 13");
        QTest::newRow("stopped by a limit") << 9 << QStringLiteral("buried: time limit: the case used more than 600 s of CPU time");
    }

    void failedCaseLeavesNoFile()
    {
        QFETCH(int, mode);
        QFETCH(QString, why);
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        TrickleBuildOptions o = optionsFor(out);
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("3,2,3,buried")),
                  TrickleBuild::parseCase(QStringLiteral("5,1,10,surface"))};
        auto runner = [mode](const CaseSpec &s) {
            CaseResult r = fakeRun(s);
            if (s.soil.number == 3) {
                switch (mode) {
                case 0: r.reachedBoundary = true; r.message = "edge at r = 3 m"; break;
                case 1: throw std::runtime_error("no convergence");
                case 2: r.fronts.pop_back(); break;
                case 3: r.massBalanceError = std::nan(""); break;
                case 4: r.massBalanceError = 0.298; break;
                case 5: r.massBalanceError = 0.00101; break;
                case 6: for (auto &f : r.fronts) f.r = f.down = f.up = 0; break;
                case 7: r.fronts[4].up = 0; break;
                case 8: r.fronts[11].down = 0.25; r.fronts[12].down = 0.24; break;
                default: r.stopReason = "time limit"; r.message = "the case used more than 600 s of CPU time"; r.fronts.clear(); break;
                }
            }
            return r;
        };
        try {
            build(o, runner);
            QFAIL("a failed case gave a database");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::CaseFailed));
            QVERIFY2(e.description().contains(QStringLiteral("soil 3 (Sandy Loam), 1 L/h, -3 m, buried")), qPrintable(e.description()));
            QVERIFY2(e.description().contains(why), qPrintable(e.description()));
        }
        // Neither the database nor its temporary file nor a journal is left behind.
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
    }

    void keepGoingListsEveryFailure()
    {
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("trickle.db")));
        o.keepGoing = true;
        o.threads = 1;
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("3,2,3,buried")),
                  TrickleBuild::parseCase(QStringLiteral("5,1,10,surface")), TrickleBuild::parseCase(QStringLiteral("6,1,10,surface"))};
        std::atomic<int> calls{0};
        try {
            build(o, [&](const CaseSpec &s) {
                ++calls;
                CaseResult r = fakeRun(s);
                r.reachedBoundary = s.soil.number == 3 || s.soil.number == 6;
                return r;
            });
            QFAIL("failed cases gave a database");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().startsWith(QStringLiteral("case soil 3 (Sandy Loam), 1 L/h, -3 m, buried: domain edge: a front reached")),
                     qPrintable(e.description()));
            QVERIFY2(e.description().contains(QStringLiteral("2 cases failed in all: soil 3 (Sandy Loam), 1 L/h, -3 m, buried; "
                                                             "soil 6 (Silt Loam), 0.5 L/h, -10 m, surface")),
                     qPrintable(e.description()));
        }
        QCOMPARE(calls.load(), 4); // every case ran
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());

        // Without it, the build stops at the first failure: on one thread the
        // cases after it are never started.
        o.keepGoing = false;
        calls = 0;
        QVERIFY_THROWS_EXCEPTION(UlvexError, build(o, [&](const CaseSpec &s) {
            ++calls;
            CaseResult r = fakeRun(s);
            r.reachedBoundary = s.soil.number == 3 || s.soil.number == 6;
            return r;
        }));
        QVERIFY(calls.load() < 4);
    }

    void outputIsDeterministic()
    {
        // Two builds, one on one thread and one on four with cases finishing out of
        // order, give the same bytes.
        QTemporaryDir dir;
        TrickleBuildOptions a = optionsFor(dir.filePath(QStringLiteral("a.db")));
        a.threads = 1;
        build(a);
        TrickleBuildOptions b = optionsFor(dir.filePath(QStringLiteral("b.db")));
        b.threads = 4;
        build(b, [](const CaseSpec &s) {
            // Early cases take longer, so later ones finish first.
            std::this_thread::sleep_for(std::chrono::microseconds(s.soil.number <= 1 ? 2000 : 0));
            return fakeRun(s);
        });
        const QByteArray ba = fileBytes(a.outPath), bb = fileBytes(b.outPath);
        QVERIFY(ba.size() > 10000);
        QVERIFY(ba == bb);

        // A different date is recorded, so the files differ: the date is really in there.
        TrickleBuildOptions c = optionsFor(dir.filePath(QStringLiteral("c.db")));
        c.buildDate = QStringLiteral("2026-01-02T00:00:00Z");
        build(c);
        QVERIFY(fileBytes(c.outPath) != ba);
    }

    void buildDateFromEnvironment()
    {
        QCOMPARE(TrickleBuild::buildDate(QStringLiteral("given")), QStringLiteral("given"));
        const QByteArray old = qgetenv("SOURCE_DATE_EPOCH");
        qputenv("SOURCE_DATE_EPOCH", "1700000000");
        QCOMPARE(TrickleBuild::buildDate(QString()), QStringLiteral("2023-11-14T22:13:20Z"));
        qputenv("SOURCE_DATE_EPOCH", "soon");
        QVERIFY_THROWS_EXCEPTION(UlvexError, TrickleBuild::buildDate(QString()));
        qunsetenv("SOURCE_DATE_EPOCH");
        const QDateTime now = QDateTime::fromString(TrickleBuild::buildDate(QString()), Qt::ISODate);
        QVERIFY(now.isValid());
        QVERIFY(qAbs(now.secsTo(QDateTime::currentDateTimeUtc())) < 60);
        if (!old.isEmpty())
            qputenv("SOURCE_DATE_EPOCH", old);
    }

    void frontTableNames()
    {
        QCOMPARE(DatabaseWriter::frontTable(Emitter::Surface, -3.0), QStringLiteral("SurfaceData-c3"));
        QCOMPARE(DatabaseWriter::frontTable(Emitter::Surface, -6.0), QStringLiteral("SurfaceData-c6"));
        QCOMPARE(DatabaseWriter::frontTable(Emitter::Buried, -10.0), QStringLiteral("BuriedData-c"));
        QVERIFY_THROWS_EXCEPTION(UlvexError, DatabaseWriter::frontTable(Emitter::Buried, -5.0));
    }

    void badThreshold()
    {
        QTemporaryDir dir;
        TrickleBuildOptions o = optionsFor(dir.filePath(QStringLiteral("t.db")));
        for (double f : {0.0, 1.0, -0.1, 1.5}) {
            o.frontThreshold = f;
            QVERIFY_THROWS_EXCEPTION(UlvexError, build(o));
        }
        QVERIFY(QDir(dir.path()).isEmpty(QDir::Files | QDir::Hidden));
    }
};

QTEST_GUILESS_MAIN(TstToolDatabase)
#include "tst_tool_database.moc"
