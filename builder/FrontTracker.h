#pragma once

#include "builder/AxisymmetricMesh.h"

#include <vector>

namespace builder {

// Finds the extent of the wetted zone: the outline where the water content
// has risen to `threshold` (an absolute water content). Values between cell
// centres are interpolated linearly, so the extents vary smoothly as the
// front moves instead of jumping from cell to cell.
class FrontTracker
{
public:
    struct Extent
    {
        double radius = 0;  // greatest distance from the axis
        double down = 0;    // greatest depth below the emitter level
        double up = 0;      // greatest height above the emitter level
        bool wet = false;   // some cell reached the threshold
        // the threshold was reached in the last cells of a side, so the outline
        // may extend beyond the domain
        bool touchesOuter = false, touchesBottom = false, touchesTop = false;
    };

    // Where the front is sharper than a cell, the crossing is read as the
    // position of the step front that holds the water of its last cells (see
    // FrontTracker.cpp). With u = (theta - initial) / span, the level behind
    // the crossing cell above minLevel x the threshold and the cell ahead
    // holding less than 1 - from of that level, the step reading takes over
    // from the linear one, wholly when it holds less than 1 - to.
    // span = 0: read linearly between cell centres only.
    struct Sharp
    {
        double initial = 0;   // the initial water content
        double span = 0;      // theta_s - initial
        double minLevel = 2, from = 0.8, to = 0.95;
    };

    // `emitterZ` is the depth of the emitter (0 for a surface emitter); cells
    // at rows above it count for `up`, below it for `down`.
    static Extent measure(const AxisymmetricMesh& mesh, const std::vector<double>& theta,
                          double threshold, double emitterZ, const Sharp& sharp);
    // read linearly between cell centres only
    static Extent measure(const AxisymmetricMesh& mesh, const std::vector<double>& theta,
                          double threshold, double emitterZ)
    {
        return measure(mesh, theta, threshold, emitterZ, Sharp());
    }
};

} // namespace builder
