#include "data/DataErrors.h"
#include "data/clsDataLayer.h"
#include "data/clsUserConLayer.h"
#include "settings/basIndProfile.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "tests/common/TestDatabase.h"
#include "tests/data/SimWindowFixture.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

// The graph update through a real graph control on a window with the named
// controls, over rows loaded from a test database.
class TestUpdateGraph : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    GraphSettings m_settings;

    static QString table(bool buried, char water)
    {
        const QString family = buried ? "BuriedData" : "SurfaceData";
        return family + (water == 'd' ? "-c" : water == 'm' ? "-c6" : "-c3");
    }

    // Loads the rows of a selection (all times up to timeIndex + 1) as
    // "Simulation" and runs the update.
    QString update(SimWindowFixture &w, clsDataLayer &layer, bool buried, char water, int soil,
                   int flowIndex, int timeIndex)
    {
        basIndProfile::SaveGraphSettings(m_settings);
        w.choose(buried, water, soil, flowIndex, timeIndex);
        layer.sfDatasetDelete("Simulation");
        const QString sql = QString("Select * from [%1] Where SoilType = %2 and FlowRate = %3 "
                                    "and Time <= %4 Order by Time")
                                .arg(table(buried, water))
                                .arg(soil)
                                .arg(flowIndex + 1)
                                .arg(timeIndex + 1);
        const QString loaded = layer.sfDatasetLoad("Simulation", sql);
        if (!loaded.isEmpty())
            return loaded;
        clsUserConLayer binding;
        return binding.UpdateGraph("Simulation", layer.Datasets(), w.window.get());
    }

    static QStringList labels(const GraphEllipse *g)
    {
        QStringList result;
        for (const clsData &f : g->fronts())
            result << f.label();
        return result;
    }

