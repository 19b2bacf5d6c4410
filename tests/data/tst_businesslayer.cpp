#include "data/DataErrors.h"
#include "data/clsBusinessLayer.h"
#include "settings/basIndProfile.h"
#include "base/ProgramFolder.h"
#include "base/Twips.h"
#include "base/UlvexError.h"
#include "tests/common/TestDatabase.h"
#include "tests/data/DbFingerprint.h"
#include "tests/data/SimWindowFixture.h"

#include <QHeaderView>
#include <QSqlDatabase>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtTest>

// The six queries of the query layer against a test database, with the SQL
// each one ran (the loaded dataset's Source) checked word for word.
class TestBusinessLayer : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static QString source(clsBusinessLayer &bl, const QString &dataset)
    {
        const auto rs = bl.dataLayer().Datasets().value(dataset);
        return rs ? rs->Source() : QString("(no dataset)");
    }

    // Every row of "Simulation": the graph update leaves the filter on its
    // last time step, so it is cleared first.
    static QVector<QVector<QVariant>> allRows(clsBusinessLayer &bl)
    {
        const auto rs = bl.dataLayer().Datasets().value("Simulation");
        rs->setFilter(QString());
        return rs->GetRows();
    }

    static QStringList items(const QComboBox *combo)
    {
        QStringList result;
        for (int i = 0; i < combo->count(); ++i)
            result << combo->itemText(i);
        return result;
    }

    template <typename F>
    static UlvexError errorOf(F f)
    {
        try {
            f();
        } catch (const UlvexError &e) {
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
        TestDatabase::create(m_dir.path());
        ProgramFolder::setOverride(m_dir.path());
    }

    void cleanup() { QVERIFY(QSqlDatabase::connectionNames().isEmpty()); }

    void fillsTheSoilLabelAndTheLists()
    {
        SimWindowFixture w;
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowComboSoil(w.window.get()), QString());
        QCOMPARE(source(bl, "Soil"), QString("Select * from SoilTypeData Order by SoilTypeNo"));
        QCOMPARE(w.lblSoilDes->text(), TestDatabase::soilName(1));
        QCOMPARE(w.lblSoilDes->property("Tag").toString(), QString("1"));
        QCOMPARE(bl.ShowComboFlow(w.window.get()), QString());
        QCOMPARE(source(bl, "Flow"), QString("Select * from FlowRateData Order by FlowRateNo"));
        QCOMPARE(items(w.cmbFlow), QStringList({"0.5", "1", "2", "4"}));
        QCOMPARE(w.cmbFlow->currentIndex(), 0);
        QCOMPARE(bl.ShowComboTime(w.window.get()), QString());
        QCOMPARE(source(bl, "Time"), QString("Select * from TimeData Order by ID"));
        QCOMPARE(w.cmbTime->count(), 24);
        QCOMPARE(w.cmbTime->itemText(0), QString("1"));
        QCOMPARE(w.cmbTime->itemText(23), QString("24"));
        QCOMPARE(w.cmbTime->currentIndex(), 0);
    }

    void showGraphStatementWordForWord()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 4, 1, 2);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        QCOMPARE(source(bl, "Simulation"),
                 QString("Select * from [SurfaceData-c3] Where SoilType = 4 and FlowRate = 2 and "
                         "Time <= 3 Order by Time"));
        QCOMPARE(bl.dataLayer().Datasets().value("Simulation")->Filter(), QString("Time =3"));
        const auto rows = allRows(bl);
        QCOMPARE(rows[2], QVector<QVariant>({1, 2, 3}));
        QCOMPARE(w.graph->EllipseCount(), qint16(3));
    }

    void timeEntryZeroAsksForTimeOne()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(true, 'm', 2, 0, 0);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        QCOMPARE(source(bl, "Simulation"),
                 QString("Select * from [BuriedData-c6] Where SoilType = 2 and FlowRate = 1 and "
                         "Time <= 1 Order by Time"));
        const auto rs = bl.dataLayer().Datasets().value("Simulation");
        rs->setFilter(QString());
        QCOMPARE(rs->RecordCount(), 1);
        QCOMPARE(rs->value("Time").toInt(), 1);
        QCOMPARE(rs->value("r").toDouble(), TestDatabase::frontValue("BuriedData-c6", "r", 2, 1, 1));
    }

    void timeEntryKReturnsTimesOneToKPlusOneInOrder()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'd', 5, 3, 9);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        const auto rows = allRows(bl);
        QVector<QVariant> times, soils, flows;
        for (int t = 1; t <= 10; ++t) {
            times << t;
            soils << 5;
            flows << 4;
        }
        QCOMPARE(rows[2], times);
        QCOMPARE(rows[0], soils);
        QCOMPARE(rows[1], flows);
        QCOMPARE(rows[4][9].toDouble(), TestDatabase::frontValue("SurfaceData-c", "z", 5, 4, 10));
    }

    void tableChoiceForEveryOption_data()
    {
        QTest::addColumn<bool>("buried");
        QTest::addColumn<char>("water");
        QTest::addColumn<QString>("table");
        QTest::newRow("buried dry") << true << 'd' << "[BuriedData-c]";
        QTest::newRow("buried moist") << true << 'm' << "[BuriedData-c6]";
        QTest::newRow("buried wet") << true << 'w' << "[BuriedData-c3]";
        QTest::newRow("surface dry") << false << 'd' << "[SurfaceData-c]";
        QTest::newRow("surface moist") << false << 'm' << "[SurfaceData-c6]";
        QTest::newRow("surface wet") << false << 'w' << "[SurfaceData-c3]";
    }

    void tableChoiceForEveryOption()
    {
        QFETCH(bool, buried);
        QFETCH(char, water);
        QFETCH(QString, table);
        SimWindowFixture w;
        w.fillLists();
        w.choose(buried, water, 3, 2, 4);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        QCOMPARE(source(bl, "Simulation"),
                 "Select * from " + table
                     + " Where SoilType = 3 and FlowRate = 3 and Time <= 5 Order by Time");
        QVERIFY(!source(bl, "Simulation").contains("10"));
        // The rows really came from that table.
        const QString plain = table.mid(1, table.size() - 2);
        QCOMPARE(w.graph->front(0).Radius1(),
                 float(TestDatabase::frontValue(plain, "r", 3, 3, 1)));
    }

    void laterOptionsOverwriteEarlierOnes()
    {
        // Dry, moist, wet are tested in that order; the last one set wins.
        SimWindowFixture w;
        w.choose(true, 'd', 1, 0, 0);
        w.chkWet->setChecked(true);
        QCOMPARE(clsBusinessLayer::SimulationTable(w.window.get()), QString("[BuriedData-c3]"));
        w.chkWet->setChecked(false);
        w.chkMoist->setChecked(true);
        QCOMPARE(clsBusinessLayer::SimulationTable(w.window.get()), QString("[BuriedData-c6]"));
    }

    void noWaterContentFailsAtTheQuery()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'x', 1, 0, 0);
        clsBusinessLayer bl;
        const UlvexError e = errorOf([&] { bl.ShowGraph(w.window.get()); });
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY(e.description().contains("Select * from  Where SoilType = 1"));
        QVERIFY(!bl.dataLayer().Datasets().contains("Simulation"));
    }

    void secondSelectionReplacesTheRows()
    {
        SimWindowFixture w;
        w.fillLists();
        clsBusinessLayer bl;
        w.choose(false, 'w', 1, 0, 23);
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        QCOMPARE(allRows(bl)[0].size(), 24);
        w.choose(true, 'd', 2, 1, 1);
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        const auto rows = allRows(bl);
        QCOMPARE(rows[0], QVector<QVariant>({2, 2}));
        QCOMPARE(rows.size(), 6);
        QCOMPARE(w.graph->EllipseCount(), qint16(2));
    }

    void emptySelectionReturnsEmptyRsText()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 7, 0, 5); // soil 7 has no rows
        clsBusinessLayer bl;
        const QString result = bl.ShowGraph(w.window.get());
        QVERIFY(result.contains("Empty RS "));
        QCOMPARE(w.graph->EllipseCount(), qint16(0));
    }

    void soilTagMustBeANumber()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 1, 0, 0);
        w.lblSoilDes->setProperty("Tag", "Loam");
        clsBusinessLayer bl;
        QCOMPARE(errorOf([&] { bl.ShowGraph(w.window.get()); }).number(),
                 int(DataErrors::TypeMismatch));
        w.lblSoilDes->setProperty("Tag", "40000");
        QCOMPARE(errorOf([&] { bl.ReturnDataForPrint(w.window.get()); }).number(),
                 int(DataErrors::Overflow));
    }

    void missingTablePassesThroughToTheWindow()
    {
        TestDatabase::Options o;
        o.omitTables << "BuriedData-c";
        TestDatabase::create(m_dir.path(), o);
        const QString db = m_dir.filePath("trickle.db");
        const DbFingerprint before = DbFingerprint::of(db);
        SimWindowFixture w;
        w.fillLists();
        w.choose(true, 'd', 1, 0, 3);
        clsBusinessLayer bl;
        const UlvexError e = errorOf([&] { bl.ShowGraph(w.window.get()); });
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY2(e.description().contains("BuriedData-c"), qPrintable(e.description()));
        QVERIFY(e.description().contains(db));
        QVERIFY(DbFingerprint::of(db) == before);
    }

    void missingDatabaseIsNotCreated()
    {
        QFile::remove(m_dir.filePath("trickle.db"));
        SimWindowFixture w;
        clsBusinessLayer bl;
        const UlvexError e = errorOf([&] { bl.ShowComboSoil(w.window.get()); });
        QCOMPARE(e.number(), int(DataErrors::DatabaseMissing));
        QVERIFY(e.description().contains(m_dir.filePath("trickle.db")));
        QVERIFY(!QFile::exists(m_dir.filePath("trickle.db")));
        QCOMPARE(w.lblSoilDes->text(), QString());
    }

    void exportOfBuriedMoistReadsBuriedData()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(true, 'm', 2, 2, 4);
        clsBusinessLayer bl;
        const auto rows = bl.ReturnDataForPrint(w.window.get());
        QCOMPARE(source(bl, "Simulation"),
                 QString("Select * from BuriedData Where SoilType = 2 and FlowRate = 3 "
                         "Order by Time"));
        QCOMPARE(rows.size(), 7); // ID, SoilType, FlowRate, Time, r, zplus, zminus
        QCOMPARE(rows[0].size(), 24);
        for (int t = 1; t <= 24; ++t) {
            QCOMPARE(rows[3][t - 1].toInt(), t);
            QCOMPARE(rows[4][t - 1].toDouble(), TestDatabase::frontValue("BuriedData", "r", 2, 3, t));
            QCOMPARE(rows[5][t - 1].toDouble(),
                     TestDatabase::frontValue("BuriedData", "zplus", 2, 3, t));
            QCOMPARE(rows[6][t - 1].toDouble(),
                     TestDatabase::frontValue("BuriedData", "zminus", 2, 3, t));
        }
    }

    void exportIgnoresWaterContentAndTime()
    {
        SimWindowFixture w;
        w.fillLists();
        clsBusinessLayer bl;
        w.choose(false, 'w', 3, 1, 0);
        const auto wet = bl.ReturnDataForPrint(w.window.get());
        w.choose(false, 'd', 3, 1, 17);
        const auto dry = bl.ReturnDataForPrint(w.window.get());
        QCOMPARE(wet, dry);
        QCOMPARE(source(bl, "Simulation"),
                 QString("Select * from SurfaceData Where SoilType = 3 and FlowRate = 2 "
                         "Order by Time"));
        QCOMPARE(wet.size(), 6); // ID, SoilType, FlowRate, Time, z, r
        QCOMPARE(wet[4][13].toDouble(), TestDatabase::frontValue("SurfaceData", "z", 3, 2, 14));
        QCOMPARE(wet[5][13].toDouble(), TestDatabase::frontValue("SurfaceData", "r", 3, 2, 14));
    }

    void exportReplacesTheGraphRows()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 1, 0, 2);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowGraph(w.window.get()), QString());
        QCOMPARE(bl.dataLayer().Datasets().value("Simulation")->fieldCount(), 5);
        QCOMPARE(bl.ReturnDataForPrint(w.window.get()).size(), 6);
        QCOMPARE(bl.dataLayer().Datasets().value("Simulation")->RecordCount(), 24);
    }

    void exportWithoutRowsIsEmpty()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(true, 'w', 8, 0, 0);
        clsBusinessLayer bl;
        QVERIFY(bl.ReturnDataForPrint(w.window.get()).isEmpty());
    }

    void soilListViewIsFilled()
    {
        LVSoilSettings lv;
        lv.C1 = 0.4f;
        lv.C2 = 0.2f;
        lv.C3 = 0.15f;
        lv.C4 = 0.25f;
        lv.Width = 7500;
        lv.Height = 4500;
        basIndProfile::SaveLVSoilSettings(lv);

        QWidget chooser;
        auto *layout = new QVBoxLayout(&chooser);
        auto *lvSoil = new QTreeWidget;
        lvSoil->setObjectName("lvSoil");
        layout->addWidget(lvSoil);
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowSoilLV(&chooser), QString());
        QCOMPARE(source(bl, "Soil"), QString("Select Name,Texture,[Clay (%)],[Soil Classification] "
                                             "from SoilTypeData Order by SoilTypeNo"));
        QCOMPARE(chooser.size(), Twips::sizeToPixels(7500, 4500));
        QCOMPARE(lvSoil->columnCount(), 4);
        const QStringList headers{"Name", "Texture", "Clay (%)", "Soil Classification"};
        for (int c = 0; c < 4; ++c)
            QCOMPARE(lvSoil->headerItem()->text(c), headers[c]);
        const int width = lvSoil->width();
        QVERIFY(width > 100);
        QCOMPARE(lvSoil->columnWidth(0), qRound(0.4 * width));
        QCOMPARE(lvSoil->columnWidth(1), qRound(0.2 * width));
        QCOMPARE(lvSoil->columnWidth(3), qRound(0.25 * width));
        QCOMPARE(lvSoil->topLevelItemCount(), 5);
        for (int s = 1; s <= 5; ++s) {
            const QTreeWidgetItem *item = lvSoil->topLevelItem(s - 1);
            QCOMPARE(item->text(0), TestDatabase::soilName(s));
            QCOMPARE(item->text(1), TestDatabase::soilTexture(s));
            QCOMPARE(item->text(2), QString::number(10 * s));
            QCOMPARE(item->text(3), TestDatabase::soilClassification(s));
        }
    }

    void soilListViewWithMissingColumnFails()
    {
        TestDatabase::Options o;
        o.omitColumns["SoilTypeData"] << "Soil Classification";
        TestDatabase::create(m_dir.path(), o);
        QWidget chooser;
        auto *lvSoil = new QTreeWidget(&chooser);
        clsBusinessLayer bl;
        const UlvexError e = errorOf([&] { bl.ShowSoilLV(&chooser); });
        QCOMPARE(e.number(), int(DataErrors::QueryFailed));
        QVERIFY2(e.description().contains("Soil Classification"), qPrintable(e.description()));
        QCOMPARE(lvSoil->topLevelItemCount(), 0);
    }

    void repeatedUpdatesStayCorrect()
    {
        // Thirty updates in a row, each a full query, copy and drawing; the
        // time of each is printed (median and 95th percentile), never judged.
        SimWindowFixture w;
        w.fillLists();
        clsBusinessLayer bl;
        QList<qint64> micros;
        for (int i = 0; i < 30; ++i) {
            w.choose(i % 2 == 0, "wmd"[i % 3], 1 + i % 5, i % 4, 23);
            QElapsedTimer t;
            t.start();
            const QString result = bl.ShowGraph(w.window.get());
            micros << t.nsecsElapsed() / 1000;
            QCOMPARE(result, QString());
            QCOMPARE(w.graph->EllipseCount(), qint16(6));
            QCOMPARE(w.graph->front(5).label(), QString("24 Hour"));
        }
        QVERIFY(QSqlDatabase::connectionNames().isEmpty());
        std::sort(micros.begin(), micros.end());
        qInfo("ShowGraph (24 rows, 6 fronts, drawing included): median %lld us, p95 %lld us",
              micros.at(micros.size() / 2), micros.at(micros.size() * 95 / 100));
    }

    void secondSoilLoadInOneLayerIsRefused()
    {
        // Only "Simulation" is deleted before a reload: loading "Soil" a second
        // time in the same query layer reports the name in use.
        SimWindowFixture w;
        clsBusinessLayer bl;
        QCOMPARE(bl.ShowComboSoil(w.window.get()), QString());
        const QString again = bl.ShowComboSoil(w.window.get());
        QVERIFY(again.startsWith("sfDatasetCreate\t"));
    }
};

QTEST_MAIN(TestBusinessLayer)
#include "tst_businesslayer.moc"
