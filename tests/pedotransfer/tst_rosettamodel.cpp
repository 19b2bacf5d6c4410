// A weight file read and run: a small hand-made ensemble whose outputs are
// worked out here from the layout (W(m, j, i) at (m * n_out + j) * n_in + i),
// the files that the reader must refuse, and the built-in models.

#include "pedotransfer/RosettaModel.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace {

QJsonArray numbers(std::initializer_list<double> values)
{
    QJsonArray a;
    for (double v : values)
        a.append(v);
    return a;
}

QJsonObject scaling(const char *name, const char *scale, QJsonArray params)
{
    return {{"name", name}, {"scale", scale}, {"params", params}};
}

QJsonObject tensor(QJsonArray shape, QJsonArray data)
{
    return {{"shape", shape}, {"order", "row-major"}, {"data", data}};
}

// Two members; inputs a (minmax), b (logtr), c (division); a tansig layer of
// two nodes and a sigmoid layer of two outputs, log10_x (linear) and y (affine).
QJsonObject tinyEnsemble()
{
    QJsonObject layer0{{"n_in", 3}, {"n_out", 2}, {"activation", "tansig"},
                       {"W", tensor(numbers({2, 2, 3}),
                                    numbers({0.5, -1.0, 2.0, 1.5, 0.25, -0.5,     // member 0
                                             -0.75, 0.5, 1.0, 0.2, -1.25, 0.3}))}, // member 1
                       {"b", tensor(numbers({2, 2}), numbers({0.1, -0.2, 0.3, 0.05}))}};
    QJsonObject layer1{{"n_in", 2}, {"n_out", 2}, {"activation", "sigmoid"},
                       {"W", tensor(numbers({2, 2, 2}),
                                    numbers({1.0, -2.0, 0.5, 0.75, -1.5, 0.25, 2.0, -0.5}))},
                       {"b", tensor(numbers({2, 2}), numbers({-0.3, 0.2, 0.4, -0.1}))}};
    return {{"name", "tiny"}, {"ninput", 3}, {"noutput", 2}, {"nboot", 2}, {"nlayer", 2},
            {"inputs", QJsonArray{scaling("a", "minmax", numbers({10, 0.01, 0.5})),
                                  scaling("b", "logtr", numbers({-8, 0.25})),
                                  scaling("c", "division", numbers({4}))}},
            {"layers", QJsonArray{layer0, layer1}},
            {"outputs", QJsonArray{scaling("log10_x", "linear", numbers({-8, 2})),
                                   scaling("y", "affine", numbers({100, -0.5}))}}};
}

QByteArray json(const QJsonObject &o)
{
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

double sigmoid(double z)
{
    return 1 / (1 + std::exp(-z));
}

// One member of the tiny ensemble on a = 30, b = 0.01, c = 2, written out.
std::array<double, 2> tinyMember(const double w0[6], const double b0[2], const double w1[4],
                                 const double b1[2])
{
    const double s[3] = {(30 - 10) * 0.01 + 0.5, std::log10(0.01) / -8 + 0.25, 2.0 / 4};
    double h[2];
    for (int j = 0; j < 2; ++j)
        h[j] = std::tanh(b0[j] + w0[j * 3] * s[0] + w0[j * 3 + 1] * s[1] + w0[j * 3 + 2] * s[2]);
    const double o0 = sigmoid(b1[0] + w1[0] * h[0] + w1[1] * h[1]);
    const double o1 = sigmoid(b1[1] + w1[2] * h[0] + w1[3] * h[1]);
    return {o0 * -8 + 2, 100 * (o1 - 0.5)};
}

using Change = std::function<void(QJsonObject &)>;

// Changes one layer (0 or 1) of a file.
Change inLayer(int index, std::function<void(QJsonObject &)> change)
{
    return [index, change](QJsonObject &root) {
        QJsonArray layers = root["layers"].toArray();
        QJsonObject layer = layers[index].toObject();
        change(layer);
        layers[index] = layer;
        root["layers"] = layers;
    };
}

} // namespace

Q_DECLARE_METATYPE(Change)

class TestRosettaModel : public QObject
{
    Q_OBJECT

private slots:
    void tinyEnsembleByHand();
    void wrongInputCountIsRefused();
    void damagedFileIsRefused_data();
    void damagedFileIsRefused();
    void builtInModels();
    void builtInModelIsReadOnce();
    void outputsStayBoundedForWildInputs();
    void weightsReadAsTheExactDoublesWritten();
};

