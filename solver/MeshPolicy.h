#pragma once

#include "solver/AxisymmetricMesh.h"
#include "solver/CaseLimits.h"
#include "solver/FrontTracker.h"
#include "solver/RichardsSolver.h"
#include "solver/SolverSettings.h"

#include <vector>

namespace solver {

// How a simulation's mesh follows the wetted bulb: its size for a horizon
// time, the remeshing times, the domain's growth when the water reaches an
// edge, and meshes shaped like the bulb. The mesh for a horizon has its
// largest cells 1/cellsAcrossBulb of the radius the bulb would have if the
// water filled half the available pore space, and its domain starts at
// initialDomainFactor of that radius (and grows as the water arrives). With
// remeshing the first horizon is the first early remeshing time (a quarter,
// then half an hour) or the first hour, and the mesh is rebuilt for twice the
// time then and at hours 1, 2, 4, 8 and 16, so that the small fronts of the
// first hours lie in cells sized for them rather than for the whole run.
class MeshPolicy
{
public:
    // The largest cells of each side (radial, down, up) as a share of the
    // mesh's largest cell, from the bulb's measured shape (1 for a side as
    // long as the bulb's longest).
    struct Shape
    {
        double r = 1, down = 1, up = 1;
    };

    // `flow` in m3/s, `span` the water content the soil can still take up
    // (theta_s - initial), `buried`: the domain reaches above the emitter.
    MeshPolicy(const SolverSettings& settings, double flow, double span, bool buried);

    // The times (s) of the early remeshings, in order; empty without remeshing.
    const std::vector<double>& earlyRemeshTimes() const { return m_early; }
    // The first mesh of a run of `duration` seconds.
    AxisymmetricMesh firstMesh(double duration);
    // The mesh for a horizon, each side at least as long as asked for.
    AxisymmetricMesh meshFor(double horizon, double radius, double depth, double height, Shape shape);
    // The largest cells of each side in proportion to the bulb's extent on
    // that side: a flat bulb under a wide pond or the tall one of a buried
    // emitter in sand has its short sides resolved as finely as its long one.
    Shape shapeOf(const FrontTracker::Extent& e) const;

    // Grows the domain on every side where the water content in the outer
    // band of cells has passed `trigger`. New cells are at the initial head
    // h0, which the soil there still is to within the trigger. Returns whether
    // it grew.
    bool growIfNeeded(RichardsSolver& solver, CaseLimits& limits, double trigger, double h0);
    // Moves to a mesh for `horizon`, over at least the present domain, shaped
    // like the bulb's extent `e`. Returns whether it did (the cell limit may
    // refuse it).
    bool remeshFor(RichardsSolver& solver, CaseLimits& limits, double horizon, const FrontTracker::Extent& e, double h0);
    // The solver took the last remesh back: the largest cell is the old mesh's again.
    void remeshUndone() { m_largest = m_largestBeforeRemesh; }

private:
    // The faces of one side extended outward by a growth step, up to the
    // largest domain.
    void extend(std::vector<double>& faces, double extent, double room) const;

    const SolverSettings& m_set;
    double m_flow, m_span;
    bool m_buried;
    double m_finest, m_core, m_growth;
    // the largest cell of the present mesh: domain growth extends it with these
    double m_largest;
    double m_largestBeforeRemesh;
    std::vector<double> m_early;
};

} // namespace solver
