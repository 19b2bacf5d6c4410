#include "solver/MeshPolicy.h"

#include <algorithm>
#include <cmath>

namespace solver {

MeshPolicy::MeshPolicy(const SolverSettings& settings, double flow, double span, bool buried)
    : m_set(settings), m_flow(flow), m_span(span), m_buried(buried), m_finest(settings.finestCell / settings.refinement),
      m_core(settings.sourceRadius), m_growth(std::pow(settings.growth, 1.0 / settings.refinement)), m_largest(m_finest),
      m_largestBeforeRemesh(m_finest)
{
    if (m_set.remesh)
        for (int k = m_set.earlyRemeshes; k >= 1; --k)
            m_early.push_back(3600.0 / double(1 << k));
}

AxisymmetricMesh MeshPolicy::firstMesh(double duration)
{
    const double horizon = !m_set.remesh ? duration : m_early.empty() ? std::min(3600.0, duration) : m_early.front();
    return meshFor(horizon, 0, 0, 0, Shape());
}

AxisymmetricMesh MeshPolicy::meshFor(double horizon, double radius, double depth, double height, Shape shape)
{
    const double volume = m_flow * horizon / (0.5 * m_span);
    const double scale = m_buried ? std::cbrt(3.0 * volume / (4.0 * M_PI)) : std::cbrt(3.0 * volume / (2.0 * M_PI));
    m_largest = std::max(m_finest, scale / m_set.cellsAcrossBulb / m_set.refinement);
    const double start = std::max(m_set.initialDomainFactor * scale, 3.0 * m_core);
    std::vector<double> rf = AxisymmetricMesh::gradedFaces(0.0, 1.0, std::max(start, radius), m_finest, m_core, m_growth,
                                                           std::max(m_finest, m_largest * shape.r));
    std::vector<double> zf = AxisymmetricMesh::gradedFaces(0.0, 1.0, std::max(start, depth), m_finest, m_core, m_growth,
                                                           std::max(m_finest, m_largest * shape.down));
    if (m_buried) {
        std::vector<double> up = AxisymmetricMesh::gradedFaces(0.0, -1.0, std::max(start, height), m_finest, m_core, m_growth,
                                                               std::max(m_finest, m_largest * shape.up));
        std::reverse(up.begin(), up.end());
        up.pop_back(); // 0 is already in zf
        zf.insert(zf.begin(), up.begin(), up.end());
    }
    return AxisymmetricMesh(rf, zf);
}

MeshPolicy::Shape MeshPolicy::shapeOf(const FrontTracker::Extent& e) const
{
    Shape sh;
    if (!m_set.shapedMesh)
        return sh;
    const double longest = std::max({e.radius, e.down, m_buried ? e.up : 0.0});
    if (!(longest > 0))
        return sh;
    auto share = [&](double side) { return std::clamp(side / longest, m_set.shapeLimit, 1.0); };
    sh.r = share(e.radius);
    sh.down = share(e.down);
    sh.up = m_buried ? share(e.up) : 1.0;
    return sh;
}

void MeshPolicy::extend(std::vector<double>& faces, double extent, double room) const
{
    AxisymmetricMesh::extendFaces(faces, std::min(std::max(m_set.domainGrowth * extent, 4 * m_largest), room), m_growth, m_largest);
}

bool MeshPolicy::growIfNeeded(RichardsSolver& solver, CaseLimits& limits, double trigger, double h0)
{
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
            if (m_buried && th[m.index(ir, k)] > trigger)
                top = true;
        }
    std::vector<double> r = m.rFaces(), z = m.zFaces();
    bool grown = false;
    int addedTop = 0;
    if (outer && r.back() < m_set.maxDomain) {
        extend(r, r.back(), m_set.maxDomain - r.back());
        grown = true;
    }
    if (bottom && z.back() < m_set.maxDomain) {
        extend(z, z.back(), m_set.maxDomain - z.back());
        grown = true;
    }
    if (top && -z.front() < m_set.maxDomain) {
        std::vector<double> rev(z.rbegin(), z.rend());
        const size_t before = rev.size();
        extend(rev, -z.front(), m_set.maxDomain + z.front());
        addedTop = int(rev.size() - before);
        z.assign(rev.rbegin(), rev.rend());
        grown = true;
    }
    if (!grown)
        return false;
    AxisymmetricMesh bigger(r, z);
    if (!limits.allowsCells(bigger.cells()))
        return false;
    solver.growMesh(bigger, addedTop, h0);
    return true;
}

bool MeshPolicy::remeshFor(RichardsSolver& solver, CaseLimits& limits, double horizon, const FrontTracker::Extent& e, double h0)
{
    const AxisymmetricMesh& m = solver.mesh();
    const double before = m_largest;
    AxisymmetricMesh next = meshFor(horizon, m.rFaces().back(), m.zFaces().back(), -m.zFaces().front(), shapeOf(e));
    if (!limits.allowsCells(next.cells())) {
        m_largest = before;
        return false;
    }
    m_largestBeforeRemesh = before;
    solver.remesh(next, h0);
    return true;
}

} // namespace solver
