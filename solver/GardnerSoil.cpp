#include "solver/GardnerSoil.h"

#include <cmath>

namespace solver {

SoilModel::Point GardnerSoil::at(double h) const
{
    Point p;
    if (h >= 0) {
        p.theta = m_thetaS;
        p.capacity = 0;
        p.k = m_ks;
        return p;
    }
    const double e = std::exp(m_alpha * h);
    p.theta = m_thetaR + (m_thetaS - m_thetaR) * e;
    p.capacity = m_alpha * (m_thetaS - m_thetaR) * e;
    p.k = m_ks * e;
    return p;
}

} // namespace solver
