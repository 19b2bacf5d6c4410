#pragma once

#include "solver/CaseSpec.h"
#include "solver/FrontTracker.h"
#include "solver/RichardsSolver.h"
#include "solver/SoilModel.h"
#include "solver/SolverSettings.h"

#include <chrono>
#include <memory>

namespace solver {

// Runs one case of the sweep: a drip emitter on the surface or buried in a
// uniform soil at a uniform initial pressure head, for `hours` hours, and
// reports the wetting front at every whole hour. Deterministic: the same case
// and settings give the same numbers bit for bit, on any thread.
// Safe to call from several threads at once (no shared state).
CaseResult runCase(const CaseSpec& caseSpec, const SolverSettings& settings = SolverSettings());

class CaseLimits;
class WaterBalance;

// The simulation behind runCase: drives the solver hour by hour, with the
// mesh and domain of its MeshPolicy (sized for the bulb, remeshed, grown when
// the wetting reaches an edge), the emitter's water put in by EmitterSource,
// the fronts measured by FrontTracker and the water balance by WaterBalance.
class WettingSimulation
{
public:
    WettingSimulation(const CaseSpec& caseSpec, const SolverSettings& settings);

    CaseResult run();

    // The soil functions used for a catalogue soil: van Genuchten-Mualem, with
    // the air-entry modification when n < settings.airEntryMaxN.
    static std::unique_ptr<SoilModel> makeSoil(const SoilParams& soil,
                                               const SolverSettings& settings);
    static bool usesAirEntry(const SoilParams& soil, const SolverSettings& settings);

    // Figures of the last run, for benchmarks and tests.
    int finalCells() const { return m_finalCells; }
    double finalRadius() const { return m_finalRadius; }
    double finalDepth() const { return m_finalDepth; }
    double finalHeight() const { return m_finalHeight; }
    int growths() const { return m_growths; }
    int remeshes() const { return m_remeshes; }
    // remeshes given up because no step succeeded on the new mesh (the run
    // went on with the old one)
    int remeshesUndone() const { return m_remeshesUndone; }
    double pondRadius() const { return m_pondRadius; }
    double bookedMassBalanceError() const { return m_bookedError; }
    const RichardsSolver::Statistics& statistics() const { return m_statistics; }

private:
    // A run ended by one of its limits (CaseLimits), at `time` after `steps` steps.
    CaseResult stopped(CaseResult result, const CaseLimits& limits, double time, long steps,
                       std::chrono::steady_clock::time_point started) const;
    // How the front is read between cells (the foot of a sharp front).
    FrontTracker::Foot frontFoot(double thetaI, double span) const;
    // The balance, the warnings and the figures of a run that reached its end.
    void finish(CaseResult& result, const RichardsSolver& solver, const WaterBalance& balance, double injected, bool fluxDisc);

    CaseSpec m_spec;
    SolverSettings m_set;
    int m_finalCells = 0, m_growths = 0, m_remeshes = 0, m_remeshesUndone = 0;
    double m_finalRadius = 0, m_finalDepth = 0, m_finalHeight = 0, m_pondRadius = 0;
    double m_bookedError = 0;
    RichardsSolver::Statistics m_statistics;
};

} // namespace solver
