// The scenario file's reader: the shipped examples read whole, every key
// lands in its place and unit, and every kind of bad input is named by file
// and field, all problems at once.

#include "builder/ScenarioReader.h"
#include "builder/SoilCatalogue.h"

#include <QDir>
#include <QtTest>

using scenario::Scenario;

namespace {

const QString kExamples = QStringLiteral(ULVEX_SOURCE_DIR "/examples");

ScenarioReader shippedSoils()
{
    const SoilCatalogue c = SoilCatalogue::fromFile(QStringLiteral(ULVEX_SOURCE_DIR "/assets/soils.csv"));
    return ScenarioReader(c.soils(), QStringLiteral("soils.csv"));
}

const char *const kTwoLayers = R"({
  "name": "Sandy loam over clay loam",
  "layers": [
    {"thickness_m": 0.3, "soil": {"theta_r": 0.065, "theta_s": 0.41, "alpha_per_m": 7.5,
                                   "n": 1.89, "ks_m_per_day": 1.061}},
    {"soil": "Clay Loam"}
  ],
  "initial": {"suction_m": 6},
  "emitter": {"flow_l_per_h": 2, "depth_m": 0.2},
  "schedule": {"watering_h": 3, "total_h": 24},
  "outputs": {"every_h": 1, "threshold": 0.1, "root_zone_m": 0.6}
})";

// kTwoLayers with one text replaced by another.
QByteArray twoLayersWith(const char *from, const char *to)
{
    QByteArray json(kTwoLayers);
    const int at = json.indexOf(from);
    Q_ASSERT(at >= 0);
    return json.replace(at, int(qstrlen(from)), to);
}

} // namespace

class TstScenarioReader : public QObject
{
    Q_OBJECT

private slots:
    void theIssuesExampleReadsIntoItsPlaces()
    {
        const auto r = shippedSoils().read(kTwoLayers, QStringLiteral("field.ulvex"));
        QVERIFY2(r.problems.isEmpty(), qPrintable(r.problems.join(QLatin1Char('\n'))));
        const Scenario &s = r.scenario;
        QCOMPARE(QString::fromStdString(s.name), QStringLiteral("Sandy loam over clay loam"));
        QCOMPARE(int(s.layers.size()), 2);
        QCOMPARE(s.layers[0].thickness, 0.3);
        QCOMPARE(s.layers[0].soil.alpha, 7.5);
        QCOMPARE(s.layers[0].soil.ks, 1.061 / 86400); // m/day to m/s
        QCOMPARE(s.layers[0].soil.l, 0.5);
        QVERIFY(std::isinf(s.layers[1].thickness));
        QCOMPARE(QString::fromStdString(s.layers[1].soil.name), QStringLiteral("Clay Loam"));
        QCOMPARE(s.layers[1].soil.n, 1.31); // the catalogue's, in SI
        QCOMPARE(s.layers[1].soil.alpha, 1.9);
        QVERIFY(s.initial.kind == Scenario::Initial::Kind::Suction);
        QCOMPARE(s.initial.metres, 6.0);
        QCOMPARE(s.emitter.flowLitresPerHour, 2.0);
        QCOMPARE(s.emitter.depth, 0.2);
        QCOMPARE(s.schedule.totalHours(), 24.0);
        QCOMPARE(s.schedule.switchTimes(), std::vector<double>{3.0});
        QCOMPARE(s.outputs.everyHours, 1.0);
        QCOMPARE(s.outputs.threshold, 0.1);
        QVERIFY(s.outputs.rootZone && *s.outputs.rootZone == 0.6);
    }

    void everyShippedExampleReads()
    {
        const QStringList files = QDir(kExamples).entryList({QStringLiteral("*.ulvex")}, QDir::Files);
        QVERIFY(files.size() >= 5);
        for (const QString &f : files) {
            const auto r = shippedSoils().readFile(QDir(kExamples).filePath(f));
            QVERIFY2(r.problems.isEmpty(), qPrintable(r.problems.join(QLatin1Char('\n'))));
        }
    }

