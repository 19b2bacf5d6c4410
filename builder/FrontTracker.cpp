#include "builder/FrontTracker.h"

#include <algorithm>
#include <cmath>

namespace builder {

namespace {
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
                                           double emitterZ, const Sharp& sharp)
{
    Extent e;
    const int nr = mesh.columns(), nz = mesh.rows();
    auto at = [&](int ir, int iz) { return theta[mesh.index(ir, iz)]; };
    const bool readSharp = sharp.span > 0;
    // The crossing beyond cell w (the outermost at or above the threshold)
    // along a row or column walked outward in steps of `step`: `value(k)`,
    // `centre(k)` and `face(k)`, the face between cell k and cell k - step.
    // Read linearly between the centres of w and the next cell; where the
    // front is sharper than a cell (the next cell holds almost nothing of
    // what the cell behind w holds), as the position of the step from that
    // level to the initial state that holds the water of the cells from w
    // on (in ring volumes along a row): a step front is read where it is,
    // whichever part of a cell it has reached, while linear interpolation
    // puts it 0.4 to 0.8 cells too far out, by an amount that changes as
    // it crosses the cells.
    auto cross = [&](auto value, auto centre, auto face, int w, int step, int end, bool radial) {
        const double lin = crossing(centre(w), value(w), centre(w + step), value(w + step), threshold);
        const int behind = w - step;
        if (!readSharp || behind < 0 || behind >= end)
            return lin;
        auto u = [&](int k) { return (value(k) - sharp.initial) / sharp.span; };
        const double level = std::max(u(behind), u(w));
        const double thr = (threshold - sharp.initial) / sharp.span;
        if (!(level > sharp.minLevel * thr))
            return lin;
        const double sharpness = 1 - std::max(u(w + step), 0.0) / level;
        const double weight = std::clamp((sharpness - sharp.from) / (sharp.to - sharp.from), 0.0, 1.0);
        if (weight <= 0)
            return lin;
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
        const double f = face(w);
        const double stepAt = radial ? std::sqrt(f * f + water / level)
                                     : f + (step > 0 ? 1.0 : -1.0) * water / level;
        return (1 - weight) * lin + weight * stepAt;
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

} // namespace builder
