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
    // The crossing between the outermost cell at or above the threshold (w)
    // and the next one outward (w + step), with `behind` = w - step: read
    // linearly between the centres, and where the front is sharper than a
    // cell, as the step front that holds the water of the cells from w on.
    // `face(k)` is the face between cell k and cell k - step.
    auto cross = [&](auto value, auto centre, auto face, int w, int step, int end) {
        const double lin = crossing(centre(w), value(w), centre(w + step), value(w + step), threshold);
        const int behind = w - step;
        if (!readSharp || behind < 0 || behind >= end)
            return lin;
        const double plateau = value(behind) - sharp.initial;
        const double drop = (value(behind) - value(w + step)) / sharp.span;
        const double weight = std::clamp((drop - sharp.dropFrom) / (sharp.dropTo - sharp.dropFrom), 0.0, 1.0);
        if (weight <= 0 || plateau <= threshold - sharp.initial)
            return lin;
        double water = 0;   // beyond face(w), in (theta - initial) x length
        for (int k = w; k >= 0 && k < end; k += step) {
            const double u = value(k) - sharp.initial;
            if (u <= 0)
                break;
            water += u * std::fabs(face(k + step) - face(k));
        }
        const double direction = step > 0 ? 1.0 : -1.0;   // of the walk, along the axis
        // centres and faces run along the walk: outward is +1 for rows and
        // downward columns, and the walk upward runs the other way
        const double vol = face(w) + (centre(w + step) > centre(w) ? 1.0 : -1.0) * water / plateau;
        (void)direction;
        return (1 - weight) * lin + weight * vol;
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
                      [&](int k) { return mesh.rFaces()[size_t(k)]; }, ir, 1, nr);
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
                         [&](int k) { return mesh.zFaces()[size_t(k)]; }, iz, 1, nz);
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
                          [&](int k) { return mesh.zFaces()[size_t(k + 1)]; }, top, -1, nz);
        }
        e.up = std::max(e.up, emitterZ - zHigh);
    }
    e.down = std::max(e.down, 0.0);
    e.up = std::max(e.up, 0.0);
    return e;
}

} // namespace builder
