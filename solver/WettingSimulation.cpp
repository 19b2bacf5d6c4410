#include "solver/WettingSimulation.h"

#include "solver/AxisymmetricMesh.h"
#include "solver/CaseLimits.h"
#include "solver/EmitterSource.h"
#include "solver/MeshPolicy.h"
#include "solver/StepRescue.h"
#include "solver/FrontTracker.h"
#include "solver/RichardsSolver.h"
#include "solver/VanGenuchten.h"
#include "solver/WaterBalance.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <sstream>

namespace solver {

CaseResult runCase(const CaseSpec& caseSpec, const SolverSettings& settings)
{
    return WettingSimulation(caseSpec, settings).run();
}

WettingSimulation::WettingSimulation(const CaseSpec& caseSpec, const SolverSettings& settings)
    : m_spec(caseSpec), m_set(settings)
{
}

bool WettingSimulation::usesAirEntry(const SoilParams& soil, const SolverSettings& settings)
{
    return soil.n < settings.airEntryMaxN && settings.airEntryHead < 0;
}

std::unique_ptr<SoilModel> WettingSimulation::makeSoil(const SoilParams& soil,
                                                       const SolverSettings& settings)
{
    const double hs = usesAirEntry(soil, settings) ? settings.airEntryHead : 0.0;
    return std::make_unique<VanGenuchten>(soil.thetaR, soil.thetaS, soil.alpha, soil.n, soil.ks,
                                          settings.poreConnectivity, hs);
}

namespace {

std::string caseName(const CaseSpec& s)
{
    std::ostringstream o;
    o << s.soil.name << ", " << s.flowLitresPerHour << " L/h, h0 = " << s.initialHead << " m, "
      << (s.emitter == Emitter::Surface ? "surface" : "buried") << " emitter";
    return o.str();
}

} // namespace

CaseResult WettingSimulation::run()
{
    const auto started = std::chrono::steady_clock::now();
    CaseResult result;
    const bool buried = m_spec.emitter == Emitter::Buried;
    const auto soil = makeSoil(m_spec.soil, m_set);
    const double h0 = m_spec.initialHead;
    const double thetaI = soil->theta(h0);
    const double span = soil->thetaS() - thetaI;
    const double flow = m_spec.flowLitresPerHour / 1000.0 / 3600.0;   // m3/s
    const double duration = 3600.0 * m_spec.hours;
    if (span <= 0 || flow <= 0 || m_spec.hours <= 0) {
        result.message = "nothing to simulate for " + caseName(m_spec);
        return result;
    }
    const double threshold = thetaI + m_spec.frontThreshold * span;

    MeshPolicy meshes(m_set, flow, span, buried);
    AxisymmetricMesh mesh = meshes.firstMesh(duration);
    CaseLimits limits(m_set.maxCaseSeconds, m_set.maxCells);
    if (!limits.allowsCells(mesh.cells()))
        return stopped(result, limits, 0.0, 0, started);
    const EmitterSource source(m_set, flow, buried);
    StepRescue rescue(m_set, !buried && !source.fluxDisc());
    RichardsSolver solver(*soil, mesh, m_set);
    solver.setUniformHead(h0);
    source.attach(solver, soil->conductivity(h0));
    // The domain grows where the water content has started to rise in its
    // outer band of cells.
    const double trigger = thetaI + m_set.growTrigger * span;
    const std::vector<double>& earlyRemesh = meshes.earlyRemeshTimes();
    size_t nextEarly = 0;
    const FrontTracker::Foot foot = frontFoot(thetaI, span);

    FrontTracker::Extent extent;
    for (int hour = 1; hour <= m_spec.hours; ++hour) {
        const double tEnd = 3600.0 * hour;
        while (solver.time() < tEnd) {
            limits.checkTime();
            rescue.update(solver);
            if (limits.stopped())
                return stopped(result, limits, solver.time(), solver.acceptedSteps(), started);
            if (nextEarly < earlyRemesh.size() && solver.time() >= earlyRemesh[nextEarly]) {
                // an early remeshing time: a mesh for twice the time, shaped
                // like the bulb is now
                if (meshes.remeshFor(solver, limits, 2 * earlyRemesh[nextEarly],
                                     FrontTracker::measure(solver.mesh(), solver.thetas(), threshold, 0.0, foot), h0))
                    ++m_remeshes;
                ++nextEarly;
            }
            const double until = nextEarly < earlyRemesh.size() ? std::min(tEnd, earlyRemesh[nextEarly]) : tEnd;
            double dt = std::min(solver.suggestedStep(), until - solver.time());
            // avoid leaving a sliver of the hour for a tiny last step
            if (until - solver.time() - dt < 0.2 * dt)
                dt = until - solver.time();
            if (solver.step(dt)) {
                if (meshes.growIfNeeded(solver, limits, trigger, h0))
                    ++m_growths;
                continue;
            }
            if (solver.suggestedStep() <= m_set.minStep && solver.undoRemesh()) {
                // no step succeeded on the new mesh: go on with the old one
                // until the next remeshing time
                meshes.remeshUndone();
                --m_remeshes;
                ++m_remeshesUndone;
                continue;
            }
            if (solver.suggestedStep() <= m_set.minStep && !rescue.start(solver))
                limits.stop("no convergence", "the solver did not converge");
        }
        extent = FrontTracker::measure(solver.mesh(), solver.thetas(), threshold, 0.0, foot);
        FrontRow row;
        row.hour = hour;
        row.r = extent.radius;
        row.down = extent.down;
        row.up = buried ? extent.up : 0.0;
        row.pondRadius = buried ? 0.0 : source.fluxDisc() ? m_set.surfaceFluxRadius : solver.pondRadius();
        result.fronts.push_back(row);
        // hours 1, 2, 4, 8, 16: a mesh for twice the time, over at least the
        // present domain
        if (m_set.remesh && hour < m_spec.hours && (hour & (hour - 1)) == 0
            && meshes.remeshFor(solver, limits, 3600.0 * std::min(2 * hour, m_spec.hours), extent, h0))
            ++m_remeshes;
        if (extent.touchesOuter || extent.touchesBottom || (buried && extent.touchesTop))
            result.reachedBoundary = true;
    }
    // A limit met on the last step of the run (a domain that could not grow)
    // stops the case as well.
    if (limits.stopped())
        return stopped(result, limits, solver.time(), solver.acceptedSteps(), started);
    finish(result, solver, WaterBalance(thetaI), flow * duration, source.fluxDisc());
    result.wallSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return result;
}

CaseResult WettingSimulation::stopped(CaseResult result, const CaseLimits& limits, double time, long steps,
                                      std::chrono::steady_clock::time_point started) const
{
    result.stopReason = limits.reason();
    result.message = limits.message() + " at t = " + std::to_string(time) + " s for " + caseName(m_spec);
    result.timeSteps = steps;
    result.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return result;
}

FrontTracker::Foot WettingSimulation::frontFoot(double thetaI, double span) const
{
    FrontTracker::Foot foot;
    if (m_set.footFrontReading) {
        foot.initial = thetaI;
        foot.span = span;
        foot.minLevel = m_set.footMinLevel;
        foot.fullLevel = m_set.footFullLevel;
    }
    return foot;
}

void WettingSimulation::finish(CaseResult& result, const RichardsSolver& solver, const WaterBalance& balance, double injected,
                               bool fluxDisc)
{
    result.massBalanceError = balance.error(solver, injected);
    m_bookedError = WaterBalance::bookedError(solver, injected);
    result.timeSteps = solver.acceptedSteps();
    if (fluxDisc && solver.fluxDiscPeakHead() > 0) {
        std::ostringstream o;
        o << "the surface head under the flux disc of " << m_set.surfaceFluxRadius << " m rose to "
          << solver.fluxDiscPeakHead()
          << " m, above 0: the soil would pond there; the even flux was kept";
        result.warning = o.str();
    }
    if (result.reachedBoundary)
        result.message = "the wetting front reached the edge of the domain for " + caseName(m_spec);
    m_finalCells = solver.mesh().cells();
    m_finalRadius = solver.mesh().rFaces().back();
    m_finalDepth = solver.mesh().zFaces().back();
    m_finalHeight = -solver.mesh().zFaces().front();
    m_pondRadius = solver.pondRadius();
    m_statistics = solver.statistics();
}

} // namespace solver
