#pragma once

#include "solver/SoilModel.h"

namespace solver {

// van Genuchten retention with Mualem conductivity, optionally with the
// air-entry modification: below the air-entry head h_s (< 0) the curves are the
// usual ones scaled so that theta(h_s) = theta_s, and above it the soil is
// saturated (theta = theta_s, K = Ks). airEntryHead = 0 gives the classic form.
class VanGenuchten : public SoilModel
{
public:
    VanGenuchten(double thetaR, double thetaS, double alpha, double n, double ks,
                 double poreConnectivity = 0.5, double airEntryHead = 0.0);

    Point at(double h) const override;
    double thetaS() const override { return m_thetaS; }
    double thetaR() const override { return m_thetaR; }
    double ks() const override { return m_ks; }
    double airEntryHead() const { return m_hs; }
    double saturationHead() const override { return m_hs; }

private:
    double m_thetaR, m_thetaS, m_alpha, m_n, m_m, m_ks, m_l, m_hs;
    double m_thetaM = 0;     // fictitious saturation of the unmodified curve
    double m_oneMinusF1 = 1; // 1 - F(1) of the modified Mualem integral
    double m_nMinus1 = 0;    // n - 1 = n m
    double m_capacityFactor = 0; // (theta_m - theta_r) m n alpha
};

} // namespace solver
