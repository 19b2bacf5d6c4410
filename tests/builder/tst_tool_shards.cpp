// A build shared out over several machines (trickle-build --shard K/N) and its
// parts joined again (trickle-build --merge), with the stand-in solver: the
// shards split the cases round-robin and write partial databases that say what
// they are; the merge gives the very bytes of the same build made in one run
// (on a base too, with --only, with soils dropped); the fingerprint follows
// everything that decides the result and nothing else; every bad set of parts
// is refused, naming the files, without writing anything; a failed shard is
// built again and merged; neither --base nor the program takes a part for a
// finished database.

#include "StandInSolver.h"
#include "ToolTestSupport.h"
#include "tests/common/FullDisk.h"

#include "builder/ShardInputs.h"
#include "builder/ShardMerge.h"
#include "builder/TrickleBuild.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>

namespace {

using solver::CaseSpec;

const QString kSoils = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");
const QString kDate = QStringLiteral("2026-03-03T00:00:00Z");
const char *const kUnnumbered = "Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
                                "Peat,organic,5,test soil,0.05,0.6,0.05,1.5,50\n"
                                "Chalk,medium,10,test soil,0.04,0.4,0.02,1.4,20\n";

// The shipped soils over a small sweep that differs from the standard one.
TrickleBuildOptions sweepOptions(const QString &out)
{
    TrickleBuildOptions o;
    o.soilsPath = kSoils;
    o.outPath = out;
    o.threads = 2;
    o.buildDate = kDate;
    o.solverSettings = QStringLiteral("test double");
    o.flowRates = std::vector<double>{0.5, 1.0};
    o.hours = 3;
    return o;
}

// Every shard of the build `o` into `folder`/<prefix>-K.db, each on another
// number of threads; the paths, shard 1 first.
QStringList buildShards(TrickleBuildOptions o, int shards, const QString &folder, const QString &prefix = QStringLiteral("part"))
{
    QStringList parts;
    for (int k = 1; k <= shards; ++k) {
        o.shard = k;
        o.shards = shards;
        o.threads = 1 + k % 3;
        o.outPath = QDir(folder).filePath(QStringLiteral("%1-%2.db").arg(prefix).arg(k));
        standInBuild(o);
        parts << o.outPath;
    }
    return parts;
}

TrickleBuildSummary mergeQuietly(const QStringList &parts, const QString &out, const QString &date = QString(), bool force = false)
{
    ShardMergeOptions m;
    m.parts = parts;
    m.outPath = out;
    m.force = force;
    m.buildDate = date;
    ShardMerge merge(m);
    merge.setLog([](const QString &) {});
    return merge.run();
}

// The merge must be refused with the error `number` naming all of `contains`,
// and leave the folder of `out` (every name and the bytes of every file) as it was.
void expectMergeRefused(const QStringList &parts, const QString &out, int number, const QStringList &contains)
{
    const QString folder = QFileInfo(out).absolutePath();
    std::map<QString, QByteArray> before;
    for (const QString &e : folderEntries(folder))
        before[e] = fileBytes(QDir(folder).filePath(e));
    try {
        mergeQuietly(parts, out);
        QFAIL("the merge was not refused");
    } catch (const UlvexError &e) {
        QCOMPARE(e.number(), number);
        for (const QString &c : contains)
            QVERIFY2(e.description().contains(c), qPrintable(e.description() + QStringLiteral("\nlacks: ") + c));
    }
    QStringList names;
    for (const auto &b : before)
        names << b.first;
    names.sort();
    QStringList now = folderEntries(folder);
    now.sort();
    QCOMPARE(now, names);
    for (const auto &b : before)
        QVERIFY2(fileBytes(QDir(folder).filePath(b.first)) == b.second, qPrintable(b.first));
}

// The cases of the partial database `path`, as "SOIL,FLOW,IC,EMITTER".
QStringList storedCases(const QString &path)
{
    ToolDb db(path);
    QStringList cases;
    for (const auto &r : db.rows(QStringLiteral("SELECT SoilType, FlowRate, InitialHead, Emitter FROM CaseInfo")))
        cases << QStringLiteral("%1,%2,%3,%4").arg(r[0].toInt()).arg(r[1].toInt()).arg(-r[2].toInt()).arg(r[3].toString());
    cases.sort();
    return cases;
}

QString fingerprintOf(const QString &path)
{
    return ToolDb(path).buildInfo(QStringLiteral("build_fingerprint"));
}

} // namespace

class TstToolShards : public QObject
{
    Q_OBJECT