    void defaultsAndChoices()
    {
        const QByteArray json = R"({"layers": [{"soil": "loam"}], "initial": {"water_table_m": 1.5},
                                    "emitter": {"flow_l_per_h": 0.7}, "schedule": {"pulses": [[1, 2], [1, 2]]}})";
        const auto r = shippedSoils().read(json, QStringLiteral("my field.ulvex"));
        QVERIFY2(r.problems.isEmpty(), qPrintable(r.problems.join(QLatin1Char('\n'))));
        QCOMPARE(QString::fromStdString(r.scenario.name), QStringLiteral("my field")); // the file's name
        QCOMPARE(QString::fromStdString(r.scenario.layers[0].soil.name), QStringLiteral("Loam")); // any case
        QVERIFY(r.scenario.initial.kind == Scenario::Initial::Kind::WaterTable);
        QCOMPARE(r.scenario.emitter.depth, 0.0);                 // on the surface
        QCOMPARE(r.scenario.schedule.totalHours(), 6.0);         // the pulses' own length
        QCOMPARE(r.scenario.outputs.everyHours, 1.0);
        QCOMPARE(r.scenario.outputs.threshold, 0.1);
        QVERIFY(!r.scenario.outputs.rootZone);
    }

    void badInputNamesFileAndField_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("problem");
        QTest::newRow("not JSON") << QByteArray("layers: loam") << "field.ulvex: not a JSON document:";
        QTest::newRow("not an object") << QByteArray("[1, 2]") << "field.ulvex: the scenario must be a JSON object";
        QTest::newRow("missing emitter") << twoLayersWith(R"("emitter": {"flow_l_per_h": 2, "depth_m": 0.2},)", "")
                                         << "field.ulvex: emitter: missing";
        QTest::newRow("missing flow") << twoLayersWith(R"("flow_l_per_h": 2, )", "") << "field.ulvex: emitter.flow_l_per_h: missing";
        QTest::newRow("zero flow") << twoLayersWith(R"("flow_l_per_h": 2)", R"("flow_l_per_h": 0)")
                                   << "field.ulvex: emitter.flow_l_per_h: the flow must be more than 0 L/h, not 0";
        QTest::newRow("text for a number") << twoLayersWith(R"("flow_l_per_h": 2)", R"("flow_l_per_h": "2")")
                                           << "field.ulvex: emitter.flow_l_per_h: must be a number, not a text";
        QTest::newRow("misspelt key") << twoLayersWith(R"("depth_m")", R"("depth")")
                                      << "field.ulvex: emitter.depth: unknown field; emitter may hold flow_l_per_h, depth_m";
        QTest::newRow("unknown soil") << twoLayersWith(R"("Clay Loam")", R"("Marsh")")
                                      << "field.ulvex: layers[1].soil: no soil named \"Marsh\" in soils.csv; it holds Sand, Loamy Sand";
        QTest::newRow("n out of range") << twoLayersWith(R"("n": 1.89)", R"("n": 12)")
                                        << "field.ulvex: layers[0].soil.n: n 12 lies outside 1.09 to 2.8";
        QTest::newRow("Ks out of range") << twoLayersWith(R"("ks_m_per_day": 1.061)", R"("ks_m_per_day": 100)")
                                         << "field.ulvex: layers[0].soil.ks_m_per_day: Ks 0.00115741 m/s lies outside 1e-08 to 0.0001 m/s "
                                            "(100 m/day is 0.00115741 m/s)";
        QTest::newRow("missing alpha") << twoLayersWith(R"("alpha_per_m": 7.5,)", "")
                                       << "field.ulvex: layers[0].soil.alpha_per_m: missing";
        QTest::newRow("zero thickness") << twoLayersWith(R"("thickness_m": 0.3)", R"("thickness_m": 0)")
                                        << "field.ulvex: layers[0].thickness_m: a layer above the last must be thicker than 0 m, not 0";
        QTest::newRow("no thickness above the last") << twoLayersWith(R"("thickness_m": 0.3, )", "")
                                                     << "field.ulvex: layers[0].thickness_m: missing";
        QTest::newRow("thickness of the last") << twoLayersWith(R"({"soil": "Clay Loam"})", R"({"thickness_m": 1, "soil": "Clay Loam"})")
                                               << "field.ulvex: layers[1].thickness_m: the last layer reaches down without end";
        QTest::newRow("no layers") << twoLayersWith(R"("layers")", R"("strata")") << "field.ulvex: strata: unknown field";
        QTest::newRow("watering beyond the total") << twoLayersWith(R"("watering_h": 3)", R"("watering_h": 30)")
                                                   << "field.ulvex: schedule.watering_h: 30 h of watering do not fit into total_h (24 h)";
        QTest::newRow("more than a week") << twoLayersWith(R"("total_h": 24)", R"("total_h": 200)")
                                          << "field.ulvex: schedule.total_h: 200 h lies outside 0 (not included) to 168 h";
        QTest::newRow("pulses that do not fit") << twoLayersWith(R"("watering_h": 3, "total_h": 24)", R"("pulses": [[10, 10], [10, 0]], "total_h": 24)")
                                                << "field.ulvex: schedule.pulses: the pulses take 30 h, more than schedule.total_h (24 h)";
        QTest::newRow("a pulse not a pair") << twoLayersWith(R"("watering_h": 3, "total_h": 24)", R"("pulses": [[1, 2], [3]])")
                                            << "field.ulvex: schedule.pulses[1]: must be a pair of numbers [on_h, off_h]";
        QTest::newRow("both schedules") << twoLayersWith(R"("watering_h": 3,)", R"("watering_h": 3, "pulses": [[1, 1]],)")
                                        << "field.ulvex: schedule: give either watering_h (with total_h) or pulses";
        QTest::newRow("both initial states") << twoLayersWith(R"({"suction_m": 6})", R"({"suction_m": 6, "water_table_m": 2})")
                                             << "field.ulvex: initial: give either suction_m or water_table_m";
        QTest::newRow("emitter below the water table") << twoLayersWith(R"({"suction_m": 6})", R"({"water_table_m": 0.1})")
                                                       << "field.ulvex: emitter.depth_m: the emitter (0.2 m) must lie above the water table (0.1 m)";
        QTest::newRow("threshold") << twoLayersWith(R"("threshold": 0.1)", R"("threshold": 1.5)")
                                   << "field.ulvex: outputs.threshold: must lie between 0 and 1 (not included), not 1.5";
    }

    void badInputNamesFileAndField()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, problem);
        const auto r = shippedSoils().read(json, QStringLiteral("field.ulvex"));
        QVERIFY2(!r.problems.isEmpty(), "no problem found");
        bool found = false;
        for (const QString &p : r.problems)
            found = found || p.startsWith(problem);
        QVERIFY2(found, qPrintable(r.problems.join(QLatin1Char('\n'))));
    }

    void allProblemsAtOnce()
    {
        QByteArray json = twoLayersWith(R"("n": 1.89)", R"("n": 12)");
        json.replace(R"("flow_l_per_h": 2)", R"("flow_l_per_h": -1)");
        json.replace(R"("total_h": 24)", R"("total_h": "a day")");
        const auto r = shippedSoils().read(json, QStringLiteral("field.ulvex"));
        QCOMPARE(r.problems, QStringList({"field.ulvex: layers[0].soil.n: n 12 lies outside 1.09 to 2.8",
                                          "field.ulvex: schedule.total_h: must be a number, not a text",
                                          "field.ulvex: emitter.flow_l_per_h: the flow must be more than 0 L/h, not -1"}));
    }

    void aFileThatCannotBeRead()
    {
        const auto r = shippedSoils().readFile(QStringLiteral("/nonexistent/field.ulvex"));
        QCOMPARE(r.problems.size(), 1);
        QVERIFY2(r.problems.first().startsWith(QStringLiteral("/nonexistent/field.ulvex: cannot be read")), qPrintable(r.problems.first()));
    }
};

QTEST_GUILESS_MAIN(TstScenarioReader)
#include "tst_scenario_reader.moc"
