#include "solver/RichardsSolver.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace solver {

namespace {
int sideIndex(RichardsSolver::Side s) { return int(s); }
}

RichardsSolver::RichardsSolver(const SoilModel& soil, const AxisymmetricMesh& mesh,
                               const SolverSettings& settings)
    : m_soil(soil), m_mesh(mesh), m_set(settings)
{
    m_h.assign(m_mesh.cells(), -1.0);
    m_theta.assign(m_mesh.cells(), 0.0);
    m_sources.assign(m_mesh.cells(), 0.0);
    m_nextStep = m_set.firstStep;
    m_table = std::make_unique<KirchhoffTable>(m_soil);
    buildPattern();
}

double RichardsSolver::integralMean(double ha, double hb, double ka, double kb, double pa,
                                    double pb)
{
    const double dh = ha - hb;
    // equal heads: the two means agree (and the secant would lose its digits)
    return std::fabs(dh) < 1e-6 ? 0.5 * (ka + kb) : (pa - pb) / dh;
}

double RichardsSolver::faceConductivity(double ha, double hb, double ka, double kb, double pa,
                                        double pb) const
{
    const double arithmetic = 0.5 * (ka + kb);
    if (!m_set.integralMeanConductivity)
        return arithmetic;
    const double integral = integralMean(ha, hb, ka, kb, pa, pb);
    const double band = m_set.saturatedBlendBand;
    if (band <= 0 || (m_pond && !m_set.blendUnderPond))
        return integral;
    const double x = (std::max(ha, hb) - (m_table->topHead() - band)) / band;
    if (x <= 0)
        return integral;
    if (x >= 1)
        return arithmetic;
    const double w = x * x * (3 - 2 * x);   // smooth, so that Picard sees no jump
    return (1 - w) * integral + w * arithmetic;
}

RichardsSolver::Statistics RichardsSolver::statistics() const
{
    Statistics s = m_stats;
    s.factorisations = m_factors.factorisations();
    s.backSubstitutions = m_factors.backSubstitutions();
    s.factorSeconds = m_factors.factorSeconds();
    return s;
}

void RichardsSolver::setUniformHead(double h)
{
    m_cachedHead = h;
    m_cachedPoint = exactSoil(h);
    setHeads(std::vector<double>(m_mesh.cells(), h));
}

void RichardsSolver::setHeads(const std::vector<double>& h)
{
    if (int(h.size()) != m_mesh.cells())
        throw std::invalid_argument("RichardsSolver: wrong number of heads");
    m_h = h;
    m_theta.resize(m_mesh.cells());
    for (int i = 0; i < m_mesh.cells(); ++i)
        m_theta[i] = exactSoil(m_h[i]).theta;
    m_lastStep = 0;
}

void RichardsSolver::setFixedHeads(Side side, const std::vector<double>& heads)
{
    m_bc[sideIndex(side)] = Boundary{Boundary::Head, heads};
}

void RichardsSolver::setFixedInflows(Side side, const std::vector<double>& inflows)
{
    m_bc[sideIndex(side)] = Boundary{Boundary::Inflow, inflows};
}

void RichardsSolver::setFreeDrainageBottom()
{
    m_bc[sideIndex(Side::Bottom)] = Boundary{Boundary::FreeDrainage, {}};
}

void RichardsSolver::setSources(const std::vector<double>& sources)
{
    if (int(sources.size()) != m_mesh.cells())
        throw std::invalid_argument("RichardsSolver: wrong number of sources");
    m_sources = sources;
    sumSources();
}

void RichardsSolver::sumSources()
{
    m_sourceRate = 0;
    for (double s : m_sources)
        m_sourceRate += s;
}

void RichardsSolver::setDrainage(double k, bool throughTop)
{
    m_drainK = k;
    m_drainTop = throughTop;
}

void RichardsSolver::setPond(double flow, double minRadius)
{
    m_pond = true;
    m_pondFlow = flow;
    m_pondMinRadius = minRadius;
    m_pondK = 0;
    while (m_pondK < m_mesh.columns() && m_mesh.rFaces()[m_pondK + 1] <= minRadius * (1 + 1e-9))
        ++m_pondK;
    m_pondRadius = m_mesh.rFaces()[m_pondK];
}

void RichardsSolver::setFluxDisc(double flow, double radius)
{
    m_fluxDiscFlow = flow;
    m_fluxDiscRadius = radius;
}

void RichardsSolver::setFixedPond(double radius)
{
    m_pond = true;
    m_pondFixed = true;
    m_pondFlow = 0;
    m_pondMinRadius = radius;
    m_pondK = 0;
    const auto& rf = m_mesh.rFaces();
    while (m_pondK < m_mesh.columns()
           && std::fabs(rf[m_pondK + 1] - radius) < std::fabs(rf[m_pondK] - radius))
        ++m_pondK;
    m_pondRadius = rf[m_pondK];
}

