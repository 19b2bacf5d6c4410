#include "solver/FrontTracker.h"

#include <algorithm>
#include <cmath>

namespace solver {

namespace {
// A foot that falls off by less than this per cell is taken as falling off by
// this much: its decay length (9.5 cells) is then already far beyond the
// cells the reading looks at.
constexpr double kMaxFootRatio = 0.9;

// position where the value crosses `thr` between a wet point (xw, vw >= thr)
// and the next point outward (xd, vd < thr)
double crossing(double xw, double vw, double xd, double vd, double thr)
{
    const double t = (vw - thr) / (vw - vd);
    return xw + t * (xd - xw);
}
}

FrontTracker::Extent FrontTracker::measure(const AxisymmetricMesh& mesh,
                                           const std::vector<double>& theta, double threshold,
                                           double emitterZ, const Foot& foot)
{
    Extent e;
    const int nr = mesh.columns(), nz = mesh.rows();
    auto at = [&](int ir, int iz) { return theta[mesh.index(ir, iz)]; };
    const bool readFoot = foot.span > 0;
    // The crossing beyond cell w (the outermost at or above the threshold)
    // along a row or column walked outward in steps of `step`: `value(k)`,
    // `centre(k)` and `face(k)`, the face between cell k and cell k - step.
    //
    // Behind the front the soil is wet at a level P (the wetter of w and the
    // cell behind it); ahead of it the water content falls off towards the
    // initial state over a foot whose length depends on the soil and the
    // source: in dry fine soil under a strong source within a fraction of a
    // cell, in moister or coarser soil over several. The front is read as
    // the profile that has the level P up to a position s and then falls
    // off exponentially, u = P exp(-(x - s) / lambda): lambda from the ratio
    // of the two cells ahead of w (cell averages of an exponential fall off
    // by exp(-dx / lambda) per cell), s so that the profile holds the water
    // of the cells from w on (lengths along a column, ring areas along a
    // row), and the crossing where the profile meets the threshold,
    // s + lambda ln(P / threshold). A step front (lambda -> 0) is so read
    // where it is, whichever part of a cell it has reached, and an
    // exponential foot wherever it lies in the cells; linear interpolation
    // between cell centres puts the one 0.4 to 0.8 cells too far out and
    // the other a third of a cell, by amounts that change as the front
    // crosses the cells and halve with the cells (that was a 2-3.5 %
    // change of the fronts under cell halving).
    auto cross = [&](auto value, auto centre, auto face, int w, int step, int end, bool radial) {
        const double lin = crossing(centre(w), value(w), centre(w + step), value(w + step), threshold);
        const int behind = w - step, ahead2 = w + 2 * step;
        if (!readFoot || behind < 0 || behind >= end || ahead2 < 0 || ahead2 >= end)
            return lin;
        auto u = [&](int k) { return (value(k) - foot.initial) / foot.span; };
        const double level = std::max(u(behind), u(w));
        const double thr = (threshold - foot.initial) / foot.span;
        // a thin wetting behind the crossing (in sand, sideways, where the
        // water drains downward) has no level to speak of: there the linear
        // reading, blended into this one as the level rises
        const double weight = std::clamp((level / thr - foot.minLevel) / (foot.fullLevel - foot.minLevel), 0.0, 1.0);
        if (weight <= 0)
            return lin;
        // the foot's decay length; a foot that stops within a cell is a step
        const double a1 = u(w + step), a2 = u(ahead2);
        const double ratio = a1 > 0 && a2 > 0 ? std::min(a2 / a1, kMaxFootRatio) : 0.0;
        const double lambda = ratio > 0 ? std::fabs(centre(ahead2) - centre(w + step)) / std::log(1 / ratio) : 0.0;
        // the water beyond face(w): lengths along a column, ring areas / pi
        // along a row (outward only)
        double water = 0;
        for (int k = w; k >= 0 && k < end; k += step) {
            const double uk = u(k);
            if (uk <= 0)
                break;
            const double a = face(k), b = face(k + step);
            water += uk * (radial ? b * b - a * a : std::fabs(b - a));
        }
        const double f = face(w), outward = step > 0 ? 1.0 : -1.0;
        // where the level ends: the water is P (s^2 - f^2) + 2 P lambda (s + lambda)
        // along a row, P (s - f) + P lambda along a column
        const double levelEnds = radial ? -lambda + std::sqrt(std::max(f * f + water / level - lambda * lambda, 0.0))
                                        : f + outward * (water / level - lambda);
        const double read = levelEnds + outward * lambda * std::log(level / thr);
        return lin + weight * (read - lin);
    };

    // radial extent: in every row the outermost wet cell, interpolated outward
    for (int iz = 0; iz < nz; ++iz) {
        int ir = nr - 1;
        while (ir >= 0 && at(ir, iz) < threshold)
            --ir;
        if (ir < 0)
            continue;
        e.wet = true;
        double r;
        if (ir == nr - 1) {
            r = mesh.rFaces().back();
            e.touchesOuter = true;
        } else {
            r = cross([&](int k) { return at(k, iz); }, [&](int k) { return mesh.rCentre(k); },
                      [&](int k) { return mesh.rFaces()[size_t(k)]; }, ir, 1, nr, true);
        }
        e.radius = std::max(e.radius, r);
    }
    // vertical extents: in every column the deepest and the highest wet cell
    for (int ir = 0; ir < nr; ++ir) {
        int iz = nz - 1;
        while (iz >= 0 && at(ir, iz) < threshold)
            --iz;
        if (iz < 0)
            continue;
        double zLow;
        if (iz == nz - 1) {
            zLow = mesh.zFaces().back();
            e.touchesBottom = true;
        } else {
            zLow = cross([&](int k) { return at(ir, k); }, [&](int k) { return mesh.zCentre(k); },
                         [&](int k) { return mesh.zFaces()[size_t(k)]; }, iz, 1, nz, false);
        }
        e.down = std::max(e.down, zLow - emitterZ);

        int top = 0;
        while (top < nz && at(ir, top) < threshold)
            ++top;
        double zHigh;
        if (top == 0) {
            zHigh = mesh.zFaces().front();
            e.touchesTop = true;
        } else {
            // walking upward, the face between cell k and cell k + 1 is zFaces[k + 1]
            zHigh = cross([&](int k) { return at(ir, k); }, [&](int k) { return mesh.zCentre(k); },
                          [&](int k) { return mesh.zFaces()[size_t(k + 1)]; }, top, -1, nz, false);
        }
        e.up = std::max(e.up, emitterZ - zHigh);
    }
    e.down = std::max(e.down, 0.0);
    e.up = std::max(e.up, 0.0);
    return e;
}

} // namespace solver
