#include "builder/KirchhoffTable.h"

#include <algorithm>
#include <cmath>

namespace builder {

namespace {
constexpr int kNodes = 4000;
constexpr double kFirstDistance = 1e-7;   // m below h_top
}

KirchhoffTable::KirchhoffTable(const SoilModel& soil, double driestHead)
    : m_soil(soil), m_top(soil.saturationHead())
{
    m_logFirst = std::log(kFirstDistance);
    m_logStep = (std::log(m_top - driestHead) - m_logFirst) / (kNodes - 1);
    m_s.resize(kNodes + 1);
    m_phi.resize(kNodes + 1);
    m_k.resize(kNodes + 1);
    m_s[0] = 0;
    for (int i = 1; i <= kNodes; ++i)
        m_s[i] = std::exp(m_logFirst + (i - 1) * m_logStep);
    for (int i = 0; i <= kNodes; ++i)
        m_k[i] = m_soil.conductivity(m_top - m_s[i]);
    // integrate K from the dry end towards saturation, five-point
    // Gauss-Legendre on every interval
    static const double x[5] = {-0.9061798459386640, -0.5384693101056831, 0.0,
                                0.5384693101056831, 0.9061798459386640};
    static const double w[5] = {0.2369268850561891, 0.4786286704993665, 0.5688888888888889,
                                0.4786286704993665, 0.2369268850561891};
    m_phi[kNodes] = 0;
    for (int i = kNodes - 1; i >= 0; --i) {
        const double a = m_s[i], b = m_s[i + 1];
        double sum = 0;
        for (int g = 0; g < 5; ++g)
            sum += w[g] * m_soil.conductivity(m_top - (0.5 * (a + b) + 0.5 * (b - a) * x[g]));
        m_phi[i] = m_phi[i + 1] + 0.5 * (b - a) * sum;
    }
}

double KirchhoffTable::phi(double h) const
{
    if (h >= m_top)
        return m_phi[0] + m_soil.ks() * (h - m_top);
    const double s = m_top - h;
    if (s >= m_s[kNodes])
        return m_phi[kNodes] - m_k[kNodes] * (s - m_s[kNodes]);
    const int i = s < kFirstDistance
                      ? 0
                      : std::min(kNodes - 1, 1 + int((std::log(s) - m_logFirst) / m_logStep));
    // cubic Hermite in s on [s_i, s_i+1], where dPhi/ds = -K
    const double a = m_s[i], d = m_s[i + 1] - a;
    const double t = (s - a) / d, t2 = t * t, t3 = t2 * t;
    return (2 * t3 - 3 * t2 + 1) * m_phi[i] - (t3 - 2 * t2 + t) * d * m_k[i]
           + (-2 * t3 + 3 * t2) * m_phi[i + 1] - (t3 - t2) * d * m_k[i + 1];
}

} // namespace builder