int RichardsSolver::boundaryCell(Side side, int i) const
{
    switch (side) {
    case Side::Top: return m_mesh.index(i, 0);
    case Side::Bottom: return m_mesh.index(i, m_mesh.rows() - 1);
    case Side::Outer: return m_mesh.index(m_mesh.columns() - 1, i);
    }
    return 0;
}

void RichardsSolver::buildPattern()
{
    const int nr = m_mesh.columns(), nz = m_mesh.rows(), n = m_mesh.cells();
    const auto& rf = m_mesh.rFaces();
    m_faces.clear();
    // radial faces between columns ir and ir+1
    for (int iz = 0; iz < nz; ++iz)
        for (int ir = 0; ir + 1 < nr; ++ir) {
            const double area = 2.0 * M_PI * rf[ir + 1] * m_mesh.dz(iz);
            const double dist = m_mesh.rCentre(ir + 1) - m_mesh.rCentre(ir);
            m_faces.push_back(Face{m_mesh.index(ir, iz), m_mesh.index(ir + 1, iz), area / dist, 0.0,
                                   0, 0, 0, 0});
        }
    // vertical faces between rows iz (above) and iz+1 (below)
    for (int iz = 0; iz + 1 < nz; ++iz)
        for (int ir = 0; ir < nr; ++ir) {
            const double area = m_mesh.ringArea(ir);
            const double dist = m_mesh.zCentre(iz + 1) - m_mesh.zCentre(iz);
            m_faces.push_back(Face{m_mesh.index(ir, iz), m_mesh.index(ir, iz + 1), area / dist, area,
                                   0, 0, 0, 0});
        }
    std::vector<Eigen::Triplet<double>> trip;
    trip.reserve(n + 2 * m_faces.size());
    for (int i = 0; i < n; ++i)
        trip.emplace_back(i, i, 1.0);
    for (const Face& f : m_faces) {
        trip.emplace_back(f.a, f.b, 1.0);
        trip.emplace_back(f.b, f.a, 1.0);
    }
    m_a.resize(n, n);
    m_a.setFromTriplets(trip.begin(), trip.end());
    m_a.makeCompressed();
    auto position = [this](int row, int col) {
        const int* outer = m_a.outerIndexPtr();
        const int* inner = m_a.innerIndexPtr();
        const int* hit = std::lower_bound(inner + outer[col], inner + outer[col + 1], row);
        return int(hit - inner);
    };
    m_diag.resize(n);
    for (int i = 0; i < n; ++i)
        m_diag[i] = position(i, i);
    for (Face& f : m_faces) {
        f.paa = m_diag[f.a];
        f.pbb = m_diag[f.b];
        f.pab = position(f.a, f.b);
        f.pba = position(f.b, f.a);
    }
    m_volume.resize(n);
    for (int iz = 0; iz < nz; ++iz)
        for (int ir = 0; ir < nr; ++ir)
            m_volume[m_mesh.index(ir, iz)] = m_mesh.volume(ir, iz);
    m_factors.reset(nr, nz);
    sumSources();
}

KirchhoffTable::Point RichardsSolver::exactSoil(double h) const
{
    const SoilModel::Point p = m_soil.at(h);
    return KirchhoffTable::Point{p.theta, p.capacity, p.k, m_table->phi(h)};
}

KirchhoffTable::Point RichardsSolver::evaluateSoil(double h) const
{
    return m_set.tabulatedSoil ? m_table->at(h) : exactSoil(h);
}

KirchhoffTable::Point RichardsSolver::pointAt(double h) const
{
    // most of the domain sits untouched at the initial head
    return h == m_cachedHead ? m_cachedPoint : evaluateSoil(h);
}

void RichardsSolver::evaluate(const std::vector<double>& h, std::vector<KirchhoffTable::Point>& pts) const
{
    pts.resize(h.size());
    m_stats.evaluations += long(h.size());
    for (size_t i = 0; i < h.size(); ++i)
        pts[i] = pointAt(h[i]);
}

double RichardsSolver::storage() const
{
    double s = 0;
    for (int iz = 0; iz < m_mesh.rows(); ++iz)
        for (int ir = 0; ir < m_mesh.columns(); ++ir)
            s += m_mesh.volume(ir, iz) * m_theta[m_mesh.index(ir, iz)];
    return s;
}

