#pragma once

#include "pedotransfer/RosettaPredictor.h"

// Van Genuchten-Mualem parameters estimated from a soil's texture, in the
// program's units, with how much the networks of the ensemble disagree.
//
// Alpha, n, Ks and K0 are geometric means over the ensemble (10 to the mean of
// the members' log10 values), the central value that fits the spreads, which
// are standard deviations of log10 values. The networks give alpha in 1/cm and
// Ks and K0 in cm/day; here alpha is in 1/m (times 100) and Ks and K0 are in
// m/day (divided by 100). A change of unit only adds a constant to a log10
// value, so the log10 spreads are the same in either unit.
class SoilEstimate
{
public:
    int modelCode = 0;   // the texture model used, 2 to 5
    double thetaR = 0;   // residual water content, m3/m3
    double thetaS = 0;   // saturated water content, m3/m3
    double alpha = 0;    // 1/m
    double n = 0;        // -
    double ks = 0;       // saturated conductivity, m/day
    double k0 = 0;       // conductivity at the matching point, m/day; NaN when none
    double l = 0;        // pore-connectivity exponent, -; NaN when none

    // Sample standard deviations over the ensemble.
    double thetaRSd = 0;
    double thetaSSd = 0;
    double log10AlphaSd = 0;
    double log10NSd = 0;
    double log10KsSd = 0;
    double log10K0Sd = 0; // NaN when there is no K0
    double lSd = 0;       // NaN when there is no L

    // Whether K0 and L could be estimated: the retention parameters have to
    // lie where their network was made for (theta_r < theta_s, ...).
    bool hasUnsaturatedK() const;

    // From a result summarised with SummaryKind::Log; throws
    // std::invalid_argument for another kind or a result without a model.
    static SoilEstimate fromLogResult(const RosettaPredictor::Result &result);

    static constexpr double PerCentimetreInPerMetre = 100.0; // 1/cm -> 1/m
    static constexpr double CentimetreInMetre = 0.01;        // cm/day -> m/day
};