    // The options of a build for each variant of mergeEqualsOneBuild, writing
    // the base or catalogue it needs into `dir`.
    static TrickleBuildOptions variant(const QString &name, const QString &dir, int &shards)
    {
        TrickleBuildOptions o = sweepOptions(QDir(dir).filePath(QStringLiteral("single.db")));
        shards = 3;
        if (name == QLatin1String("only")) {
            // Three cases over five shards: two of them compute nothing.
            for (const char *c : {"12,2,3,buried", "1,1,10,surface", "7,2,6,surface"})
                o.only.push_back(TrickleBuild::parseCase(QLatin1String(c)));
            shards = 5;
        } else if (name == QLatin1String("sweep options")) {
            o.flowRates = std::vector<double>{0.5, 1.6, 3.0};
            o.hours = 2;
            o.frontThreshold = 0.2;
            shards = 2;
        } else if (name == QLatin1String("check mesh, flux disc")) {
            o.checkMesh = true;
            o.surfaceFluxRadius = 0.05;
            shards = 4;
        } else if (name.startsWith(QLatin1String("base"))) {
            TrickleBuildOptions b = sweepOptions(QDir(dir).filePath(QStringLiteral("base.db")));
            b.buildDate = QStringLiteral("2026-01-01T00:00:00Z");
            standInBuild(b);
            o = TrickleBuildOptions();
            o.basePath = b.outPath;
            o.outPath = QDir(dir).filePath(QStringLiteral("single.db"));
            o.buildDate = kDate;
            o.solverSettings = QStringLiteral("test double");
            if (name != QLatin1String("base, drop only")) {
                o.soilsPath = QDir(dir).filePath(QStringLiteral("mine.csv"));
                if (!writeFileBytes(o.soilsPath, kUnnumbered))
                    qFatal("cannot write the catalogue");
            }
            if (name != QLatin1String("base, add"))
                o.dropSoils = {5, 3};
        }
        return o;
    }

private slots:
    void shardsSplitTheCasesRoundRobin()
    {
        QTemporaryDir dir;
        TrickleBuildOptions o = sweepOptions(dir.filePath(QStringLiteral("single.db")));
        const TrickleBuildPlan plan = TrickleBuild(o, standInRun).plan();
        QCOMPARE(int(plan.cases.size()), 12 * 2 * 3 * 2);
        std::set<QString> seenAll;
        QString fingerprint;
        for (int k = 1; k <= 5; ++k) {
            o.shard = k;
            o.shards = 5;
            o.outPath = dir.filePath(QStringLiteral("part-%1.db").arg(k));
            std::mutex mutex;
            QStringList seen, log;
            TrickleBuild b(o, [&](const CaseSpec &s) {
                std::lock_guard<std::mutex> lock(mutex);
                const double *q = std::find(o.flowRates->data(), o.flowRates->data() + o.flowRates->size(), s.flowLitresPerHour);
                seen << TrickleBuild::caseText({s.soil.number, int(q - o.flowRates->data()) + 1, s.initialHead, s.emitter});
                return standInRun(s);
            });
            b.setLog([&](const QString &line) { log << line; });
            const int computed = b.run().cases;
            QCOMPARE(computed, int(seen.size()));

            // Case i of the build's order goes to shard (i mod 5) + 1, and only there.
            QStringList expected;
            for (size_t i = 0; i < plan.cases.size(); ++i) {
                if (TrickleBuild::shardOf(i, 5) == k)
                    expected << TrickleBuild::caseText(plan.cases[i]);
            }
            QVERIFY(expected.size() == 144 / 5 || expected.size() == 144 / 5 + 1);
            seen.sort();
            expected.sort();
            QCOMPARE(seen, expected);
            QCOMPARE(storedCases(o.outPath), expected);
            for (const QString &c : seen)
                QVERIFY2(seenAll.insert(c).second, qPrintable(c));

            // Progress lines as the program parses them, saying whose they are.
            const QRegularExpression line(QStringLiteral("^\\[ *(\\d+)/%1\\] shard %2/5: soil \\d+ \\([^)]+\\), [0-9.]+ L/h, -\\d+ m, "
                                                         "(surface|buried): [0-9.]+ s, mass balance \\S+ %; elapsed \\d+:\\d\\d, "
                                                         "about \\d+:\\d\\d left$").arg(expected.size()).arg(k));
            QCOMPARE(log.filter(line).size(), expected.size());
            QVERIFY2(log.first().startsWith(QStringLiteral("trickle-build: shard %1/5: %2 case(s) of 144 on ").arg(k).arg(expected.size())),
                     qPrintable(log.first()));

            // A partial database: the usual tables, its inputs, and what it is.
            ToolDb db(o.outPath);
            QStringList tables = expectedTables() << QStringLiteral("ShardInputs");
            tables.sort();
            QCOMPARE(db.tables(), tables);
            QCOMPARE(db.buildInfo(QStringLiteral("shard")), QStringLiteral("%1/5").arg(k));
            QCOMPARE(db.buildInfo(QStringLiteral("partial")),
                     QStringLiteral("shard %1 of 5 of a build; merge the parts with trickle-build --merge").arg(k));
            QCOMPARE(db.buildInfo(QStringLiteral("cases")), QString::number(expected.size()));
            QCOMPARE(db.buildInfo(QStringLiteral("soil_catalogue")), QStringLiteral("soils.csv"));
            QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM SoilTypeData")).toInt(), 12);
            QCOMPARE(db.value(QStringLiteral("SELECT content FROM ShardInputs WHERE name = 'catalogue'")).toByteArray(), fileBytes(kSoils));
            QCOMPARE(db.value(QStringLiteral("SELECT content FROM ShardInputs WHERE name = 'catalogue_name'")).toString(), QStringLiteral("soils.csv"));
            const QJsonObject options =
                QJsonDocument::fromJson(db.value(QStringLiteral("SELECT content FROM ShardInputs WHERE name = 'options'")).toByteArray()).object();
            QCOMPARE(options.value(QStringLiteral("hours")).toInt(), 3);
            QCOMPARE(options.value(QStringLiteral("solver_settings")).toString(), QStringLiteral("test double"));
            if (fingerprint.isEmpty())
                fingerprint = db.buildInfo(QStringLiteral("build_fingerprint"));
            QCOMPARE(db.buildInfo(QStringLiteral("build_fingerprint")), fingerprint);
            QCOMPARE(fingerprint.size(), 64);
        }
        QCOMPARE(int(seenAll.size()), int(plan.cases.size()));
    }