bool RichardsSolver::step(double dt)
{
    const int n = m_mesh.cells();
    // First iterate: the old heads moved on along the last step's change,
    // which saves one or two iterations once the flow has settled into a
    // steady pattern of change.
    std::vector<double>& hm = m_hm;
    std::vector<double>& hNext = m_hNext;
    hm = m_h;
    hNext.resize(n);
    if (m_extrapolate && !m_plain && m_lastStep > 0 && int(m_lastChange.size()) == n) {
        const double w = std::min(dt / m_lastStep, 1.0);
        for (int i = 0; i < n; ++i)
            hm[i] += w * m_lastChange[i];
    }
    std::vector<KirchhoffTable::Point>& pts = m_pts;
    std::vector<KirchhoffTable::Point>& ptsNext = m_ptsNext;
    ptsNext.resize(n);
    evaluate(hm, pts);
    bool converged = false;
    double inflowRate = 0;
    int it = 0;
    const int savedPondK = m_pondK;
    const double savedPondRadius = m_pondRadius;
    double history[3] = {0, 0, 0};
    // Storage is linearised with the chord slope between the last two
    // iterates (the old state and the first guess to begin with) where they
    // differ: near saturation theta(h) bends so sharply that the tangent
    // slope, applied to cells that cross h = 0 from one step to the next,
    // would lose a little water at every crossing.
    std::vector<double>& hPrev = m_hPrev;
    std::vector<double>& thetaPrev = m_thetaPrev;
    hPrev = m_h;
    thetaPrev = m_theta;
    m_factors.newStep();
    const int maxIterations = m_plain ? m_set.rescueMaxIterations : m_set.maxIterations;
    for (it = 1; it <= maxIterations; ++it) {
        ++m_stats.iterations;
        for (int i = 0; i < n; ++i) {
            const double d = hm[i] - hPrev[i];
            if (std::fabs(d) > 1e-9 * (1.0 + std::fabs(hm[i])))
                pts[i].capacity = (pts[i].theta - thetaPrev[i]) / d;
        }
        if (!solveLinear(pts, hm, dt, hNext, inflowRate))
            break;
        bool ok = true, finite = true;
        double missedTotal = 0, changeTotal = 0, volumeTotal = 0;
        double excess = 0;   // the largest change against its tolerance
        const double perThetaTolerance = 1.0 / m_set.thetaTolerance;
        const double dryHead = m_table->topHead() - m_set.saturatedBlendBand;   // see headOk
        for (int i = 0; i < n; ++i) {
            if (!std::isfinite(hNext[i])) {
                finite = false;
                break;
            }
            ptsNext[i] = pointAt(hNext[i]);
            ++m_stats.evaluations;
            const double tolH = m_set.headTolerance + m_set.headRelTolerance * std::fabs(hNext[i]);
            const double delta = hNext[i] - hm[i];
            const double dTheta = ptsNext[i].theta - pts[i].theta;
            // the water the linearised storage term missed in this cell
            const double missed = dTheta - pts[i].capacity * delta;
            const double volume = m_volume[i];
            // The head has converged within the head tolerance, or, in dry
            // soil being wetted (where a metre of head holds little water and
            // moves less), when the change would move less water through the
            // cell's faces in this step than the water-content tolerance
            // allows. Not next to saturation (the blend band of the face
            // conductivities) and not in a cell drying below its old head:
            // there the heads carry the flow, and in the first seconds next
            // to a source a Picard overshoot to a pressurised or bone-dry
            // head would pass this test in a very short step and wreck the
            // next one.
            const bool headOk = std::fabs(delta) <= tolH
                                || (m_set.headToleranceByFlow && hNext[i] >= m_h[i] - tolH
                                    && std::max(hNext[i], hm[i]) < dryHead
                                    && std::fabs(delta) * m_conductance[i] * dt
                                           <= m_set.thetaTolerance * volume);
            if (!headOk || std::fabs(dTheta) > m_set.thetaTolerance)
                ok = false;
            excess = std::max(excess, std::fabs(dTheta) * perThetaTolerance);
            if (!headOk)
                excess = std::max(excess, std::fabs(delta) / tolH);
            missedTotal += volume * missed;
            changeTotal += volume * std::fabs(ptsNext[i].theta - m_theta[i]);
            volumeTotal += volume;
        }
        if (!finite)
            break;
        // the water the linearised storage terms missed, over the domain,
        // against the water that moved in this step
        // (with a floor of rounding size for steps that move almost nothing)
        const double missedAllowed = m_set.storageTolerance * changeTotal + 1e-12 * volumeTotal;
        if (std::fabs(missedTotal) > missedAllowed)
            ok = false;
        excess = std::max(excess, std::fabs(missedTotal) / missedAllowed);
        // Picard can cycle when cells switch between saturated and
        // unsaturated; a shorter step cures it, so give up early when the
        // changes stop shrinking against their tolerances (the measure the
        // convergence test uses: a dry cell whose head passed the test by
        // flow does not count) instead of spending every iteration.
        history[(it - 1) % 3] = excess;
        if (!ok && it >= 4 && excess > 0.8 * history[(it - 3) % 3])
            break;
        hPrev = hm;
        for (int i = 0; i < n; ++i)
            thetaPrev[i] = pts[i].theta;
        hm.swap(hNext);
        pts.swap(ptsNext);
        if (ok) {
            converged = true;
            break;
        }
    }
    double maxChange = 0;
    if (converged)
        for (int i = 0; i < n; ++i)
            maxChange = std::max(maxChange, std::fabs(pts[i].theta - m_theta[i]));
    if (!converged || maxChange > m_set.maxThetaChange) {
        m_pondK = savedPondK;
        m_pondRadius = savedPondRadius;
        ++m_rejected;
        m_lastIterations = it;
        if (converged) {
            ++m_stats.limitedSteps;
            m_nextStep = dt * std::max(0.2, 0.8 * m_set.maxThetaChange / maxChange);
        } else {
            ++m_stats.failedSteps;
            m_nextStep = dt / 3.0;
        }
        m_nextStep = std::max(m_nextStep, m_set.minStep);
        // remember where the iteration broke down, so that the step does not
        // climb straight back to it (which would fail again)
        m_stepCap = 0.7 * dt;
        m_lastStep = 0;   // no extrapolation after a failure
        return false;
    }
    m_lastChange.resize(n);
    for (int i = 0; i < n; ++i) {
        m_lastChange[i] = hm[i] - m_h[i];
        m_theta[i] = pts[i].theta;
    }
    m_lastStep = dt;
    m_h.swap(hm);
    m_time += dt;
    m_inflow += inflowRate * dt;
    m_drained += m_drainRate * dt;
    m_lastPondInflow = m_pondInflowNow;
    if (m_fluxDiscFlow > 0) {
        const auto& rf = m_mesh.rFaces();
        for (int j = 0; j < m_mesh.columns() && rf[j] < m_fluxDiscRadius; ++j)
            m_fluxDiscPeak = std::max(m_fluxDiscPeak, m_h[m_mesh.index(j, 0)]);
    }
    m_lastIterations = it;
    ++m_accepted;
    m_beforeRemesh.reset();
    if (it <= m_set.fewIterations)
        m_nextStep = std::max(m_nextStep, dt * m_set.stepIncrease);
    else if (it >= m_set.manyIterations)
        m_nextStep = dt * m_set.stepDecrease;
    m_stepCap *= 1.03;
    m_nextStep = std::clamp(std::min(m_nextStep, m_stepCap), m_set.minStep, m_set.maxStep);
    return true;
}

