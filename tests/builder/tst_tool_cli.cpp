// The trickle-build command line, run as a program with the real solver:
// usage errors, refusing to overwrite, bad catalogue lines, an interrupted build
// leaving nothing behind, and a one-case build that gives the same bytes twice.

#include "ToolTestSupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <sys/types.h>

namespace {

const QString kTool = QStringLiteral(TRICKLE_BUILD_EXE);
const QString kSoils = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");
// A case the solver finishes quickly: sand, 0.5 L/h, dry, surface.
const QString kQuickCase = QStringLiteral("1,1,10,surface");

struct Run
{
    int exitCode = -1;
    QProcess::ExitStatus status = QProcess::CrashExit;
    QString err;
};

Run runTool(const QStringList &args, int timeoutMs = 50000)
{
    QProcess p;
    p.start(kTool, args);
    Run r;
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        r.err = QStringLiteral("timed out");
        return r;
    }
    r.exitCode = p.exitCode();
    r.status = p.exitStatus();
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

QStringList entries(const QString &dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

class TstToolCli : public QObject
{
    Q_OBJECT

private slots:
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
        QVERIFY2(r.err.contains(soils + QStringLiteral(" line 4: n 0.9 must be greater than 1")), qPrintable(r.err));
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

    void interruptedBuildLeavesNothing_data()
    {
        QTest::addColumn<int>("sig");
        QTest::newRow("SIGINT") << int(SIGINT);
        QTest::newRow("SIGTERM") << int(SIGTERM);
    }

    void interruptedBuildLeavesNothing()
    {
        QFETCH(int, sig);
        QTemporaryDir dir;
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        QProcess p;
        p.start(kTool, {"--soils", kSoils, "--out", out, "--threads", "1"}); // the whole sweep: far from done when stopped
        QVERIFY(p.waitForStarted());
        // Wait until the build has its temporary file, i.e. it is computing.
        QElapsedTimer t;
        t.start();
        while (entries(dir.path()).isEmpty() && t.elapsed() < 10000)
            QTest::qWait(20);
        // Only the temporary file (and SQLite's journal beside it), never the output name.
        const QStringList during = entries(dir.path());
        QVERIFY(!during.isEmpty());
        QVERIFY2(during.first().startsWith(QStringLiteral(".trickle.db.")) && during.first().endsWith(QStringLiteral(".part")),
                 qPrintable(during.join(QLatin1Char(' '))));
        for (const QString &e : during)
            QVERIFY2(e.startsWith(QStringLiteral(".trickle.db.")), qPrintable(e));
        QTest::qWait(300);
        QCOMPARE(p.state(), QProcess::Running);
        QCOMPARE(::kill(pid_t(p.processId()), sig), 0);
        QVERIFY(p.waitForFinished(10000));
        QCOMPARE(p.exitStatus(), QProcess::CrashExit); // ended by the signal, as a user expects
        QCOMPARE(entries(dir.path()), QStringList());
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
