#pragma once

#include "solver/RichardsSolver.h"
#include "solver/SolverSettings.h"

namespace solver {

// What a simulation tries when no step converges down to the smallest step
// size, before it gives up with "no convergence" (see SolverSettings,
// rescue): for a stretch of simulated time each, first the steps started
// again, then plain Picard iterations, then (surface emitter) the disc's flow
// spread evenly over it. A failure within a rescue moves on to the next way;
// a rescue that lasts its stretch ends, and a later failure starts again from
// the first way. Only ever used where the run would otherwise have stopped.
class StepRescue
{
public:
    StepRescue(const SolverSettings& settings, bool ponded);

    // Called when no step converged: starts the next way out; false when
    // there is none left (the case has failed).
    bool start(RichardsSolver& solver);
    // Called before every step: ends a rescue whose stretch is over.
    void update(RichardsSolver& solver);

private:
    void apply(RichardsSolver& solver, int way);

    const SolverSettings& m_set;
    bool m_ponded;
    int m_way = -1; // the way in use, -1 when none
    int m_rescues = 0;
    double m_end = 0;
};

} // namespace solver
