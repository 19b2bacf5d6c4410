// The published test vectors of Rosetta 3, every file of them: the means and
// spreads of the four texture models, the full seven-parameter results with
// each kind of summary, the choice of model for records with missing and
// out-of-range values, and the network for K0 and L on its own.
//
// A value agrees when it lies within 1e-9 of the expected one relative to its
// size, or within 1e-12 absolutely for values near zero. The weights are the
// exact published doubles, so only the order of the sums differs from the
// reference and the differences are rounding (about 1e-14 relative).

#include "VectorFile.h"

#include "pedotransfer/RosettaPredictor.h"

#include <QDir>
#include <QSet>
#include <QtTest>

#include <cmath>

namespace {

constexpr double RelativeTolerance = 1e-9;
constexpr double AbsoluteTolerance = 1e-12;

const char *kindName(SummaryKind kind)
{
    switch (kind) {
    case SummaryKind::Log:
        return "log";
    case SummaryKind::Arith:
        return "arith";
    default:
        return "geo";
    }
}

RosettaPredictor::Record record(const std::vector<double> &values)
{
    RosettaPredictor::Record r;
    r.fill(std::nan(""));
    for (size_t i = 0; i < values.size() && i < r.size(); ++i)
        r[i] = values[i];
    return r;
}

// The fourteen columns of a full result: the seven estimates, then the spreads.
std::vector<double> fullRow(const RosettaPredictor::Result &r)
{
    std::vector<double> row(r.estimates.begin(), r.estimates.end());
    row.insert(row.end(), r.spreads.begin(), r.spreads.end());
    return row;
}

const SummaryKind allKinds[] = {SummaryKind::Log, SummaryKind::Arith, SummaryKind::Geo};

// The record sets with a chosen model per record (both upstream's example and
// the generated selection records).
const char *choiceSets[] = {"rose3_example", "rose3_selection"};

} // namespace

Q_DECLARE_METATYPE(SummaryKind)

class TestRosettaVectors : public QObject
{
    Q_OBJECT

    double m_worstRelative = 0;
    double m_worstAbsolute = 0;
    int m_compared = 0;

    void compare(const std::vector<double> &actual, const std::vector<double> &expected,
                 const QString &where);
    void compareFile(const VectorFile::Rows &actual, const QString &expectedFile);
    static QStringList filesCompared();

private slots:
    void meansAndSpreads_data();
    void meansAndSpreads();
    void fullSummaries_data();
    void fullSummaries();
    void modelChoice_data();
    void modelChoice();
    void unsaturatedK();
    void everyVectorFileIsCompared();
    void cleanupTestCase();
};

void TestRosettaVectors::compare(const std::vector<double> &actual,
                                 const std::vector<double> &expected, const QString &where)
{
    QCOMPARE(actual.size(), expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
        const QString at = QStringLiteral("%1, column %2: %3 expected, %4 computed")
                               .arg(where).arg(k)
                               .arg(expected[k], 0, 'g', 17).arg(actual[k], 0, 'g', 17);
        if (std::isnan(expected[k])) {
            QVERIFY2(std::isnan(actual[k]), qPrintable(at));
            continue;
        }
        const double diff = std::fabs(actual[k] - expected[k]);
        QVERIFY2(diff <= std::max(AbsoluteTolerance, RelativeTolerance * std::fabs(expected[k])),
                 qPrintable(at));
        m_worstAbsolute = std::max(m_worstAbsolute, diff);
        if (expected[k] != 0)
            m_worstRelative = std::max(m_worstRelative, diff / std::fabs(expected[k]));
        ++m_compared;
    }
}

// Row by row against a file with as many rows as there are results.
void TestRosettaVectors::compareFile(const VectorFile::Rows &actual, const QString &expectedFile)
{
    const VectorFile::Rows expected = VectorFile::read(expectedFile);
    QCOMPARE(expected.size(), actual.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        compare(actual[i], expected[i], QStringLiteral("%1 row %2").arg(expectedFile).arg(i + 1));
        if (QTest::currentTestFailed())
            return;
    }
}

void TestRosettaVectors::meansAndSpreads_data()
{
    VectorFile::addModelRows();
}

// The upstream means and the generated spreads, log10 form, five parameters.
void TestRosettaVectors::meansAndSpreads()
{
    QFETCH(int, code);
    const VectorFile::Rows inputs = VectorFile::read(VectorFile::modelFile(code, QStringLiteral("inputs")));
    QVERIFY(!inputs.empty());
    VectorFile::Rows means, spreads;
    for (const std::vector<double> &in : inputs) {
        QCOMPARE(int(in.size()), code + 1);
        QCOMPARE(RosettaPredictor::bestModel(record(in)), code);
        const RosettaPredictor::Result r = RosettaPredictor::predict(record(in), SummaryKind::Log);
        means.emplace_back(r.estimates.begin(), r.estimates.begin() + RosettaPredictor::K0);
        spreads.emplace_back(r.spreads.begin(), r.spreads.begin() + RosettaPredictor::K0);
    }
    compareFile(means, VectorFile::modelFile(code, QStringLiteral("mean")));
    compareFile(spreads, VectorFile::modelFile(code, QStringLiteral("std")));
}

