#include "pedotransfer/SoilEstimate.h"

#include <cmath>
#include <stdexcept>

bool SoilEstimate::hasUnsaturatedK() const
{
    return !std::isnan(k0) && !std::isnan(l);
}

SoilEstimate SoilEstimate::fromLogResult(const RosettaPredictor::Result &result)
{
    if (result.kind != SummaryKind::Log || result.modelCode < 0)
        throw std::invalid_argument("a soil estimate needs a log10 summary of a usable texture");
    using P = RosettaPredictor::Parameter;
    const auto &e = result.estimates;
    const auto &sd = result.spreads;
    SoilEstimate s;
    s.modelCode = result.modelCode;
    s.thetaR = e[P::ThetaR];
    s.thetaS = e[P::ThetaS];
    s.alpha = std::pow(10.0, e[P::Alpha]) * PerCentimetreInPerMetre;
    s.n = std::pow(10.0, e[P::N]);
    s.ks = std::pow(10.0, e[P::Ks]) * CentimetreInMetre;
    s.k0 = std::pow(10.0, e[P::K0]) * CentimetreInMetre; // NaN stays NaN
    s.l = e[P::L];
    s.thetaRSd = sd[P::ThetaR];
    s.thetaSSd = sd[P::ThetaS];
    s.log10AlphaSd = sd[P::Alpha];
    s.log10NSd = sd[P::N];
    s.log10KsSd = sd[P::Ks];
    s.log10K0Sd = sd[P::K0];
    s.lSd = sd[P::L];
    return s;
}
