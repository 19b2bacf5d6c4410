#include "data/DataErrors.h"
#include "data/clsDataConLayer.h"
#include "data/clsDataLayer.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "tests/common/TestDatabase.h"
#include "tests/data/DbFingerprint.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

// The connection layer: opening trickle.db for every query, and every way the
// database can fail.
class TestDataConLayer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_db;

    // Loads through the dataset layer and returns the thrown error (number 0
    // when nothing was thrown).
    static UlvexError loadError(const QString &sql)
    {
        clsDataLayer layer;
        try {
            layer.sfDatasetLoad("X", sql);
        } catch (const UlvexError &e) {
            if (layer.Datasets().contains("X"))
                return UlvexError(-1, "dataset created despite the failure");
            return e;
        }
        return UlvexError(0, QString());
    }

private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        QDir(m_dir.path()).removeRecursively();
        QDir().mkpath(m_dir.path());
        ProgramFolder::setOverride(m_dir.path());
        m_db = m_dir.filePath("trickle.db");
    }

    void cleanup()
    {
        QVERIFY2(QSqlDatabase::connectionNames().isEmpty(),
                 qPrintable(QSqlDatabase::connectionNames().join(",")));
    }

    void readPathIsTheProgramFolder()
    {
        QCOMPARE(clsDataConLayer::databasePath(), m_db);
        QCOMPARE(clsDataConLayer::savePath(), QString("trickle.db"));
    }

    void openedRecordsetDescribesFieldsAndRows()
    {
        TestDatabase::create(m_dir.path());
        clsDataConLayer con;
        std::unique_ptr<clsSourceRecordset> rs;
        QCOMPARE(con.sfDatasetLoad("Select * from FlowRateData Order by FlowRateNo", rs),
                 QString());
        QVERIFY(rs && rs->isOpen());
        QCOMPARE(QSqlDatabase::connectionNames().size(), 1);
        QCOMPARE(rs->fields().size(), 2);
        QCOMPARE(rs->fields()[0].Name, QString("FlowRateNo"));
        QCOMPARE(rs->fields()[0].Table, QString("FlowRateData"));
        QCOMPARE(rs->fields()[1].Name, QString("FlowRate"));
        QCOMPARE(rs->fields()[1].Type, int(QMetaType::Double));
        QVERIFY(!rs->isBOF());
        QList<double> rates;
        while (!rs->isEOF()) {
            rates << rs->value(1).toDouble();
            rs->MoveNext();
        }
        QCOMPARE(rates, QList<double>({0.5, 1, 2, 4}));
        rs->Close();
        rs->CloseConnection();
        QVERIFY(QSqlDatabase::connectionNames().isEmpty());
    }

    void eachQueryHasItsOwnConnection()
    {
        TestDatabase::create(m_dir.path());
        clsDataConLayer con;
        std::unique_ptr<clsSourceRecordset> a, b;
        con.sfDatasetLoad("Select * from TimeData", a);
        con.sfDatasetLoad("Select * from TimeData", b);
        QVERIFY(a->connectionName() != b->connectionName());
        QCOMPARE(QSqlDatabase::connectionNames().size(), 2);
        a.reset();
        b.reset(); // the destructor closes and removes the connection
    }

    void missingFileIsReportedAndNotCreated()
    {
        QVERIFY(!QFile::exists(m_db));
        const UlvexError e = loadError("Select * from TimeData Order by ID");
        QCOMPARE(e.number(), int(DataErrors::DatabaseMissing));
        QVERIFY2(e.description().contains(m_db), qPrintable(e.description()));
        QVERIFY(!QFile::exists(m_db));
        QVERIFY(QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).isEmpty());
    }

    void fileThatIsNotADatabase()
    {
        TestDatabase::createNotADatabase(m_dir.path());
        const DbFingerprint before = DbFingerprint::of(m_db);
        const UlvexError e = loadError("Select * from TimeData Order by ID");
        QCOMPARE(e.number(), int(DataErrors::NotADatabase));
        QVERIFY2(e.description().contains(m_db), qPrintable(e.description()));
        QVERIFY(e.description().contains("not a database"));
        QVERIFY(DbFingerprint::of(m_db) == before);
    }

    void missingTableNamesTableAndFile()
    {
        TestDatabase::Options o;
        o.omitTables << "SurfaceData-c3";
        TestDatabase::create(m_dir.path(), o);
        const DbFingerprint before = DbFingerprint::of(m_db);
        QTest::qWait(20); // a changed file would get a later time stamp
        const UlvexError e = loadError("Select * from [SurfaceData-c3] Where SoilType = 1 and "
                                       "FlowRate = 1 and Time <= 1 Order by Time");
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY2(e.description().contains("SurfaceData-c3"), qPrintable(e.description()));
        QVERIFY(e.description().contains(m_db));
        QVERIFY(DbFingerprint::of(m_db) == before);
    }

    void missingColumnNamesColumnAndFile()
    {
        TestDatabase::Options o;
        o.omitColumns["SoilTypeData"] << "Clay (%)";
        TestDatabase::create(m_dir.path(), o);
        const DbFingerprint before = DbFingerprint::of(m_db);
        const UlvexError e = loadError("Select Name,Texture,[Clay (%)],[Soil Classification] "
                                       "from SoilTypeData Order by SoilTypeNo");
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY2(e.description().contains("Clay (%)"), qPrintable(e.description()));
        QVERIFY(e.description().contains("SoilTypeData"));
        QVERIFY(e.description().contains(m_db));
        QVERIFY(DbFingerprint::of(m_db) == before);
    }

    void badSqlIsReported()
    {
        TestDatabase::create(m_dir.path());
        // No water-content option chosen: the table name stays empty.
        const UlvexError e = loadError("Select * from  Where SoilType = 1 and FlowRate = 1 and "
                                       "Time <= 1 Order by Time");
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY(e.description().contains("syntax error"));
    }

    void readsNeverChangeTheFile()
    {
        TestDatabase::create(m_dir.path());
        const DbFingerprint before = DbFingerprint::of(m_db);
        QTest::qWait(20);
        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetLoad("Soil", "Select * from SoilTypeData Order by SoilTypeNo"),
                 QString());
        // Even a statement that would write is refused on the read path.
        const UlvexError e = loadError("Delete from TimeData");
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY2(e.description().contains("readonly"), qPrintable(e.description()));
        QVERIFY(DbFingerprint::of(m_db) == before);
        QVERIFY(!QFile::exists(m_db + "-journal"));
        QVERIFY(!QFile::exists(m_db + "-wal"));
    }

    void savePathIsTheRelativeName()
    {
        // The program folder holds one database, the working directory another:
        // the save path writes into the working directory's.
        TestDatabase::create(m_dir.path());
        QTemporaryDir work;
        TestDatabase::create(work.path());
        const QString oldCwd = QDir::currentPath();
        QVERIFY(QDir::setCurrent(work.path()));
        const DbFingerprint programDb = DbFingerprint::of(m_db);

        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetLoad("Export", "Select * from BuriedData Where SoilType = 2 and "
                                               "FlowRate = 3 Order by Time"),
                 QString());
        QCOMPARE(layer.Datasets().value("Export")->RecordCount(), 24);
        QString result;
        try {
            result = layer.sfDatasetSave("Export");
        } catch (const UlvexError &e) {
            QDir::setCurrent(oldCwd);
            QFAIL(qPrintable(e.description()));
        }
        QDir::setCurrent(oldCwd);
        QCOMPARE(result, QString());
        QVERIFY(DbFingerprint::of(m_db) == programDb);

        // 24 rows more in the working directory's table, the ID numbered anew.
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "check");
            db.setDatabaseName(work.filePath("trickle.db"));
            QVERIFY(db.open());
            QSqlQuery q(db);
            QVERIFY(q.exec("Select count(*), max(ID) from BuriedData Where SoilType = 2 and "
                           "FlowRate = 3"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toInt(), 48);
            QCOMPARE(q.value(1).toInt(), 5 * 4 * 24 + 24);
            QVERIFY(q.exec("Select r from BuriedData Where ID = 5 * 4 * 24 + 1"));
            QVERIFY(q.next());
            // The rows come in time order: the first one written is hour 1.
            QCOMPARE(q.value(0).toDouble(), TestDatabase::frontValue("BuriedData", "r", 2, 3, 1));
        }
        QSqlDatabase::removeDatabase("check");
    }

    void savePathDoesNotCreateAMissingFile()
    {
        TestDatabase::create(m_dir.path());
        QTemporaryDir work;
        const QString oldCwd = QDir::currentPath();
        clsDataLayer layer;
        layer.sfDatasetLoad("Time", "Select * from TimeData Order by ID");
        QVERIFY(QDir::setCurrent(work.path()));
        int number = 0;
        try {
            layer.sfDatasetSave("Time");
        } catch (const UlvexError &e) {
            number = e.number();
        }
        QDir::setCurrent(oldCwd);
        QCOMPARE(number, int(DataErrors::DatabaseMissing));
        QVERIFY(!QFile::exists(work.filePath("trickle.db")));
    }
};

QTEST_GUILESS_MAIN(TestDataConLayer)
#include "tst_dataconlayer.moc"
