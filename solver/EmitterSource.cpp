#include "solver/EmitterSource.h"

#include <cmath>

namespace solver {

EmitterSource::EmitterSource(const SolverSettings& settings, double flow, bool buried)
    : m_set(settings), m_flow(flow), m_buried(buried), m_fluxDisc(!buried && settings.surfaceFluxRadius > 0)
{
}

std::vector<double> EmitterSource::cellSources(const AxisymmetricMesh& m) const
{
    const double core = m_set.sourceRadius;
    std::vector<double> src(m.cells(), 0.0);
    double vol = 0;
    for (int iz = 0; iz < m.rows(); ++iz)
        for (int ir = 0; ir < m.columns(); ++ir)
            if (std::hypot(m.rCentre(ir), m.zCentre(iz)) <= core)
                vol += m.volume(ir, iz);
    for (int iz = 0; iz < m.rows(); ++iz)
        for (int ir = 0; ir < m.columns(); ++ir)
            if (std::hypot(m.rCentre(ir), m.zCentre(iz)) <= core)
                src[m.index(ir, iz)] = m_flow * m.volume(ir, iz) / vol;
    return src;
}

void EmitterSource::attach(RichardsSolver& solver, double drainageK) const
{
    solver.setDrainage(drainageK, m_buried);
    if (m_buried)
        solver.setSources(cellSources(solver.mesh()));
    else if (m_fluxDisc)
        solver.setFluxDisc(m_flow, m_set.surfaceFluxRadius);
    else
        solver.setPond(m_flow, m_set.minDiscRadius);
}

} // namespace solver