double RichardsSolver::spreadOverDisc(double flow, double radius, Eigen::VectorXd& rhs) const
{
    // each top ring gets the share of the disc's area that it covers
    const auto& rf = m_mesh.rFaces();
    double rate = 0;
    for (int j = 0; j < m_mesh.columns() && rf[j] < radius; ++j) {
        const double outer = std::min(rf[j + 1], radius);
        const double q = flow * (outer * outer - rf[j] * rf[j]) / (radius * radius);
        rhs[m_mesh.index(j, 0)] += q;
        rate += q;
    }
    return rate;
}

void RichardsSolver::restartSteps(double dt)
{
    m_nextStep = dt;
    m_stepCap = 1e300;
    m_lastStep = 0;
}

bool RichardsSolver::solveLinear(const std::vector<KirchhoffTable::Point>& pts,
                                 const std::vector<double>& hm, double dt,
                                 std::vector<double>& hOut, double& inflowRate)
{
    const int n = m_mesh.cells(), nr = m_mesh.columns(), nz = m_mesh.rows();
    double* val = m_a.valuePtr();
    std::fill(val, val + m_a.nonZeros(), 0.0);
    Eigen::VectorXd& rhs = m_rhs;
    rhs.resize(n);
    // storage terms
    for (int i = 0; i < n; ++i) {
        const double v = m_volume[i] / dt;
        val[m_diag[i]] += v * pts[i].capacity;
        rhs[i] = v * (pts[i].capacity * hm[i] - pts[i].theta + m_theta[i]) + m_sources[i];
    }
    // interior faces (the conductances also serve the head test of step())
    m_conductance.assign(n, 0.0);
    for (const Face& f : m_faces) {
        const double k = faceConductivity(hm[f.a], hm[f.b], pts[f.a].k, pts[f.b].k, pts[f.a].phi,
                                          pts[f.b].phi);
        const double c = f.t * k;
        m_conductance[f.a] += c;
        m_conductance[f.b] += c;
        val[f.paa] += c;
        val[f.pbb] += c;
        val[f.pab] -= c;
        val[f.pba] -= c;
        if (f.gravity > 0) {
            const double g = f.gravity * k;
            rhs[f.a] -= g;
            rhs[f.b] += g;
        }
    }
    // fixed boundaries; booked inflow is evaluated after the solve
    struct Fixed { int cell; double c; double hb; double g; };
    std::vector<Fixed> fixedHeads;
    double fixedInflow = 0;
    for (int s = 0; s < 3; ++s) {
        const Boundary& bc = m_bc[s];
        if (bc.kind == Boundary::NoFlow)
            continue;
        const Side side = Side(s);
        const int count = side == Side::Outer ? nz : nr;
        if (bc.kind == Boundary::FreeDrainage) {
            // the conductivity of the iterate: at convergence, K of the new heads
            for (int j = 0; j < count; ++j) {
                const int cell = boundaryCell(side, j);
                const double q = m_mesh.ringArea(j) * pts[cell].k;
                rhs[cell] -= q;
                fixedInflow -= q;
            }
            continue;
        }
        if (int(bc.values.size()) != count)
            throw std::invalid_argument("RichardsSolver: boundary values do not match the mesh");
        for (int j = 0; j < count; ++j) {
            const int cell = boundaryCell(side, j);
            if (bc.kind == Boundary::Inflow) {
                rhs[cell] += bc.values[j];
                fixedInflow += bc.values[j];
                continue;
            }
            const double hb = bc.values[j];
            const KirchhoffTable::Point outside = exactSoil(hb);
            const double k = faceConductivity(hb, hm[cell], outside.k, pts[cell].k, outside.phi,
                                              pts[cell].phi);
            double area, dist, g = 0;
            if (side == Side::Outer) {
                area = 2.0 * M_PI * m_mesh.rFaces().back() * m_mesh.dz(j);
                dist = m_mesh.rFaces().back() - m_mesh.rCentre(m_mesh.columns() - 1);
            } else {
                area = m_mesh.ringArea(j);
                const int iz = side == Side::Top ? 0 : nz - 1;
                dist = 0.5 * m_mesh.dz(iz);
                g = (side == Side::Top ? 1.0 : -1.0) * area * k;  // gravity inflow
            }
            const double c = area / dist * k;
            val[m_diag[cell]] += c;
            rhs[cell] += c * hb + g;
            fixedHeads.push_back(Fixed{cell, c, hb, g});
        }
    }
    const double sourceRate = m_sourceRate;
    // background drainage: the initial uniform head drains downward at the
    // fixed rate K(h0); the bottom lets that flow out and, for a soil that
    // continues above the domain, the top lets it in, so that soil the
    // emitter has not reached stays exactly at its initial state
    m_drainRate = 0;
    if (m_drainK > 0) {
        for (int j = 0; j < nr; ++j) {
            const double q = m_drainK * m_mesh.ringArea(j);
            rhs[m_mesh.index(j, nz - 1)] -= q;
            m_drainRate -= q;
            if (m_drainTop) {
                rhs[m_mesh.index(j, 0)] += q;
                m_drainRate += q;
            }
        }
    }

    // an even flux over the source disc: each top ring gets the share of the
    // disc's area that it covers
    double fluxDiscRate = 0;
    if (m_fluxDiscFlow > 0)
        fluxDiscRate = spreadOverDisc(m_fluxDiscFlow, m_fluxDiscRadius, rhs);

    double pondRate = 0;
    if (m_pond && m_bridged) {
        // the emitter's flow spread evenly over the disc as it stands
        fluxDiscRate += spreadOverDisc(m_pondFlow, m_pondRadius, rhs);
        if (!solveSystem(-1, rhs, hm, m_x))
            return false;
        for (int i = 0; i < n; ++i)
            hOut[i] = m_x[i];
    } else if (m_pond) {
        // coefficients of the h = 0 condition on each top face
        m_pa.resize(nr);
        m_pg.resize(nr);
        const double dist = 0.5 * m_mesh.dz(0);
        for (int j = 0; j < nr; ++j) {
            const int cell = m_mesh.index(j, 0);
            // the disc side stays at h = 0, so the integral mean cannot make
            // the iteration cycle here and needs no blending
            const double k = m_set.integralMeanConductivity
                                 ? integralMean(0.0, hm[cell], m_soil.ks(), pts[cell].k,
                                                m_table->phi(0.0), pts[cell].phi)
                                 : 0.5 * (m_soil.ks() + pts[cell].k);
            m_pa[j] = m_mesh.ringArea(j) / dist * k;
            m_pg[j] = m_mesh.ringArea(j) * k;
        }
        m_baseDiag.resize(nr);
        for (int j = 0; j < nr; ++j)
            m_baseDiag[j] = val[m_diag[m_mesh.index(j, 0)]];
        if (!solvePond(rhs, hm, hOut, pondRate))
            return false;
    } else {
        if (!solveSystem(-1, rhs, hm, m_x))
            return false;
        for (int i = 0; i < n; ++i)
            hOut[i] = m_x[i];
    }
    double headRate = 0;
    for (const Fixed& f : fixedHeads)
        headRate += f.c * (f.hb - hOut[f.cell]) + f.g;
    m_pondInflowNow = pondRate;
    inflowRate = fixedInflow + headRate + sourceRate + pondRate + fluxDiscRate + m_drainRate;
    return true;
}

