#include "builder/FrontTracker.h"

#include <algorithm>

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
                                           double emitterZ)
{
    Extent e;
    const int nr = mesh.columns(), nz = mesh.rows();
    auto at = [&](int ir, int iz) { return theta[mesh.index(ir, iz)]; };

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
            r = crossing(mesh.rCentre(ir), at(ir, iz), mesh.rCentre(ir + 1), at(ir + 1, iz),
                         threshold);
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
            zLow = crossing(mesh.zCentre(iz), at(ir, iz), mesh.zCentre(iz + 1), at(ir, iz + 1),
                            threshold);
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
            zHigh = crossing(mesh.zCentre(top), at(ir, top), mesh.zCentre(top - 1), at(ir, top - 1),
                             threshold);
        }
        e.up = std::max(e.up, emitterZ - zHigh);
    }
    e.down = std::max(e.down, 0.0);
    e.up = std::max(e.up, 0.0);
    return e;
}

} // namespace builder
