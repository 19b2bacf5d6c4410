// A sweep shared out as users do on their machines, with trickle-build and the
// real solver on a tiny sweep (two cheap soils, 2 hours, 0.5 and 1 L/h): the
// shards run side by side under GNU parallel and their merge is the one-run
// build byte for byte, on a base too; a shard killed while computing leaves
// nothing, is missed by the merge and is built again; a merge stopped by a
// signal leaves nothing; the command line's errors and exit statuses; and the Slurm scripts of builder/cluster, run by
// hand with the array variables set and submitted to a real Slurm of one node
// (munged, slurmctld and slurmd started by the test) as an array job and a
// dependent merge job.

#include "ToolTestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <csignal>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const QString kTool = QStringLiteral(TRICKLE_BUILD_EXE);
const QString kShipped = QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv");
const QString kShardsScript = QStringLiteral(ULVEX_SOURCE_DIR "/builder/cluster/trickle-shards.sbatch");
const QString kMergeScript = QStringLiteral(ULVEX_SOURCE_DIR "/builder/cluster/trickle-merge.sbatch");
const QString kDate = QStringLiteral("2026-07-07T00:00:00Z");
// Two hours at two flow rates, for loam and silt loam: the cheapest soils there.
const QStringList kTinySweep = {"--hours", "2", "--flows", "0.5,1", "--build-date", kDate};

// The lines of shard `shard`/`shards` reporting a finished case in the form the
// program parses: "[k/n]" first, "elapsed M:SS, about M:SS left" last.
int progressLines(const QString &err, int shard, int shards, int cases)
{
    const QRegularExpression line(QStringLiteral("^\\[ *\\d+/%1\\] shard %2/%3: soil \\d+ \\([^)]+\\), [0-9.]+ L/h, -\\d+ m, (surface|buried): "
                                                 "[0-9.]+ s, mass balance \\S+ %; elapsed \\d+:\\d\\d, about \\d+:\\d\\d left$")
                                      .arg(cases).arg(shard).arg(shards),
                                  QRegularExpression::MultilineOption);
    int n = 0;
    for (auto it = line.globalMatch(err); it.hasNext(); it.next())
        ++n;
    return n;
}

QString parallelProgram()
{
    return QStandardPaths::findExecutable(QStringLiteral("parallel"));
}

// A TCP port no one listens on now.
int freePort()
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof a;
    int port = 0;
    if (s >= 0 && ::bind(s, reinterpret_cast<sockaddr *>(&a), sizeof a) == 0
        && ::getsockname(s, reinterpret_cast<sockaddr *>(&a), &size) == 0)
        port = ntohs(a.sin_port);
    if (s >= 0)
        ::close(s);
    return port;
}

// A Slurm cluster of one node on this machine, in a folder of its own: munged,
// slurmctld and slurmd run in the foreground as children of the test, on free
// ports, and are ended with it.
class LocalSlurm
{
public:
    ~LocalSlurm()
    {
        for (QProcess *p : {&m_slurmd, &m_slurmctld, &m_munged}) {
            if (p->state() != QProcess::NotRunning) {
                p->terminate();
                if (!p->waitForFinished(15000)) {
                    p->kill();
                    p->waitForFinished();
                }
            }
        }
    }

    // Why Slurm cannot run here (not root, a program missing); empty when it can.
    static QString unavailable()
    {
        if (::geteuid() != 0)
            return QStringLiteral("the Slurm daemons of this test run as root (SlurmUser=root)");
        for (const char *name : {"munged", "slurmctld", "slurmd", "sbatch", "sinfo"}) {
            if (program(name).isEmpty())
                return QStringLiteral("%1 is not installed (tools/install-deps.sh installs it)").arg(QLatin1String(name));
        }
        return QString();
    }

