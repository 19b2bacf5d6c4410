#pragma once

// What the tests that run whole cases of the sweep share: the soils they name
// and a run that passes the solver's own report on to the test log.
#include "solver/WettingSimulation.h"
#include "tests/solver/SolverTestSoils.h"

#include <QtGlobal>

namespace solvertest {

// Catalogue numbers of the soils these tests use (see soil()).
const int Sand = 1, Loam = 4, SiltyClay = 11, Clay = 12;

inline solver::CaseResult runChecked(const solver::CaseSpec& c)
{
    solver::CaseResult r = solver::runCase(c);
    if (!r.message.empty())
        qWarning("%s", r.message.c_str());
    return r;
}

} // namespace solvertest
