#pragma once

#include "builder/CaseSpec.h"
#include "builder/SolverSettings.h"

namespace builder {

// Runs one case of the sweep: a drip emitter on the surface or buried in a
// uniform soil at a uniform initial pressure head, for `hours` hours, and
// reports the wetting front at every whole hour. Deterministic: the same case
// and settings give the same numbers bit for bit, on any thread.
// Safe to call from several threads at once (no shared state).
CaseResult runCase(const CaseSpec& spec, const SolverSettings& settings = SolverSettings());

} // namespace builder
