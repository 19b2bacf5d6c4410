#pragma once

#include "pedotransfer/RosettaModel.h"

#include <QJsonArray>
#include <QJsonObject>

#include <string>

// Turns a weight file (JSON) into a RosettaModel, checking every count and
// shape against the others before a number is used: the inputs and outputs
// against ninput and noutput, each layer's W and b against nboot and its own
// n_in and n_out, and the layers against each other. Numbers are read as the
// exact doubles the file writes (shortest round-trip decimals), so nothing of
// the published weights is lost.
class RosettaModelReader
{
public:
    // Throws std::runtime_error when the file cannot be used.
    explicit RosettaModelReader(const QByteArray &json);

    const RosettaModel &model() const { return m_model; }

private:
    using Scaling = RosettaModel::Scaling;
    using Layer = RosettaModel::Layer;

    [[noreturn]] void fail(const std::string &what) const;
    QJsonObject object(const QJsonObject &parent, const char *key) const;
    QJsonArray array(const QJsonObject &parent, const char *key) const;
    int count(const QJsonObject &parent, const char *key) const;
    std::vector<double> numbers(const QJsonArray &values, size_t expected,
                                const std::string &what) const;

    std::vector<Scaling> scalings(const QJsonObject &root, const char *key, int expected,
                                  bool inputs) const;
    Scaling scaling(const QJsonObject &entry, bool input) const;
    Layer layer(const QJsonObject &entry, int nIn) const;
    std::vector<double> tensor(const QJsonObject &layer, const char *key,
                               const std::vector<int> &shape) const;

    RosettaModel m_model;
};
