// The trickle-build command line, run as a program with the real solver:
// usage errors, refusing to overwrite, bad catalogue lines, an interrupted build
// leaving nothing behind, a one-case build that gives the same bytes twice, and
// builds on a base: a soil added to a base holds the rows of the same soil built
// alone, a bad base is named, an interrupted build leaves the base as it was.

#include "ToolTestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/types.h>

namespace {

const QString kTool = QStringLiteral(TRICKLE_BUILD_EXE);
const QString kSoils = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");
// A case the solver finishes quickly: sand, 0.5 L/h, dry, surface.
const QString kQuickCase = QStringLiteral("1,1,10,surface");

using Run = ProgramRun;

Run runTool(const QStringList &args, int timeoutMs = 50000)
{
    return runProgram(kTool, args, timeoutMs);
}

QStringList entries(const QString &dir)
{
    return folderEntries(dir);
}

// A catalogue at `path` holding the shipped catalogue's soils of the given numbers.
bool writeShippedSoils(const QString &path, const QList<int> &soils)
{
    return writeCatalogueSoils(kSoils, path, soils);
}

// The soils of a database in number order.
QStringList soilNames(const QString &path)
{
    QStringList names;
    ToolDb db(path);
    for (const auto &row : db.rows(QStringLiteral("SELECT Name FROM SoilTypeData ORDER BY SoilTypeNo")))
        names << row.first().toString();
    return names;
}

// Starts the build `first`, and `second` on the same output once the first
// holds its lock: the second says that it waits and for whom, and both finish.
void twoAtOnce(const QStringList &first, const QStringList &second, const QString &out)
{
    QProcess a, b;
    a.start(kTool, first);
    QVERIFY(a.waitForStarted());
    const qint64 holder = a.processId(); // 0 once it has ended
    QElapsedTimer t;
    t.start();
    while (!QFileInfo::exists(out + QStringLiteral(".lock")) && t.elapsed() < 10000)
        QTest::qWait(10);
    QVERIFY2(a.state() == QProcess::Running, "the first build ended before the second started");
    b.start(kTool, second);
    QVERIFY(a.waitForFinished(60000) && b.waitForFinished(60000));
    const QString errA = QString::fromLocal8Bit(a.readAllStandardError()), errB = QString::fromLocal8Bit(b.readAllStandardError());
    QVERIFY2(a.exitStatus() == QProcess::NormalExit && a.exitCode() == 0, qPrintable(errA));
    QVERIFY2(b.exitStatus() == QProcess::NormalExit && b.exitCode() == 0, qPrintable(errB));
    const QString waits = QStringLiteral("trickle-build: waiting for %1: it is locked by trickle-build (pid %2 on ").arg(out).arg(holder);
    QVERIFY2(errB.contains(waits), qPrintable(errB));
    QCOMPARE(errB.count(QStringLiteral("waiting for")), 1);
}

void stopWhileComputing(const QStringList &args, const QString &dir, const QString &outName, int sig)
{
    ::stopWhileComputing(kTool, args, dir, outName, sig);
}

// The sweep of the real-solver tests on a base: two hours, two flow rates.
const QStringList kTinySweep = {"--hours", "2", "--flows", "0.5,1"};
// Two of the cheapest soils for that sweep: the base holds loam, silt loam is
// added (their numbers in the shipped catalogue); in the base loam is soil 1,
// and silt loam is added as soil 2 (soil 1 when built alone).
constexpr int kBaseSoil = 4;
constexpr int kAddedSoil = 6;
constexpr int kBaseNo = 1;
constexpr int kAddedNo = 2;

// The rows without their first column (the soil's number).
QList<QVariantList> withoutSoil(QList<QVariantList> rows)
{
    for (QVariantList &row : rows)
        row.removeFirst();
    return rows;
}

} // namespace

class TstToolCli : public QObject
{
    Q_OBJECT

