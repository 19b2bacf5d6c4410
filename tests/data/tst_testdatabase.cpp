#include "tests/common/TestDatabase.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QtTest>

// The shared test database helper holds what it promises.
class TestTestDatabase : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QStringList columnsOf(QSqlDatabase &db, const QString &table)
    {
        QStringList names;
        const QSqlRecord r = db.record(table);
        for (int i = 0; i < r.count(); ++i)
            names << r.fieldName(i);
        return names;
    }

private slots:
    void layoutAndContents()
    {
        const QString path = TestDatabase::create(m_dir.path());
        QCOMPARE(path, m_dir.filePath("trickle.db"));
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "t");
            db.setDatabaseName(path);
            QVERIFY(db.open());
            QCOMPARE(columnsOf(db, "SoilTypeData"),
                     QStringList({"SoilTypeNo", "Name", "Texture", "Clay (%)",
                                  "Soil Classification", "Ks (m/h)"}));
            QCOMPARE(columnsOf(db, "FlowRateData"), QStringList({"FlowRateNo", "FlowRate"}));
            QCOMPARE(columnsOf(db, "TimeData"), QStringList({"ID", "Time"}));
            for (const QString &t : TestDatabase::frontTables())
                QCOMPARE(columnsOf(db, t), TestDatabase::frontColumns(t));
            QCOMPARE(columnsOf(db, "SurfaceData"),
                     QStringList({"ID", "SoilType", "FlowRate", "Time", "z", "r"}));
            QSqlQuery q(db);
            QVERIFY(q.exec("Select count(*), min(Time), max(Time), sum(ID <> Time) from TimeData"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toInt(), 24);
            QCOMPARE(q.value(1).toInt(), 1);
            QCOMPARE(q.value(2).toInt(), 24);
            QCOMPARE(q.value(3).toInt(), 0);
            QVERIFY(q.exec("Select count(*), count(distinct r), count(distinct zplus) from "
                           "[BuriedData-c]"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toInt(), 5 * 4 * 24);
            QCOMPARE(q.value(1).toInt(), 5 * 4 * 24);
            QCOMPARE(q.value(2).toInt(), 5 * 4 * 24);
            QVERIFY(q.exec("Select z from [SurfaceData-c6] Where SoilType = 4 and FlowRate = 2 "
                           "and Time = 14"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toDouble(), TestDatabase::frontValue("SurfaceData-c6", "z", 4, 2, 14));
            QCOMPARE(TestDatabase::frontValue("SurfaceData-c6", "z", 4, 2, 14), 0.144211);
            QVERIFY(q.exec("Select Name, [Clay (%)] from SoilTypeData Where SoilTypeNo = 2"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toString(), TestDatabase::soilName(2));
            QCOMPARE(q.value(1).toInt(), 20);
        }
        QSqlDatabase::removeDatabase("t");
    }

    void valuesAreDistinct()
    {
        QSet<double> seen;
        int count = 0;
        for (const QString &t : TestDatabase::frontTables())
            for (const QString &c : QStringList{"r", "z", "zplus", "zminus"})
                for (int s = 1; s <= 9; ++s)
                    for (int f = 1; f <= 9; ++f)
                        for (int h = 1; h <= 24; ++h) {
                            seen.insert(double(float(TestDatabase::frontValue(t, c, s, f, h))));
                            ++count;
                        }
        QCOMPARE(seen.size(), count);
        QCOMPARE(TestDatabase::frontValue("Nope", "r", 1, 1, 1), -1.0);
    }

    void omittingTablesAndColumns()
    {
        TestDatabase::Options o;
        o.soils = 2;
        o.flows = 1;
        o.hours = 3;
        o.omitTables << "TimeData";
        o.omitColumns["SurfaceData-c"] << "r";
        const QString path = TestDatabase::create(m_dir.path(), o);
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "t");
            db.setDatabaseName(path);
            QVERIFY(db.open());
            QVERIFY(!db.tables().contains("TimeData"));
            QCOMPARE(columnsOf(db, "SurfaceData-c"), QStringList({"SoilType", "FlowRate", "Time", "z"}));
            QSqlQuery q(db);
            QVERIFY(q.exec("Select count(*) from [SurfaceData-c3]"));
            QVERIFY(q.next());
            QCOMPARE(q.value(0).toInt(), 2 * 1 * 3);
        }
        QSqlDatabase::removeDatabase("t");
    }
};

QTEST_GUILESS_MAIN(TestTestDatabase)
#include "tst_testdatabase.moc"
