#pragma once

// What the tests that run whole cases of the sweep share: the soils they name
// and a run that passes the solver's own report on to the test log.
#include "builder/WettingSimulation.h"
#include "tests/builder/SolverTestSoils.h"

#include <QtGlobal>

namespace solvertest {

// Catalogue numbers of the soils these tests use (see soil()).
const int Sand = 1, Loam = 4, SiltyClay = 11, Clay = 12;

inline builder::CaseResult runChecked(const builder::CaseSpec& c)
{
    builder::CaseResult r = builder::runCase(c);
    if (!r.message.empty())
        qWarning("%s", r.message.c_str());
    return r;
}

} // namespace solvertest