    // Starts the daemons in `folder` and waits until the node takes jobs; the
    // reason, with the daemons' logs, when it does not.
    QString start(const QString &folder)
    {
        m_folder = folder;
        const QString munge = folder + QStringLiteral("/munge");
        if (!QDir().mkpath(munge) || !QFile::setPermissions(munge, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            return QStringLiteral("cannot make %1").arg(munge);
        QByteArray key(1024, '\0');
        QRandomGenerator::system()->generate(key.begin(), key.end());
        const QString keyFile = munge + QStringLiteral("/munge.key");
        if (!writeFileBytes(keyFile, key) || !QFile::setPermissions(keyFile, QFile::ReadOwner))
            return QStringLiteral("cannot write %1").arg(keyFile);
        const QString socket = munge + QStringLiteral("/munge.socket");
        quiet(m_munged);
        m_munged.start(program("munged"), {"--foreground", "--force", "--key-file=" + keyFile, "--socket=" + socket,
                                           "--pid-file=" + munge + "/munged.pid", "--log-file=" + munge + "/munged.log",
                                           "--seed-file=" + munge + "/munged.seed"});
        if (!waitFor([&]() { return QFileInfo::exists(socket); }, 10000))
            return QStringLiteral("munged did not start") + logs();

        for (const char *sub : {"state", "spool", "log"})
            QDir().mkpath(folder + QLatin1Char('/') + QLatin1String(sub));
        const QString conf = folder + QStringLiteral("/slurm.conf");
        const QString text = QStringLiteral(
            "ClusterName=ulvextest\n"
            "SlurmctldHost=localhost(127.0.0.1)\n"
            "SlurmctldPort=%2\n"
            "SlurmdPort=%3\n"
            "SlurmUser=root\n"
            "SlurmdUser=root\n"
            "AuthType=auth/munge\n"
            "CredType=cred/munge\n"
            "AuthInfo=socket=%4\n"
            "StateSaveLocation=%1/state\n"
            "SlurmdSpoolDir=%1/spool\n"
            "SlurmctldPidFile=%1/slurmctld.pid\n"
            "SlurmdPidFile=%1/slurmd.pid\n"
            "SlurmctldLogFile=%1/log/slurmctld.log\n"
            "SlurmdLogFile=%1/log/slurmd.log\n"
            "ProctrackType=proctrack/linuxproc\n"
            "TaskPlugin=task/none\n"
            "JobAcctGatherType=jobacct_gather/none\n"
            "AccountingStorageType=accounting_storage/none\n"
            "SchedulerType=sched/backfill\n"
            "SelectType=select/cons_tres\n"
            "SelectTypeParameters=CR_CPU\n"
            "SlurmdParameters=config_overrides\n"
            "ReturnToService=2\n"
            "MpiDefault=none\n"
            "NodeName=localhost NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN\n"
            "PartitionName=debug Nodes=localhost Default=YES MaxTime=INFINITE State=UP\n")
                                 .arg(folder).arg(freePort()).arg(freePort()).arg(socket);
        if (!writeFileBytes(conf, text.toUtf8()))
            return QStringLiteral("cannot write %1").arg(conf);
        m_env = QProcessEnvironment::systemEnvironment();
        m_env.insert(QStringLiteral("SLURM_CONF"), conf);
        for (QProcess *p : {&m_slurmctld, &m_slurmd}) {
            p->setProcessEnvironment(m_env);
            quiet(*p);
        }
        m_slurmctld.start(program("slurmctld"), {"-D", "-i"});
        m_slurmd.start(program("slurmd"), {"-D", "-N", "localhost"});
        const bool idle = waitFor([&]() {
            const ProgramRun r = runProgram(program("sinfo"), {"-h", "-o", "%t"}, 10000, QString(), m_env);
            return r.succeeded() && r.out.trimmed() == QLatin1String("idle");
        }, 60000);
        return idle ? QString() : QStringLiteral("the Slurm node did not become idle") + logs();
    }

    QProcessEnvironment environment() const { return m_env; }

    // The ends of the daemons' logs, to tell what went wrong.
    QString logs() const
    {
        QString text;
        for (const char *log : {"/munge/munged.log", "/log/slurmctld.log", "/log/slurmd.log"}) {
            const QByteArray all = fileBytes(m_folder + QLatin1String(log));
            text += QStringLiteral("\n--- %1:\n%2").arg(QLatin1String(log), QString::fromLocal8Bit(all.right(3000)));
        }
        return text;
    }

    static QString program(const char *name)
    {
        // The daemons live in sbin, which the PATH of a test may leave out.
        return QStandardPaths::findExecutable(QLatin1String(name), {"/usr/sbin", "/usr/bin", "/sbin", "/bin"});
    }

private:
    // The daemons write their logs to files; what they print is not needed.
    static void quiet(QProcess &p)
    {
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.setStandardOutputFile(QProcess::nullDevice());
    }

    static bool waitFor(const std::function<bool()> &done, int timeoutMs)
    {
        QElapsedTimer t;
        t.start();
        while (!done()) {
            if (t.elapsed() > timeoutMs)
                return false;
            QThread::msleep(200);
        }
        return true;
    }

    QString m_folder;
    QProcess m_munged, m_slurmctld, m_slurmd;
    QProcessEnvironment m_env;
};

} // namespace

class TstToolCluster : public QObject
{
    Q_OBJECT