    void mergeEqualsOneBuild_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("sweep") << QStringLiteral("sweep");
        QTest::newRow("only") << QStringLiteral("only");
        QTest::newRow("sweep options") << QStringLiteral("sweep options");
        QTest::newRow("check mesh, flux disc") << QStringLiteral("check mesh, flux disc");
        QTest::newRow("base, add") << QStringLiteral("base, add");
        QTest::newRow("base, drop and add") << QStringLiteral("base, drop and add");
        QTest::newRow("base, drop only") << QStringLiteral("base, drop only");
    }

    void mergeEqualsOneBuild()
    {
        QFETCH(QString, name);
        QTemporaryDir dir;
        int shards = 0;
        TrickleBuildOptions o = variant(name, dir.path(), shards);
        // The same build in one run, on one thread and on four.
        o.threads = 1;
        standInBuild(o);
        const QByteArray single = fileBytes(o.outPath);
        QVERIFY(!single.isEmpty());
        o.threads = 4;
        o.outPath = dir.filePath(QStringLiteral("single4.db"));
        standInBuild(o);
        QVERIFY(fileBytes(o.outPath) == single);

        // The shards, on other dates: the merge is told the build's date.
        o.buildDate = QStringLiteral("2026-12-31T00:00:00Z");
        QStringList parts = buildShards(o, shards, dir.path());
        std::reverse(parts.begin(), parts.end());
        const QString merged = dir.filePath(QStringLiteral("merged.db"));
        const TrickleBuildSummary sum = mergeQuietly(parts, merged, kDate);
        QVERIFY2(fileBytes(merged) == single, qPrintable(name));
        QCOMPARE(sum.cases, int(TrickleBuild(o, standInRun).plan().cases.size()));
        // Nothing else is left beside the output.
        QStringList expected = {"merged.db", "single.db", "single4.db"};
        for (const QString &p : parts)
            expected << QFileInfo(p).fileName();
        for (const char *f : {"base.db", "mine.csv"}) {
            if (QFileInfo::exists(dir.filePath(QLatin1String(f))))
                expected << QLatin1String(f);
        }
        expected.sort();
        QCOMPARE(folderEntries(dir.path()), expected);
        // The parts are read, never changed, and on a base hold only the soils computed.
        ToolDb part(parts.last());
        QCOMPARE(part.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE SoilType <= 10")).toInt() > 0,
                 !name.startsWith(QLatin1String("base")));
    }

    void buildDateOfTheMerge()
    {
        // The parts' own date when the merge is given none, the latest should
        // they differ; always the same bytes as one build of that date.
        QTemporaryDir dir;
        TrickleBuildOptions o = sweepOptions(dir.filePath(QStringLiteral("x.db")));
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("2,2,6,buried"))};
        QStringList parts = buildShards(o, 2, dir.path());
        o.buildDate = QStringLiteral("2026-04-04T00:00:00Z");
        o.shard = 2;
        o.shards = 2;
        o.outPath = dir.filePath(QStringLiteral("later-2.db"));
        standInBuild(o);
        const QStringList mixed = {parts[0], o.outPath};

        auto single = [&](const QString &date) {
            TrickleBuildOptions s = o;
            s.shard = s.shards = 0;
            s.buildDate = date;
            s.outPath = dir.filePath(QStringLiteral("single.db"));
            s.force = true;
            standInBuild(s);
            return fileBytes(s.outPath);
        };
        mergeQuietly(parts, dir.filePath(QStringLiteral("m1.db")));
        QVERIFY(fileBytes(dir.filePath(QStringLiteral("m1.db"))) == single(kDate));
        mergeQuietly(mixed, dir.filePath(QStringLiteral("m2.db")));
        QVERIFY(fileBytes(dir.filePath(QStringLiteral("m2.db"))) == single(QStringLiteral("2026-04-04T00:00:00Z")));
        mergeQuietly(mixed, dir.filePath(QStringLiteral("m3.db")), QStringLiteral("given"));
        QVERIFY(fileBytes(dir.filePath(QStringLiteral("m3.db"))) == single(QStringLiteral("given")));
        QCOMPARE(ToolDb(dir.filePath(QStringLiteral("m3.db"))).buildInfo(QStringLiteral("build_date")), QStringLiteral("given"));
        // --force replaces an existing output; without it the merge is refused.
        expectMergeRefused(parts, dir.filePath(QStringLiteral("m3.db")), TrickleBuildErrors::OutputExists,
                           {dir.filePath(QStringLiteral("m3.db")) + QStringLiteral(" exists already; give --force to replace it")});
        mergeQuietly(parts, dir.filePath(QStringLiteral("m3.db")), QString(), true);
        QVERIFY(fileBytes(dir.filePath(QStringLiteral("m3.db"))) == single(kDate));
    }

    void fingerprintFollowsWhatDecidesTheResult()
    {
        QTemporaryDir dir;
        // A base and a catalogue to vary.
        TrickleBuildOptions b = sweepOptions(dir.filePath(QStringLiteral("base.db")));
        b.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface"))};
        standInBuild(b);
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("base2.db")), fileBytes(b.outPath)));
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("mine.csv")), kUnnumbered));
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("other.csv")), kUnnumbered));
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("spaced.csv")), QByteArray(kUnnumbered) + "\n"));

        std::atomic<int> n{0};
        auto fingerprint = [&](TrickleBuildOptions o) {
            o.shard = 1;
            o.shards = 2;
            o.outPath = dir.filePath(QStringLiteral("f%1.db").arg(n++));
            standInBuild(o);
            return fingerprintOf(o.outPath);
        };
        TrickleBuildOptions o = sweepOptions(QString());
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("2,2,6,buried"))};
        const QString reference = fingerprint(o);

        // Not: threads, build date, the shard, the order of --only, defaults given or not.
        TrickleBuildOptions same = o;
        same.threads = 1;
        same.buildDate = QStringLiteral("another day");
        std::reverse(same.only.begin(), same.only.end());
        QCOMPARE(fingerprint(same), reference);
        same.shard = 2; // fingerprint() builds shard 1; shard 2 of the same build:
        same.outPath = dir.filePath(QStringLiteral("second.db"));
        same.shards = 2;
        standInBuild(same);
        QCOMPARE(fingerprintOf(same.outPath), reference);
        TrickleBuildOptions defaults = o, explicitDefaults = o;
        defaults.flowRates.reset();
        defaults.hours.reset();
        explicitDefaults.flowRates = TrickleBuild::defaultFlowRates();
        explicitDefaults.hours = 24;
        explicitDefaults.frontThreshold = 0.1;
        QCOMPARE(fingerprint(explicitDefaults), fingerprint(defaults));

        // But every input that decides the result.
        QStringList changed;
        auto differs = [&](const char *what, const TrickleBuildOptions &x) {
            const QString f = fingerprint(x);
            QVERIFY2(f != reference, what);
            QVERIFY2(!changed.contains(f), what);
            changed << f;
        };
        TrickleBuildOptions x = o;
        x.flowRates = std::vector<double>{0.5, 1.5};
        differs("flow rates", x);
        x = o;
        x.hours = 4;
        differs("hours", x);
        x = o;
        x.frontThreshold = 0.15;
        differs("front threshold", x);
        x = o;
        x.only.pop_back();
        differs("--only", x);
        x = o;
        x.solverSettings = QStringLiteral("test double, finer");
        differs("solver settings", x);
        x = o;
        x.checkMesh = true;
        differs("--check-mesh", x);
        x = o;
        x.surfaceFluxRadius = 0.05;
        differs("--surface-source", x);

        // On a base: the catalogue's bytes and name, the base's bytes and name, drops.
        TrickleBuildOptions onBase;
        onBase.basePath = b.outPath;
        onBase.soilsPath = dir.filePath(QStringLiteral("mine.csv"));
        onBase.buildDate = kDate;
        onBase.solverSettings = QStringLiteral("test double");
        const QString baseReference = fingerprint(onBase);
        QVERIFY(!changed.contains(baseReference) && baseReference != reference);
        changed << baseReference;
        const QString baseFingerprint = baseReference;
        x = onBase;
        x.soilsPath = dir.filePath(QStringLiteral("other.csv"));
        differs("catalogue name", x);
        x = onBase;
        x.soilsPath = dir.filePath(QStringLiteral("spaced.csv"));
        differs("catalogue bytes", x);
        x = onBase;
        x.basePath = dir.filePath(QStringLiteral("base2.db"));
        differs("base name", x);
        QVERIFY(execSql(dir.filePath(QStringLiteral("base2.db")), {"UPDATE BuildInfo SET value = 'edited' WHERE key = 'build_date'"}));
        differs("base bytes", x);
        x = onBase;
        x.dropSoils = {1};
        x.soilsPath.clear();
        TrickleBuildOptions y = x;
        y.soilsPath = onBase.soilsPath;
        differs("drop with the catalogue", y);
        QVERIFY(fingerprint(onBase) == baseFingerprint);

        // The stored inputs give the fingerprint, so the merge can check a part by it.
        ToolDb db(dir.filePath(QStringLiteral("f0.db")));
        ShardInputs::Rows rows;
        for (const auto &r : db.rows(QStringLiteral("SELECT name, content FROM ShardInputs")))
            rows[r[0].toString()] = r[1].toByteArray();
        QCOMPARE(ShardInputs::fingerprint(rows), reference);
    }

    void mergeRefuses_data()
    {
        QTest::addColumn<QString>("problem");
        for (const char *p : {"shard missing", "shards missing", "shard twice", "same file twice", "other build", "other shard count",
                              "finished database", "text file", "missing file", "folder", "other database", "case missing",
                              "front missing", "pond radius missing", "case of another shard", "inputs changed", "other version", "no parts"})
            QTest::newRow(p) << QString::fromLatin1(p);
    }

    void mergeRefuses()
    {
        QFETCH(QString, problem);
        QTemporaryDir dir;
        TrickleBuildOptions o = sweepOptions(QString());
        const QStringList parts = buildShards(o, 3, dir.path());
        const QString out = dir.filePath(QStringLiteral("merged.db"));
        auto file = [&](const char *name) { return dir.filePath(QLatin1String(name)); };
        const int merge = TrickleBuildErrors::Merge;

        if (problem == QLatin1String("shard missing")) {
            expectMergeRefused({parts[0], parts[2]}, out, merge, {"shard 2 of 3 is missing; build it and merge again"});
        } else if (problem == QLatin1String("shards missing")) {
            expectMergeRefused({parts[1]}, out, merge, {"shards 1, 3 of 3 are missing; build them and merge again"});
        } else if (problem == QLatin1String("shard twice")) {
            QVERIFY(writeFileBytes(file("copy.db"), fileBytes(parts[1])));
            expectMergeRefused({parts[0], parts[1], parts[2], file("copy.db")}, out, merge,
                               {QStringLiteral("shard 2 of 3 is given twice: %1 and %2").arg(parts[1], file("copy.db"))});
        } else if (problem == QLatin1String("same file twice")) {
            expectMergeRefused({parts[0], parts[1], parts[2], parts[0]}, out, merge,
                               {QStringLiteral("shard 1 of 3 is given twice: %1 and %1").arg(parts[0])});
        } else if (problem == QLatin1String("other build")) {
            o.hours = 2;
            const QStringList others = buildShards(o, 3, dir.path(), QStringLiteral("other"));
            expectMergeRefused({parts[0], parts[1], others[2]}, out, merge,
                               {QStringLiteral("%1 (shard 1 of 3) and %2 (shard 3 of 3) are parts of different builds: their build_fingerprint differs")
                                    .arg(parts[0], others[2])});
        } else if (problem == QLatin1String("other shard count")) {
            const QStringList others = buildShards(o, 2, dir.path(), QStringLiteral("other"));
            expectMergeRefused({parts[0], others[1], parts[2]}, out, merge,
                               {QStringLiteral("%1 (shard 1 of 3) and %2 (shard 2 of 2) are parts of different builds: "
                                               "one was shared out into 3 shards, the other into 2").arg(parts[0], others[1])});
        } else if (problem == QLatin1String("finished database")) {
            o.outPath = file("finished.db");
            standInBuild(o);
            expectMergeRefused({parts[0], o.outPath, parts[1], parts[2]}, out, merge,
                               {QStringLiteral("the part %1 is a finished database of trickle-build, not one part of a sharded build").arg(o.outPath)});
        } else if (problem == QLatin1String("text file")) {
            QVERIFY(writeFileBytes(file("notes.txt"), "shard 2/3\n"));
            expectMergeRefused({parts[0], file("notes.txt")}, out, merge, {QStringLiteral("the part %1 is not an SQLite database").arg(file("notes.txt"))});
        } else if (problem == QLatin1String("missing file")) {
            expectMergeRefused({parts[0], parts[1], file("part-3b.db")}, out, merge,
                               {QStringLiteral("the part %1 does not exist").arg(file("part-3b.db"))});
        } else if (problem == QLatin1String("folder")) {
            QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("sub")));
            expectMergeRefused({file("sub"), parts[0]}, out, merge, {QStringLiteral("the part %1 is a folder, not a database").arg(file("sub"))});
        } else if (problem == QLatin1String("other database")) {
            QVERIFY(execSql(file("notes.db"), {"CREATE TABLE BuildInfo (key TEXT, value TEXT)", "INSERT INTO BuildInfo VALUES ('author', 'me')"}));
            expectMergeRefused({parts[0], parts[1], parts[2], file("notes.db")}, out, merge,
                               {QStringLiteral("the part %1 is not a partial database of trickle-build").arg(file("notes.db"))});
        } else if (problem == QLatin1String("case missing")) {
            QVERIFY(execSql(parts[1], {"DELETE FROM CaseInfo WHERE SoilType = 5 AND FlowRate = 1 AND InitialHead = -10"}));
            const QStringList mine = storedCases(parts[2]);
            expectMergeRefused(parts, out, merge,
                               {QStringLiteral("%1 (shard 2 of 3) lacks the results (or the fronts or pond radii of every hour) of 1 of its 48 case(s), "
                                               "the first soil 5 (Silt), 0.5 L/h, -10 m, ").arg(parts[1]),
                                "build shard 2/3 again and merge again"});
            QCOMPARE(storedCases(parts[2]), mine);
        } else if (problem == QLatin1String("front missing")) {
            // Case 137 of the order: the last but six.
            QVERIFY(execSql(parts[2], {"DELETE FROM [BuriedData-c] WHERE SoilType = 12 AND FlowRate = 1 AND Time = 2"}));
            expectMergeRefused(parts, out, merge, {QStringLiteral("%1 (shard 3 of 3) lacks the results (or the fronts or pond radii of every hour) of 1 of its 48 case(s), "
                                                                  "the first soil 12 (Clay), 0.5 L/h, -10 m, buried").arg(parts[2])});
        } else if (problem == QLatin1String("pond radius missing")) {
            // Clay, 0.5 L/h, -6 m, surface is the third case before the last
            // one of shard 3 (the cases are dealt round-robin)
            QVERIFY(execSql(parts[2], {"DELETE FROM PondData WHERE SoilType = 12 AND FlowRate = 1 AND InitialHead = -6 AND Time = 2"}));
            QCOMPARE(ToolDb(parts[2]).value(QStringLiteral("SELECT count(*) FROM PondData WHERE SoilType = 12 AND FlowRate = 1 AND InitialHead = -6")).toInt(), 2);
            expectMergeRefused(parts, out, merge, {QStringLiteral("%1 (shard 3 of 3) lacks the results (or the fronts or pond radii of every hour) of 1 of its 48 case(s), "
                                                                  "the first soil 12 (Clay), 0.5 L/h, -6 m, surface").arg(parts[2])});
        } else if (problem == QLatin1String("case of another shard")) {
            QVERIFY(execSql(parts[0], {"INSERT INTO CaseInfo VALUES (99, 1, -3, 'surface', 0, 1, NULL)"}));
            expectMergeRefused(parts, out, merge, {QStringLiteral("%1 (shard 1 of 3) holds 49 case result(s), but shard 1 of 3 of this build has 48 case(s)")
                                                       .arg(parts[0])});
        } else if (problem == QLatin1String("inputs changed")) {
            QVERIFY(execSql(parts[1], {"UPDATE ShardInputs SET content = CAST('{\"hours\":2}' AS BLOB) WHERE name = 'options'"}));
            expectMergeRefused(parts, out, merge,
                               {QStringLiteral("the part %1 was changed after it was written: its ShardInputs do not give its build_fingerprint").arg(parts[1])});
        } else if (problem == QLatin1String("other version")) {
            // A part of another trickle-build, consistent in itself.
            ShardInputs::Rows rows;
            {
                ToolDb db(parts[0]);
                for (const auto &r : db.rows(QStringLiteral("SELECT name, content FROM ShardInputs")))
                    rows[r[0].toString()] = r[1].toByteArray();
            }
            rows[QStringLiteral("builder_version")] = "0.0.1";
            QVERIFY(execSql(parts[0], {"UPDATE ShardInputs SET content = CAST('0.0.1' AS BLOB) WHERE name = 'builder_version'",
                                       QStringLiteral("UPDATE BuildInfo SET value = '%1' WHERE key = 'build_fingerprint'").arg(ShardInputs::fingerprint(rows))}));
            expectMergeRefused(parts, out, merge, {QStringLiteral("the part %1 was computed by trickle-build 0.0.1; this is trickle-build %2")
                                                       .arg(parts[0], QStringLiteral(ULVEX_VERSION))});
        } else if (problem == QLatin1String("no parts")) {
            expectMergeRefused({}, out, TrickleBuildErrors::Usage, {"--merge needs the partial databases to join"});
        } else {
            QFAIL("unknown row");
        }
    }

    void failedShardIsBuiltAgain()
    {
        // Shard 2 of 3 fails on one case: it writes nothing, the merge without it
        // is refused, and once built again the parts merge into the one-run build.
        QTemporaryDir dir;
        TrickleBuildOptions o = sweepOptions(dir.filePath(QStringLiteral("single.db")));
        standInBuild(o);
        const QStringList parts = buildShards(o, 3, dir.path());
        QVERIFY(QFile::remove(parts[1]));
        const QStringList before = folderEntries(dir.path());

        o.shard = 2;
        o.shards = 3;
        o.outPath = parts[1];
        o.keepGoing = true;
        try {
            standInBuild(o, [](const CaseSpec &s) {
                if (s.soil.number == 7 && s.emitter == solver::Emitter::Buried)
                    throw std::runtime_error("the Picard iteration did not converge");
                return standInRun(s);
            });
            QFAIL("the failing shard succeeded");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(TrickleBuildErrors::CaseFailed));
            QVERIFY2(e.description().startsWith(QStringLiteral("shard 2/3: case soil 7 (Sandy Clay Loam), ")), qPrintable(e.description()));
            QVERIFY2(e.description().contains(QStringLiteral("buried: solver error: the Picard iteration did not converge")), qPrintable(e.description()));
            QVERIFY2(e.description().endsWith(QStringLiteral("; no database written")), qPrintable(e.description()));
        }
        QCOMPARE(folderEntries(dir.path()), before);
        const QString merged = dir.filePath(QStringLiteral("merged.db"));
        expectMergeRefused({parts[0], parts[2]}, merged, TrickleBuildErrors::Merge, {"shard 2 of 3 is missing"});

        standInBuild(o);
        mergeQuietly(parts, merged);
        QVERIFY(fileBytes(merged) == fileBytes(dir.filePath(QStringLiteral("single.db"))));
    }

    void aPartIsNoBase()
    {
        QTemporaryDir dir;
        const QStringList parts = buildShards(sweepOptions(QString()), 2, dir.path());
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("mine.csv")), kUnnumbered));
        TrickleBuildOptions o;
        o.basePath = parts[1];
        o.soilsPath = dir.filePath(QStringLiteral("mine.csv"));
        o.outPath = dir.filePath(QStringLiteral("out.db"));
        o.solverSettings = QStringLiteral("test double");
        const QStringList before = folderEntries(dir.path());
        expectRefused(o, TrickleBuildErrors::Base,
                      QStringLiteral("the base database %1 is one part of a build shared out over several machines (shard 2/2), "
                                     "not a finished database; merge the parts with trickle-build --merge first").arg(parts[1]));
        QCOMPARE(folderEntries(dir.path()), before);
    }

    void aShardDoesNotReplaceItsBase()
    {
        QTemporaryDir dir;
        TrickleBuildOptions b = sweepOptions(dir.filePath(QStringLiteral("base.db")));
        b.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface"))};
        standInBuild(b);
        const QByteArray baseBytes = fileBytes(b.outPath);
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral("mine.csv")), kUnnumbered));
        TrickleBuildOptions o;
        o.basePath = b.outPath;
        o.soilsPath = dir.filePath(QStringLiteral("mine.csv"));
        o.outPath = dir.filePath(QStringLiteral("./base.db"));
        o.force = true;
        o.shard = 1;
        o.shards = 2;
        o.solverSettings = QStringLiteral("test double");
        expectRefused(o, TrickleBuildErrors::Usage,
                      QStringLiteral("--shard: --out %1 names the base database; a part of the build cannot replace the base").arg(o.outPath));
        QCOMPARE(fileBytes(b.outPath), baseBytes);
        QCOMPARE(folderEntries(dir.path()), QStringList({"base.db", "mine.csv"}));
    }

    void badShardOptions_data()
    {
        QTest::addColumn<int>("shard");
        QTest::addColumn<int>("shards");
        QTest::newRow("0/3") << 0 << 3;
        QTest::newRow("4/3") << 4 << 3;
        QTest::newRow("1/0") << 1 << 0;
        QTest::newRow("-1/-1") << -1 << -1;
    }

    void badShardOptions()
    {
        QFETCH(int, shard);
        QFETCH(int, shards);
        QTemporaryDir dir;
        TrickleBuildOptions o = sweepOptions(dir.filePath(QStringLiteral("part.db")));
        o.shard = shard;
        o.shards = shards;
        expectRefused(o, TrickleBuildErrors::Usage, QStringLiteral("--shard %1/%2: K/N must have 1 <= K <= N").arg(shard).arg(shards));
        QCOMPARE(folderEntries(dir.path()), QStringList());
        int k = 0, n = 0;
        QVERIFY(!ShardInputs::parseShard(QStringLiteral("%1/%2").arg(shard).arg(shards), k, n));
        QVERIFY(ShardInputs::parseShard(QStringLiteral("3/3"), k, n) && k == 3 && n == 3);
        QVERIFY(!ShardInputs::parseShard(QStringLiteral("2"), k, n));
        QVERIFY(!ShardInputs::parseShard(QStringLiteral("a/b"), k, n));
    }

    // A disk that fills up while the merge writes: no output, and nothing of
    // the merge (its temporary database, the folder of the build's inputs) left.
    // The parts do not fit the small file system, so only the file-size limit.
    void fullDiskLeavesNothing()
    {
        static QList<QByteArray> partBytes;
        partBytes.clear();
        QTemporaryDir source;
        TrickleBuildOptions o = sweepOptions(QString());
        o.only = {TrickleBuild::parseCase(QStringLiteral("1,1,3,surface")), TrickleBuild::parseCase(QStringLiteral("2,2,6,buried"))};
        for (const QString &p : buildShards(o, 2, source.path()))
            partBytes << fileBytes(p);
        QTemporaryDir dir;
        const auto prepare = [](const QString &folder) -> QString {
            for (int k = 0; k < partBytes.size(); ++k) {
                if (!writeFileBytes(QStringLiteral("%1/part-%2.db").arg(folder).arg(k + 1), partBytes[k]))
                    return QStringLiteral("cannot write the parts");
            }
            return QString();
        };
        const auto check = [](const QString &folder) -> QString {
            const QStringList parts = {folder + QStringLiteral("/part-1.db"), folder + QStringLiteral("/part-2.db")};
            try {
                mergeQuietly(parts, folder + QStringLiteral("/merged.db"));
                return QStringLiteral("the merge succeeded on a full disk");
            } catch (const UlvexError &e) {
                if (!e.description().contains(folder))
                    return QStringLiteral("the error does not name the file: ") + e.description();
            }
            QStringList left = folderEntries(folder);
            left.removeAll(QLatin1String(FullDisk::FillerName));
            if (left != QStringList({"part-1.db", "part-2.db"}))
                return QStringLiteral("left behind: ") + left.join(QStringLiteral(", "));
            return QString();
        };
        // Room for the catalogue beside the output, not for the database.
        FullDisk::verify(FullDisk::Kind::FileSizeLimit, dir.path(), prepare, check, 8192);
    }
};

QTEST_GUILESS_MAIN(TstToolShards)
#include "tst_tool_shards.moc"