void TestRosettaVectors::fullSummaries_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<SummaryKind>("kind");
    for (int code = 2; code <= 5; ++code)
        for (SummaryKind kind : allKinds)
            QTest::addRow("model %d %s", code, kindName(kind)) << code << kind;
}

// Seven estimates and seven spreads, K0 and L included, for each summary.
void TestRosettaVectors::fullSummaries()
{
    QFETCH(int, code);
    QFETCH(SummaryKind, kind);
    VectorFile::Rows results;
    for (const std::vector<double> &in : VectorFile::read(VectorFile::modelFile(code, QStringLiteral("inputs"))))
        results.push_back(fullRow(RosettaPredictor::predict(record(in), kind)));
    compareFile(results, VectorFile::modelFile(code, QStringLiteral("%1_full").arg(kindName(kind))));
}

void TestRosettaVectors::modelChoice_data()
{
    QTest::addColumn<QString>("set");
    for (const char *set : choiceSets)
        QTest::newRow(set) << QString::fromLatin1(set);
}

// Records with missing and out-of-range values: the model each one gets, and
// its results with the reference package's default summary.
void TestRosettaVectors::modelChoice()
{
    QFETCH(QString, set);
    const VectorFile::Rows inputs = VectorFile::read(set + QStringLiteral("_inputs.txt"));
    const VectorFile::Rows codes = VectorFile::read(set + QStringLiteral("_codes.txt"));
    QCOMPARE(codes.size(), inputs.size());
    VectorFile::Rows results;
    for (size_t i = 0; i < inputs.size(); ++i) {
        const RosettaPredictor::Result r =
            RosettaPredictor::predict(record(inputs[i]), SummaryKind::Arith);
        QCOMPARE(double(r.modelCode), codes[i].at(0));
        results.push_back(fullRow(r));
    }
    compareFile(results, set + QStringLiteral("_arith_full.txt"));
}

// The K0 and L network alone, on linear retention parameters: the mean and
// spread of log10 K0 and L over its 100 members.
void TestRosettaVectors::unsaturatedK()
{
    const VectorFile::Rows inputs = VectorFile::read(QStringLiteral("unsat_k_inputs.txt"));
    QVERIFY(!inputs.empty());
    VectorFile::Rows means, spreads;
    for (const std::vector<double> &in : inputs) {
        QCOMPARE(in.size(), size_t(4));
        const std::optional<EnsembleSummary> s =
            RosettaPredictor::unsaturatedK(in[0], in[1], in[2], in[3], SummaryKind::Log);
        QVERIFY(s.has_value());
        means.emplace_back(s->estimates().begin(), s->estimates().end());
        spreads.emplace_back(s->spreads().begin(), s->spreads().end());
    }
    compareFile(means, QStringLiteral("unsat_k_mean.txt"));
    compareFile(spreads, QStringLiteral("unsat_k_std.txt"));
}

// The files the slots above read, named the way they name them.
QStringList TestRosettaVectors::filesCompared()
{
    QStringList files;
    for (int code = 2; code <= 5; ++code) {
        files << VectorFile::modelFile(code, QStringLiteral("inputs")) << VectorFile::modelFile(code, QStringLiteral("mean"))
              << VectorFile::modelFile(code, QStringLiteral("std"));
        for (SummaryKind kind : allKinds)
            files << VectorFile::modelFile(code, QStringLiteral("%1_full").arg(kindName(kind)));
    }
    for (const char *set : choiceSets)
        for (const char *part : {"_inputs.txt", "_codes.txt", "_arith_full.txt"})
            files << QLatin1String(set) + QLatin1String(part);
    for (const char *part : {"inputs", "mean", "std"})
        files << QStringLiteral("unsat_k_%1.txt").arg(QLatin1String(part));
    return files;
}

// No vector file is left out: a file added to the folder has to be compared.
void TestRosettaVectors::everyVectorFileIsCompared()
{
    const QStringList present =
        QDir(VectorFile::folder()).entryList({QStringLiteral("*.txt")}, QDir::Files);
    const QStringList compared = filesCompared();
    QCOMPARE(QSet<QString>(present.begin(), present.end()),
             QSet<QString>(compared.begin(), compared.end()));
}

void TestRosettaVectors::cleanupTestCase()
{
    qInfo("%d values compared; largest difference %.3g absolute, %.3g relative", m_compared,
          m_worstAbsolute, m_worstRelative);
}

QTEST_GUILESS_MAIN(TestRosettaVectors)
#include "tst_rosetta_vectors.moc"