bool RichardsSolver::chordFits(const StepFactorisations::Slot& slot,
                               const std::vector<double>& hm) const
{
    // A cell that has turned saturated since the factorisation has lost its
    // storage term V C / dt, which in the short steps next to a pressurised
    // source dominated the factorised diagonal: the chord correction would
    // pin its head, which then crawls by the same amount every iteration
    // until the step is given up (Silty Clay, 8 L/h, buried: 8 800 steps,
    // 6 000 of them in the first two minutes).
    const double* val = m_a.valuePtr();
    const double top = m_table->topHead();
    for (size_t i = 0; i < m_diag.size(); ++i)
        if (hm[i] >= top && slot.diagonal[i] > m_set.chordDiagonalRatio * val[m_diag[i]])
            return false;
    return true;
}

StepFactorisations::Slot* RichardsSolver::solveSystem(int disc, const Eigen::VectorXd& rhs,
                                                      const std::vector<double>& hm,
                                                      Eigen::VectorXd& x)
{
    StepFactorisations::Slot* slot = m_set.chordIterations && !m_plain ? m_factors.find(disc) : nullptr;
    if (slot && !chordFits(*slot, hm))
        slot = nullptr;
    if (slot) {
        // chord: the correction to the iterate from the residual of the
        // present system, with the step's earlier factorisation
        const Eigen::Map<const Eigen::VectorXd> current(hm.data(), Eigen::Index(hm.size()));
        m_residual.noalias() = rhs - m_a * current;
        m_factors.solve(*slot, m_residual, x);
        x += current;
        return slot;
    }
    slot = m_factors.factorise(m_a, disc);
    if (slot) {
        m_factors.solve(*slot, rhs, x);
        slot->diagonal.resize(m_diag.size());
        for (size_t i = 0; i < m_diag.size(); ++i)
            slot->diagonal[i] = m_a.valuePtr()[m_diag[i]];
    }
    return slot;
}

