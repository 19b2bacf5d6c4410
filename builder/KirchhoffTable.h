#pragma once

#include "builder/SoilModel.h"

#include <vector>

namespace builder {

// The Kirchhoff potential of one soil, Phi(h) = integral of K(s) ds from a
// very dry head up to h, tabulated once so that the solver can take the
// integral mean of K between two cells, (Phi(ha) - Phi(hb)) / (ha - hb):
// the conductivity that carries exactly the steady flow between the two
// heads, however sharply K falls between them.
//
// Nodes are spaced evenly in log(h_top - h) from 1e-7 m to the driest head,
// with h_top the head above which K = Ks; between nodes Phi is a cubic
// Hermite curve through the node values with the exact slopes K. Above h_top
// Phi grows linearly with slope Ks; below the driest node it continues with
// the slope K there.
class KirchhoffTable
{
public:
    explicit KirchhoffTable(const SoilModel& soil, double driestHead = -1000.0);

    double phi(double h) const;
    double topHead() const { return m_top; }

private:
    const SoilModel& m_soil;
    double m_top;
    double m_logFirst = 0, m_logStep = 0;
    std::vector<double> m_s, m_phi, m_k;   // s = h_top - h, from saturation to dry
};

} // namespace builder
