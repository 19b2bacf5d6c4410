#include "solver/WettingSimulation.h"

#include "solver/AxisymmetricMesh.h"
#include "solver/CaseLimits.h"
#include "solver/StepRescue.h"
#include "solver/FrontTracker.h"
#include "solver/RichardsSolver.h"
#include "solver/VanGenuchten.h"

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

    // The mesh is sized for the bulb expected at a horizon time: its largest
    // cells are 1/cellsAcrossBulb of the radius the bulb would have if the
    // water filled half the available pore space, and the domain starts at
    // initialDomainFactor of that radius (and grows as the water arrives).
    // With remeshing the first horizon is one hour and the mesh is rebuilt
    // for twice the time at hours 1, 2, 4, 8 and 16, so that the small fronts
    // of the first hours lie in cells sized for them rather than for the
    // 24 h bulb.
    const double finest = m_set.finestCell / m_set.refinement;
    const double core = m_set.sourceRadius;
    const double growth = std::pow(m_set.growth, 1.0 / m_set.refinement);
    // the largest cell of the present mesh: domain growth extends it with these
    double largest = finest;
    // the mesh for a horizon, each side at least as long as asked for; it also
    // sets `largest` for that mesh
    // `shape`: the largest cells of each side (radial, down, up) as a share of
    // `largest`, from the bulb's measured shape (1 for a side as long as the
    // bulb's longest)
    struct Shape { double r = 1, down = 1, up = 1; };
    auto meshFor = [&](double horizon, double radius, double depth, double height, Shape shape) {
        const double volume = flow * horizon / (0.5 * span);
        const double scale = buried ? std::cbrt(3.0 * volume / (4.0 * M_PI))
                                    : std::cbrt(3.0 * volume / (2.0 * M_PI));
        largest = std::max(finest, scale / m_set.cellsAcrossBulb / m_set.refinement);
        const double start = std::max(m_set.initialDomainFactor * scale, 3.0 * core);
        std::vector<double> rf = AxisymmetricMesh::gradedFaces(
            0.0, 1.0, std::max(start, radius), finest, core, growth, std::max(finest, largest * shape.r));
        std::vector<double> zf = AxisymmetricMesh::gradedFaces(
            0.0, 1.0, std::max(start, depth), finest, core, growth, std::max(finest, largest * shape.down));
        if (buried) {
            std::vector<double> up = AxisymmetricMesh::gradedFaces(
                0.0, -1.0, std::max(start, height), finest, core, growth, std::max(finest, largest * shape.up));
            std::reverse(up.begin(), up.end());
            up.pop_back();  // 0 is already in zf
            zf.insert(zf.begin(), up.begin(), up.end());
        }
        return AxisymmetricMesh(rf, zf);
    };
    // With remeshing, the first mesh is sized for the first of the early
    // remeshing times (a quarter of an hour, then half an hour) or for the
    // first hour; without, for the whole run.
    std::vector<double> earlyRemesh;
    if (m_set.remesh)
        for (int k = m_set.earlyRemeshes; k >= 1; --k)
            earlyRemesh.push_back(3600.0 / double(1 << k));
    const double firstHorizon = !m_set.remesh ? duration
                                : earlyRemesh.empty() ? std::min(3600.0, duration) : earlyRemesh.front();
    AxisymmetricMesh mesh = meshFor(firstHorizon, 0, 0, 0, Shape());
    CaseLimits limits(m_set.maxCaseSeconds, m_set.maxCells);
    limits.allowsCells(mesh.cells());
    StepRescue rescue(m_set, !buried && !(m_set.surfaceFluxRadius > 0));
    RichardsSolver solver(*soil, mesh, m_set);
    solver.setUniformHead(h0);

    auto placeSources = [&](const AxisymmetricMesh& m) {
        std::vector<double> src(m.cells(), 0.0);
        double vol = 0;
        for (int iz = 0; iz < m.rows(); ++iz)
            for (int ir = 0; ir < m.columns(); ++ir)
                if (std::hypot(m.rCentre(ir), m.zCentre(iz)) <= core)
                    vol += m.volume(ir, iz);
        for (int iz = 0; iz < m.rows(); ++iz)
            for (int ir = 0; ir < m.columns(); ++ir)
                if (std::hypot(m.rCentre(ir), m.zCentre(iz)) <= core)
                    src[m.index(ir, iz)] = flow * m.volume(ir, iz) / vol;
        return src;
    };
    solver.setDrainage(soil->conductivity(h0), buried);
    const bool fluxDisc = !buried && m_set.surfaceFluxRadius > 0;
    if (buried)
        solver.setSources(placeSources(solver.mesh()));
    else if (fluxDisc)
        solver.setFluxDisc(flow, m_set.surfaceFluxRadius);
    else
        solver.setPond(flow, m_set.minDiscRadius);

    // Grows the domain on every side where the water content in the outer
    // band of cells has started to rise. New cells are at the initial state,
    // which the soil there still is to within growTrigger.
    const double trigger = thetaI + m_set.growTrigger * span;
    auto growIfNeeded = [&]() {
        const AxisymmetricMesh& m = solver.mesh();
        const auto& th = solver.thetas();
        const int nr = m.columns(), nz = m.rows(), band = 2;
        bool outer = solver.pondCoversTop(), bottom = false, top = false;
        for (int iz = 0; iz < nz && !outer; ++iz)
            for (int ir = nr - band; ir < nr; ++ir)
                if (th[m.index(ir, iz)] > trigger)
                    outer = true;
        for (int ir = 0; ir < nr; ++ir)
            for (int k = 0; k < band; ++k) {
                if (th[m.index(ir, nz - 1 - k)] > trigger)
                    bottom = true;
                if (buried && th[m.index(ir, k)] > trigger)
                    top = true;
            }
        std::vector<double> r = m.rFaces(), z = m.zFaces();
        bool grown = false;
        int addedTop = 0;
        if (outer && r.back() < m_set.maxDomain) {
            AxisymmetricMesh::extendFaces(r, std::min(std::max(m_set.domainGrowth * r.back(), 4 * largest), m_set.maxDomain - r.back()), growth,
                                          largest);
            grown = true;
        }
        if (bottom && z.back() < m_set.maxDomain) {
            AxisymmetricMesh::extendFaces(z, std::min(std::max(m_set.domainGrowth * z.back(), 4 * largest), m_set.maxDomain - z.back()), growth,
                                          largest);
            grown = true;
        }
        if (top && -z.front() < m_set.maxDomain) {
            std::vector<double> rev(z.rbegin(), z.rend());
            const size_t before = rev.size();
            AxisymmetricMesh::extendFaces(rev, std::min(std::max(-m_set.domainGrowth * z.front(), 4 * largest), m_set.maxDomain + z.front()),
                                          growth, largest);
            addedTop = int(rev.size() - before);
            z.assign(rev.rbegin(), rev.rend());
            grown = true;
        }
        if (!grown)
            return;
        AxisymmetricMesh bigger(r, z);
        if (!limits.allowsCells(bigger.cells()))
            return;
        ++m_growths;
        solver.growMesh(bigger, addedTop, h0);
    };

    auto gained = [&]() {
        const AxisymmetricMesh& m = solver.mesh();
        const auto& th = solver.thetas();
        double g = 0;
        for (int iz = 0; iz < m.rows(); ++iz)
            for (int ir = 0; ir < m.columns(); ++ir)
                g += m.volume(ir, iz) * (th[m.index(ir, iz)] - thetaI);
        return g;
    };

    // The largest cells of each side in proportion to the bulb's extent on
    // that side: a flat bulb under a wide pond or the tall one of a buried
    // emitter in sand has its short sides resolved as finely as its long one.
    auto shapeOf = [&](const FrontTracker::Extent& e) {
        Shape sh;
        if (!m_set.shapedMesh)
            return sh;
        const double longest = std::max({e.radius, e.down, buried ? e.up : 0.0});
        if (!(longest > 0))
            return sh;
        auto share = [&](double side) { return std::clamp(side / longest, m_set.shapeLimit, 1.0); };
        sh.r = share(e.radius);
        sh.down = share(e.down);
        sh.up = buried ? share(e.up) : 1.0;
        return sh;
    };
    // moves to a mesh for `horizon`, over at least the present domain
    double largestBeforeRemesh = largest;
    auto remeshFor = [&](double horizon, const FrontTracker::Extent& e) {
        const AxisymmetricMesh& m = solver.mesh();
        const double before = largest;
        AxisymmetricMesh next = meshFor(horizon, m.rFaces().back(), m.zFaces().back(), -m.zFaces().front(), shapeOf(e));
        if (!limits.allowsCells(next.cells())) {
            largest = before;
            return;
        }
        largestBeforeRemesh = before;
        solver.remesh(next, h0);
        ++m_remeshes;
    };
    size_t nextEarly = 0;
    FrontTracker::Foot foot;
    if (m_set.footFrontReading) {
        foot.initial = thetaI;
        foot.span = span;
        foot.minLevel = m_set.footMinLevel;
        foot.fullLevel = m_set.footFullLevel;
    }

    FrontTracker::Extent extent;
    for (int hour = 1; hour <= m_spec.hours; ++hour) {
        const double tEnd = 3600.0 * hour;
        while (solver.time() < tEnd) {
            limits.checkTime();
            rescue.update(solver);
            if (limits.stopped()) {
                result.stopReason = limits.reason();
                result.message = limits.message() + " at t = " + std::to_string(solver.time()) + " s for " + caseName(m_spec);
                result.timeSteps = solver.acceptedSteps();
                result.wallSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
                return result;
            }
            if (nextEarly < earlyRemesh.size() && solver.time() >= earlyRemesh[nextEarly]) {
                // an early remeshing time: a mesh for twice the time, shaped
                // like the bulb is now
                remeshFor(2 * earlyRemesh[nextEarly],
                          FrontTracker::measure(solver.mesh(), solver.thetas(), threshold, 0.0, foot));
                ++nextEarly;
            }
            const double until = nextEarly < earlyRemesh.size() ? std::min(tEnd, earlyRemesh[nextEarly]) : tEnd;
            double dt = std::min(solver.suggestedStep(), until - solver.time());
            // avoid leaving a sliver of the hour for a tiny last step
            if (until - solver.time() - dt < 0.2 * dt)
                dt = until - solver.time();
            if (solver.step(dt)) {
                growIfNeeded();
                continue;
            }
            if (solver.suggestedStep() <= m_set.minStep && solver.undoRemesh()) {
                // no step succeeded on the new mesh: go on with the old one
                // until the next remeshing time
                largest = largestBeforeRemesh;
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
        row.pondRadius = buried ? 0.0 : fluxDisc ? m_set.surfaceFluxRadius : solver.pondRadius();
        result.fronts.push_back(row);
        // hours 1, 2, 4, 8, 16: a mesh for twice the time, over at least the
        // present domain
        if (m_set.remesh && hour < m_spec.hours && (hour & (hour - 1)) == 0)
            remeshFor(3600.0 * std::min(2 * hour, m_spec.hours), extent);
        if (extent.touchesOuter || extent.touchesBottom || (buried && extent.touchesTop))
            result.reachedBoundary = true;
    }
    const double injected = flow * duration;
    // Water balance of the emitter's water: what the soil gained over its
    // initial state, less the background drainage through the bottom (which
    // the initial state would have lost anyway), against Q t.
    result.massBalanceError =
        std::fabs(gained() - solver.cumulativeDrainage() - injected) / injected;
    // the flow booked through the emitter against Q t (checks the disc search)
    m_bookedError =
        std::fabs(solver.cumulativeInflow() - solver.cumulativeDrainage() - injected) / injected;
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
    result.wallSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return result;
}

} // namespace solver