    QTemporaryDir m_shared;
    QString m_soils;     // loam and silt loam
    QString m_single;    // both soils over the tiny sweep in one run, on one thread
    QString m_base;      // loam alone over the tiny sweep
    QString m_added;     // silt loam added to m_base in one run, on one thread
    QString m_siltLoam;  // the catalogue of silt loam alone
    QStringList m_parts; // the three shards of m_single that GNU parallel built

    QString shared(const QString &name) const { return m_shared.filePath(name); }

    static ProgramRun mergeParts(const QStringList &parts, const QString &out)
    {
        return runProgram(kTool, QStringList{"--merge"} + parts + QStringList{"--out", out});
    }

private slots:
    void initTestCase()
    {
        QVERIFY(!parallelProgram().isEmpty()); // GNU parallel: tools/install-deps.sh installs it
        m_soils = shared(QStringLiteral("soils.csv"));
        m_siltLoam = shared(QStringLiteral("siltloam.csv"));
        QVERIFY(writeCatalogueSoils(kShipped, m_soils, {4, 6}));
        QVERIFY(writeCatalogueSoils(kShipped, shared(QStringLiteral("loam.csv")), {4}));
        QVERIFY(writeCatalogueSoils(kShipped, m_siltLoam, {6}));
        m_single = shared(QStringLiteral("single.db"));
        m_base = shared(QStringLiteral("base.db"));
        m_added = shared(QStringLiteral("added.db"));
        // The references, one process per core.
        QProcess single, base;
        single.start(kTool, QStringList{"--soils", m_soils, "--out", m_single, "--threads", "1"} + kTinySweep);
        base.start(kTool, QStringList{"--soils", shared(QStringLiteral("loam.csv")), "--out", m_base, "--threads", "1"} + kTinySweep);
        QVERIFY(base.waitForFinished(120000) && base.exitCode() == 0);
        const ProgramRun added = runProgram(kTool, {"--soils", m_siltLoam, "--base", m_base, "--out", m_added, "--threads", "1",
                                                    "--build-date", kDate}, 120000);
        QVERIFY2(added.succeeded(), qPrintable(added.err));
        QVERIFY(single.waitForFinished(120000) && single.exitCode() == 0);
    }

    void shardsSideBySideWithGnuParallel()
    {
        // Three shards at once, on their default number of threads; the merge
        // is the one-run build on one thread, byte for byte.
        QTemporaryDir dir;
        const ProgramRun r = runProgram(parallelProgram(),
                                        QStringList{"--halt", "now,fail=1", "--jobs", "3", kTool, "--soils", m_soils} + kTinySweep
                                            + QStringList{"--shard", "{}/3", "--out", dir.filePath(QStringLiteral("part-{}-of-3.db")),
                                                          ":::", "1", "2", "3"},
                                        180000);
        QVERIFY2(r.succeeded(), qPrintable(r.err));
        for (int k = 1; k <= 3; ++k) {
            QCOMPARE(progressLines(r.err, k, 3, 8), 8);
            m_parts << shared(QStringLiteral("part-%1-of-3.db").arg(k));
            QVERIFY(QFile::copy(dir.filePath(QStringLiteral("part-%1-of-3.db").arg(k)), m_parts.last()));
            ToolDb part(m_parts.last());
            QCOMPARE(part.buildInfo(QStringLiteral("shard")), QStringLiteral("%1/3").arg(k));
            QCOMPARE(part.value(QStringLiteral("SELECT count(*) FROM CaseInfo")).toInt(), 8);
        }
        const QString merged = dir.filePath(QStringLiteral("trickle.db"));
        const ProgramRun m = mergeParts({dir.filePath(QStringLiteral("part-3-of-3.db")), dir.filePath(QStringLiteral("part-1-of-3.db")),
                                         dir.filePath(QStringLiteral("part-2-of-3.db"))},
                                        merged);
        QVERIFY2(m.succeeded(), qPrintable(m.err));
        QVERIFY2(m.err.contains(QStringLiteral("trickle-build: wrote %1: 24 case(s) merged from 3 part(s)").arg(merged)), qPrintable(m.err));
        QVERIFY(fileBytes(merged) == fileBytes(m_single));
        QCOMPARE(folderEntries(dir.path()), QStringList({"part-1-of-3.db", "part-2-of-3.db", "part-3-of-3.db", "trickle.db"}));
    }