void TestRosettaModel::tinyEnsembleByHand()
{
    const RosettaModel model = RosettaModel::fromJson(json(tinyEnsemble()));
    QCOMPARE(model.name(), QStringLiteral("tiny"));
    QCOMPARE(model.memberCount(), 2);
    QVERIFY(model.outputIsLog10(0));
    QVERIFY(!model.outputIsLog10(1));
    const Eigen::MatrixXd out = model.memberOutputs({30, 0.01, 2});
    QCOMPARE(out.rows(), Eigen::Index(2));
    QCOMPARE(out.cols(), Eigen::Index(2));

    const double w0[2][6] = {{0.5, -1.0, 2.0, 1.5, 0.25, -0.5}, {-0.75, 0.5, 1.0, 0.2, -1.25, 0.3}};
    const double b0[2][2] = {{0.1, -0.2}, {0.3, 0.05}};
    const double w1[2][4] = {{1.0, -2.0, 0.5, 0.75}, {-1.5, 0.25, 2.0, -0.5}};
    const double b1[2][2] = {{-0.3, 0.2}, {0.4, -0.1}};
    for (int m = 0; m < 2; ++m) {
        const std::array<double, 2> expected = tinyMember(w0[m], b0[m], w1[m], b1[m]);
        for (int k = 0; k < 2; ++k)
            QVERIFY2(std::fabs(out(m, k) - expected[k]) <= 1e-13 * std::fabs(expected[k]),
                     qPrintable(QStringLiteral("member %1 output %2: %3, not %4")
                                    .arg(m).arg(k).arg(out(m, k), 0, 'g', 17)
                                    .arg(expected[k], 0, 'g', 17)));
    }
    QVERIFY(out(0, 0) != out(1, 0));
}

void TestRosettaModel::wrongInputCountIsRefused()
{
    const RosettaModel model = RosettaModel::fromJson(json(tinyEnsemble()));
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, model.memberOutputs({30, 0.01}));
}

void TestRosettaModel::damagedFileIsRefused_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("message");
    QTest::newRow("short W") << inLayer(0, [](QJsonObject &l) {
        QJsonObject w = l["W"].toObject();
        QJsonArray d = w["data"].toArray();
        d.removeLast();
        w["data"] = d;
        l["W"] = w;
    }) << "W.data holds 11 numbers, not 12";
    QTest::newRow("declared shape") << inLayer(1, [](QJsonObject &l) {
        QJsonObject b = l["b"].toObject();
        b["shape"] = numbers({2, 3});
        l["b"] = b;
    }) << "the shape of b does not match";
    QTest::newRow("activation") << inLayer(1, [](QJsonObject &l) { l["activation"] = "relu"; })
                                << "unknown activation \"relu\"";
    QTest::newRow("layer chain") << inLayer(1, [](QJsonObject &l) { l["n_in"] = 3; })
                                 << "n_in does not match";
    QTest::newRow("nlayer") << Change([](QJsonObject &r) { r["nlayer"] = 3; })
                            << "nlayer does not match";
    QTest::newRow("output scaling on an input") << Change([](QJsonObject &r) {
        QJsonArray in = r["inputs"].toArray();
        in[0] = scaling("a", "linear", numbers({1, 0}));
        r["inputs"] = in;
    }) << "unknown scale \"linear\" for a";
    QTest::newRow("too few params") << Change([](QJsonObject &r) {
        QJsonArray in = r["inputs"].toArray();
        in[0] = scaling("a", "minmax", numbers({1, 0}));
        r["inputs"] = in;
    }) << "the params of a holds 2 numbers, not 3";
    QTest::newRow("outputs against noutput") << Change([](QJsonObject &r) { r["noutput"] = 3; })
                                            << "\"outputs\" does not match its count";
    QTest::newRow("text for a number") << inLayer(0, [](QJsonObject &l) {
        QJsonObject b = l["b"].toObject();
        QJsonArray d = b["data"].toArray();
        d[0] = "0.1";
        b["data"] = d;
        l["b"] = b;
    }) << "b.data holds something that is not a number";
    QTest::newRow("no members") << Change([](QJsonObject &r) { r["nboot"] = 0; })
                                << "\"nboot\" is not a positive whole number";
}

