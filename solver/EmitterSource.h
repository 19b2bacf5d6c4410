#pragma once

#include "solver/AxisymmetricMesh.h"
#include "solver/RichardsSolver.h"
#include "solver/SolverSettings.h"

#include <vector>

namespace solver {

// How the emitter's water enters the soil: a buried emitter spreads its flow
// over the cells within the source radius of it (each in proportion to its
// volume), a surface emitter feeds a ponded disc whose radius the solver
// finds (or, for a test, an even flux over a disc of fixed radius).
class EmitterSource
{
public:
    EmitterSource(const SolverSettings& settings, double flow, bool buried);

    // Puts the source into the solver, with the background drainage of the
    // initial state (conductivity `drainageK`) through the bottom.
    void attach(RichardsSolver& solver, double drainageK) const;
    // Whether the surface emitter feeds an even flux disc.
    bool fluxDisc() const { return m_fluxDisc; }
    // The buried emitter's source of every cell of a mesh (m3/s).
    std::vector<double> cellSources(const AxisymmetricMesh& m) const;

private:
    const SolverSettings& m_set;
    double m_flow;
    bool m_buried, m_fluxDisc;
};

} // namespace solver
