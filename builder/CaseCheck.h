#pragma once

#include "solver/CaseSpec.h"

#include <QString>

// Whether a computed case may be stored. The program draws whatever the
// database holds, so a case that the solver finished but got wrong must fail
// the build like one it could not finish: too much water lost or gained,
// fronts that recede while the emitter keeps watering, or no front at all.
//
// A failure reads "<reason>: <what happened>", the reason being one of a
// fixed set of phrases that the program turns into words for the user:
//   "no convergence"  the solver found no time step that converged
//   "time limit"      the case took longer than a case may (CPU time)
//   "memory limit"    the mesh would need more cells than a case may use
//   "domain edge"     a front reached the edge of the largest domain
//   "incomplete"      the solver did not return a front for every hour
//   "mass balance"    the water balance is off by more than kMaxMassBalanceError
//   "no front"        a front of zero extent in some hour
//   "front recedes"   a front lies closer to the emitter than an hour before
//   "solver error"    the solver stopped with an error of its own
class CaseCheck
{
public:
    // The largest relative mass-balance error a stored case may have (0.1 %).
    // The shipped sweep's largest is 0.0171 %; a failing computation loses or
    // gains far more (a soil nearly saturated at its initial suction: 30 %).
    static constexpr double kMaxMassBalanceError = 0.001;
    // How far a front may fall back from one hour to the next, as a share of
    // its length: reading a front from cell averages jitters by far less than
    // this (no front of the shipped sweep falls back at all), a failing
    // computation by far more.
    static constexpr double kRecedeTolerance = 5e-3;

    // Empty when the result of the case may be stored, else
    // "<reason>: <what happened>" as listed above.
    static QString problem(const solver::CaseSpec &wanted, const solver::CaseResult &result);

private:
    static QString solverProblem(const solver::CaseSpec &wanted, const solver::CaseResult &result);
    static QString frontProblem(const solver::CaseSpec &wanted, const solver::CaseResult &result);
};
