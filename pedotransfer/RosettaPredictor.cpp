#include "pedotransfer/RosettaPredictor.h"

#include "pedotransfer/RosettaModel.h"

#include <limits>
#include <stdexcept>

namespace {

constexpr int Sand = 0, Silt = 1, Clay = 2, BulkDensity = 3, Theta33 = 4, Theta1500 = 5;

// Written so that NaN (a missing value) fails every test.
bool textureUsable(const RosettaPredictor::Record &r)
{
    const double sum = r[Sand] + r[Silt] + r[Clay];
    return r[Sand] >= 0 && r[Silt] >= 0 && r[Clay] >= 0 && sum >= 99 && sum <= 101;
}

} // namespace

int RosettaPredictor::bestModel(const Record &r)
{
    if (!textureUsable(r))
        return -1;
    if (!(r[BulkDensity] >= 0.5 && r[BulkDensity] <= 2.0))
        return 2;
    if (!(r[Theta33] > 0 && r[Theta33] < 1))
        return 3;
    if (!(r[Theta1500] > 0 && r[Theta1500] < r[Theta33]))
        return 4;
    return 5;
}

RosettaPredictor::Result RosettaPredictor::predict(const Record &record, SummaryKind kind)
{
    const int code = bestModel(record);
    if (code < 0)
        return empty(code, kind);
    return predict(code, record, kind);
}

RosettaPredictor::Result RosettaPredictor::predict(int modelCode, const Record &record,
                                                   SummaryKind kind)
{
    const RosettaModel &model = RosettaModel::builtIn(modelCode);
    if (model.outputCount() != K0)
        throw std::logic_error("a texture model gives theta_r, theta_s, alpha, n and Ks");
    const EnsembleSummary retention = summarise(
        model, std::vector<double>(record.begin(), record.begin() + modelCode + 1), kind);

    Result r = empty(modelCode, kind);
    for (int k = ThetaR; k <= Ks; ++k) {
        r.estimates[k] = retention.estimates()[k];
        r.spreads[k] = retention.spreads()[k];
    }
    const std::optional<EnsembleSummary> unsat =
        unsaturatedK(retention.linearEstimate(ThetaR), retention.linearEstimate(ThetaS),
                     retention.linearEstimate(Alpha), retention.linearEstimate(N), kind);
    if (unsat) {
        for (int k = K0; k <= L; ++k) {
            r.estimates[k] = unsat->estimates()[k - K0];
            r.spreads[k] = unsat->spreads()[k - K0];
        }
    }
    return r;
}

std::optional<EnsembleSummary> RosettaPredictor::unsaturatedK(double thetaR, double thetaS,
                                                              double alpha, double n,
                                                              SummaryKind kind)
{
    if (!(thetaR >= 0 && thetaR < thetaS && thetaS < 1 && alpha > 0 && n > 1))
        return std::nullopt;
    return summarise(RosettaModel::unsaturatedK(), {thetaR, thetaS, alpha, n}, kind);
}

RosettaPredictor::Result RosettaPredictor::empty(int modelCode, SummaryKind kind)
{
    Result r;
    r.modelCode = modelCode;
    r.kind = kind;
    r.estimates.fill(std::numeric_limits<double>::quiet_NaN());
    r.spreads.fill(std::numeric_limits<double>::quiet_NaN());
    return r;
}

EnsembleSummary RosettaPredictor::summarise(const RosettaModel &model,
                                            const std::vector<double> &input, SummaryKind kind)
{
    std::vector<bool> log10(size_t(model.outputCount()));
    for (int k = 0; k < model.outputCount(); ++k)
        log10[size_t(k)] = model.outputIsLog10(k);
    return EnsembleSummary(model.memberOutputs(input), log10, kind);
}
