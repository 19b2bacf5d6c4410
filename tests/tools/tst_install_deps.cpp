// The set-up script: building and running install no server; the tests add
// theirs; every package named comes from Debian's archive by name, and the
// README says which command installs what.
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QtTest>

namespace {

QStringList packages(const QStringList &arguments)
{
    QProcess p;
    p.start("bash", QStringList{ULVEX_SOURCE_DIR "/tools/install-deps.sh", "--list"} + arguments);
    if (!p.waitForFinished(30000) || p.exitCode() != 0)
        return {};
    return QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

// Packages that run a server as soon as Debian installs them.
const QStringList Servers = {"cups-daemon", "slurmctld", "slurmd", "munge"};

} // namespace

class TestInstallDeps : public QObject
{
    Q_OBJECT
private slots:
    void runningInstallsNoServer()
    {
        const QStringList run = packages({});
        QVERIFY(run.contains("qt6-base-dev"));
        QVERIFY(run.contains("libeigen3-dev"));
        for (const QString &server : Servers)
            QVERIFY2(!run.contains(server), qPrintable(server));
        QVERIFY(!run.contains("xvfb"));
    }

    void testsAddTheirs()
    {
        const QStringList run = packages({});
        const QStringList test = packages({"--tests"});
        QVERIFY(QSet<QString>(run.begin(), run.end()).subtract(QSet<QString>(test.begin(), test.end())).isEmpty());
        for (const QString &needed : Servers + QStringList{"parallel", "poppler-utils", "xvfb"})
            QVERIFY2(test.contains(needed), qPrintable(needed));
        // Plain Debian package names, each once.
        QCOMPARE(QSet<QString>(test.begin(), test.end()).size(), test.size());
        for (const QString &name : test)
            QVERIFY2(QRegularExpression("^[a-z0-9][a-z0-9.+-]+$").match(name).hasMatch(), qPrintable(name));
    }

    void unknownOptionsAreRefused()
    {
        QProcess p;
        p.start("bash", {ULVEX_SOURCE_DIR "/tools/install-deps.sh", "--everything"});
        QVERIFY(p.waitForFinished(30000));
        QCOMPARE(p.exitCode(), 2);
    }

    void theMakefileAndReadmeSayWhichInstallsWhat()
    {
        QFile make(ULVEX_SOURCE_DIR "/Makefile");
        QVERIFY(make.open(QIODevice::ReadOnly));
        const QString makefile = QString::fromUtf8(make.readAll());
        QVERIFY(makefile.contains("test: test-deps build"));
        QVERIFY(makefile.contains("install-deps.sh --tests"));
        QFile readme(ULVEX_SOURCE_DIR "/README.md");
        QVERIFY(readme.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(readme.readAll()).simplified();
        QVERIFY(text.contains("`make run` (and `make build`) installs what building and running need"));
        QVERIFY(text.contains("`make test` adds what the tests use"));
    }
};

QTEST_GUILESS_MAIN(TestInstallDeps)
#include "tst_install_deps.moc"
