#pragma once

#include "solver/SoilModel.h"

namespace solver {

// Exponential soil: K = Ks exp(alpha h) and theta = theta_r + (theta_s -
// theta_r) exp(alpha h) for h < 0, saturated above. With these functions
// Richards' equation becomes linear in K, which gives the exact solutions the
// solver is verified against.
class GardnerSoil : public SoilModel
{
public:
    GardnerSoil(double thetaR, double thetaS, double alpha, double ks)
        : m_thetaR(thetaR), m_thetaS(thetaS), m_alpha(alpha), m_ks(ks) {}

    Point at(double h) const override;
    double thetaS() const override { return m_thetaS; }
    double thetaR() const override { return m_thetaR; }
    double ks() const override { return m_ks; }
    double alpha() const { return m_alpha; }

private:
    double m_thetaR, m_thetaS, m_alpha, m_ks;
};

} // namespace solver
