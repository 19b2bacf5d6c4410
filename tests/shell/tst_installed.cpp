// The installed program, run by an ordinary user: `cmake --install` lays it out
// under a prefix, and the installed launchers run as a user who may not write
// the program folder (nobody, when the test runs as root; otherwise the folder
// is made read-only). The settings must then live in the user's configuration
// folder, start from the installation's copy, and leave the program folder
// exactly as installed.
#include "tests/common/TestFiles.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const uid_t Nobody = 65534;
const gid_t NoGroup = 65534;

bool runningAsRoot()
{
    return geteuid() == 0;
}

// Every file under a folder with its size and a hash of its bytes.
QStringList snapshot(const QString &folder)
{
    QStringList lines;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        QString line = QDir(folder).relativeFilePath(path);
        if (info.isFile())
            line += QStringLiteral(" %1 %2").arg(info.size()).arg(QString::fromLatin1(
                QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256).toHex()));
        lines << line;
    }
    lines.sort();
    return lines;
}

void setWritable(const QString &folder, bool writable)
{
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    QStringList paths{folder};
    while (it.hasNext())
        paths << it.next();
    for (const QString &p : paths) {
        struct stat st;
        if (::stat(QFile::encodeName(p).constData(), &st) != 0)
            continue;
        const mode_t mode = writable ? (st.st_mode | S_IWUSR) : (st.st_mode & ~(S_IWUSR | S_IWGRP | S_IWOTH));
        ::chmod(QFile::encodeName(p).constData(), mode);
    }
}

} // namespace

class TestInstalled : public QObject
{
    Q_OBJECT
    QTemporaryDir m_work;
    QString m_prefix;
    QString m_programFolder;

    // A home folder of the ordinary user's own.
    QString newHome(const QString &name)
    {
        const QString home = m_work.filePath(name);
        QDir().mkpath(home);
        if (runningAsRoot())
            [[maybe_unused]] const int r = ::chown(QFile::encodeName(home).constData(), Nobody, NoGroup);
        return home;
    }

    // Runs an installed program as the ordinary user with the given home.
    int runAsUser(const QString &program, const QStringList &arguments, const QString &home,
                  QByteArray *output = nullptr)
    {
        QProcess p;
        QProcessEnvironment env;
        env.insert("PATH", "/usr/bin:/bin");
        env.insert("HOME", home);
        env.insert("XDG_CONFIG_HOME", home + "/.config");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        p.setProcessEnvironment(env);
        p.setWorkingDirectory(home);
        if (runningAsRoot())
            p.start("setpriv", QStringList{"--reuid=65534", "--regid=65534", "--clear-groups", program} + arguments);
        else
            p.start(program, arguments);
        if (!p.waitForFinished(120000))
            return -1;
        const QByteArray all = p.readAllStandardOutput() + p.readAllStandardError();
        if (output)
            *output = all;
        if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
            qWarning("%s: %s", qPrintable(program), all.constData());
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    }

    // Puts a file into the (read-only) program folder as the installer would.
    bool ship(const QString &name, const QByteArray &bytes)
    {
        if (!runningAsRoot())
            setWritable(m_programFolder, true);
        const bool ok = writeAll(m_programFolder + "/" + name, bytes);
        if (!runningAsRoot())
            setWritable(m_programFolder, false);
        return ok;
    }

