// Which database the program reads: the user's own when it exists and can be
// read, else the shipped one, with the problem naming the file; and what the
// user's database says of the user's soils.
#include "base/ProgramFolder.h"
#include "data/UserDatabase.h"
#include "data/clsDataConLayer.h"
#include "tests/common/TestDatabase.h"
#include "tests/common/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

class TestUserDatabase : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString program() const { return m_dir.filePath("program"); }
    QString userFolder() const { return m_dir.filePath("data/ulvex"); }
    QString user() const { return userFolder() + "/trickle.db"; }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dir.filePath("data")));
        QVERIFY(QDir().mkpath(program()));
        TestDatabase::create(program());
        TestDatabase::addBuildInfo(program() + "/trickle.db", {{"build_date", "2026-11-01T00:00:00Z"}});
        ProgramFolder::setOverride(program());
    }
    void init()
    {
        QDir(userFolder()).removeRecursively();
        UserDatabase::reset();
    }
    void cleanupTestCase()
    {
        UserDatabase::reset();
        ProgramFolder::setOverride(QString());
    }

    void withoutAUserDatabaseTheShippedOneIsRead()
    {
        QCOMPARE(UserDatabase::userPath(), user());
        QCOMPARE(UserDatabase::choose(), QString());
        QCOMPARE(UserDatabase::activePath(), program() + "/trickle.db");
        QCOMPARE(clsDataConLayer::databasePath(), program() + "/trickle.db");
        QVERIFY(UserDatabase::addedSoils(user()).isEmpty());
        QVERIFY(!UserDatabase::shippedIsNewer());
        // Nothing is made by looking.
        QVERIFY(!QFile::exists(user()));
    }

    void aGoodUserDatabaseIsReadInstead()
    {
        QVERIFY(QDir().mkpath(userFolder()));
        TestDatabase::Options six;
        six.soils = 6;
        TestDatabase::create(userFolder(), six);
        TestDatabase::addBuildInfo(user(), {{"build_date", "2026-11-20T10:00:00Z"},
                                            {"origin_build_date", "2026-11-01T00:00:00Z"},
                                            {"added_soil_6", "2026-11-20T10:00:00Z"}});
        QCOMPARE(UserDatabase::problem(user()), QString());
        QCOMPARE(UserDatabase::choose(), QString());
        QCOMPARE(clsDataConLayer::databasePath(), user());
        const QList<UserDatabase::Soil> added = UserDatabase::addedSoils(user());
        QCOMPARE(added.size(), 1);
        QCOMPARE(added.first().number, 6);
        QCOMPARE(added.first().name, TestDatabase::soilName(6));
        QCOMPARE(added.first().added, QString("2026-11-20T10:00:00Z"));
        QCOMPARE(UserDatabase::soilNames(user()).size(), 6);
        // Built on the shipped database of the same date: not newer.
        QVERIFY(!UserDatabase::shippedIsNewer());
        TestDatabase::addBuildInfo(user(), {{"origin_build_date", "2026-10-01T00:00:00Z"}});
        QVERIFY(UserDatabase::shippedIsNewer());
    }

    void anUnusableUserDatabaseFallsBackNamingTheFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("not a database") << "text";
        QTest::newRow("missing table") << "table";
        QTest::newRow("missing column") << "column";
        QTest::newRow("empty file") << "empty";
        QTest::newRow("unreadable") << "unreadable";
        QTest::newRow("one part of a sharded build") << "shard";
    }
    void anUnusableUserDatabaseFallsBackNamingTheFile()
    {
        QFETCH(QString, kind);
        QVERIFY(QDir().mkpath(userFolder()));
        if (kind == "text") {
            TestDatabase::createNotADatabase(userFolder());
        } else if (kind == "table") {
            TestDatabase::Options o;
            o.omitTables = QStringList{"BuriedData-c6"};
            TestDatabase::create(userFolder(), o);
        } else if (kind == "column") {
            TestDatabase::Options o;
            o.omitColumns.insert("SurfaceData-c3", {"z"});
            TestDatabase::create(userFolder(), o);
        } else if (kind == "shard") {
            TestDatabase::create(userFolder());
            TestDatabase::addBuildInfo(user(), {{"build_date", "2026-11-20T10:00:00Z"}, {"shard", "2/3"},
                                                {"partial", "shard 2 of 3 of a build; merge the parts with trickle-build --merge"}});
        } else if (kind == "empty") {
            QVERIFY(writeAll(user(), QByteArray()));
        } else {
            TestDatabase::create(userFolder());
            if (geteuid() == 0)
                QSKIP("root reads any file");
            QVERIFY(QFile::setPermissions(user(), QFile::WriteOwner));
        }
        const QByteArray before = readAll(user());
        const QString problem = UserDatabase::choose();
        QVERIFY2(problem.contains(user()), qPrintable(problem));
        QCOMPARE(UserDatabase::activePath(), program() + "/trickle.db");
        if (kind == "table")
            QVERIFY2(problem.contains("BuriedData-c6"), qPrintable(problem));
        if (kind == "shard")
            QVERIFY2(problem.contains("only one part (shard 2/3)") && problem.contains("trickle-build --merge"), qPrintable(problem));
        if (kind == "column")
            QVERIFY2(problem.contains("SurfaceData-c3") && problem.contains(" z"), qPrintable(problem));
        // The file is left as it was.
        QFile::setPermissions(user(), QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(readAll(user()), before);
    }
};

QTEST_GUILESS_MAIN(TestUserDatabase)
#include "tst_userdatabase.moc"
