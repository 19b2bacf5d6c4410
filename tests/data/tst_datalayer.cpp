#include "data/DataErrors.h"
#include "data/clsDataLayer.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "tests/common/TestDatabase.h"
#include "tests/data/DbFingerprint.h"

#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QtTest>

// The dataset layer over a real test database.
class TestDataLayer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static QString simulation(int soil, int flow, int time)
    {
        return QString("Select * from [BuriedData-c6] Where SoilType = %1 and FlowRate = %2 and "
                       "Time <= %3 Order by Time")
            .arg(soil)
            .arg(flow)
            .arg(time);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        TestDatabase::create(m_dir.path());
        ProgramFolder::setOverride(m_dir.path());
    }

    void loadCopiesFieldsRowsAndSource()
    {
        clsDataLayer layer;
        const QString sql = simulation(3, 2, 5);
        QCOMPARE(layer.sfDatasetLoad("Simulation", sql), QString());
        const auto rs = layer.Datasets().value("Simulation");
        QVERIFY(rs && rs->isOpen());
        QCOMPARE(rs->Source(), sql);
        QStringList names;
        for (const auto &f : rs->fields())
            names << f.Name;
        QCOMPARE(names, QStringList({"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"}));
        QCOMPARE(rs->field(2).Type, int(QMetaType::Int));
        QCOMPARE(rs->field(3).Type, int(QMetaType::Double));
        QCOMPARE(rs->RecordCount(), 5);
        // The cursor starts on the first row; rows are in time order.
        QVERIFY(!rs->isBOF());
        for (int t = 1; t <= 5; ++t) {
            QCOMPARE(rs->value("Time").toInt(), t);
            QCOMPARE(rs->value("SoilType").toInt(), 3);
            QCOMPARE(rs->value("zminus").toDouble(),
                     TestDatabase::frontValue("BuriedData-c6", "zminus", 3, 2, t));
            rs->MoveNext();
        }
        QVERIFY(rs->isEOF());
    }

    void queryWithoutRowsGivesEmptyDatasetWithFields()
    {
        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetLoad("Simulation", simulation(9, 1, 24)), QString());
        const auto rs = layer.Datasets().value("Simulation");
        QVERIFY(rs);
        QVERIFY(rs->isOpen());
        QCOMPARE(rs->fieldCount(), 6);
        QCOMPARE(rs->field(4).Name, QString("zplus"));
        QCOMPARE(rs->RecordCount(), 0);
        QVERIFY(rs->isBOF() && rs->isEOF());
    }

    void reloadingSimulationKeepsOnlyTheSecondRows()
    {
        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetLoad("Simulation", simulation(1, 1, 24)), QString());
        QCOMPARE(layer.sfDatasetDelete("Simulation"), simulation(1, 1, 24));
        QCOMPARE(layer.sfDatasetLoad("Simulation", simulation(2, 4, 3)), QString());
        const auto rs = layer.Datasets().value("Simulation");
        QCOMPARE(rs->RecordCount(), 3);
        const auto rows = rs->GetRows();
        QCOMPARE(rows[0], QVector<QVariant>({2, 2, 2}));
        QCOMPARE(rows[1], QVector<QVariant>({4, 4, 4}));
        QCOMPARE(layer.Datasets().size(), 1);
    }

    void secondLoadUnderTheSameNameIsRefused()
    {
        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetLoad("Time", "Select * from TimeData Order by ID"), QString());
        const QString error = layer.sfDatasetLoad("Time", "Select * from TimeData Where ID < 3");
        QVERIFY(!error.isEmpty());
        QVERIFY(error.startsWith("sfDatasetCreate\t"));
        QVERIFY(error.contains("Time"));
        QCOMPARE(layer.Datasets().value("Time")->RecordCount(), 24);
        QCOMPARE(layer.Datasets().value("Time")->Source(),
                 QString("Select * from TimeData Order by ID"));
        QVERIFY(QSqlDatabase::connectionNames().isEmpty());
    }

    void deletingAMissingDatasetIsNoError()
    {
        clsDataLayer layer;
        QCOMPARE(layer.sfDatasetDelete("Simulation"), QString());
        QVERIFY(layer.Datasets().isEmpty());
    }

    void createMakesAnOpenEmptyDataset()
    {
        clsDataLayer layer;
        clsRecordset::Field f;
        f.Name = "a";
        f.Type = QMetaType::Int;
        f.DefinedSize = 4;
        QCOMPARE(layer.sfDatasetCreate("New", "Select a", QList<clsRecordset::Field>{f}), QString());
        const auto rs = layer.Datasets().value("New");
        QVERIFY(rs->isOpen());
        QCOMPARE(rs->Source(), QString("Select a"));
        QCOMPARE(rs->field(0).DefinedSize, 4);
        QCOMPARE(rs->RecordCount(), 0);
    }

    void afterALoadTheFileIsNoLongerHeldOpen()
    {
        const QString db = m_dir.filePath("trickle.db");
        const DbFingerprint before = DbFingerprint::of(db);
        {
            clsDataLayer layer;
            QCOMPARE(layer.sfDatasetLoad("Soil", "Select * from SoilTypeData Order by SoilTypeNo"),
                     QString());
            QVERIFY(QSqlDatabase::connectionNames().isEmpty());
            // The file can be replaced while the dataset is still in use.
            QVERIFY(QFile::rename(db, db + ".moved"));
            QCOMPARE(layer.Datasets().value("Soil")->RecordCount(), 5);
            QCOMPARE(layer.Datasets().value("Soil")->value("Name").toString(), QString("Sand"));
            QVERIFY(QFile::rename(db + ".moved", db));
        }
        QVERIFY(DbFingerprint::of(db) == before);
    }

    void databaseFailurePassesThroughUntouched()
    {
        clsDataLayer layer;
        int number = 0;
        try {
            layer.sfDatasetLoad("Simulation", "Select * from [SurfaceData-c9]");
        } catch (const UlvexError &e) {
            number = e.number();
            QVERIFY(e.description().contains("SurfaceData-c9"));
        }
        QCOMPARE(number, int(DataErrors::QueryFailed));
        QVERIFY(layer.Datasets().isEmpty());
        QVERIFY(QSqlDatabase::connectionNames().isEmpty());
    }

    void saveOfAMissingDatasetIsAnErrorText()
    {
        clsDataLayer layer;
        const QString error = layer.sfDatasetSave("Nothing");
        QVERIFY(error.startsWith("sfDatasetSave\t"));
        QVERIFY(error.contains("Nothing"));
    }
};

QTEST_GUILESS_MAIN(TestDataLayer)
#include "tst_datalayer.moc"
