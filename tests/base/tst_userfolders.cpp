// The user's own folders: beside the program while the program folder is the
// user's to write, in the user's configuration and documents folders when it
// is not (an installed program). The "writable?" answer is given here; the
// installed program run as an ordinary user is checked by test_installed.
#include "base/ProgramFolder.h"
#include "base/UserFolders.h"
#include "tests/common/TestFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

class TestUserFolders : public QObject
{
    Q_OBJECT
    QTemporaryDir m_program;
    QTemporaryDir m_home;

    QString configHome() const { return m_home.filePath("config"); }
    QString own() const { return configHome() + "/ulvex/Quillon.ini"; }
    QString shipped() const { return m_program.filePath("Quillon.ini"); }

private slots:
    void initTestCase()
    {
        QVERIFY(m_program.isValid() && m_home.isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome()));
        QVERIFY(QDir().mkpath(m_program.filePath("data")));
    }
    void init()
    {
        ProgramFolder::setOverride(m_program.path());
        QDir(configHome()).removeRecursively();
        QFile::remove(shipped());
    }
    void cleanup()
    {
        UserFolders::setProgramFolderWritableOverride(std::nullopt);
        ProgramFolder::setOverride(QString());
    }

    void configFolderFollowsXdgConfigHome()
    {
        QCOMPARE(UserFolders::configFolder(), configHome() + "/ulvex");
    }

    void userDatabaseFollowsXdgDataHome()
    {
        const QString data = m_home.filePath("data");
        qputenv("XDG_DATA_HOME", QFile::encodeName(data));
        QCOMPARE(UserFolders::dataFolder(), data + "/ulvex");
        QCOMPARE(UserFolders::userDatabase(), data + "/ulvex/trickle.db");
        // Naming it makes nothing.
        QVERIFY(!QFileInfo::exists(data));
    }

    void writableProgramFolderKeepsEverythingBesideTheProgram()
    {
        // A temporary folder of our own is writable: no override needed.
        QVERIFY(UserFolders::programFolderWritable());
        QCOMPARE(UserFolders::settingsFile(), shipped());
        QCOMPARE(UserFolders::exportFolder(), m_program.filePath("data"));
        QVERIFY(!QFileInfo::exists(configHome()));
    }

    void readOnlyProgramFolderUsesTheConfigFolder()
    {
        UserFolders::setProgramFolderWritableOverride(false);
        QVERIFY(!UserFolders::programFolderWritable());
        QCOMPARE(UserFolders::settingsFile(), own());
        // The folder is there to be written; nothing else is made.
        QVERIFY(QFileInfo(configHome() + "/ulvex").isDir());
        QVERIFY(!QFileInfo::exists(own()));
        QVERIFY(!QFileInfo::exists(shipped()));
    }

    void firstUseStartsFromTheInstallationsSettings()
    {
        const QByteArray installed = "; shipped\n[Graph Settings]\nMaxX=0.8\nColor1=255\n";
        QVERIFY(writeAll(shipped(), installed));
        UserFolders::setProgramFolderWritableOverride(false);
        QCOMPARE(UserFolders::settingsFile(), own());
        QCOMPARE(readAll(own()), installed);
        // The user's file is the user's from then on: it is never seeded again.
        QVERIFY(writeAll(own(), "[Graph Settings]\nMaxX=1.2\n"));
        QCOMPARE(UserFolders::settingsFile(), own());
        QCOMPARE(readAll(own()), QByteArray("[Graph Settings]\nMaxX=1.2\n"));
        QCOMPARE(readAll(shipped()), installed);
    }

    void unwritableConfigFolderStillReadsTheInstallationsSettings()
    {
        if (geteuid() == 0)
            QSKIP("root writes any folder: a read-only configuration folder cannot be made");
        QVERIFY(writeAll(shipped(), "[Graph Settings]\nMaxX=0.8\n"));
        QVERIFY(QDir().mkpath(configHome()));
        QVERIFY(QFile::setPermissions(configHome(), QFile::ReadOwner | QFile::ExeOwner));
        UserFolders::setProgramFolderWritableOverride(false);
        QCOMPARE(UserFolders::settingsFile(), shipped());
        QFile::setPermissions(configHome(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void exportStartsInTheDocumentsWhenTheProgramFolderIsNotWritable()
    {
        UserFolders::setProgramFolderWritableOverride(false);
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        const QString expected = QFileInfo(documents).isDir() ? documents : QDir::homePath();
        QCOMPARE(UserFolders::exportFolder(), expected);
        QVERIFY(UserFolders::exportFolder() != m_program.filePath("data"));
    }
};

QTEST_GUILESS_MAIN(TestUserFolders)
#include "tst_userfolders.moc"
