#include "solver/VanGenuchten.h"

#include <cmath>

namespace solver {

VanGenuchten::VanGenuchten(double thetaR, double thetaS, double alpha, double n, double ks,
                           double poreConnectivity, double airEntryHead)
    : m_thetaR(thetaR), m_thetaS(thetaS), m_alpha(alpha), m_n(n), m_m(1.0 - 1.0 / n), m_ks(ks),
      m_l(poreConnectivity), m_hs(airEntryHead < 0 ? airEntryHead : 0.0)
{
    m_nMinus1 = m_n - 1.0;
    if (m_hs < 0) {
        const double xs = std::pow(m_alpha * -m_hs, m_n);
        // theta_m chosen so that the unmodified curve through theta_m passes
        // through theta_s at h_s.
        m_thetaM = m_thetaR + (m_thetaS - m_thetaR) * std::pow(1.0 + xs, m_m);
        m_oneMinusF1 = 1.0 - std::pow(xs / (1.0 + xs), m_m);
    } else {
        m_thetaM = m_thetaS;
        m_oneMinusF1 = 1.0;
    }
    m_capacityFactor = (m_thetaM - m_thetaR) * m_m * m_n * m_alpha;
}

SoilModel::Point VanGenuchten::at(double h) const
{
    Point p;
    if (h >= m_hs) {
        p.theta = m_thetaS;
        p.capacity = 0;
        p.k = m_ks;
        return p;
    }
    // Every cell is evaluated in every iteration, so the four powers of the
    // textbook form are reduced to one logarithm and two exponentials:
    //   x = (alpha|h|)^n = exp(n ln(alpha|h|)),  Se* = (1 + x)^-m = exp(-m ln(1 + x)),
    //   F = (x / (1 + x))^m = (alpha|h|)^(n m) Se* = (x / (alpha|h|)) Se*   (n m = n - 1),
    // and Se^l is a square root for the usual l = 0.5. Each is accurate to a few
    // units in the last place, as the powers were.
    const double ah = m_alpha * -h;
    const double xOverAh = std::exp(m_nMinus1 * std::log(ah));   // (alpha|h|)^(n-1)
    const double x = xOverAh * ah;                                // (alpha|h|)^n
    const double onePlusX = 1.0 + x;
    const double seStar = std::exp(-m_m * std::log1p(x)); // effective saturation of the unmodified curve
    const double range = m_thetaM - m_thetaR;
    p.theta = m_thetaR + range * seStar;
    // d theta / d h = range * m n alpha (alpha|h|)^(n-1) (1+x)^(-m-1)
    p.capacity = m_capacityFactor * xOverAh * seStar / onePlusX;
    // Mualem: Kr = Se^l [(1 - F(Se*)) / (1 - F(1))]^2, F = (1 - Se*^(1/m))^m,
    // and 1 - Se*^(1/m) = x / (1 + x) exactly, which keeps precision near saturation.
    const double se = (p.theta - m_thetaR) / (m_thetaS - m_thetaR);
    const double f = xOverAh * seStar;
    const double ratio = (1.0 - f) / m_oneMinusF1;
    const double seToL = m_l == 0.5 ? std::sqrt(se) : std::pow(se, m_l);
    p.k = m_ks * seToL * ratio * ratio;
    return p;
}

} // namespace solver
