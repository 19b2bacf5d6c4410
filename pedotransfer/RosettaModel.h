#pragma once

#include <Eigen/Dense>

#include <QByteArray>
#include <QString>

#include <vector>

// One ensemble of small feed-forward networks, as a weight file describes it:
// every member has the same layers and differs only in its weights (they were
// trained on bootstrap resamples of the calibration data). The file names how
// each input is normalised, the layers with their activations and weights, and
// how each raw output is turned back into a quantity; this class follows the
// file rather than knowing the Rosetta numbers, so one code path serves the four
// texture models and the network for K0 and L.
//
// The built-in files are compiled into the program (see builtIn); each is parsed
// once per process, on first use, and kept read-only, so sharing them between
// threads is safe.
class RosettaModel
{
public:
    // The model codes of the texture models: the number of inputs minus one.
    static constexpr int FirstTextureModel = 2;
    static constexpr int LastTextureModel = 5;

    // Parses a weight file. Throws std::runtime_error naming the part of the
    // file that is missing or does not fit (shapes, names of scalings and
    // activations), so a damaged file never gives numbers.
    static RosettaModel fromJson(const QByteArray &json);

    // The built-in texture model with this code (2 to 5), and the network for
    // K0 and L. Both throw std::invalid_argument for another code.
    static const RosettaModel &builtIn(int modelCode);
    static const RosettaModel &unsaturatedK();

    const QString &name() const { return m_name; }
    int inputCount() const { return int(m_inputs.size()); }
    int outputCount() const { return int(m_outputs.size()); }
    int memberCount() const { return m_members; }
    // The output's name in the file ("theta_r", "log10_Ks", ...).
    const QString &outputName(int k) const { return m_outputs.at(k).name; }
    // Whether the output is the base-10 logarithm of a quantity (its name
    // begins with "log10_"); the ensemble statistics treat those apart.
    bool outputIsLog10(int k) const;

    // Every member's outputs for one input record (inputCount values, in the
    // file's units): one row a member, one column an output, de-normalised.
    Eigen::MatrixXd memberOutputs(const std::vector<double> &input) const;

private:
    enum class Activation { Tansig, Sigmoid };
    enum class Scale { MinMax, Division, LogTr, Linear, Affine };

    struct Scaling
    {
        QString name;
        Scale scale = Scale::Linear;
        std::vector<double> params;
    };
    struct Layer
    {
        int nIn = 0;
        int nOut = 0;
        Activation activation = Activation::Sigmoid;
        std::vector<double> weights; // [member][out][in], row-major
        std::vector<double> biases;  // [member][out]
    };

    friend class RosettaModelReader;

    static double normalised(const Scaling &s, double x);
    static double denormalised(const Scaling &s, double raw);
    static double activated(Activation a, double z);
    Eigen::VectorXd runLayer(const Layer &layer, int member, const Eigen::VectorXd &in) const;

    QString m_name;
    int m_members = 0;
    std::vector<Scaling> m_inputs;
    std::vector<Layer> m_layers;
    std::vector<Scaling> m_outputs;
};
