#pragma once

#include "solver/SoilModel.h"

#include <vector>

namespace solver {

// The soil functions of one soil tabulated once for the solver's inner loop,
// which evaluates them in every cell in every iteration: the water content
// theta(h), its slope, the conductivity K(h) and the Kirchhoff potential
// Phi(h) = integral of K(s) ds from a very dry head up to h. The potential
// gives the integral mean of K between two cells, (Phi(ha) - Phi(hb)) / (ha -
// hb): the conductivity that carries exactly the steady flow between the two
// heads, however sharply K falls between them.
//
// Nodes lie in s = h_top - h (h_top the head above which K = Ks) at
// s = 2^e (1 + j/128), j = 0..127, for every octave from 2^-24 m (6e-8 m) to
// beyond the driest head, plus s = 0: 128 nodes per octave, less than 0.8 %
// apart, whose interval a head's binary exponent and leading mantissa bits
// give directly. Between nodes theta, the capacity C, K and Phi are cubic
// Hermite curves through the exact node values with their slopes in s
// (dtheta/ds = -C and dPhi/ds = -K exactly; dC/ds and dK/ds by fourth-order
// differences), so that theta, C, K and Phi match the soil's own functions to
// about 1e-8 of their values. (C is interpolated for itself rather than taken
// as the slope of the theta curve: next to saturation theta differs from
// theta_s in its last digits only.) Within 6e-8 m of h_top the functions are
// linear in s. Above h_top the soil is saturated and Phi grows with slope Ks;
// drier than the last node the soil's own functions are used and Phi
// continues with the slope K there.
class KirchhoffTable
{
public:
    struct Point
    {
        double theta = 0;     // water content (-)
        double capacity = 0;  // d theta / d h (1/m)
        double k = 0;         // conductivity (m/s)
        double phi = 0;       // Kirchhoff potential (m2/s)
    };

    explicit KirchhoffTable(const SoilModel& soil, double driestHead = -1000.0);

    Point at(double h) const;
    double phi(double h) const;
    double topHead() const { return m_top; }

private:
    struct Node
    {
        double s, theta, dTheta, capacity, dCapacity, k, dK, phi;   // values and slopes in s
    };
    // interval [nodes[i], nodes[i+1]] holding s (0 < s < m_last), and the
    // position t in it (0..1)
    int interval(double s, double& t) const;

    const SoilModel& m_soil;
    double m_top;
    double m_last = 0;          // s of the last node
    std::vector<Node> m_nodes;  // from saturation (s = 0) to dry
};

} // namespace solver
