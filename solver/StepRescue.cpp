#include "solver/StepRescue.h"

namespace solver {

StepRescue::StepRescue(const SolverSettings& settings, bool ponded)
    : m_set(settings), m_ponded(ponded)
{
}

bool StepRescue::start(RichardsSolver& solver)
{
    const int ways = m_ponded ? 3 : 2;
    const int next = m_way + 1;
    if (!m_set.rescue || m_rescues >= m_set.maxRescues || next >= ways)
        return false;
    apply(solver, next);
    ++m_rescues;
    m_end = solver.time() + m_set.rescueSeconds;
    solver.restartSteps(m_set.rescueFirstStep);
    return true;
}

void StepRescue::update(RichardsSolver& solver)
{
    if (m_way >= 0 && solver.time() >= m_end)
        apply(solver, -1);
}

void StepRescue::apply(RichardsSolver& solver, int way)
{
    // way 0 changes nothing but the steps, 1 the iterations, 2 the disc
    m_way = way;
    solver.setPlainIterations(way == 1);
    solver.setPondBridged(way == 2);
}

} // namespace solver