private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        TestDatabase::create(m_dir.path());
        ProgramFolder::setOverride(m_dir.path());
        m_settings = GraphSettings();
        m_settings.MaxSim = 6;
        m_settings.EmitterDepth = 0.4f;
        m_settings.Color = {{0, 11, 22, 33, 44, 55, 66, 77, 88}};
        m_settings.BackOn = 1;
    }

    void logTimeSteps()
    {
        QCOMPARE(clsUserConLayer::LogTimeSteps(24, 6), QList<int>({2, 3, 5, 8, 14, 24}));
        QCOMPARE(clsUserConLayer::LogTimeSteps(3, 6), QList<int>({1, 1, 2, 2, 2, 3}));
        QCOMPARE(clsUserConLayer::LogTimeSteps(24, 1), QList<int>({24}));
        QCOMPARE(clsUserConLayer::LogTimeSteps(1, 4), QList<int>({1, 1, 1, 1}));
        QCOMPARE(clsUserConLayer::LogTimeSteps(10, 2), QList<int>({3, 10}));
    }

    void roundHalfToEven()
    {
        QCOMPARE(clsUserConLayer::RoundHalfEven(2.5), 2.0);
        QCOMPARE(clsUserConLayer::RoundHalfEven(3.5), 4.0);
        QCOMPARE(clsUserConLayer::RoundHalfEven(0.5), 0.0);
        QCOMPARE(clsUserConLayer::RoundHalfEven(2.5001), 3.0);
        QCOMPARE(clsUserConLayer::RoundHalfEven(2.4999), 2.0);
        QCOMPARE(clsUserConLayer::RoundHalfEven(14.12), 14.0);
    }

    void twentyFourHoursSixSteps()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.EmitterDepth = 0.4f;
        QCOMPARE(update(w, layer, false, 'w', 4, 1, 23), QString());
        GraphEllipse *g = w.graph;
        QCOMPARE(g->EllipseCount(), qint16(6));
        QCOMPARE(labels(g),
                 QStringList({"2 Hour", "3 Hour", "5 Hour", "8 Hour", "14 Hour", "24 Hour"}));
        const QList<int> times{2, 3, 5, 8, 14, 24};
        for (int i = 0; i < 6; ++i) {
            const clsData f = g->front(i);
            const float r = float(TestDatabase::frontValue("SurfaceData-c3", "r", 4, 2, times[i]));
            QCOMPARE(f.Radius1(), r);
            QCOMPARE(f.Radius2(), r);
            QCOMPARE(f.zplus(),
                     float(TestDatabase::frontValue("SurfaceData-c3", "z", 4, 2, times[i])));
            QCOMPARE(f.zminus(), 0.0f);
            QCOMPARE(f.Color(), m_settings.Color[size_t(i + 1)]);
        }
        // The filter stays on the last time step.
        QCOMPARE(layer.Datasets().value("Simulation")->Filter(), QString("Time =24"));
        QCOMPARE(layer.Datasets().value("Simulation")->value("Time").toInt(), 24);
        // The settings and the selection went into the control.
        QCOMPARE(g->EmitterDepth(), 0.0f);
        QCOMPARE(g->FlowRate(), QString("1"));
        QCOMPARE(g->SoilType(), QString("Soil 4"));
        QCOMPARE(g->WaterContent(), QString("Wet"));
        QCOMPARE(g->MaxSim(), qint16(6));
    }

    void threeHoursDrawsOneTwoThree()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        QCOMPARE(update(w, layer, true, 'm', 2, 0, 2), QString());
        QCOMPARE(labels(w.graph), QStringList({"1 Hour", "2 Hour", "3 Hour"}));
        QCOMPARE(w.graph->front(1).zminus(),
                 float(TestDatabase::frontValue("BuriedData-c6", "zminus", 2, 1, 2)));
        QCOMPARE(w.graph->front(2).Color(), 33);
    }

    void maxSimOneDrawsOnlyTheChosenTime()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.MaxSim = 1;
        QCOMPARE(update(w, layer, false, 'd', 1, 3, 23), QString());
        QCOMPARE(labels(w.graph), QStringList({"24 Hour"}));
        QCOMPARE(w.graph->front(0).Radius1(),
                 float(TestDatabase::frontValue("SurfaceData-c", "r", 1, 4, 24)));
        QCOMPARE(w.graph->front(0).Color(), 11);
        QCOMPARE(update(w, layer, false, 'd', 1, 3, 9), QString());
        QCOMPARE(labels(w.graph), QStringList({"10 Hour"}));
        QCOMPARE(w.graph->MaxSim(), qint16(1));
    }

    void oneHourDrawsOneFrontWhateverMaxSim()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        for (qint16 n : {qint16(1), qint16(3), qint16(6), qint16(8)}) {
            m_settings.MaxSim = n;
            QCOMPARE(update(w, layer, true, 'w', 5, 2, 0), QString());
            QCOMPARE(labels(w.graph), QStringList({"1 Hour"}));
        }
    }

    void buriedEmitterTakesDepthAndBothExtents()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.EmitterDepth = 0.35f;
        // T = 14: candidates 2, 2, 4, 6, 9, 14. Step 2 repeats the time of
        // step 1, the graph refuses the repeated label, and the loop goes on;
        // the result is the drawing's (empty).
        QCOMPARE(clsUserConLayer::LogTimeSteps(14, 6), QList<int>({2, 2, 4, 6, 9, 14}));
        QCOMPARE(update(w, layer, true, 'd', 3, 2, 13), QString());
        QCOMPARE(w.graph->EmitterDepth(), 0.35f);
        QCOMPARE(labels(w.graph), QStringList({"2 Hour", "4 Hour", "6 Hour", "9 Hour", "14 Hour"}));
        QCOMPARE(w.graph->front(1).Color(), 33); // the fronts keep their step's colour
        const clsData last = w.graph->front(4);
        QCOMPARE(last.Color(), 66);
        QCOMPARE(last.zplus(), float(TestDatabase::frontValue("BuriedData-c", "zplus", 3, 3, 14)));
        QCOMPARE(last.zminus(), float(TestDatabase::frontValue("BuriedData-c", "zminus", 3, 3, 14)));
        QCOMPARE(last.Radius1(), float(TestDatabase::frontValue("BuriedData-c", "r", 3, 3, 14)));
        QCOMPARE(w.graph->WaterContent(), QString("Dry"));
    }

    void surfaceEmitterAlwaysLeavesDepthAndZminusAtZero()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.EmitterDepth = 0.9f;
        // A buried update first sets the depth; the surface one puts it back to 0.
        QCOMPARE(update(w, layer, true, 'm', 1, 0, 5), QString());
        QCOMPARE(w.graph->EmitterDepth(), 0.9f);
        QCOMPARE(update(w, layer, false, 'm', 1, 0, 5), QString());
        QCOMPARE(w.graph->EmitterDepth(), 0.0f);
        QVERIFY(w.graph->EllipseCount() > 0);
        for (const clsData &f : w.graph->fronts())
            QCOMPARE(f.zminus(), 0.0f);
        QCOMPARE(w.graph->WaterContent(), QString("Moist"));
    }

    void backOnZeroSwitchesTheBackgroundOffAfterSwitchingItOn()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.BackOn = 0;
        QSignalSpy spy(w.graph, &GraphEllipse::propertyChanged);
        QCOMPARE(update(w, layer, false, 'w', 1, 0, 5), QString());
        QVERIFY(!w.graph->DrawBackground());
        QStringList names;
        for (const QList<QVariant> &args : spy)
            names << args.at(0).toString();
        QCOMPARE(names.count("DrawBackground"), 2);
        // The order of the copy: background on, scaling, background as set, ...
        const int first = int(names.indexOf("DrawBackground"));
        QCOMPARE(names.mid(first, 10),
                 QStringList({"DrawBackground", "AutoScaleX", "AutoScaleY", "DrawBackground",
                              "MaxX", "MaxY", "MaxSim", "LineWidth", "XDecPlaces",
                              "YDecPlaces"}));
        m_settings.BackOn = 1;
        QCOMPARE(update(w, layer, false, 'w', 1, 0, 5), QString());
        QVERIFY(w.graph->DrawBackground());
    }

    void settingsAreCopiedIntoTheControl()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.AutoScaleX = 1;
        m_settings.AutoScaleY = 0;
        m_settings.MaxX = 0.75f;
        m_settings.MaxY = 2.25f;
        m_settings.XDecPlaces = 2;
        m_settings.YDecPlaces = 3;
        m_settings.Width = 2.5f;
        m_settings.TimeScale = "LIN";
        const QString before = w.graph->TimeScale();
        QCOMPARE(update(w, layer, false, 'w', 1, 0, 5), QString());
        QVERIFY(w.graph->AutoScaleX());
        QVERIFY(!w.graph->AutoScaleY());
        QCOMPARE(w.graph->MaxX(), 0.75f);
        QCOMPARE(w.graph->MaxY(), 2.25f);
        QCOMPARE(w.graph->XDecPlaces(), qint16(2));
        QCOMPARE(w.graph->YDecPlaces(), qint16(3));
        QCOMPARE(w.graph->LineWidth(), 2.5f);
        QCOMPARE(w.graph->TimeScale(), before); // not passed on
    }

    void emptyRecordsetLeavesGraphEmptyAndUndrawn()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        QCOMPARE(update(w, layer, false, 'w', 2, 0, 23), QString());
        QCOMPARE(w.graph->EllipseCount(), qint16(6));
        const QImage drawn = w.graph->Image();
        QSignalSpy spy(w.graph, &GraphEllipse::propertyChanged);
        // Soil 9 has no rows.
        const QString result = update(w, layer, false, 'w', 9, 0, 23);
        QCOMPARE(result, QString("sfMoveFirstAdd\t-46\tEmpty RS \n"));
        QVERIFY(result.contains("Empty RS "));
        QCOMPARE(w.graph->EllipseCount(), qint16(0));
        QCOMPARE(spy.count(), 0);           // no settings copied
        QVERIFY(w.graph->Image() == drawn); // not redrawn
    }

    void closedOrMissingRecordsetGivesClosedRs()
    {
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 1, 0, 3);
        clsUserConLayer binding;
        DatasetCollection none;
        QCOMPARE(binding.UpdateGraph("Simulation", none, w.window.get()),
                 QString("sfMoveFirstAdd\t-46\tClosed RS \n"));
        DatasetCollection closed;
        closed.insert("Simulation", std::make_shared<clsRecordset>());
        QCOMPARE(binding.UpdateGraph("Simulation", closed, w.window.get()),
                 QString("sfMoveFirstAdd\t-46\tClosed RS \n"));
    }

    void missingTimeStepFailsOnTheFieldRead()
    {
        // Rows for hours 1 and 3 only: the filter for hour 2 leaves no row.
        SimWindowFixture w;
        w.fillLists();
        w.choose(false, 'w', 1, 0, 2);
        basIndProfile::SaveGraphSettings(m_settings);
        clsDataLayer layer;
        clsRecordset::Field f;
        QList<clsRecordset::Field> fields;
        for (const char *name : {"SoilType", "FlowRate", "Time", "r", "z"}) {
            f.Name = name;
            fields << f;
        }
        QCOMPARE(layer.sfDatasetCreate("Simulation", "rows by hand", fields), QString());
        auto rs = layer.Datasets().value("Simulation");
        for (int t : {1, 3}) {
            rs->AddNew();
            rs->setValue("Time", t);
            rs->setValue("r", 0.1 * t);
            rs->setValue("z", 0.2 * t);
        }
        rs->Update();
        clsUserConLayer binding;
        int number = 0;
        try {
            binding.UpdateGraph("Simulation", layer.Datasets(), w.window.get());
        } catch (const UlvexError &e) {
            number = e.number();
        }
        QCOMPARE(number, int(DataErrors::NoCurrentRow));
        QCOMPARE(rs->Filter(), QString("Time =2"));
        QCOMPARE(labels(w.graph), QStringList({"1 Hour"}));
    }

    void missingColumnNamesTheTable()
    {
        TestDatabase::Options o;
        o.omitColumns["SurfaceData-c6"] << "r";
        TestDatabase::create(m_dir.path(), o);
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        try {
            update(w, layer, false, 'm', 1, 0, 3);
            QFAIL("no error");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(DataErrors::UnknownField));
            QVERIFY2(e.description().contains("[SurfaceData-c6]"), qPrintable(e.description()));
            QVERIFY(e.description().contains(" r"));
        }
    }

    void moreThanEightStepsRunOutOfColours()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.MaxSim = 9;
        try {
            update(w, layer, false, 'w', 1, 0, 23);
            QFAIL("no error");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(DataErrors::OutOfRange));
        }
        QCOMPARE(w.graph->EllipseCount(), qint16(8));
    }

    void missingControlIsReported()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        QCOMPARE(update(w, layer, false, 'w', 1, 0, 3), QString());
        delete w.lblSoilDes;
        clsUserConLayer binding;
        try {
            binding.UpdateGraph("Simulation", layer.Datasets(), w.window.get());
            QFAIL("no error");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(DataErrors::ControlMissing));
            QVERIFY(e.description().contains("lblSoilDes"));
        }
    }

    void renderedGraphLooksRight()
    {
        SimWindowFixture w;
        w.fillLists();
        clsDataLayer layer;
        m_settings.BackOn = 1;
        m_settings.AutoScaleX = 1;
        m_settings.AutoScaleY = 1;
        m_settings.Color = {{0, 255, 65280, 16711680, 33023, 8388736, 32896, 0, 0}};
        QCOMPARE(update(w, layer, true, 'w', 4, 1, 23), QString());
        const QImage image = w.graph->Image();
        QVERIFY(!image.isNull());
        const QString out = QDir::temp().filePath("ulvex_updategraph.png");
        QVERIFY(image.save(out));
        qInfo("graph written to %s", qPrintable(out));
    }
};

QTEST_MAIN(TestUpdateGraph)
#include "tst_updategraph.moc"