void TestRosettaModel::damagedFileIsRefused()
{
    QFETCH(Change, change);
    QFETCH(QString, message);
    QJsonObject root = tinyEnsemble();
    change(root);
    try {
        RosettaModel::fromJson(json(root));
        QFAIL("a damaged file was read");
    } catch (const std::runtime_error &e) {
        QVERIFY2(QString::fromStdString(e.what()).contains(message), e.what());
    }
}

void TestRosettaModel::builtInModels()
{
    const QStringList names = {"theta_r", "theta_s", "log10_alpha", "log10_n", "log10_Ks"};
    for (int code = RosettaModel::FirstTextureModel; code <= RosettaModel::LastTextureModel; ++code) {
        const RosettaModel &m = RosettaModel::builtIn(code);
        QCOMPARE(m.name(), QStringLiteral("rose3_mod%1").arg(code));
        QCOMPARE(m.inputCount(), code + 1);
        QCOMPARE(m.memberCount(), 1000);
        QCOMPARE(m.outputCount(), 5);
        for (int k = 0; k < 5; ++k) {
            QCOMPARE(m.outputName(k), names[k]);
            QCOMPARE(m.outputIsLog10(k), k >= 2);
        }
    }
    const RosettaModel &k = RosettaModel::unsaturatedK();
    QCOMPARE(k.inputCount(), 4);
    QCOMPARE(k.memberCount(), 100);
    QCOMPARE(k.outputName(0), QStringLiteral("log10_K0"));
    QCOMPARE(k.outputName(1), QStringLiteral("L"));
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, RosettaModel::builtIn(1));
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, RosettaModel::builtIn(6));
}

void TestRosettaModel::builtInModelIsReadOnce()
{
    QCOMPARE(&RosettaModel::builtIn(3), &RosettaModel::builtIn(3));
    QCOMPARE(&RosettaModel::unsaturatedK(), &RosettaModel::unsaturatedK());
}

// The last layer is a sigmoid, so even absurd inputs give outputs inside the
// ranges the scalings allow, and never NaN.
void TestRosettaModel::outputsStayBoundedForWildInputs()
{
    const Eigen::MatrixXd out =
        RosettaModel::builtIn(5).memberOutputs({1e6, -1e6, 0, 50, -3, 1e3});
    const double low[] = {0, 0, -6, 0, -2}, high[] = {1, 1, 2, 1.5, 6};
    for (int k = 0; k < 5; ++k) {
        QVERIFY(out.col(k).allFinite());
        QVERIFY(out.col(k).minCoeff() >= low[k]);
        QVERIFY(out.col(k).maxCoeff() <= high[k]);
    }
}

// The reader takes the numbers from QJsonDocument; they have to be the very
// doubles the files write (shortest round-trip decimals), which strtod, a
// correctly rounding reader, gives. Compared bit for bit, every weight and
// bias of the compiled-in files.
void TestRosettaModel::weightsReadAsTheExactDoublesWritten()
{
    RosettaModel::builtIn(2); // registers the compiled-in files
    long compared = 0;
    for (const char *name : {"rose3_mod2", "rose3_mod3", "rose3_mod4", "rose3_mod5", "rose1_unsat_k"}) {
        QFile file(QStringLiteral(":/pedotransfer/%1.json").arg(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray raw = file.readAll();
        std::vector<double> parsed;
        for (const QJsonValue &layer : QJsonDocument::fromJson(raw).object()["layers"].toArray())
            for (const char *key : {"W", "b"})
                for (const QJsonValue &v : layer.toObject()[key].toObject()["data"].toArray())
                    parsed.push_back(v.toDouble());
        std::vector<double> written;
        for (qsizetype at = raw.indexOf("\"data\":["); at >= 0; at = raw.indexOf("\"data\":[", at)) {
            at += 8;
            const qsizetype end = raw.indexOf(']', at);
            for (const QByteArray &token : raw.mid(at, end - at).split(','))
                written.push_back(std::strtod(token.constData(), nullptr));
        }
        QCOMPARE(parsed.size(), written.size());
        QVERIFY(std::memcmp(parsed.data(), written.data(), parsed.size() * sizeof(double)) == 0);
        compared += long(parsed.size());
    }
    QCOMPARE(compared, 276400L);
}

QTEST_GUILESS_MAIN(TestRosettaModel)
#include "tst_rosettamodel.moc"