bool RichardsSolver::solvePond(const Eigen::VectorXd& rhs0, const std::vector<double>& hm,
                               std::vector<double>& hOut, double& inflowRate)
{
    const int n = m_mesh.cells(), nr = m_mesh.columns();
    const auto& rf = m_mesh.rFaces();
    int kMin = 0;
    while (kMin < nr && rf[kMin + 1] <= m_pondMinRadius * (1 + 1e-9))
        ++kMin;
    int k = std::max(m_pondK, kMin);
    double* val = m_a.valuePtr();
    const double q = m_pondFlow;
    // the matrix with the faces j < full under the disc held at h = 0
    auto setDisc = [&](int full) {
        for (int j = 0; j < nr; ++j)
            val[m_diag[m_mesh.index(j, 0)]] = m_baseDiag[j] + (j < full ? m_pa[j] : 0.0);
    };
    int lastMove = 0;
    m_pondCoversTop = false;
    Eigen::VectorXd& x = m_x;
    Eigen::VectorXd& rhs = m_pondRhs;
    if (m_pondFixed) {
        // a disc of given size at h = 0: whatever flow it takes
        k = m_pondK;
        setDisc(k);
        rhs = rhs0;
        for (int j = 0; j < k; ++j)
            rhs[m_mesh.index(j, 0)] += m_pg[j];
        if (!solveSystem(k, rhs, hm, x))
            return false;
        double ix = 0;
        for (int j = 0; j < k; ++j)
            ix += m_pg[j] - m_pa[j] * x[m_mesh.index(j, 0)];
        for (int i = 0; i < n; ++i)
            hOut[i] = x[i];
        inflowRate = ix;
        return true;
    }
    for (int guard = 0; guard < 4 * nr + 8; ++guard) {
        setDisc(k);
        rhs = rhs0;
        for (int j = 0; j < k; ++j)
            rhs[m_mesh.index(j, 0)] += m_pg[j];
        StepFactorisations::Slot* slot = solveSystem(k, rhs, hm, x);
        if (!slot)
            return false;
        double ix = 0;
        for (int j = 0; j < k; ++j)
            ix += m_pg[j] - m_pa[j] * x[m_mesh.index(j, 0)];
        if (k >= nr) {
            // the pond has reached the edge of the domain: the caller grows it
            for (int i = 0; i < n; ++i)
                hOut[i] = x[i];
            inflowRate = ix;
            m_pondK = k;
            m_pondRadius = rf[nr];
            m_pondCoversTop = true;
            return true;
        }
        // the response to a unit inflow into the partly covered cell k, with
        // the factorisation x was solved with (exact for the factorised
        // matrix, so that the disc takes exactly the flow q)
        const Eigen::VectorXd& y = m_factors.unitResponse(*slot, m_mesh.index(k, 0));
        double leak = 0;
        for (int j = 0; j < k; ++j)
            leak += m_pa[j] * y[m_mesh.index(j, 0)];
        const double s = (q - ix) / (1.0 - leak);
        if (s < 0) {
            if (k > kMin && lastMove <= 0) {
                --k;
                lastMove = -1;
                continue;
            }
            if (k == kMin) {
                // The soil takes the whole flow through the smallest disc
                // without ponding: spread it evenly over that disc.
                setDisc(0);
                rhs = rhs0;
                const double area = M_PI * rf[kMin] * rf[kMin];
                for (int j = 0; j < kMin; ++j)
                    rhs[m_mesh.index(j, 0)] += q * m_mesh.ringArea(j) / area;
                if (!solveSystem(0, rhs, hm, x))
                    return false;
                for (int i = 0; i < n; ++i)
                    hOut[i] = x[i];
                inflowRate = q;
                m_pondK = kMin;
                m_pondRadius = rf[kMin];
                return true;
            }
        }
        const double c = m_pg[k] - m_pa[k] * x[m_mesh.index(k, 0)];
        const double d = m_pa[k] * y[m_mesh.index(k, 0)];
        const double denom = c - std::max(s, 0.0) * d;
        double f = s <= 0 ? 0.0 : (denom > 0 ? s / denom : 2.0);
        if (f > 1.0 && lastMove >= 0) {
            ++k;
            lastMove = 1;
            continue;
        }
        // either a solution inside this face, or the search turned back
        // (rounding): settle on this face
        f = std::clamp(f, 0.0, 1.0);
        const double sf = f * c / (1.0 + f * d);
        for (int i = 0; i < n; ++i)
            hOut[i] = x[i] + sf * y[i];
        inflowRate = ix + sf * (1.0 - leak);
        m_pondK = k;
        m_pondRadius = std::sqrt(rf[k] * rf[k] + f * (rf[k + 1] * rf[k + 1] - rf[k] * rf[k]));
        return true;
    }
    throw std::runtime_error("RichardsSolver: the pond radius search did not settle");
}

