// Builds on a base database (trickle-build --base), with the stand-in solver:
// the base's tables and rows are carried over unchanged, the added soils get every
// case of the base's sweep and are numbered after the base's soils, BuildInfo
// records the chain of builds, soils are dropped, and every bad base or catalogue
// is refused without changing the base or leaving a file behind, a full disk
// included.

#include "StandInSolver.h"
#include "ToolTestSupport.h"
#include "tests/common/FullDisk.h"

#include "builder/TrickleBuild.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <thread>

namespace {

using solver::CaseResult;
using solver::CaseSpec;

const QString kSoils = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");
const QString kBaseDate = QStringLiteral("2026-01-01T00:00:00Z");
const QString kAddDate = QStringLiteral("2026-02-02T00:00:00Z");
const char *const kHeader = "SoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)";
const char *const kUnnumberedHeader = "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)";
// Two soils to add, without numbers of their own.
const char *const kPeat = "Peat,organic,5,test soil,0.05,0.6,0.05,1.5,50";
const char *const kChalk = "Chalk,medium,10,test soil,0.04,0.4,0.02,1.4,20";

// The base of these tests: the twelve shipped soils over a small sweep that
// differs from the standard one in every respect, so that an added soil shows
// whether it was computed for the base's sweep.
const QList<double> kBaseFlows = {0.5, 1.6};
constexpr int kBaseHours = 3;
constexpr double kBaseThreshold = 0.2;

QString writeCatalogue(const QString &folder, const QString &name, const char *header, const QStringList &lines)
{
    const QString path = QDir(folder).filePath(name);
    const QByteArray text = (QString::fromLatin1(header) + QLatin1Char('\n') + lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8();
    return writeFileBytes(path, text) ? path : QString();
}

QString buildBase(const QString &folder, const QString &name = QStringLiteral("base.db"), const QString &soils = kSoils)
{
    TrickleBuildOptions o;
    o.soilsPath = soils;
    o.outPath = QDir(folder).filePath(name);
    o.threads = 2;
    o.buildDate = kBaseDate;
    o.solverSettings = QStringLiteral("test double");
    o.flowRates = std::vector<double>(kBaseFlows.begin(), kBaseFlows.end());
    o.hours = kBaseHours;
    o.frontThreshold = kBaseThreshold;
    standInBuild(o);
    return o.outPath;
}

TrickleBuildOptions addOptions(const QString &base, const QString &soils, const QString &out)
{
    TrickleBuildOptions o;
    o.basePath = base;
    o.soilsPath = soils;
    o.outPath = out;
    o.threads = 2;
    o.buildDate = kAddDate;
    o.solverSettings = QStringLiteral("test double");
    return o;
}

QStringList dirEntries(const QTemporaryDir &dir)
{
    return QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

// Overwrites a page in the middle of the database file with noise, as a
// failing disk would.
bool damagePage(const QString &path)
{
    QByteArray bytes = fileBytes(path);
    const int page = 4096, pages = int(bytes.size()) / page;
    if (pages < 4)
        return false;
    for (int i = 0; i < page; ++i)
        bytes[(pages / 2) * page + i] = char((i * 37 + 11) & 0xff);
    return writeFileBytes(path, bytes);
}

bool hasSoilType(const ToolDb &db, const QString &table)
{
    return db.columns(table).contains(QStringLiteral("SoilType INTEGER"));
}

// Every table of `before` is in `after` with the same rows, leaving out the rows
// `where` does not select in `after` (the added soils) and the BuildInfo keys
// that a build on a base sets.
void compareKeptRows(const ToolDb &before, const ToolDb &after, const QString &kept, const QStringList &changedKeys)
{
    QCOMPARE(after.tables(), before.tables());
    for (const QString &t : before.tables()) {
        QCOMPARE(after.columns(t), before.columns(t));
        QString where;
        if (t == QLatin1String("SoilTypeData"))
            where = QStringLiteral("SoilTypeNo IN (%1)").arg(kept);
        else if (hasSoilType(before, t))
            where = QStringLiteral("SoilType IN (%1)").arg(kept);
        else if (t == QLatin1String("BuildInfo"))
            where = QStringLiteral("key NOT IN ('%1') AND key NOT LIKE 'added_soil_%'").arg(changedKeys.join(QStringLiteral("','")));
        const auto rowsAfter = after.allRows(t, where);
        const auto rowsBefore = before.allRows(t, where);
        QVERIFY2(rowsAfter == rowsBefore, qPrintable(t));
    }
}

const QStringList kChangedKeys = {"build_date", "base_database", "base_build_date", "origin_build_date", "added_catalogues",
                                  "dropped_soils", "cases", "max_mass_balance_error", "max_mass_balance_case",
                                  "check_mesh", "max_mesh_change", "max_mesh_change_case"};

// The export rows of one soil: ID and the rest, in ID order.
QList<QVariantList> exportRows(const ToolDb &db, const QString &table, int soil)
{
    return db.rows(QStringLiteral("SELECT * FROM %1 WHERE SoilType = %2 ORDER BY ID").arg(table).arg(soil));
}

} // namespace

class TstToolBase : public QObject
{
    Q_OBJECT

private slots:
    void addSoils()
    {
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        // A table of the user's own must survive as it stands.
        QVERIFY(execSql(base, {"CREATE TABLE Notes (Note TEXT)", "INSERT INTO Notes VALUES ('kept as it stands')"}));
        const QByteArray baseBytes = fileBytes(base);
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat, kChalk});
        TrickleBuildOptions o = addOptions(base, soils, dir.filePath(QStringLiteral("added.db")));

        std::mutex mutex;
        std::vector<CaseSpec> seen;
        QStringList log;
        TrickleBuild b(o, [&](const CaseSpec &s) {
            std::lock_guard<std::mutex> lock(mutex);
            seen.push_back(s);
            return standInRun(s);
        });
        b.setLog([&](const QString &line) { log << line; });
        const TrickleBuildSummary sum = b.run();

        // Only the added soils are computed, every case of the base's sweep.
        QCOMPARE(sum.cases, 2 * 2 * 3 * 2);
        QCOMPARE(int(seen.size()), 24);
        for (const CaseSpec &s : seen) {
            QVERIFY(s.soil.number == 13 || s.soil.number == 14);
            QCOMPARE(s.hours, kBaseHours);
            QCOMPARE(s.frontThreshold, kBaseThreshold);
            QVERIFY(kBaseFlows.contains(s.flowLitresPerHour));
        }
        // Progress lines in the usual form.
        const QString firstDone = log.filter(QStringLiteral("[  1/24] soil 1")).value(0);
        QVERIFY2(firstDone.contains(QStringLiteral(", mass balance ")) && firstDone.contains(QStringLiteral("; elapsed "))
                     && firstDone.endsWith(QStringLiteral(" left")),
                 qPrintable(log.join(QLatin1Char('\n'))));
        QCOMPARE(log.filter(QStringLiteral("/24] soil ")).size(), 24);

        QCOMPARE(fileBytes(base), baseBytes);
        QCOMPARE(dirEntries(dir), QStringList({"added.db", "base.db", "peat.csv"}));
        ToolDb before(base), after(o.outPath);
        QVERIFY(after.ok());
        // Every table of the base, its own included, with the base's rows unchanged.
        compareKeptRows(before, after, QStringLiteral("1,2,3,4,5,6,7,8,9,10,11,12"), kChangedKeys);
        QCOMPARE(after.value(QStringLiteral("SELECT Note FROM Notes")).toString(), QStringLiteral("kept as it stands"));

        // Numbered after the base's last soil, in the order of the file.
        QCOMPARE(after.rows(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData WHERE SoilTypeNo > 12")),
                 QList<QVariantList>({{13, "Peat"}, {14, "Chalk"}}));
        // Their rows: the sweep's flow rates and hours, with the stand-in's numbers.
        for (const QString &t : expectedTables()) {
            if (hasSoilType(after, t) && t != QLatin1String("CaseInfo") && t != QLatin1String("PondData"))
                QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM \"%1\" WHERE SoilType = 14").arg(t)).toInt(), 2 * kBaseHours);
        }
        // the pond radius of every surface case of the added soils at every hour
        QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM PondData WHERE SoilType = 14")).toInt(), 2 * 3 * kBaseHours);
        QCOMPARE(after.value(QStringLiteral("SELECT PondRadius FROM PondData WHERE SoilType = 13 AND FlowRate = 2 AND InitialHead = -6 "
                                            "AND Time = 3")).toDouble(),
                 0.01 + 0.002 * 3 + standInK(13, 1.6, -6.0));
        QCOMPARE(after.value(QStringLiteral("SELECT r FROM [BuriedData-c6] WHERE SoilType = 13 AND FlowRate = 2 AND Time = 3")).toDouble(),
                 0.03 + standInK(13, 1.6, -6.0));
        QCOMPARE(after.value(QStringLiteral("SELECT zminus FROM [BuriedData-c6] WHERE SoilType = 13 AND FlowRate = 2 AND Time = 3")).toDouble(),
                 0.015 + standInK(13, 1.6, -6.0));
        QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 12 * 12 + 24);
        QCOMPARE(after.value(QStringLiteral("SELECT TimeSteps FROM CaseInfo WHERE SoilType = 14 AND FlowRate = 1 AND InitialHead = -3 "
                                            "AND Emitter = 'surface'")).toInt(), 114);

        // The export rows continue the base's ID sequence, soil by soil.
        for (const char *table : {"SurfaceData", "BuriedData"}) {
            const QString t = QString::fromLatin1(table);
            const int baseLast = before.value(QStringLiteral("SELECT max(ID) FROM %1").arg(t)).toInt();
            QCOMPARE(baseLast, 12 * 2 * kBaseHours);
            const auto peat = exportRows(after, t, 13), chalk = exportRows(after, t, 14);
            QCOMPARE(peat.size(), 2 * kBaseHours);
            QCOMPARE(peat.first().first().toInt(), baseLast + 1);
            QCOMPARE(chalk.last().first().toInt(), baseLast + 4 * kBaseHours);
            QCOMPARE(after.value(QStringLiteral("SELECT count(DISTINCT ID) FROM %1").arg(t)).toInt(), 14 * 2 * kBaseHours);
        }

        // BuildInfo: the chain of builds and the summary over every case.
        QCOMPARE(after.buildInfo(QStringLiteral("build_date")), kAddDate);
        QCOMPARE(after.buildInfo(QStringLiteral("base_database")), QStringLiteral("base.db"));
        QCOMPARE(after.buildInfo(QStringLiteral("base_build_date")), kBaseDate);
        QCOMPARE(after.buildInfo(QStringLiteral("origin_build_date")), kBaseDate);
        QCOMPARE(after.buildInfo(QStringLiteral("added_catalogues")), QStringLiteral("peat.csv (%1)").arg(kAddDate));
        QCOMPARE(after.buildInfo(QStringLiteral("added_soil_13")), kAddDate);
        QCOMPARE(after.buildInfo(QStringLiteral("added_soil_14")), kAddDate);
        QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM BuildInfo WHERE key LIKE 'added_soil_%'")).toInt(), 2);
        QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM BuildInfo WHERE key = 'dropped_soils'")).toInt(), 0);
        QCOMPARE(after.buildInfo(QStringLiteral("cases")), QStringLiteral("168"));
        QCOMPARE(after.buildInfo(QStringLiteral("max_mass_balance_case")), QStringLiteral("soil 14 (Chalk), 1.6 L/h, -10 m, buried"));
        const double largest = standInMassBalance(14, 1.6, -10, true);
        QVERIFY(qAbs(after.buildInfo(QStringLiteral("max_mass_balance_error")).toDouble() - largest) < 1e-9);
        QVERIFY(qAbs(sum.largestMassBalanceError - largest) < 1e-15);
        // The base's own record stays: its catalogue, sweep and solver.
        QCOMPARE(after.buildInfo(QStringLiteral("soil_catalogue")), QStringLiteral("soils.csv"));
        QCOMPARE(after.buildInfo(QStringLiteral("flow_rates_l_per_h")), QStringLiteral("0.5,1.6"));
        QCOMPARE(after.buildInfo(QStringLiteral("hours")), QStringLiteral("3"));
        QCOMPARE(after.buildInfo(QStringLiteral("front_threshold")), QStringLiteral("0.2"));

        // A second build on the first: numbered soils keep their numbers (which
        // must follow the base's last soil), the
        // origin stays the full build, the catalogues add up.
        const QString marl = writeCatalogue(dir.path(), QStringLiteral("marl.csv"), kHeader, {"15,Marl,fine,40,test soil,0.07,0.4,0.01,1.2,3"});
        TrickleBuildOptions second = addOptions(o.outPath, marl, dir.filePath(QStringLiteral("second.db")));
        second.buildDate = QStringLiteral("2026-03-03T00:00:00Z");
        standInBuild(second);
        ToolDb chain(second.outPath);
        compareKeptRows(after, chain, QStringLiteral("1,2,3,4,5,6,7,8,9,10,11,12,13,14"), kChangedKeys);
        QCOMPARE(chain.rows(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData WHERE SoilTypeNo > 14")),
                 QList<QVariantList>({{15, "Marl"}}));
        QCOMPARE(chain.buildInfo(QStringLiteral("base_database")), QStringLiteral("added.db"));
        QCOMPARE(chain.buildInfo(QStringLiteral("base_build_date")), kAddDate);
        QCOMPARE(chain.buildInfo(QStringLiteral("origin_build_date")), kBaseDate);
        QCOMPARE(chain.buildInfo(QStringLiteral("added_catalogues")),
                 QStringLiteral("peat.csv (%1); marl.csv (2026-03-03T00:00:00Z)").arg(kAddDate));
        QCOMPARE(chain.buildInfo(QStringLiteral("added_soil_13")), kAddDate);
        QCOMPARE(chain.buildInfo(QStringLiteral("added_soil_15")), QStringLiteral("2026-03-03T00:00:00Z"));
        QCOMPARE(chain.buildInfo(QStringLiteral("cases")), QStringLiteral("180"));
        QCOMPARE(chain.buildInfo(QStringLiteral("max_mass_balance_case")), QStringLiteral("soil 15 (Marl), 1.6 L/h, -10 m, buried"));
        QCOMPARE(exportRows(chain, QStringLiteral("BuriedData"), 15).first().first().toInt(), 14 * 2 * kBaseHours + 1);
    }

    void baseWithoutInitialHeadsRecord()
    {
        // A base that does not record its initial heads gets the standard three.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        QVERIFY(execSql(base, {"DELETE FROM BuildInfo WHERE key = 'initial_heads_m'"}));
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        std::atomic<int> calls{0};
        standInBuild(addOptions(base, soils, dir.filePath(QStringLiteral("a.db"))), [&](const CaseSpec &s) { ++calls; return standInRun(s); });
        QCOMPARE(calls.load(), 2 * 3 * 2);
        ToolDb db(dir.filePath(QStringLiteral("a.db")));
        QCOMPARE(db.value(QStringLiteral("SELECT count(DISTINCT InitialHead) FROM CaseInfo WHERE SoilType = 13")).toInt(), 3);
    }

    void baseWrittenBeforePondDataAndMeshChange()
    {
        // A user's database built before PondData and CaseInfo.MeshChange
        // existed (and before the surface source was recorded): still a base.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        QVERIFY(execSql(base, {"DROP TABLE PondData", "ALTER TABLE CaseInfo DROP COLUMN MeshChange",
                               "DELETE FROM BuildInfo WHERE key IN ('surface_source', 'check_mesh', 'max_mesh_change', "
                               "'max_mesh_change_case')"}));
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat, kChalk});
        const QString added = dir.filePath(QStringLiteral("added.db"));
        standInBuild(addOptions(base, soils, added));
        ToolDb db(added);
        QVERIFY(db.tables().contains(QStringLiteral("PondData")));
        QVERIFY(db.columns(QStringLiteral("CaseInfo")).contains(QStringLiteral("MeshChange REAL")));
        // the old soils have no pond radii and no mesh check; the added ones have both
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM PondData WHERE SoilType <= 12")).toInt(), 0);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM PondData")).toInt(), 2 * 2 * 3 * kBaseHours);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE MeshChange IS NULL")).toInt(), 12 * 12);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE MeshChange IS NOT NULL")).toInt(), 2 * 12);
        QVERIFY(db.buildInfo(QStringLiteral("check_mesh")).startsWith(QLatin1String("partly: 24 of 168 cases")));
        QCOMPARE(db.buildInfo(QStringLiteral("max_mesh_change_case")), QStringLiteral("soil 14 (Chalk), 1.6 L/h, -3 m, surface"));
        QCOMPARE(db.buildInfo(QStringLiteral("surface_source")), QStringLiteral("ponded disc"));

        // and a soil dropped from it: the later soils move up in PondData too
        TrickleBuildOptions o = addOptions(added, QString(), dir.filePath(QStringLiteral("dropped.db")));
        o.dropSoils = {13};
        standInBuild(o);
        ToolDb dropped(o.outPath);
        QCOMPARE(dropped.value(QStringLiteral("SELECT group_concat(DISTINCT SoilType) FROM PondData")).toString(), QStringLiteral("13"));
        QCOMPARE(dropped.rows(QStringLiteral("SELECT FlowRate, InitialHead, Time, PondRadius FROM PondData ORDER BY 1, 2, 3")),
                 db.rows(QStringLiteral("SELECT FlowRate, InitialHead, Time, PondRadius FROM PondData WHERE SoilType = 14 ORDER BY 1, 2, 3")));
    }

    void otherSurfaceSourceThanTheBase()
    {
        // One database holds one kind of surface source.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        TrickleBuildOptions o = addOptions(base, soils, dir.filePath(QStringLiteral("a.db")));
        o.surfaceFluxRadius = 0.05;
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("the base database %1 was built with the surface source \"ponded disc\"").arg(base),
                      QStringLiteral("\"flux disc 0.05 m\""));
        // the other way round
        TrickleBuildOptions f;
        f.soilsPath = kSoils;
        f.outPath = dir.filePath(QStringLiteral("flux.db"));
        f.buildDate = kBaseDate;
        f.solverSettings = QStringLiteral("test double");
        f.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface"))};
        f.surfaceFluxRadius = 0.05;
        standInBuild(f);
        TrickleBuildOptions g = addOptions(f.outPath, soils, dir.filePath(QStringLiteral("b.db")));
        expectRefused(g, TrickleBuildErrors::Usage, QStringLiteral("the base database"), QStringLiteral("\"flux disc 0.05 m\""));
        g.surfaceFluxRadius = 0.05;
        standInBuild(g);
        QCOMPARE(ToolDb(g.outPath).buildInfo(QStringLiteral("surface_source")), QStringLiteral("flux disc 0.05 m"));
    }

    void catalogueClashes_data()
    {
        QTest::addColumn<bool>("numbered");
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QString>("message");
        QTest::newRow("SoilTypeNo of the base") << true << QStringList({"15,Peat,organic,5,test soil,0.05,0.6,0.05,1.5,50", "# a comment",
                                                                         "4,Chalk,medium,10,test soil,0.04,0.4,0.02,1.4,20"})
                                                << QStringLiteral("line 4: SoilTypeNo 4 is already the soil \"Loam\" of the base database ");
        QTest::newRow("name of the base") << false << QStringList({kPeat, "loam,medium,10,test soil,0.04,0.4,0.02,1.4,20"})
                                          << QStringLiteral("line 3: the Name \"loam\" is already the soil 4 of the base database ");
        QTest::newRow("numbered name of the base") << true << QStringList({"30,SAND,medium,10,test soil,0.04,0.4,0.02,1.4,20"})
                                                   << QStringLiteral("line 2: the Name \"SAND\" is already the soil 1 of the base database ");
        QTest::newRow("name twice in the catalogue") << false << QStringList({kPeat, kChalk, "PEAT,organic,5,test soil,0.05,0.6,0.05,1.5,50"})
                                                     << QStringLiteral("line 4: the Name \"PEAT\" was already given on line 2");
        // The program takes a soil's place in its list for its number: 14
        // after the base's 12 would leave 13 out.
        QTest::newRow("gap after the base") << true << QStringList({"14,Peat,organic,5,test soil,0.05,0.6,0.05,1.5,50"})
                                            << QStringLiteral("line 2: SoilTypeNo 14 leaves a gap: the soils must be numbered 13, 14, ...");
        QTest::newRow("gap among the added") << true << QStringList({"13,Peat,organic,5,test soil,0.05,0.6,0.05,1.5,50",
                                                                      "15,Chalk,medium,10,test soil,0.04,0.4,0.02,1.4,20"})
                                             << QStringLiteral("line 3: SoilTypeNo 15 leaves a gap");
    }

    void catalogueClashes()
    {
        QFETCH(bool, numbered);
        QFETCH(QStringList, lines);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QByteArray baseBytes = fileBytes(base);
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("new.csv"), numbered ? kHeader : kUnnumberedHeader, lines);
        expectRefused(addOptions(base, soils, dir.filePath(QStringLiteral("out.db"))), TrickleBuildErrors::Catalogue,
                    soils + QLatin1Char(' ') + message);
        QCOMPARE(fileBytes(base), baseBytes);
        QCOMPARE(dirEntries(dir), QStringList({"base.db", "new.csv"}));
    }

    void badBase_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing file") << "missing" << "does not exist";
        QTest::newRow("folder") << "folder" << "is a folder, not a database";
        QTest::newRow("text file") << "text" << "is not an SQLite database";
        QTest::newRow("empty file") << "empty" << "lacks the table SoilTypeData";
        QTest::newRow("no export table") << "DROP TABLE BuriedData" << "lacks the table BuriedData";
        QTest::newRow("no CaseInfo") << "DROP TABLE CaseInfo" << "lacks the table CaseInfo";
        QTest::newRow("no front table") << "DROP TABLE \"SurfaceData-c\"" << "lacks the table SurfaceData-c";
        QTest::newRow("missing column") << "ALTER TABLE \"SurfaceData-c6\" DROP COLUMN z" << "lacks the column \"z\" in the table SurfaceData-c6";
        QTest::newRow("no front threshold") << "DELETE FROM BuildInfo WHERE key = 'front_threshold'" << "has no front_threshold in BuildInfo";
        QTest::newRow("gap in the flow rates") << "DELETE FROM FlowRateData WHERE FlowRateNo = 1" << "does not number its flow rates 1, 2, 3";
        QTest::newRow("no hours") << "DELETE FROM TimeData" << "does not hold the hours 1, 2, 3";
        QTest::newRow("odd initial heads") << "UPDATE BuildInfo SET value = '-3,-5' WHERE key = 'initial_heads_m'"
                                           << "has the initial_heads_m \"-3,-5\" in BuildInfo";
        // Found before anything is computed, and told of the base rather than
        // of the copy written from it.
        QTest::newRow("damaged page") << "damage" << "is damaged: SQLite's integrity check";
    }

    void badBase()
    {
        QFETCH(QString, kind);
        QFETCH(QString, message);
        QTemporaryDir dir;
        QString base = dir.filePath(QStringLiteral("base.db"));
        if (kind == QLatin1String("missing"))
            base = dir.filePath(QStringLiteral("nothere.db"));
        else if (kind == QLatin1String("folder"))
            QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("base.db")));
        else if (kind == QLatin1String("text"))
            QVERIFY(writeFileBytes(base, "SoilTypeNo,Name\n1,Sand\n"));
        else if (kind == QLatin1String("empty"))
            QVERIFY(writeFileBytes(base, QByteArray()));
        else if (kind == QLatin1String("damage"))
            QVERIFY(damagePage(buildBase(dir.path())));
        else
            QVERIFY(execSql(buildBase(dir.path()), {kind}));
        const QStringList entriesBefore = dirEntries(dir);
        const QByteArray baseBytes = fileBytes(base);
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        expectRefused(addOptions(base, soils, dir.filePath(QStringLiteral("out.db"))), TrickleBuildErrors::Base,
                    QStringLiteral("the base database %1 %2").arg(base, message));
        // The base may also be the output: still nothing changes.
        TrickleBuildOptions same = addOptions(base, soils, base);
        same.force = true;
        expectRefused(same, TrickleBuildErrors::Base, QStringLiteral("the base database %1 %2").arg(base, message));
        QCOMPARE(fileBytes(base), baseBytes);
        QCOMPARE(dirEntries(dir), QStringList(entriesBefore) << QStringLiteral("peat.csv"));
    }

    void outputReplacesTheBase()
    {
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QByteArray baseBytes = fileBytes(base);
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        TrickleBuildOptions o = addOptions(base, soils, base);
        expectRefused(o, TrickleBuildErrors::OutputExists, base + QStringLiteral(" exists already; give --force to replace it"));
        QCOMPARE(fileBytes(base), baseBytes);

        o.force = true;
        standInBuild(o);
        QCOMPARE(dirEntries(dir), QStringList({"base.db", "peat.csv"}));
        // What a separate output would have held.
        TrickleBuildOptions apart = addOptions(dir.filePath(QStringLiteral("copy.db")), soils, dir.filePath(QStringLiteral("apart.db")));
        QVERIFY(writeFileBytes(apart.basePath, baseBytes));
        standInBuild(apart);
        ToolDb replaced(base), separate(apart.outPath);
        QCOMPARE(replaced.tables(), separate.tables());
        for (const QString &t : replaced.tables()) {
            if (t != QLatin1String("BuildInfo"))
                QVERIFY2(replaced.allRows(t) == separate.allRows(t), qPrintable(t));
        }
        QCOMPARE(replaced.buildInfo(QStringLiteral("base_database")), QStringLiteral("base.db"));
        QCOMPARE(replaced.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c3] WHERE SoilType = 13")).toInt(), 2 * kBaseHours);
    }

    void failedCaseKeepsTheBase_data()
    {
        QTest::addColumn<bool>("replaceBase");
        QTest::newRow("separate output") << false;
        QTest::newRow("output replaces the base") << true;
    }

    void failedCaseKeepsTheBase()
    {
        QFETCH(bool, replaceBase);
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QByteArray baseBytes = fileBytes(base);
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat, kChalk});
        TrickleBuildOptions o = addOptions(base, soils, replaceBase ? base : dir.filePath(QStringLiteral("out.db")));
        o.force = replaceBase;
        try {
            standInBuild(o, [](const CaseSpec &s) {
                CaseResult r = standInRun(s);
                r.reachedBoundary = s.soil.number == 14 && s.initialHead == -6.0;
                return r;
            });
            QFAIL("a failed case gave a database");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::CaseFailed));
            QVERIFY2(e.description().contains(QStringLiteral("soil 14 (Chalk), ")), qPrintable(e.description()));
        }
        QCOMPARE(fileBytes(base), baseBytes);
        QCOMPARE(dirEntries(dir), QStringList({"base.db", "peat.csv"}));
    }

    // A disk that fills up while the base is copied or the soils are added: the
    // base, which only a finished build replaces, keeps its bytes and nothing is
    // left beside it.
    void fullDiskKeepsTheBase_data() { FullDisk::addRows(); }
    void fullDiskKeepsTheBase()
    {
        QFETCH(int, kind);
        // A base of one soil, small enough for the small file system, which then
        // has no room for its copy; the file-size limit lets the copy through and
        // stops the rows added to it.
        QTemporaryDir source;
        const QString one = writeCatalogue(source.path(), QStringLiteral("one.csv"), kHeader, {"1,Sand,coarse,3,test soil,0.045,0.43,0.145,2.68,712.8"});
        static QByteArray baseBytes;
        baseBytes = fileBytes(buildBase(source.path(), QStringLiteral("base.db"), one));
        const long limit = long(baseBytes.size()) + 4096;
        QTemporaryDir dir;
        const auto prepare = [](const QString &folder) -> QString {
            // Enough soils to need more room than the base's pages have to spare.
            QStringList soils;
            for (int k = 1; k <= 40; ++k)
                soils << QStringLiteral("Test soil %1,medium,10,test soil,0.04,0.4,0.02,1.4,20").arg(k);
            if (!writeFileBytes(folder + QStringLiteral("/base.db"), baseBytes)
                || writeCatalogue(folder, QStringLiteral("peat.csv"), kUnnumberedHeader, soils).isEmpty())
                return QStringLiteral("cannot write the base or the catalogue");
            return QString();
        };
        const auto check = [](const QString &folder) -> QString {
            const QString base = folder + QStringLiteral("/base.db");
            const QByteArray old = fileBytes(base);
            TrickleBuildOptions o = addOptions(base, folder + QStringLiteral("/peat.csv"), base);
            o.force = true;
            try {
                standInBuild(o);
                return QStringLiteral("the build succeeded on a full disk: %1 bytes from %2").arg(QFileInfo(base).size()).arg(old.size());
            } catch (const UlvexError &e) {
                if (!e.description().contains(folder))
                    return QStringLiteral("the error does not name the file: ") + e.description();
            }
            const QString failure = FullDisk::keptBytes(base, old, QStringLiteral("the failed build"));
            if (!failure.isEmpty())
                return failure;
            if (FullDisk::files(folder) != QStringList({"base.db", "peat.csv"}))
                return QStringLiteral("files left behind: ") + FullDisk::files(folder).join(QStringLiteral(", "));
            return QString();
        };
        FullDisk::verify(FullDisk::Kind(kind), dir.path(), prepare, check, limit);
    }

    void sameBytesOnOneAndTwoThreads()
    {
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat, kChalk});
        TrickleBuildOptions a = addOptions(base, soils, dir.filePath(QStringLiteral("a.db")));
        a.threads = 1;
        standInBuild(a);
        TrickleBuildOptions b = addOptions(base, soils, dir.filePath(QStringLiteral("b.db")));
        b.threads = 2;
        standInBuild(b, [](const CaseSpec &s) {
            // The first soil's cases take longer, so the second's finish first.
            std::this_thread::sleep_for(std::chrono::milliseconds(s.soil.number == 13 ? 3 : 0));
            return standInRun(s);
        });
        const QByteArray ba = fileBytes(a.outPath);
        QVERIFY(ba.size() > 10000);
        QVERIFY(ba == fileBytes(b.outPath));
        // The build date is in there: another date gives other bytes.
        TrickleBuildOptions c = addOptions(base, soils, dir.filePath(QStringLiteral("c.db")));
        c.buildDate = QStringLiteral("2026-02-03T00:00:00Z");
        standInBuild(c);
        QVERIFY(fileBytes(c.outPath) != ba);
    }

    void dropSoils()
    {
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat, kChalk});
        const QString added = dir.filePath(QStringLiteral("added.db"));
        standInBuild(addOptions(base, soils, added));

        // Drop an added soil and a soil of the full build; nothing is computed.
        TrickleBuildOptions o = addOptions(added, QString(), dir.filePath(QStringLiteral("dropped.db")));
        o.dropSoils = {14, 4};
        o.buildDate = QStringLiteral("2026-04-04T00:00:00Z");
        std::atomic<int> calls{0};
        const TrickleBuildSummary sum = standInBuild(o, [&](const CaseSpec &s) { ++calls; return standInRun(s); });
        QCOMPARE(calls.load(), 0);
        QCOMPARE(sum.cases, 0);
        ToolDb before(added), after(o.outPath);

        // The soils after a dropped one move up: the numbers run 1 to 12 again,
        // in the order they had, so that a soil's place in the soil list is its
        // number. Soil 5 becomes 4, ..., Peat (13) becomes 12.
        QCOMPARE(after.tables(), before.tables());
        QList<QVariantList> names = before.rows(QStringLiteral("SELECT Name FROM SoilTypeData WHERE SoilTypeNo NOT IN (4, 14) "
                                                               "ORDER BY SoilTypeNo"));
        QCOMPARE(after.rows(QStringLiteral("SELECT Name FROM SoilTypeData ORDER BY SoilTypeNo")), names);
        QCOMPARE(after.value(QStringLiteral("SELECT min(SoilTypeNo) || '-' || max(SoilTypeNo) || '-' || count(*) FROM SoilTypeData")).toString(),
                 QStringLiteral("1-12-12"));
        const QList<std::pair<int, int>> moved = {{1, 1}, {2, 2}, {3, 3}, {5, 4}, {6, 5}, {7, 6}, {8, 7}, {9, 8},
                                                  {10, 9}, {11, 10}, {12, 11}, {13, 12}};
        for (const QString &t : before.tables()) {
            if (!hasSoilType(before, t))
                continue;
            // Every kept soil's rows, whole but for its number (the export
            // tables' IDs stay with their rows).
            const auto rowsOf = [&t](const ToolDb &db, int soil) {
                QStringList rows;
                for (QVariantList row : db.rows(QStringLiteral("SELECT * FROM \"%1\" WHERE SoilType = %2").arg(t).arg(soil))) {
                    QStringList values;
                    for (const QVariant &v : row)
                        values << v.toString();
                    values.removeAt(t == QLatin1String("SurfaceData") || t == QLatin1String("BuriedData") ? 1 : 0);
                    rows << values.join(QLatin1Char('|'));
                }
                rows.sort();
                return rows;
            };
            for (const auto &m : moved)
                QVERIFY2(rowsOf(after, m.second) == rowsOf(before, m.first),
                         qPrintable(QStringLiteral("%1 soil %2 -> %3").arg(t).arg(m.first).arg(m.second)));
            QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM \"%1\" WHERE SoilType NOT BETWEEN 1 AND 12").arg(t)).toInt(), 0);
        }
        QCOMPARE(after.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 12 * 12);
        QCOMPARE(after.buildInfo(QStringLiteral("cases")), QStringLiteral("144"));
        QCOMPARE(after.buildInfo(QStringLiteral("dropped_soils")),
                 QStringLiteral("4 Loam (2026-04-04T00:00:00Z); 14 Chalk (2026-04-04T00:00:00Z)"));
        // The added soil's record moves with it.
        QCOMPARE(after.value(QStringLiteral("SELECT group_concat(key) FROM BuildInfo WHERE key LIKE 'added_soil_%'")).toString(),
                 QStringLiteral("added_soil_12"));
        QCOMPARE(after.buildInfo(QStringLiteral("added_soil_12")), kAddDate);
        QCOMPARE(after.buildInfo(QStringLiteral("added_catalogues")), QStringLiteral("peat.csv (%1)").arg(kAddDate));
        QCOMPARE(after.buildInfo(QStringLiteral("max_mass_balance_case")), QStringLiteral("soil 12 (Peat), 1.6 L/h, -10 m, buried"));
        QCOMPARE(after.buildInfo(QStringLiteral("build_date")), QStringLiteral("2026-04-04T00:00:00Z"));
        QCOMPARE(after.buildInfo(QStringLiteral("base_build_date")), kAddDate);
        QCOMPARE(after.buildInfo(QStringLiteral("origin_build_date")), kBaseDate);
        // The other keys are the base's.
        for (const auto &row : before.rows(QStringLiteral("SELECT key, value FROM BuildInfo"))) {
            const QString key = row.at(0).toString();
            if (!kChangedKeys.contains(key) && !key.startsWith(QLatin1String("added_soil_")))
                QCOMPARE(after.buildInfo(key), row.at(1).toString());
        }

        // Dropping again adds to the record.
        TrickleBuildOptions again = addOptions(o.outPath, QString(), dir.filePath(QStringLiteral("again.db")));
        again.dropSoils = {12};
        standInBuild(again);
        ToolDb third(again.outPath);
        QCOMPARE(third.buildInfo(QStringLiteral("dropped_soils")),
                 QStringLiteral("4 Loam (2026-04-04T00:00:00Z); 14 Chalk (2026-04-04T00:00:00Z); 12 Peat (%1)").arg(kAddDate));
        QCOMPARE(third.value(QStringLiteral("SELECT count(*) FROM BuildInfo WHERE key LIKE 'added_soil_%'")).toInt(), 0);
        QCOMPARE(third.buildInfo(QStringLiteral("max_mass_balance_case")), QStringLiteral("soil 11 (Clay), 1.6 L/h, -10 m, buried"));
    }

    void dropAndAddInOneBuild()
    {
        // A soil is replaced: dropped, and added again from a catalogue under
        // its name. The soils after it move up; the new one comes last.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("loam.csv"), kUnnumberedHeader,
                                             {"Loam,medium,22,test soil,0.08,0.44,0.04,1.5,30"});
        TrickleBuildOptions o = addOptions(base, soils, dir.filePath(QStringLiteral("out.db")));
        o.dropSoils = {4};
        standInBuild(o, [](const CaseSpec &s) {
            CaseResult r = standInRun(s);
            r.timeSteps = 999;
            return r;
        });
        ToolDb db(o.outPath);
        QCOMPARE(db.value(QStringLiteral("SELECT Name FROM SoilTypeData WHERE SoilTypeNo = 4")).toString(), QStringLiteral("Silt"));
        QCOMPARE(db.value(QStringLiteral("SELECT Name FROM SoilTypeData WHERE SoilTypeNo = 12")).toString(), QStringLiteral("Loam"));
        QCOMPARE(db.value(QStringLiteral("SELECT \"Clay (%)\" FROM SoilTypeData WHERE SoilTypeNo = 12")).toDouble(), 22.0);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE SoilType = 12 AND TimeSteps = 999")).toInt(), 12);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 144);
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c] WHERE SoilType = 12")).toInt(), 2 * kBaseHours);
        QCOMPARE(db.buildInfo(QStringLiteral("added_soil_12")), kAddDate);
        QCOMPARE(db.buildInfo(QStringLiteral("dropped_soils")), QStringLiteral("4 Loam (%1)").arg(kAddDate));
        // A number of its own may not take the place a soil moved into.
        const QString numbered = writeCatalogue(dir.path(), QStringLiteral("numbered.csv"), kHeader,
                                                {"4,Loam,medium,22,test soil,0.08,0.44,0.04,1.5,30"});
        TrickleBuildOptions clash = addOptions(base, numbered, dir.filePath(QStringLiteral("clash.db")));
        clash.dropSoils = {4};
        expectRefused(clash, TrickleBuildErrors::Catalogue,
                      numbered + QStringLiteral(" line 2: SoilTypeNo 4 is already the soil \"Silt\""));
    }

    void badDrops()
    {
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        const QByteArray baseBytes = fileBytes(base);
        TrickleBuildOptions o = addOptions(base, QString(), dir.filePath(QStringLiteral("out.db")));
        o.dropSoils = {3, 99};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--drop-soil 99: the base database %1 has no SoilTypeNo 99").arg(base));
        o.dropSoils = {3, 3};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--drop-soil 3 is given twice"));
        o.dropSoils = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("dropping every soil of the base database"));
        QCOMPARE(fileBytes(base), baseBytes);
        QCOMPARE(dirEntries(dir), QStringList({"base.db"}));
    }

    void lastSoilAtTheLargestNumber()
    {
        // A base whose last soil has the largest SoilTypeNo leaves no number
        // for an added soil: refused, not wrapped round to a negative one.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        QStringList renumber;
        for (const QString &t : ToolDb(base).tables()) {
            if (hasSoilType(ToolDb(base), t))
                renumber << QStringLiteral("UPDATE \"%1\" SET SoilType = 2147483647 WHERE SoilType = 12").arg(t);
        }
        renumber << QStringLiteral("UPDATE SoilTypeData SET SoilTypeNo = 2147483647 WHERE SoilTypeNo = 12");
        QVERIFY(execSql(base, renumber));
        const QString soils = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        expectRefused(addOptions(base, soils, dir.filePath(QStringLiteral("out.db"))), TrickleBuildErrors::Catalogue, soils,
                      QStringLiteral("its soils would be numbered 2147483648 to 2147483648, beyond the largest SoilTypeNo 2147483647"));
        QCOMPARE(dirEntries(dir), QStringList({"base.db", "peat.csv"}));
    }

    void dropByName()
    {
        // A soil dropped by its name (without regard to case) is dropped as by
        // its number; the record is the same.
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        TrickleBuildOptions byNumber = addOptions(base, QString(), dir.filePath(QStringLiteral("number.db")));
        byNumber.dropSoils = {4, 9};
        standInBuild(byNumber);
        TrickleBuildOptions byName = addOptions(base, QString(), dir.filePath(QStringLiteral("name.db")));
        byName.dropSoils = {9};
        byName.dropSoilNames = {QStringLiteral("lOAM")};
        standInBuild(byName);
        QCOMPARE(fileBytes(byName.outPath), fileBytes(byNumber.outPath));
        QCOMPARE(ToolDb(byName.outPath).buildInfo(QStringLiteral("dropped_soils")),
                 QStringLiteral("4 Loam (%1); 9 Silty Clay Loam (%1)").arg(kAddDate));

        TrickleBuildOptions o = addOptions(base, QString(), dir.filePath(QStringLiteral("out.db")));
        o.dropSoilNames = {QStringLiteral("Peat")};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--drop-soil-named \"Peat\": the base database %1 has no soil of that name").arg(base));
        o.dropSoilNames = {QStringLiteral("Loam"), QStringLiteral("LOAM")};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--drop-soil-named \"LOAM\" is given twice"));
        o.dropSoilNames = {QStringLiteral("Loam")};
        o.dropSoils = {4};
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--drop-soil-named \"Loam\" names the soil 4, which is dropped already"));
        QCOMPARE(dirEntries(dir), QStringList({"base.db", "name.db", "number.db"}));
    }

    void baseIfMissing()
    {
        // The output itself is the base when it exists, else the fallback
        // (the shipped database, for a user's first soil).
        QTemporaryDir dir;
        const QString shipped = buildBase(dir.path(), QStringLiteral("shipped.db"));
        const QString user = dir.filePath(QStringLiteral("user.db"));
        const QString peat = writeCatalogue(dir.path(), QStringLiteral("peat.csv"), kUnnumberedHeader, {kPeat});
        const QString chalk = writeCatalogue(dir.path(), QStringLiteral("chalk.csv"), kUnnumberedHeader, {kChalk});
        TrickleBuildOptions first = addOptions(QString(), peat, user);
        first.baseIfMissing = shipped;
        standInBuild(first);
        // the same as with the shipped database given as the base
        TrickleBuildOptions plain = addOptions(shipped, peat, dir.filePath(QStringLiteral("plain.db")));
        standInBuild(plain);
        QCOMPARE(fileBytes(user), fileBytes(plain.outPath));

        TrickleBuildOptions second = addOptions(QString(), chalk, user);
        second.baseIfMissing = shipped;
        // the output exists, and is then the base it replaces: --force as for --base
        expectRefused(second, TrickleBuildErrors::OutputExists, user + QStringLiteral(" exists already"));
        second.force = true;
        standInBuild(second);
        ToolDb db(user);
        QCOMPARE(db.rows(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData WHERE SoilTypeNo > 12")),
                 QList<QVariantList>({{13, QStringLiteral("Peat")}, {14, QStringLiteral("Chalk")}}));
        QCOMPARE(db.buildInfo(QStringLiteral("base_database")), QStringLiteral("user.db"));
        // and a soil is dropped the same way
        TrickleBuildOptions drop = addOptions(QString(), QString(), user);
        drop.baseIfMissing = shipped;
        drop.dropSoilNames = {QStringLiteral("peat")};
        drop.force = true;
        standInBuild(drop);
        QCOMPARE(ToolDb(user).rows(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData WHERE SoilTypeNo > 12")),
                 QList<QVariantList>({{13, QStringLiteral("Chalk")}}));
    }

    void sweepOptionsRefusedWithABase_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<QString>("message");
        QTest::newRow("--flows") << 0 << "--flows cannot be used with --base";
        QTest::newRow("--hours") << 1 << "--hours cannot be used with --base";
        QTest::newRow("--front-threshold") << 2 << "--front-threshold cannot be used with --base";
        QTest::newRow("--only") << 3 << "--only cannot be used with --base";
        QTest::newRow("nothing to do") << 4 << "--base needs --soils (soils to add) or --drop-soil";
        QTest::newRow("--drop-soil without --base") << 5 << "--drop-soil and --drop-soil-named need --base";
        QTest::newRow("--drop-soil-named without --base") << 6 << "--drop-soil and --drop-soil-named need --base";
        QTest::newRow("--base and --base-if-missing") << 7 << "--base and --base-if-missing cannot be used together";
        QTest::newRow("--base-if-missing with --shard") << 8 << "--base-if-missing cannot be used with --shard";
    }

    void sweepOptionsRefusedWithABase()
    {
        QFETCH(int, which);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString base = buildBase(dir.path());
        TrickleBuildOptions o = addOptions(base, kSoils, dir.filePath(QStringLiteral("out.db")));
        switch (which) {
        case 0: o.flowRates = std::vector<double>{0.5, 1.6}; break; // even the base's own
        case 1: o.hours = kBaseHours; break;
        case 2: o.frontThreshold = kBaseThreshold; break;
        case 3: o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface"))}; break;
        case 4: o.soilsPath.clear(); break;
        case 5: o.basePath.clear(); o.dropSoils = {3}; break;
        case 6: o.basePath.clear(); o.dropSoilNames = {QStringLiteral("Loam")}; break;
        case 7: o.baseIfMissing = base; break;
        default: o.basePath.clear(); o.baseIfMissing = base; o.shards = 2; o.shard = 1; break;
        }
        expectRefused(o, TrickleBuildErrors::Usage, message);
        QCOMPARE(dirEntries(dir), QStringList({"base.db"}));
    }
};

QTEST_GUILESS_MAIN(TstToolBase)
#include "tst_tool_base.moc"