    void shardsOnABaseWithGnuParallel()
    {
        // Silt loam added to the loam base in two shards: the merge is the
        // one-run build on the base.
        QTemporaryDir dir;
        const ProgramRun r = runProgram(parallelProgram(),
                                        {"--halt", "now,fail=1", kTool, "--soils", m_siltLoam, "--base", m_base, "--build-date", kDate,
                                         "--shard", "{}/2", "--out", dir.filePath(QStringLiteral("part-{}.db")), ":::", "1", "2"},
                                        180000);
        QVERIFY2(r.succeeded(), qPrintable(r.err));
        QCOMPARE(progressLines(r.err, 1, 2, 6), 6);
        QCOMPARE(progressLines(r.err, 2, 2, 6), 6);
        const QString merged = dir.filePath(QStringLiteral("user.db"));
        const ProgramRun m = mergeParts({dir.filePath(QStringLiteral("part-1.db")), dir.filePath(QStringLiteral("part-2.db"))}, merged);
        QVERIFY2(m.succeeded(), qPrintable(m.err));
        QVERIFY(fileBytes(merged) == fileBytes(m_added));
        ToolDb db(merged);
        QCOMPARE(db.buildInfo(QStringLiteral("base_database")), QStringLiteral("base.db"));
        QCOMPARE(db.buildInfo(QStringLiteral("added_soil_2")), kDate);
    }

    void killedShardIsBuiltAgain()
    {
        // Shard 2 stopped while computing (its node went down): it leaves
        // nothing, the merge names it missing, and once built again the parts
        // merge into the one-run build.
        QVERIFY2(m_parts.size() == 3, "the parts come from shardsSideBySideWithGnuParallel, which runs first");
        QTemporaryDir dir;
        QVERIFY(QFile::copy(m_parts[0], dir.filePath(QStringLiteral("part-1-of-3.db"))));
        QVERIFY(QFile::copy(m_parts[2], dir.filePath(QStringLiteral("part-3-of-3.db"))));
        const QString second = dir.filePath(QStringLiteral("part-2-of-3.db"));
        const QStringList shard2 = QStringList{"--soils", m_soils, "--threads", "1", "--shard", "2/3", "--out", second} + kTinySweep;
        stopWhileComputing(kTool, shard2, dir.path(), QStringLiteral("part-2-of-3.db"), SIGTERM);

        const QStringList parts = {dir.filePath(QStringLiteral("part-1-of-3.db")), second, dir.filePath(QStringLiteral("part-3-of-3.db"))};
        const QString merged = dir.filePath(QStringLiteral("trickle.db"));
        const ProgramRun missing = runProgram(kTool, {"--merge", parts[0], parts[2], "--out", merged});
        QCOMPARE(missing.exitCode, 1);
        QVERIFY2(missing.err.contains(QStringLiteral("trickle-build: error 3008: shard 2 of 3 is missing")), qPrintable(missing.err));
        QVERIFY(!QFileInfo::exists(merged));

        const ProgramRun again = runProgram(kTool, shard2, 120000);
        QVERIFY2(again.succeeded(), qPrintable(again.err));
        const ProgramRun m = mergeParts(parts, merged);
        QVERIFY2(m.succeeded(), qPrintable(m.err));
        QVERIFY(fileBytes(merged) == fileBytes(m_single));
    }

    void interruptedMergeLeavesNothing_data() { addSignalRows(); }