    QTemporaryDir m_shared;
    QString m_base; // loam over the tiny sweep, built once with the real solver

private slots:
    void initTestCase()
    {
        const QString soils = m_shared.filePath(QStringLiteral("loam.csv"));
        QVERIFY(writeShippedSoils(soils, {kBaseSoil}));
        m_base = m_shared.filePath(QStringLiteral("base.db"));
        const Run r = runTool(QStringList{"--soils", soils, "--out", m_base, "--build-date", "2026-05-05"} + kTinySweep);
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QString>("message");
        QTest::newRow("no arguments") << QStringList() << QStringLiteral("both --soils and --out are needed");
        QTest::newRow("no output") << QStringList({"--soils", kSoils}) << QStringLiteral("both --soils and --out are needed");
        QTest::newRow("stray argument") << QStringList({"--soils", kSoils, "--out", "x.db", "extra"}) << QStringLiteral("unexpected argument \"extra\"");
        QTest::newRow("bad only") << QStringList({"--soils", kSoils, "--out", "x.db", "--only", "1,9,3,surface"})
                                  << QStringLiteral("FLOW must be a FlowRateNo from 1 (0.5 L/h) to 5 (8 L/h)");
        QTest::newRow("bad threads") << QStringList({"--soils", kSoils, "--out", "x.db", "--threads", "0"})
                                     << QStringLiteral("--threads \"0\" is not a whole number of 1 or more");
        QTest::newRow("bad threshold") << QStringList({"--soils", kSoils, "--out", "x.db", "--front-threshold", "1.5"})
                                       << QStringLiteral("the front threshold 1.5 must lie between 0 and 1");
        QTest::newRow("unknown soil") << QStringList({"--soils", kSoils, "--out", "x.db", "--only", "13,1,3,surface"})
                                      << QStringLiteral("has no SoilTypeNo 13");
        QTest::newRow("flow beyond the list") << QStringList({"--soils", kSoils, "--out", "x.db", "--flows", "1,2", "--only", "1,3,3,surface"})
                                              << QStringLiteral("FLOW must be a FlowRateNo from 1 (1 L/h) to 2 (2 L/h)");
        QTest::newRow("0 hours") << QStringList({"--soils", kSoils, "--out", "x.db", "--hours", "0"})
                                 << QStringLiteral("--hours 0: the number of hours must be a whole number from 1 to 72");
        QTest::newRow("73 hours") << QStringList({"--soils", kSoils, "--out", "x.db", "--hours", "73"})
                                  << QStringLiteral("--hours 73: the number of hours must be a whole number from 1 to 72");
        QTest::newRow("hours not whole") << QStringList({"--soils", kSoils, "--out", "x.db", "--hours", "2.5"})
                                         << QStringLiteral("--hours \"2.5\" is not a whole number of hours");
        QTest::newRow("flows not numbers") << QStringList({"--soils", kSoils, "--out", "x.db", "--flows", "0.5,fast"})
                                           << QStringLiteral("--flows \"0.5,fast\": \"fast\" is not a number of litres per hour");
        QTest::newRow("flows decreasing") << QStringList({"--soils", kSoils, "--out", "x.db", "--flows", "2,1"})
                                          << QStringLiteral("--flows 2,1: the flow rates must be positive and strictly increasing");
        QTest::newRow("flows with base") << QStringList({"--soils", kSoils, "--base", "b.db", "--out", "x.db", "--flows", "0.5,1"})
                                         << QStringLiteral("--flows cannot be used with --base");
        QTest::newRow("hours with base") << QStringList({"--soils", kSoils, "--base", "b.db", "--out", "x.db", "--hours", "24"})
                                         << QStringLiteral("--hours cannot be used with --base");
        QTest::newRow("threshold with base") << QStringList({"--soils", kSoils, "--base", "b.db", "--out", "x.db", "--front-threshold", "0.1"})
                                             << QStringLiteral("--front-threshold cannot be used with --base");
        QTest::newRow("drop without base") << QStringList({"--soils", kSoils, "--out", "x.db", "--drop-soil", "3"})
                                           << QStringLiteral("--drop-soil and --drop-soil-named need --base");
        QTest::newRow("bad drop") << QStringList({"--base", "b.db", "--out", "x.db", "--drop-soil", "loam"})
                                  << QStringLiteral("--drop-soil \"loam\" is not a SoilTypeNo");
        QTest::newRow("base alone") << QStringList({"--base", "b.db", "--out", "x.db"}) << QStringLiteral("both --soils and --out are needed");
    }

