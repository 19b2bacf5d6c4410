#include "solver/KirchhoffTable.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace solver {

namespace {
constexpr int kBits = 7;                     // 2^7 = 128 nodes per octave
constexpr int kPerOctave = 1 << kBits;
constexpr int kFirstExponent = -24;          // the first octave starts at 2^-24 m
constexpr int kFractionBits = 52 - kBits;    // mantissa bits below the node index

// cubic Hermite basis on [0, 1]
struct Hermite
{
    double h00, h10, h01, h11;
    explicit Hermite(double t)
    {
        const double t2 = t * t, t3 = t2 * t;
        h00 = 2 * t3 - 3 * t2 + 1;
        h10 = t3 - 2 * t2 + t;
        h01 = -2 * t3 + 3 * t2;
        h11 = t3 - t2;
    }
    // value of the curve through fa, fb with slopes ga, gb on an interval of width d
    double value(double fa, double ga, double fb, double gb, double d) const
    {
        return h00 * fa + h10 * d * ga + h01 * fb + h11 * d * gb;
    }
};
} // namespace

KirchhoffTable::KirchhoffTable(const SoilModel& soil, double driestHead)
    : m_soil(soil), m_top(soil.saturationHead())
{
    int lastExponent = kFirstExponent + 1;
    while (std::ldexp(1.0, lastExponent) < m_top - driestHead)
        ++lastExponent;
    m_last = std::ldexp(1.0, lastExponent);
    auto conductivity = [&](double s) { return m_soil.conductivity(m_top - s); };
    std::vector<double> s{0.0};
    for (int e = kFirstExponent; e < lastExponent; ++e)
        for (int j = 0; j < kPerOctave; ++j)
            s.push_back(std::ldexp(1.0 + double(j) / kPerOctave, e));
    s.push_back(m_last);
    m_nodes.resize(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        const SoilModel::Point p = m_soil.at(m_top - s[i]);
        Node& n = m_nodes[i];
        n.s = s[i];
        n.theta = p.theta;
        n.dTheta = -p.capacity;
        n.k = p.k;
        n.capacity = p.capacity;
        if (i == 0) {
            // the first interval is linear; its capacity starts from the
            // unsaturated side (an air-entry soil's curve ends with a finite
            // slope at h_top, where the saturated soil's is zero)
            n.capacity = m_soil.at(m_top - 1e-12).capacity;
            continue;
        }
        // dK/ds and dC/ds from central differences in log s, extrapolated to
        // fourth order (K changes by orders of magnitude across an octave)
        auto slope = [&](auto f) {
            auto central = [&](double d) {
                return (f(s[i] * std::exp(d)) - f(s[i] * std::exp(-d))) / (2 * d);
            };
            const double delta = 1e-3;
            return (4 * central(0.5 * delta) - central(delta)) / 3 / s[i];
        };
        n.dK = slope(conductivity);
        n.dCapacity = slope([&](double x) { return m_soil.at(m_top - x).capacity; });
    }
    // integrate K from the dry end towards saturation, five-point
    // Gauss-Legendre on every interval
    static const double x[5] = {-0.9061798459386640, -0.5384693101056831, 0.0,
                                0.5384693101056831, 0.9061798459386640};
    static const double w[5] = {0.2369268850561891, 0.4786286704993665, 0.5688888888888889,
                                0.4786286704993665, 0.2369268850561891};
    m_nodes.back().phi = 0;
    for (size_t i = m_nodes.size() - 1; i-- > 0;) {
        const double a = m_nodes[i].s, b = m_nodes[i + 1].s;
        double sum = 0;
        for (int g = 0; g < 5; ++g)
            sum += w[g] * conductivity(0.5 * (a + b) + 0.5 * (b - a) * x[g]);
        m_nodes[i].phi = m_nodes[i + 1].phi + 0.5 * (b - a) * sum;
    }
}

int KirchhoffTable::interval(double s, double& t) const
{
    // s = 2^e (1 + f): the octave is the exponent, the node the leading 7
    // bits of f and t the remaining bits, all exact
    std::uint64_t bits;
    std::memcpy(&bits, &s, sizeof bits);
    const int e = int(bits >> 52) - 1023;
    if (e < kFirstExponent) {
        t = s / m_nodes[1].s;
        return 0;
    }
    const std::uint64_t fraction = bits & ((std::uint64_t(1) << 52) - 1);
    const int j = int(fraction >> kFractionBits);
    t = double(fraction & ((std::uint64_t(1) << kFractionBits) - 1))
        * (1.0 / double(std::uint64_t(1) << kFractionBits));
    return 1 + (e - kFirstExponent) * kPerOctave + j;
}

KirchhoffTable::Point KirchhoffTable::at(double h) const
{
    Point p;
    if (h >= m_top) {
        p.theta = m_nodes[0].theta;
        p.k = m_nodes[0].k;
        p.phi = m_nodes[0].phi + m_nodes[0].k * (h - m_top);
        return p;
    }
    const double s = m_top - h;
    if (s >= m_last) {
        const SoilModel::Point q = m_soil.at(h);
        p.theta = q.theta;
        p.capacity = q.capacity;
        p.k = q.k;
        p.phi = m_nodes.back().phi - m_nodes.back().k * (s - m_last);
        return p;
    }
    double t;
    const int i = interval(s, t);
    const Node& a = m_nodes[i];
    const Node& b = m_nodes[i + 1];
    const double d = b.s - a.s;
    const Hermite c(t);
    p.phi = c.value(a.phi, -a.k, b.phi, -b.k, d);
    if (i == 0) {
        p.theta = a.theta + t * (b.theta - a.theta);
        p.capacity = a.capacity + t * (b.capacity - a.capacity);
        p.k = a.k + t * (b.k - a.k);
        return p;
    }
    p.theta = c.value(a.theta, a.dTheta, b.theta, b.dTheta, d);
    p.capacity = c.value(a.capacity, a.dCapacity, b.capacity, b.dCapacity, d);
    p.k = c.value(a.k, a.dK, b.k, b.dK, d);
    return p;
}

double KirchhoffTable::phi(double h) const
{
    return at(h).phi;
}

} // namespace solver