    void interruptedMergeLeavesNothing()
    {
        // Stopped while it writes the build's inputs or the database, the merge
        // leaves neither behind; left alone, it gives the one-run build.
        QFETCH(int, sig);
        QTemporaryDir dir;
        // A base with a large table of the user's own, so that the merge takes
        // long enough to be stopped; dropping a soil computes nothing.
        const QString base = dir.filePath(QStringLiteral("user.db"));
        QVERIFY(QFile::copy(m_added, base));
        QVERIFY(execSql(base, {"CREATE TABLE Pictures (Picture BLOB)", "INSERT INTO Pictures VALUES (zeroblob(30000000))"}));
        const QStringList drop = {"--base", base, "--drop-soil", "2", "--build-date", kDate};
        QStringList parts;
        for (int k = 1; k <= 2; ++k) {
            parts << dir.filePath(QStringLiteral("part-%1.db").arg(k));
            const ProgramRun r = runProgram(kTool, drop + QStringList{"--shard", QStringLiteral("%1/2").arg(k), "--out", parts.last()});
            QVERIFY2(r.succeeded(), qPrintable(r.err));
        }
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        const QStringList before = folderEntries(dir.path());
        QProcess p;
        p.start(kTool, QStringList{"--merge"} + parts + QStringList{"--out", out});
        QVERIFY(p.waitForStarted());
        auto merging = [&]() { return !folderEntries(dir.path()).filter(QRegularExpression(QStringLiteral("^\\.trickle\\.db\\."))).isEmpty(); };
        QElapsedTimer t;
        t.start();
        while (!merging() && p.state() == QProcess::Running && t.elapsed() < 30000)
            QThread::msleep(2);
        QVERIFY2(merging(), "the merge wrote nothing beside the output before it ended");
        QCOMPARE(::kill(pid_t(p.processId()), sig), 0);
        QVERIFY(p.waitForFinished(20000));
        QCOMPARE(p.exitStatus(), QProcess::CrashExit);
        QCOMPARE(folderEntries(dir.path()), before);

        const ProgramRun merged = mergeParts(parts, out);
        QVERIFY2(merged.succeeded(), qPrintable(merged.err));
        const ProgramRun single = runProgram(kTool, drop + QStringList{"--out", dir.filePath(QStringLiteral("single.db"))});
        QVERIFY2(single.succeeded(), qPrintable(single.err));
        QVERIFY(fileBytes(out) == fileBytes(dir.filePath(QStringLiteral("single.db"))));
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("args"); // "P1".."P3": the parts, "SINGLE": a finished database
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("merge alone") << QStringList{"--merge"} << 2 << QStringLiteral("--merge needs the partial databases and --out");
        QTest::newRow("merge without out") << QStringList{"--merge", "P1", "P2", "P3"} << 2
                                           << QStringLiteral("--merge needs the partial databases and --out");
        QTest::newRow("merge with soils") << QStringList{"--merge", "P1", "--out", "x.db", "--soils", "s.csv"} << 2
                                          << QStringLiteral("--merge takes the parts, --out, --force and --build-date only; --soils belongs to the builds of the shards");
        QTest::newRow("merge with shard") << QStringList{"--merge", "P1", "--out", "x.db", "--shard", "1/3"} << 2
                                          << QStringLiteral("--shard belongs to the builds of the shards");
        QTest::newRow("shard 0/3") << QStringList{"--soils", "s.csv", "--out", "x.db", "--shard", "0/3"} << 2
                                   << QStringLiteral("--shard \"0/3\" is not K/N with 1 <= K <= N");
        QTest::newRow("shard 4/3") << QStringList{"--soils", "s.csv", "--out", "x.db", "--shard", "4/3"} << 2
                                   << QStringLiteral("--shard \"4/3\" is not K/N with 1 <= K <= N");
        QTest::newRow("shard 2") << QStringList{"--soils", "s.csv", "--out", "x.db", "--shard", "2"} << 2
                                 << QStringLiteral("--shard \"2\" is not K/N");
        QTest::newRow("parts without merge") << QStringList{"--soils", "s.csv", "--out", "x.db", "P1"} << 2
                                             << QStringLiteral("unexpected argument");
        QTest::newRow("shard missing") << QStringList{"--merge", "P1", "P3", "--out", "x.db"} << 1
                                       << QStringLiteral("trickle-build: error 3008: shard 2 of 3 is missing; build it and merge again");
        QTest::newRow("finished database") << QStringList{"--merge", "P1", "P2", "SINGLE", "--out", "x.db"} << 1
                                           << QStringLiteral("is a finished database of trickle-build, not one part of a sharded build");
        QTest::newRow("output exists") << QStringList{"--merge", "P1", "P2", "P3", "--out", "P1"} << 1
                                       << QStringLiteral("trickle-build: error 3003: ");
        QTest::newRow("part as base") << QStringList{"--soils", "S", "--base", "P2", "--out", "x.db"} << 1
                                      << QStringLiteral("trickle-build: error 3007: the base database ");
    }

