#include "pedotransfer/RosettaModel.h"

#include "pedotransfer/RosettaModelReader.h"

#include <QFile>

#include <cmath>
#include <stdexcept>

// A static library's resources are not registered by themselves: the
// initialiser has to be named from code that is surely linked in. The macro
// declares a function, so it is used outside any namespace. Registering again
// is harmless (Qt keeps one copy).
static void registerWeightFiles()
{
    Q_INIT_RESOURCE(pedotransfer);
}

namespace {

RosettaModel loadResource(const QString &fileName)
{
    registerWeightFiles();
    QFile file(QStringLiteral(":/pedotransfer/") + fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("the built-in weight file " + fileName.toStdString()
                                 + " cannot be read");
    return RosettaModel::fromJson(file.readAll());
}

// One parse per file and process: a function-local static is built once, on
// first use, even when several threads ask at the same time.
template <int Code>
const RosettaModel &textureModel()
{
    static const RosettaModel model =
        loadResource(QStringLiteral("rose3_mod%1.json").arg(Code));
    return model;
}

} // namespace

RosettaModel RosettaModel::fromJson(const QByteArray &json)
{
    return RosettaModelReader(json).model();
}

const RosettaModel &RosettaModel::builtIn(int modelCode)
{
    switch (modelCode) {
    case 2:
        return textureModel<2>();
    case 3:
        return textureModel<3>();
    case 4:
        return textureModel<4>();
    case 5:
        return textureModel<5>();
    default:
        throw std::invalid_argument("there is no texture model " + std::to_string(modelCode));
    }
}

const RosettaModel &RosettaModel::unsaturatedK()
{
    static const RosettaModel model = loadResource(QStringLiteral("rose1_unsat_k.json"));
    return model;
}

bool RosettaModel::outputIsLog10(int k) const
{
    return m_outputs.at(k).name.startsWith(QStringLiteral("log10_"));
}

Eigen::MatrixXd RosettaModel::memberOutputs(const std::vector<double> &input) const
{
    if (int(input.size()) != inputCount())
        throw std::invalid_argument("the model " + m_name.toStdString() + " takes "
                                    + std::to_string(inputCount()) + " inputs");
    Eigen::VectorXd scaled(inputCount());
    for (int k = 0; k < inputCount(); ++k)
        scaled[k] = normalised(m_inputs[k], input[k]);

    Eigen::MatrixXd out(m_members, outputCount());
    for (int m = 0; m < m_members; ++m) {
        Eigen::VectorXd a = scaled;
        for (const Layer &layer : m_layers)
            a = runLayer(layer, m, a);
        for (int k = 0; k < outputCount(); ++k)
            out(m, k) = denormalised(m_outputs[k], a[k]);
    }
    return out;
}

Eigen::VectorXd RosettaModel::runLayer(const Layer &layer, int member,
                                       const Eigen::VectorXd &in) const
{
    using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    const size_t first = size_t(member) * layer.nOut * layer.nIn;
    const Eigen::Map<const RowMajor> w(layer.weights.data() + first, layer.nOut, layer.nIn);
    const Eigen::Map<const Eigen::VectorXd> b(layer.biases.data() + size_t(member) * layer.nOut,
                                              layer.nOut);
    Eigen::VectorXd z = w * in + b;
    for (Eigen::Index j = 0; j < z.size(); ++j)
        z[j] = activated(layer.activation, z[j]);
    return z;
}

double RosettaModel::normalised(const Scaling &s, double x)
{
    const std::vector<double> &p = s.params;
    switch (s.scale) {
    case Scale::MinMax:
        return (x - p[0]) * p[1] + p[2];
    case Scale::Division:
        return x / p[0];
    case Scale::LogTr:
        return std::log10(x) / p[0] + p[1];
    default:
        throw std::logic_error("an output scaling on an input");
    }
}

double RosettaModel::denormalised(const Scaling &s, double raw)
{
    const std::vector<double> &p = s.params;
    switch (s.scale) {
    case Scale::Linear:
        return raw * p[0] + p[1];
    case Scale::Affine:
        return p[0] * (raw + p[1]);
    default:
        throw std::logic_error("an input scaling on an output");
    }
}

// tansig is the same function as tanh; it is written in the form the weight
// files name. exp() overflowing to infinity for a very negative z is harmless
// (the result is then -1 or 0), which is why this must not be built with
// flags that assume finite arithmetic.
double RosettaModel::activated(Activation a, double z)
{
    if (a == Activation::Tansig)
        return 2.0 / (1.0 + std::exp(-2.0 * z)) - 1.0;
    return 1.0 / (1.0 + std::exp(-z));
}
