// The scenario model: where the layers lie, and every structural problem
// named by its field as the scenario file spells it.

#include "scenario/Scenario.h"

#include "tests/scenario/ProblemTexts.h"

#include <QtTest>

using scenario::Scenario;

namespace {

Scenario twoLayers()
{
    Scenario s;
    s.name = "Sandy loam over clay loam";
    Scenario::Layer top;
    top.thickness = 0.3;
    top.soil = {"", 0.065, 0.41, 7.5, 1.89, 1.061 / 86400, 0.5};
    Scenario::Layer bottom;
    bottom.soil = {"Clay Loam", 0.095, 0.41, 1.9, 1.31, 0.0624 / 86400, 0.5};
    s.layers = {top, bottom};
    s.initial = {Scenario::Initial::Kind::Suction, 6};
    s.emitter = {2, 0.2};
    s.schedule = scenario::Schedule::wateringThenRest(3, 24);
    s.outputs.rootZone = 0.6;
    return s;
}

} // namespace

class TstScenario : public QObject
{
    Q_OBJECT

private slots:
    void theExampleHoldsTogether()
    {
        const Scenario s = twoLayers();
        QVERIFY2(s.problems().empty(), qPrintable(problemTexts(s.problems()).join(QLatin1String(" | "))));
    }

    void layersByDepth()
    {
        Scenario s = twoLayers();
        Scenario::Layer middle;
        middle.thickness = 0.2;
        s.layers.insert(s.layers.begin() + 1, middle);
        QCOMPARE(s.layerTop(0), 0.0);
        QCOMPARE(s.layerTop(1), 0.3);
        QCOMPARE(s.layerTop(2), 0.5);
        QCOMPARE(s.layerAt(0.0), std::size_t(0));
        QCOMPARE(s.layerAt(0.29), std::size_t(0));
        QCOMPARE(s.layerAt(0.3), std::size_t(1)); // an interface belongs to the layer below
        QCOMPARE(s.layerAt(0.49), std::size_t(1));
        QCOMPARE(s.layerAt(0.5), std::size_t(2));
        QCOMPARE(s.layerAt(40.0), std::size_t(2));
    }

    void problemsNameTheirField_data()
    {
        QTest::addColumn<QString>("which");
        QTest::addColumn<QString>("problem");
        QTest::newRow("no layer") << "no layer" << "layers: no layer";
        QTest::newRow("six layers") << "six" << "layers: 6 layers; at most 5 are allowed";
        QTest::newRow("zero thickness") << "zero thickness" << "layers[0].thickness_m: a layer above the last must be thicker than 0 m, not 0";
        QTest::newRow("negative thickness") << "negative thickness" << "layers[0].thickness_m: a layer above the last must be thicker than 0 m, not -0.1";
        QTest::newRow("last with a thickness") << "last thick" << "layers[1].thickness_m: the last layer reaches down without end";
        QTest::newRow("no flow") << "no flow" << "emitter.flow_l_per_h: the flow must be more than 0 L/h, not 0";
        QTest::newRow("above the surface") << "negative depth" << "emitter.depth_m: the depth must lie from 0 (on the surface) to 2 m, not -0.1";
        QTest::newRow("too deep") << "deep" << "emitter.depth_m: the depth must lie from 0 (on the surface) to 2 m, not 3";
        QTest::newRow("water table beyond reach") << "deep table" << "initial.water_table_m: must be more than 0 m and at most 12 m, not 20";
        QTest::newRow("air dry") << "air dry" << "initial.suction_m: must be more than 0 m and at most 50 m, not 100";
        QTest::newRow("below the water table") << "under the table" << "emitter.depth_m: the emitter (0.2 m) must lie above the water table (0.1 m)";
        QTest::newRow("no suction") << "no suction" << "initial.suction_m: must be more than 0 m and at most 50 m, not 0";
        QTest::newRow("pulses too long") << "pulses" << "schedule.pulses: the pulses take 30 h";
        QTest::newRow("every zero") << "every" << "outputs.every_h: must be more than 0 h, not 0";
        QTest::newRow("threshold one") << "threshold" << "outputs.threshold: must lie between 0 and 1 (not included), not 1";
        QTest::newRow("root zone") << "root" << "outputs.root_zone_m: must be more than 0 m and at most 12 m, not -1";
    }

    void problemsNameTheirField()
    {
        QFETCH(QString, which);
        QFETCH(QString, problem);
        Scenario s = twoLayers();
        if (which == "no layer")
            s.layers.clear();
        else if (which == "six")
            s.layers.insert(s.layers.begin(), 4, s.layers.front());
        else if (which == "zero thickness")
            s.layers[0].thickness = 0;
        else if (which == "negative thickness")
            s.layers[0].thickness = -0.1;
        else if (which == "last thick")
            s.layers[1].thickness = 1;
        else if (which == "no flow")
            s.emitter.flowLitresPerHour = 0;
        else if (which == "negative depth")
            s.emitter.depth = -0.1;
        else if (which == "deep")
            s.emitter.depth = 3;
        else if (which == "deep table")
            s.initial = {Scenario::Initial::Kind::WaterTable, 20};
        else if (which == "air dry")
            s.initial.metres = 100;
        else if (which == "under the table")
            s.initial = {Scenario::Initial::Kind::WaterTable, 0.1};
        else if (which == "no suction")
            s.initial.metres = 0;
        else if (which == "pulses")
            s.schedule = scenario::Schedule({{10, 20}}, 24);
        else if (which == "every")
            s.outputs.everyHours = 0;
        else if (which == "threshold")
            s.outputs.threshold = 1;
        else
            s.outputs.rootZone = -1;
        const QStringList p = problemTexts(s.problems());
        QCOMPARE(p.size(), 1);
        QVERIFY2(p.first().startsWith(problem), qPrintable(p.first()));
    }
};

QTEST_APPLESS_MAIN(TstScenario)
#include "tst_scenario.moc"