    void commandLine()
    {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        QVERIFY2(m_parts.size() == 3, "the parts come from shardsSideBySideWithGnuParallel, which runs first");
        QTemporaryDir dir;
        for (QString &a : args) {
            if (a.startsWith(QLatin1Char('P')) && a.size() == 2) {
                const QString copy = dir.filePath(QFileInfo(m_parts[a.mid(1).toInt() - 1]).fileName());
                QVERIFY(QFileInfo::exists(copy) || QFile::copy(m_parts[a.mid(1).toInt() - 1], copy));
                a = copy;
            } else if (a == QLatin1String("SINGLE")) {
                a = m_single;
            } else if (a == QLatin1String("S")) {
                a = m_siltLoam;
            }
        }
        std::map<QString, QByteArray> before;
        for (const QString &e : folderEntries(dir.path()))
            before[e] = fileBytes(dir.filePath(e));
        const ProgramRun r = runProgram(kTool, args, 50000, dir.path());
        QCOMPARE(r.status, QProcess::NormalExit);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.err.contains(message), qPrintable(r.err));
        QCOMPARE(r.err.count(QLatin1Char('\n')), 1); // one line
        QCOMPARE(int(folderEntries(dir.path()).size()), int(before.size()));
        for (const auto &b : before)
            QVERIFY2(fileBytes(dir.filePath(b.first)) == b.second, qPrintable(b.first));
    }

    void slurmScriptsRunByHand()
    {
        // The scripts' own steps, each array task with the variables Slurm sets:
        // three tasks side by side, one of them run again alone, then the merge.
        for (const QString &script : {kShardsScript, kMergeScript}) {
            const ProgramRun syntax = runProgram(QStringLiteral("bash"), {"-n", script});
            QVERIFY2(syntax.succeeded(), qPrintable(script + QLatin1Char(' ') + syntax.err));
        }
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("sweep"));
        QVERIFY(QDir().mkpath(folder));
        // A few cases, so that this stays quick.
        const QStringList build = QStringList{"--soils", m_soils, "--only", "1,1,3,surface", "--only", "2,2,10,buried",
                                              "--only", "1,2,6,buried", "--only", "2,1,6,surface"} + kTinySweep;
        const QString single = dir.filePath(QStringLiteral("single.db"));
        QVERIFY2(runProgram(kTool, build + QStringList{"--out", single}).succeeded(), "the one-run build failed");