void RichardsSolver::growMesh(const AxisymmetricMesh& mesh, int rowsAddedAtTop, double fillHead)
{
    const AxisymmetricMesh old = m_mesh;
    std::vector<double> h(mesh.cells(), fillHead), src(mesh.cells(), 0.0);
    for (int iz = 0; iz < old.rows(); ++iz)
        for (int ir = 0; ir < old.columns(); ++ir) {
            h[mesh.index(ir, iz + rowsAddedAtTop)] = m_h[old.index(ir, iz)];
            src[mesh.index(ir, iz + rowsAddedAtTop)] = m_sources[old.index(ir, iz)];
        }
    m_mesh = mesh;
    m_sources = src;
    m_h = h;
    m_theta.assign(m_mesh.cells(), 0.0);
    setHeads(m_h);
    for (int s = 0; s < 3; ++s)
        m_bc[s] = Boundary{};
    buildPattern();
}

namespace {
struct Overlap
{
    int from, to;     // cell index along one axis in the old and the new mesh
    double amount;    // shared length, or shared ring area
};

// overlaps between the cells of two sorted face lists over the same start;
// `rings` measures them as ring areas about the axis
std::vector<Overlap> overlaps(const std::vector<double>& from, const std::vector<double>& to,
                              bool rings)
{
    std::vector<Overlap> out;
    size_t i = 0, j = 0;
    while (i + 1 < from.size() && j + 1 < to.size()) {
        const double lo = std::max(from[i], to[j]), hi = std::min(from[i + 1], to[j + 1]);
        if (hi > lo)
            out.push_back({int(i), int(j), rings ? M_PI * (hi * hi - lo * lo) : hi - lo});
        if (from[i + 1] < to[j + 1])
            ++i;
        else
            ++j;
    }
    return out;
}
} // namespace

