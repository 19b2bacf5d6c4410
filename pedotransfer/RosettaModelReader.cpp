#include "pedotransfer/RosettaModelReader.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <cmath>
#include <stdexcept>

namespace {

// The scalings a file may name, with the number of parameters each needs, in
// the order of RosettaModel::Scale.
struct ScaleName
{
    const char *name;
    int params;
    bool input;
};

constexpr ScaleName scaleNames[] = {
    {"minmax", 3, true},  {"division", 1, true}, {"logtr", 2, true},
    {"linear", 2, false}, {"affine", 2, false},
};

} // namespace

RosettaModelReader::RosettaModelReader(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        fail("not JSON (" + error.errorString().toStdString() + " at byte "
             + std::to_string(error.offset) + ")");
    if (!doc.isObject())
        fail("not a JSON object");
    const QJsonObject root = doc.object();
    m_model.m_name = root.value(QStringLiteral("name")).toString();
    m_model.m_members = count(root, "nboot");
    m_model.m_inputs = scalings(root, "inputs", count(root, "ninput"), true);
    m_model.m_outputs = scalings(root, "outputs", count(root, "noutput"), false);

    const QJsonArray layers = array(root, "layers");
    if (layers.size() != count(root, "nlayer"))
        fail("nlayer does not match the layers");
    int nIn = m_model.inputCount();
    for (const QJsonValue &entry : layers) {
        m_model.m_layers.push_back(layer(entry.toObject(), nIn));
        nIn = m_model.m_layers.back().nOut;
    }
    if (nIn != m_model.outputCount())
        fail("the last layer's n_out does not match noutput");
}

void RosettaModelReader::fail(const std::string &what) const
{
    const std::string name = m_model.m_name.isEmpty() ? std::string("?")
                                                      : m_model.m_name.toStdString();
    throw std::runtime_error("weight file " + name + ": " + what);
}

QJsonObject RosettaModelReader::object(const QJsonObject &parent, const char *key) const
{
    const QJsonValue v = parent.value(QLatin1String(key));
    if (!v.isObject())
        fail(std::string("no object \"") + key + "\"");
    return v.toObject();
}

QJsonArray RosettaModelReader::array(const QJsonObject &parent, const char *key) const
{
    const QJsonValue v = parent.value(QLatin1String(key));
    if (!v.isArray())
        fail(std::string("no array \"") + key + "\"");
    return v.toArray();
}

int RosettaModelReader::count(const QJsonObject &parent, const char *key) const
{
    const QJsonValue v = parent.value(QLatin1String(key));
    const double d = v.toDouble(-1);
    if (!v.isDouble() || d < 1 || d > 1e6 || d != std::floor(d))
        fail(std::string("\"") + key + "\" is not a positive whole number");
    return int(d);
}

std::vector<double> RosettaModelReader::numbers(const QJsonArray &values, size_t expected,
                                                const std::string &what) const
{
    if (size_t(values.size()) != expected)
        fail(what + " holds " + std::to_string(values.size()) + " numbers, not "
             + std::to_string(expected));
    std::vector<double> out;
    out.reserve(expected);
    for (const QJsonValue &v : values) {
        if (!v.isDouble())
            fail(what + " holds something that is not a number");
        out.push_back(v.toDouble());
    }
    return out;
}

std::vector<RosettaModelReader::Scaling>
RosettaModelReader::scalings(const QJsonObject &root, const char *key, int expected,
                             bool inputs) const
{
    const QJsonArray entries = array(root, key);
    if (entries.size() != expected)
        fail(std::string("\"") + key + "\" does not match its count");
    std::vector<Scaling> out;
    for (const QJsonValue &entry : entries)
        out.push_back(scaling(entry.toObject(), inputs));
    return out;
}

RosettaModelReader::Scaling RosettaModelReader::scaling(const QJsonObject &entry, bool input) const
{
    Scaling s;
    s.name = entry.value(QStringLiteral("name")).toString();
    const QString scale = entry.value(QStringLiteral("scale")).toString();
    for (int i = 0; i < int(std::size(scaleNames)); ++i) {
        const ScaleName &known = scaleNames[i];
        if (scale != QLatin1String(known.name) || known.input != input)
            continue;
        s.scale = RosettaModel::Scale(i);
        s.params = numbers(array(entry, "params"), size_t(known.params),
                           "the params of " + s.name.toStdString());
        return s;
    }
    fail("unknown scale \"" + scale.toStdString() + "\" for " + s.name.toStdString());
}

RosettaModelReader::Layer RosettaModelReader::layer(const QJsonObject &entry, int nIn) const
{
    Layer l;
    l.nIn = count(entry, "n_in");
    l.nOut = count(entry, "n_out");
    if (l.nIn != nIn)
        fail("a layer's n_in does not match what the layer before gives");
    const QString activation = entry.value(QStringLiteral("activation")).toString();
    if (activation == QLatin1String("tansig"))
        l.activation = RosettaModel::Activation::Tansig;
    else if (activation == QLatin1String("sigmoid"))
        l.activation = RosettaModel::Activation::Sigmoid;
    else
        fail("unknown activation \"" + activation.toStdString() + "\"");
    l.weights = tensor(entry, "W", {m_model.m_members, l.nOut, l.nIn});
    l.biases = tensor(entry, "b", {m_model.m_members, l.nOut});
    return l;
}

std::vector<double> RosettaModelReader::tensor(const QJsonObject &layer, const char *key,
                                               const std::vector<int> &shape) const
{
    const QJsonObject t = object(layer, key);
    const QJsonArray declared = array(t, "shape");
    size_t size = 1;
    bool same = declared.size() == int(shape.size());
    for (size_t i = 0; i < shape.size(); ++i) {
        same = same && declared.at(int(i)).toDouble(-1) == shape[i];
        size *= size_t(shape[i]);
    }
    if (!same)
        fail(std::string("the shape of ") + key + " does not match nboot, n_out and n_in");
    return numbers(array(t, "data"), size, std::string(key) + ".data");
}