    bool unship(const QString &name)
    {
        if (!runningAsRoot())
            setWritable(m_programFolder, true);
        const bool ok = QFile::remove(m_programFolder + "/" + name);
        if (!runningAsRoot())
            setWritable(m_programFolder, false);
        return ok;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_work.isValid());
        // The ordinary user must be able to reach the installation.
        QVERIFY(QFile::setPermissions(m_work.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                                         | QFile::ReadGroup | QFile::ExeGroup
                                                         | QFile::ReadOther | QFile::ExeOther));
        m_prefix = m_work.filePath("usr");
        QProcess install;
        install.setProcessChannelMode(QProcess::MergedChannels);
        install.start(ULVEX_CMAKE_COMMAND, {"--install", ULVEX_BINARY_DIR, "--prefix", m_prefix});
        QVERIFY(install.waitForFinished(300000));
        QVERIFY2(install.exitCode() == 0, install.readAll().constData());
        m_programFolder = m_prefix + "/lib/ulvex";
        // The screenshot driver runs the installed program folder through the
        // real frame and options dialog; it is not installed, so it is put
        // beside the launchers for this test.
        QVERIFY(QFile::copy(ULVEX_BINARY_DIR "/tools/ulvex-shots", m_prefix + "/bin/ulvex-shots"));
        if (!runningAsRoot())
            setWritable(m_programFolder, false);
    }

    void cleanupTestCase()
    {
        if (!m_programFolder.isEmpty())
            setWritable(m_programFolder, true);
    }

    void installsTheBuilderAndTheSoilCatalogue()
    {
        for (const char *name : {"ulvex", "ulvex-render", "trickle-build"}) {
            QVERIFY2(QFileInfo(m_prefix + "/bin/" + name).isExecutable(), name);
            QVERIFY2(QFileInfo(m_programFolder + "/" + name).isExecutable(), name);
        }
        QVERIFY(QFileInfo(m_programFolder + "/soils.csv").isFile());
        QVERIFY(QFileInfo(m_programFolder + "/trickle.db").isFile());
        QCOMPARE(readAll(m_programFolder + "/soils.csv"), readAll(ULVEX_SOURCE_DIR "/assets/soils.csv"));
        // The launcher finds the builder in the program folder.
        const QString home = newHome("builder-home");
        QByteArray out;
        QCOMPARE(runAsUser(m_prefix + "/bin/trickle-build", {"--help"}, home, &out), 0);
        QVERIFY2(out.contains("trickle-build"), out.constData());
    }

    void programFolderIsNotTheUsersToWrite()
    {
        const QString home = newHome("probe-home");
        QByteArray out;
        // A shell as the ordinary user cannot create a file there.
        QVERIFY(runAsUser("/bin/sh", {"-c", "touch '" + m_programFolder + "/probe' 2>/dev/null && echo wrote || echo refused"},
                          home, &out) == 0);
        QCOMPARE(out.trimmed(), QByteArray("refused"));
    }

    void rendererCreatesTheSettingsInTheConfigFolder()
    {
        const QStringList before = snapshot(m_programFolder);
        const QString home = newHome("render-home");
        QCOMPARE(runAsUser(m_prefix + "/bin/ulvex-render",
                           {"--soil", "1", "--output", home + "/graph.png"}, home), 0);
        QVERIFY(QFileInfo(home + "/graph.png").size() > 0);
        const QString own = home + "/.config/ulvex/Quillon.ini";
        QVERIFY2(QFileInfo(own).isFile(), qPrintable(own));
        const QStringList keys = sectionLines(readAll(own), "Graph Settings");
        QCOMPARE(keys.size(), 19);
        QVERIFY(keys.contains("Width=1.5"));
        QCOMPARE(snapshot(m_programFolder), before);
        QVERIFY(!QFileInfo::exists(m_programFolder + "/Quillon.ini"));
    }

    void firstUseStartsFromTheInstallationsSettings()
    {
        const QByteArray installed = "[Graph Settings]\nMaxX=0.8\nColor1=255\nWidth=3\n";
        QVERIFY(ship("Quillon.ini", installed));
        const QStringList before = snapshot(m_programFolder);
        const QString home = newHome("seed-home");
        QCOMPARE(runAsUser(m_prefix + "/bin/ulvex-render", {"--output", home + "/graph.png"}, home), 0);
        const QString own = home + "/.config/ulvex/Quillon.ini";
        QCOMPARE(readAll(own), installed);
        // Later changes of the user's file stay the user's.
        QVERIFY(writeAll(own, "[Graph Settings]\nMaxX=1.2\n"));
        QCOMPARE(runAsUser(m_prefix + "/bin/ulvex-render", {"--output", home + "/graph2.png"}, home), 0);
        QCOMPARE(readAll(own), QByteArray("[Graph Settings]\nMaxX=1.2\n"));
        QCOMPARE(snapshot(m_programFolder), before);
        QVERIFY(unship("Quillon.ini"));
    }

    void optionsDialogSavesToTheConfigFolder()
    {
        QVERIFY(!QFileInfo::exists(m_programFolder + "/Quillon.ini"));
        const QStringList before = snapshot(m_programFolder);
        const QString home = newHome("gui-home");
        QByteArray out;
        // The real frame and options dialog over the installed program folder:
        // the dialog opens as on a first start and is accepted.
        QCOMPARE(runAsUser(m_prefix + "/bin/ulvex-shots", {"--installed", m_programFolder, home + "/shots"},
                           home, &out), 0);
        const QString own = home + "/.config/ulvex/Quillon.ini";
        QVERIFY2(out.contains("settings file: " + own.toUtf8()), out.constData());
        const QStringList keys = sectionLines(readAll(own), "Graph Settings");
        QCOMPARE(keys.size(), 19);
        // Accept saved the width as the dialog showed it.
        QVERIFY(keys.contains("Width=2"));
        QVERIFY(QFileInfo(home + "/shots/installed-options-first-opening.png").size() > 0);
        QCOMPARE(snapshot(m_programFolder), before);
    }
};

QTEST_GUILESS_MAIN(TestInstalled)
#include "tst_installed.moc"