        auto task = [&](int id, int count, const QString &shards = QString()) {
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert(QStringLiteral("TRICKLE_BUILD"), kTool);
            env.insert(QStringLiteral("SLURM_ARRAY_TASK_ID"), QString::number(id));
            env.insert(QStringLiteral("SLURM_ARRAY_TASK_COUNT"), QString::number(count));
            env.insert(QStringLiteral("SLURM_CPUS_PER_TASK"), QStringLiteral("1"));
            if (!shards.isEmpty())
                env.insert(QStringLiteral("TRICKLE_SHARDS"), shards);
            auto *p = new QProcess(this);
            p->setProcessEnvironment(env);
            p->setWorkingDirectory(dir.path());
            p->start(QStringLiteral("bash"), QStringList{kShardsScript, folder} + build);
            return p;
        };
        QList<QProcess *> tasks = {task(1, 3), task(2, 3), task(3, 3)};
        for (QProcess *p : tasks) {
            QVERIFY(p->waitForFinished(120000));
            QVERIFY2(p->exitStatus() == QProcess::NormalExit && p->exitCode() == 0, p->readAllStandardError().constData());
        }
        QVERIFY(QFile::remove(folder + QStringLiteral("/part-2-of-3.db")));
        QProcess *rerun = task(2, 1, QStringLiteral("3"));
        QVERIFY(rerun->waitForFinished(120000) && rerun->exitCode() == 0);
        QCOMPARE(progressLines(QString::fromLocal8Bit(rerun->readAllStandardError()), 2, 3, 1), 1);
        QCOMPARE(folderEntries(folder), QStringList({"part-1-of-3.db", "part-2-of-3.db", "part-3-of-3.db"}));

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("TRICKLE_BUILD"), kTool);
        const QString out = dir.filePath(QStringLiteral("trickle.db"));
        const ProgramRun merge = runProgram(QStringLiteral("bash"), {kMergeScript, folder, out}, 50000, dir.path(), env);
        QVERIFY2(merge.succeeded(), qPrintable(merge.err));
        QVERIFY(fileBytes(out) == fileBytes(single));

        // Outside an array, and on an empty folder, the scripts say what is wrong.
        const ProgramRun noArray = runProgram(QStringLiteral("bash"), {kShardsScript, folder, "--soils", m_soils}, 50000, dir.path(), env);
        QCOMPARE(noArray.exitCode, 2);
        QVERIFY2(noArray.err.contains(QStringLiteral("usage: sbatch --array=1-N trickle-shards.sbatch FOLDER")), qPrintable(noArray.err));
        const ProgramRun empty = runProgram(QStringLiteral("bash"), {kMergeScript, dir.path(), dir.filePath(QStringLiteral("x.db"))}, 50000,
                                            dir.path(), env);
        QCOMPARE(empty.exitCode, 1);
        QVERIFY2(empty.err.contains(QStringLiteral("holds no part-*-of-*.db")), qPrintable(empty.err));
    }

    void slurmArrayJobAndDependentMerge()
    {
        // The two documented commands on a real Slurm of one node.
        const QString reason = LocalSlurm::unavailable();
        if (!reason.isEmpty())
            QSKIP(qPrintable(QStringLiteral("no local Slurm: ") + reason));
        QTemporaryDir dir;
        LocalSlurm slurm;
        const QString trouble = slurm.start(dir.filePath(QStringLiteral("slurm")));
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        QProcessEnvironment env = slurm.environment();
        env.insert(QStringLiteral("TRICKLE_BUILD"), kTool);
        const QString sbatch = LocalSlurm::program("sbatch");
        const QString folder = dir.filePath(QStringLiteral("sweep"));
        QVERIFY(QDir().mkpath(folder));
        const QString out = folder + QStringLiteral("/trickle.db");

        // The scripts' #SBATCH headers as Slurm reads them.
        for (const QStringList &args : {QStringList{"--test-only", kShardsScript, folder}, QStringList{"--test-only", kMergeScript, folder, out}}) {
            const ProgramRun test = runProgram(sbatch, args, 30000, dir.path(), env);
            QVERIFY2(test.succeeded() && test.err.contains(QStringLiteral(" to start at ")), qPrintable(test.err + slurm.logs()));
        }

        const ProgramRun array = runProgram(sbatch, QStringList{"--parsable", "--array=1-3", "--cpus-per-task=1", kShardsScript, folder,
                                                                 "--soils", m_soils} + kTinySweep,
                                            30000, dir.path(), env);
        QVERIFY2(array.succeeded(), qPrintable(array.err + slurm.logs()));
        const QString jobId = array.out.trimmed().section(QLatin1Char(';'), 0, 0);
        QVERIFY2(!jobId.isEmpty(), qPrintable(array.out));
        const ProgramRun merge = runProgram(sbatch, {"--wait", "--dependency=afterok:" + jobId, kMergeScript, folder, out}, 300000,
                                            dir.path(), env);
        QString jobLogs;
        for (const QString &log : QDir(dir.path()).entryList({"*.log"}))
            jobLogs += QStringLiteral("\n--- %1:\n%2").arg(log, QString::fromLocal8Bit(fileBytes(dir.filePath(log)).right(2000)));
        QVERIFY2(merge.succeeded(), qPrintable(merge.err + jobLogs + slurm.logs()));

        QCOMPARE(folderEntries(folder), QStringList({"part-1-of-3.db", "part-2-of-3.db", "part-3-of-3.db", "trickle.db"}));
        QVERIFY(fileBytes(out) == fileBytes(m_single));
        // Every task reported its own cases in the usual form.
        for (int k = 1; k <= 3; ++k) {
            const QString log = QString::fromLocal8Bit(fileBytes(dir.filePath(QStringLiteral("trickle-shards-%1_%2.log").arg(jobId).arg(k))));
            QCOMPARE(progressLines(log, k, 3, 8), 8);
        }
    }
};

QTEST_GUILESS_MAIN(TstToolCluster)
#include "tst_tool_cluster.moc"