double RichardsSolver::headOfWaterContent(double theta) const
{
    // theta(h) falls monotonically below saturation: bisect on log(top - h)
    const double top = m_soil.saturationHead();
    auto bisect = [&](auto thetaAt) {
        double wet = std::log(1e-12), dry = std::log(1e5);
        for (int k = 0; k < 200 && dry - wet > 1e-15; ++k) {
            const double mid = 0.5 * (wet + dry);
            if (thetaAt(top - std::exp(mid)) > theta)
                wet = mid;
            else
                dry = mid;
        }
        return 0.5 * (wet + dry);
    };
    // along the tabulated curve, then Newton steps on the soil's own curve
    // (the table is within 1e-9 of it, so two or three steps reach rounding)
    double u = bisect([&](double h) { return m_table->at(h).theta; });
    for (int k = 0; k < 3; ++k) {
        const double s = std::exp(u);
        const SoilModel::Point p = m_soil.at(top - s);
        const double slope = -p.capacity * s;   // d theta / d log(top - h)
        if (!(slope < 0))
            break;
        u -= (p.theta - theta) / slope;
    }
    const double h = top - std::exp(u);
    if (std::isfinite(h) && std::fabs(m_soil.theta(h) - theta) <= 1e-14 * theta)
        return h;
    // where Newton does not settle (next to saturation, where the curve is
    // flat), bisection on the soil's own curve
    return top - std::exp(bisect([&](double hh) { return m_soil.theta(hh); }));
}

void RichardsSolver::remesh(const AxisymmetricMesh& mesh, double fillHead)
{
    m_beforeRemesh.reset(new BeforeRemesh{m_mesh, m_h, m_theta, m_sources, m_lastChange, m_pondK, m_pondRadius,
                                          m_nextStep, m_lastStep, m_stepCap});
    const AxisymmetricMesh old = m_mesh;
    const int n = mesh.cells(), nr = mesh.columns();
    std::vector<double> water(n, 0.0), covered(n, 0.0), headSum(n, 0.0), sources(n, 0.0);
    std::vector<char> untouched(n, 1);
    const std::vector<Overlap> inR = overlaps(old.rFaces(), mesh.rFaces(), true);
    const std::vector<Overlap> inZ = overlaps(old.zFaces(), mesh.zFaces(), false);
    for (const Overlap& z : inZ)
        for (const Overlap& r : inR) {
            const int from = old.index(r.from, z.from), to = mesh.index(r.to, z.to);
            const double v = z.amount * r.amount;
            water[to] += v * m_theta[from];
            covered[to] += v;
            headSum[to] += v * m_h[from];
            sources[to] += m_sources[from] * v / old.volume(r.from, z.from);
            if (m_h[from] != fillHead)
                untouched[to] = 0;
        }
    const double fillTheta = exactSoil(fillHead).theta;
    const double top = m_soil.saturationHead();
    std::vector<double> h(n);
    for (int i = 0; i < n; ++i) {
        if (untouched[i]) {
            h[i] = fillHead;
            continue;
        }
        const double volume = mesh.volume(i % nr, i / nr);
        const double beyond = std::max(volume - covered[i], 0.0);
        const double theta = (water[i] + beyond * fillTheta) / volume;
        if (theta >= m_soil.thetaS() * (1 - 1e-13)) {
            h[i] = std::max(top, (headSum[i] + beyond * fillHead) / volume);
            continue;
        }
        h[i] = headOfWaterContent(theta);
    }
    const double pondRadius = m_pondRadius;
    m_mesh = mesh;
    m_sources = sources;
    setHeads(h);
    m_lastChange.clear();
    if (m_pond) {
        m_pondK = 0;
        while (m_pondK < m_mesh.columns()
               && m_mesh.rFaces()[m_pondK + 1] <= pondRadius * (1 + 1e-9))
            ++m_pondK;
        m_pondRadius = m_mesh.rFaces()[m_pondK];
    }
    buildPattern();
}

bool RichardsSolver::undoRemesh()
{
    if (!m_beforeRemesh)
        return false;
    const std::unique_ptr<BeforeRemesh> b = std::move(m_beforeRemesh);
    m_mesh = b->mesh;
    m_sources = b->sources;
    sumSources();
    m_h = b->h;
    m_theta = b->theta;   // as they were, not recomputed: the water stays exactly the same
    m_lastChange = b->lastChange;
    m_pondK = b->pondK;
    m_pondRadius = b->pondRadius;
    m_nextStep = b->nextStep;
    m_lastStep = b->lastStep;
    m_stepCap = b->stepCap;
    buildPattern();
    return true;
}

} // namespace solver