    void usageErrors()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, message);
        QTemporaryDir dir;
        QProcess p;
        p.setWorkingDirectory(dir.path());
        p.start(kTool, args);
        QVERIFY(p.waitForFinished(20000));
        QCOMPARE(p.exitStatus(), QProcess::NormalExit);
        QCOMPARE(p.exitCode(), 2);
        const QString err = QString::fromLocal8Bit(p.readAllStandardError());
        QVERIFY2(err.contains(message), qPrintable(err));
        QCOMPARE(entries(dir.path()), QStringList());
    }

    void badCatalogueNamesTheLine()
    {
        QTemporaryDir dir;
        const QString soils = dir.filePath(QStringLiteral("soils.csv"));
        QVERIFY(writeFileBytes(soils,
            "# test\n"
            "SoilTypeNo,Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/cm),n,Ks (cm/day)\n"
            "1,Sand,coarse,3,USDA sand,0.045,0.43,0.145,2.68,712.8\n"
            "2,Loam,medium,20,USDA loam,0.078,0.43,0.036,0.9,24.96\n"));
        const Run r = runTool({"--soils", soils, "--out", dir.filePath(QStringLiteral("t.db"))});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(soils + QStringLiteral(" line 4: n 0.9 lies outside 1.09 to 2.8")), qPrintable(r.err));
        QCOMPARE(entries(dir.path()), QStringList{QStringLiteral("soils.csv")});
    }

    void refusesToOverwrite()
    {
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        QVERIFY(writeFileBytes(out, "an older database"));
        QElapsedTimer t;
        t.start();
        const Run r = runTool({"--soils", kSoils, "--out", out, "--only", kQuickCase});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(QStringLiteral("exists already; give --force to replace it")), qPrintable(r.err));
        QVERIFY2(t.elapsed() < 5000, "the refusal came only after computing");
        QCOMPARE(fileBytes(out), QByteArray("an older database"));
        QCOMPARE(entries(dir.path()), QStringList{QStringLiteral("trickle.db")});
    }

    void addedRowsEqualAStandaloneBuild()
    {
        // Silt loam added to the loam base, and silt loam built alone over the same
        // sweep, at the same time (one process per core): its rows must be the same.
        QTemporaryDir dir;
        const QString soils = dir.filePath(QStringLiteral("siltloam.csv"));
        QVERIFY(writeShippedSoils(soils, {kAddedSoil}));
        const QString added = dir.filePath(QStringLiteral("added.db")), alone = dir.filePath(QStringLiteral("alone.db"));
        const QByteArray baseBytes = fileBytes(m_base);
        QProcess pa, pb;
        pa.start(kTool, {"--soils", soils, "--base", m_base, "--out", added, "--threads", "1", "--build-date", "2026-06-06"});
        pb.start(kTool, QStringList{"--soils", soils, "--out", alone, "--threads", "1"} + kTinySweep);
        QVERIFY(pa.waitForFinished(55000));
        QVERIFY(pb.waitForFinished(55000));
        const QString errA = QString::fromLocal8Bit(pa.readAllStandardError());
        QVERIFY2(pa.exitStatus() == QProcess::NormalExit && pa.exitCode() == 0, qPrintable(errA));
        QVERIFY2(pb.exitStatus() == QProcess::NormalExit && pb.exitCode() == 0, qPrintable(pb.readAllStandardError()));
        QCOMPARE(fileBytes(m_base), baseBytes);
        // Progress in the usual form: cases done of all, elapsed, time left.
        const QRegularExpression progress(QStringLiteral("^\\[ *(\\d+)/12\\] soil 2 \\(Silt Loam\\), [0-9.]+ L/h, -\\d+ m, (surface|buried): "
                                                         "[0-9.]+ s, mass balance \\S+ %; elapsed \\d+:\\d\\d, about \\d+:\\d\\d left$"),
                                          QRegularExpression::MultilineOption);
        int lines = 0;
        for (auto it = progress.globalMatch(errA); it.hasNext(); it.next())
            ++lines;
        QVERIFY2(lines == 12, qPrintable(errA));

        ToolDb a(added), b(alone), base(m_base);
        QVERIFY(a.ok() && b.ok() && base.ok());
        const QString soil = QStringLiteral("SoilType = %1").arg(kAddedNo);
        for (const char *t : {"SurfaceData-c3", "SurfaceData-c6", "SurfaceData-c", "BuriedData-c3", "BuriedData-c6", "BuriedData-c", "CaseInfo"}) {
            const QString table = QString::fromLatin1(t);
            const auto rows = a.allRows(table, soil);
            QVERIFY2(!rows.isEmpty(), t);
            QVERIFY2(withoutSoil(rows) == withoutSoil(b.allRows(table)), t);
        }
        QCOMPARE(a.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c]")).toInt(), 2 * 2 * 2);
        // The export rows, but for their IDs, which continue the base's.
        for (const char *t : {"SurfaceData", "BuriedData"}) {
            const QString cols = QString::fromLatin1(t) == QLatin1String("SurfaceData") ? QStringLiteral("FlowRate, Time, z, r")
                                                                                        : QStringLiteral("FlowRate, Time, r, zplus, zminus");
            const auto rows = a.rows(QStringLiteral("SELECT %1 FROM %2 WHERE %3 ORDER BY ID").arg(cols, QLatin1String(t), soil));
            QCOMPARE(rows.size(), 4);
            QVERIFY2(rows == b.rows(QStringLiteral("SELECT %1 FROM %2 ORDER BY ID").arg(cols, QLatin1String(t))), t);
            QCOMPARE(a.value(QStringLiteral("SELECT min(ID) FROM %1 WHERE %2").arg(QLatin1String(t), soil)).toInt(), 5);
        }
        QCOMPARE(withoutSoil(a.rows(QStringLiteral("SELECT * FROM SoilTypeData WHERE SoilTypeNo = %1").arg(kAddedNo))),
                 withoutSoil(b.allRows(QStringLiteral("SoilTypeData"))));
        // The base's rows are there unchanged.
        for (const QString &t : base.tables()) {
            QString where;
            if (t == QLatin1String("SoilTypeData"))
                where = QStringLiteral("SoilTypeNo = %1").arg(kBaseNo);
            else if (base.columns(t).contains(QStringLiteral("SoilType INTEGER")))
                where = QStringLiteral("SoilType = %1").arg(kBaseNo);
            if (t != QLatin1String("BuildInfo"))
                QVERIFY2(a.allRows(t, where) == base.allRows(t), qPrintable(t));
        }
        QCOMPARE(a.buildInfo(QStringLiteral("cases")), QStringLiteral("24"));
        QCOMPARE(a.buildInfo(QStringLiteral("build_date")), QStringLiteral("2026-06-06"));
        QCOMPARE(a.buildInfo(QStringLiteral("origin_build_date")), QStringLiteral("2026-05-05"));
        QCOMPARE(a.buildInfo(QStringLiteral("added_catalogues")), QStringLiteral("siltloam.csv (2026-06-06)"));
        QCOMPARE(a.buildInfo(QStringLiteral("added_soil_2")), QStringLiteral("2026-06-06"));
        QCOMPARE(entries(dir.path()), QStringList({"added.db", "alone.db", "siltloam.csv"}));

        // And dropped again: the base's rows and nothing else.
        const Run r = runTool({"--base", added, "--drop-soil", "2", "--out", added, "--force"});
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        ToolDb c(added);
        QCOMPARE(c.value(QStringLiteral("SELECT count(*) FROM CaseInfo WHERE SoilType = 2")).toInt(), 0);
        QCOMPARE(c.allRows(QStringLiteral("SurfaceData-c6")), base.allRows(QStringLiteral("SurfaceData-c6")));
        QVERIFY2(c.buildInfo(QStringLiteral("dropped_soils")).startsWith(QStringLiteral("2 Silt Loam (")), qPrintable(c.buildInfo(QStringLiteral("dropped_soils"))));
        QCOMPARE(entries(dir.path()), QStringList({"added.db", "alone.db", "siltloam.csv"}));
    }

    void badBaseNamesTheFile_data()
    {
        QTest::addColumn<QByteArray>("contents"); // empty: no file at all
        QTest::addColumn<QString>("message");
        QTest::newRow("missing") << QByteArray() << QStringLiteral("does not exist");
        QTest::newRow("not a database") << QByteArray("not a database at all, just text\n") << QStringLiteral("is not an SQLite database");
    }

    void badBaseNamesTheFile()
    {
        QFETCH(QByteArray, contents);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const QString base = dir.filePath(QStringLiteral("user.db"));
        if (!contents.isEmpty())
            QVERIFY(writeFileBytes(base, contents));
        const QStringList before = entries(dir.path());
        const Run r = runTool({"--soils", kSoils, "--base", base, "--out", base, "--force"});
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(QStringLiteral("the base database %1 %2").arg(base, message)), qPrintable(r.err));
        QCOMPARE(entries(dir.path()), before);
        if (!contents.isEmpty())
            QCOMPARE(fileBytes(base), contents);
    }

    void interruptedAddKeepsTheBase_data() { addSignalRows(); }

    void interruptedAddKeepsTheBase()
    {
        // The viewer's way: the output replaces the base. Stopped while computing,
        // the base stays as it was and nothing else is left.
        QFETCH(int, sig);
        QTemporaryDir dir;
        const QString base = dir.filePath(QStringLiteral("trickle.db"));
        const QByteArray baseBytes = fileBytes(m_base);
        QVERIFY(writeFileBytes(base, baseBytes));
        const QString soils = m_shared.filePath(QStringLiteral("others.csv"));
        QVERIFY(writeShippedSoils(soils, {1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12}));
        stopWhileComputing({"--soils", soils, "--base", base, "--out", base, "--force", "--threads", "1"}, dir.path(),
                           QStringLiteral("trickle.db"), sig);
        QCOMPARE(fileBytes(base), baseBytes);
    }

    void interruptedBuildLeavesNothing_data() { addSignalRows(); }

    void interruptedBuildLeavesNothing()
    {
        QFETCH(int, sig);
        QTemporaryDir dir;
        // The whole sweep: far from done when stopped.
        stopWhileComputing({"--soils", kSoils, "--out", dir.filePath(QStringLiteral("trickle.db")), "--threads", "1"}, dir.path(),
                           QStringLiteral("trickle.db"), sig);
        QCOMPARE(entries(dir.path()), QStringList());
    }

    void fileSizeLimitIsAWriteError()
    {
        // Under `ulimit -f` a write beyond the limit would end the process by
        // SIGXFSZ without a word; the build reports it as an error naming the
        // output and leaves nothing behind.
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        // dash's ulimit -f counts blocks of 512 bytes: 16 kB, too small for the database
        const QString script = QStringLiteral("ulimit -f 32; exec \"$0\" \"$@\"");
        const Run r = runProgram(QStringLiteral("/bin/sh"), {"-c", script, kTool, "--soils", kSoils, "--only", kQuickCase, "--out", out});
        QCOMPARE(r.status, QProcess::NormalExit);
        QCOMPARE(r.exitCode, 1);
        QVERIFY2(r.err.contains(QStringLiteral("trickle-build: error 3004: cannot write %1: ").arg(out)), qPrintable(r.err));
        QVERIFY2(r.err.contains(QStringLiteral("files may grow to 16384 bytes at most here: ulimit -f")), qPrintable(r.err));
        QCOMPARE(entries(dir.path()), QStringList());
    }

    void twoWritersTakeTurns()
    {
        // Two soils added at once to a user's database that does not exist yet
        // (each with the shipped database as the base if it is missing), then
        // a soil dropped by name while another is added: each build waits for
        // the one before and reads what it wrote, so nothing is lost and
        // nothing dropped comes back.
        QTemporaryDir dir;
        const QString user = dir.filePath(QStringLiteral("user.db"));
        const QString siltLoam = dir.filePath(QStringLiteral("siltloam.csv")), sand = dir.filePath(QStringLiteral("sand.csv")),
                      clay = dir.filePath(QStringLiteral("clay.csv"));
        QVERIFY(writeShippedSoils(siltLoam, {kAddedSoil}) && writeShippedSoils(sand, {1}) && writeShippedSoils(clay, {12}));
        const QStringList onUser = {"--base-if-missing", m_base, "--out", user, "--force", "--threads", "1"};
        twoAtOnce(QStringList{"--soils", siltLoam} + onUser, QStringList{"--soils", sand} + onUser, user);
        QCOMPARE(soilNames(user), QStringList({"Loam", "Silt Loam", "Sand"}));
        twoAtOnce(QStringList{"--soils", clay} + onUser, QStringList{"--drop-soil-named", "SILT LOAM"} + onUser, user);
        QCOMPARE(soilNames(user), QStringList({"Loam", "Sand", "Clay"}));
        QCOMPARE(entries(dir.path()), QStringList({"clay.csv", "sand.csv", "siltloam.csv", "user.db"}));
    }

    void killedBuildsLeftoversAreRemoved()
    {
        // A build killed outright leaves its temporary database (and perhaps
        // SQLite's journal) and its lock behind; the next build of the same
        // output takes the lock over from the dead process and removes them,
        // and only them.
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        QProcess killed;
        killed.start(kTool, {"--soils", kSoils, "--out", out, "--threads", "1"});
        QElapsedTimer t;
        t.start();
        while (!entries(dir.path()).join(QLatin1Char(' ')).contains(QStringLiteral(".part")) && t.elapsed() < 10000)
            QTest::qWait(20);
        QTest::qWait(300);
        QCOMPARE(::kill(pid_t(killed.processId()), SIGKILL), 0);
        QVERIFY(killed.waitForFinished(10000));
        QStringList left = entries(dir.path());
        QVERIFY2(left.contains(QStringLiteral("trickle.db.lock")), qPrintable(left.join(QLatin1Char(' '))));
        // Files that only look alike, and another output's, stay.
        const QStringList others = {".trickle.db.abc.part", ".other.db.AbC123.part", "trickle.db.AbC123.part", ".trickle.db.AbC123.partial"};
        for (const QString &o : others)
            QVERIFY(writeFileBytes(dir.filePath(o), "not a build's"));
        QVERIFY(writeFileBytes(dir.filePath(QStringLiteral(".trickle.db.Zz9Zz9.part-journal")), "a journal"));

        const Run r = runTool({"--soils", kSoils, "--only", kQuickCase, "--out", out});
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        QVERIFY2(r.err.contains(QStringLiteral(", left by a build of %1 that did not finish").arg(out)), qPrintable(r.err));
        QStringList expected = others;
        expected << QStringLiteral("trickle.db");
        expected.sort();
        QStringList now = entries(dir.path());
        now.sort();
        QCOMPARE(now, expected);
    }

    void oneCaseTwiceGivesSameBytes()
    {
        // Two processes build the same case at the same time (one per core); the
        // files must match byte for byte and hold only that case.
        QTemporaryDir dir;
        const QString a = dir.filePath(QStringLiteral("a.db")), b = dir.filePath(QStringLiteral("b.db"));
        QProcess pa, pb;
        const QStringList common = {"--soils", kSoils, "--only", kQuickCase, "--build-date", "2026-11-21"};
        pa.start(kTool, QStringList(common) << "--out" << a);
        pb.start(kTool, QStringList(common) << "--out" << b);
        QVERIFY(pa.waitForFinished(55000));
        QVERIFY(pb.waitForFinished(55000));
        const QString errA = QString::fromLocal8Bit(pa.readAllStandardError());
        QVERIFY2(pa.exitStatus() == QProcess::NormalExit && pa.exitCode() == 0, qPrintable(errA));
        QVERIFY2(pb.exitStatus() == QProcess::NormalExit && pb.exitCode() == 0, qPrintable(pb.readAllStandardError()));
        // Progress: cases done, elapsed, estimate, and a closing summary.
        QVERIFY2(errA.contains(QStringLiteral("[  1/1] soil 1 (Sand), 0.5 L/h, -10 m, surface: ")), qPrintable(errA));
        QVERIFY2(errA.contains(QStringLiteral("elapsed ")) && errA.contains(QStringLiteral(" left")), qPrintable(errA));
        QVERIFY2(errA.contains(QStringLiteral("largest mass balance error")), qPrintable(errA));

        const QByteArray ba = fileBytes(a);
        QVERIFY(!ba.isEmpty());
        QVERIFY(ba == fileBytes(b));
        QCOMPARE(entries(dir.path()), QStringList({QStringLiteral("a.db"), QStringLiteral("b.db")}));

        ToolDb db(a);
        QVERIFY(db.ok());
        QCOMPARE(db.tables(), expectedTables());
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c] WHERE SoilType = 1 AND FlowRate = 1")).toInt(), 24);
        // A dry case fills the export table as well.
        QCOMPARE(db.value(QStringLiteral("SELECT count(*) FROM SurfaceData WHERE SoilType = 1 AND FlowRate = 1")).toInt(), 24);
        int others = 0;
        for (const char *t : {"SurfaceData-c3", "SurfaceData-c6", "BuriedData-c3", "BuriedData-c6", "BuriedData-c", "BuriedData"})
            others += db.value(QStringLiteral("SELECT count(*) FROM \"%1\"").arg(QString::fromLatin1(t))).toInt();
        QCOMPARE(others, 0);
        QCOMPARE(db.buildInfo(QStringLiteral("build_date")), QStringLiteral("2026-11-21"));
        QVERIFY(!db.buildInfo(QStringLiteral("solver_settings")).isEmpty());
        // The fronts are real: they grow from hour to hour.
        const auto rows = db.rows(QStringLiteral("SELECT Time, r, z FROM [SurfaceData-c] ORDER BY Time"));
        QVERIFY(rows.first().at(1).toDouble() > 0.0 && rows.first().at(2).toDouble() > 0.0);
        QVERIFY(rows.last().at(1).toDouble() > rows.first().at(1).toDouble());
        QVERIFY(rows.last().at(2).toDouble() > rows.first().at(2).toDouble());

        // --force replaces an existing database.
        const Run r = runTool({"--soils", kSoils, "--only", kQuickCase, "--build-date", "replaced", "--out", a, "--force"});
        QVERIFY2(r.exitCode == 0, qPrintable(r.err));
        ToolDb db2(a);
        QCOMPARE(db2.buildInfo(QStringLiteral("build_date")), QStringLiteral("replaced"));
        QCOMPARE(db2.value(QStringLiteral("SELECT count(*) FROM [SurfaceData-c]")).toInt(), 24);
        QCOMPARE(entries(dir.path()), QStringList({QStringLiteral("a.db"), QStringLiteral("b.db")}));
    }
};

QTEST_GUILESS_MAIN(TstToolCli)
#include "tst_tool_cli.moc"
