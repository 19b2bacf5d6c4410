#pragma once

#include "solver/AxisymmetricMesh.h"

#include <vector>

namespace solver {

// Finds the extent of the wetted zone: the outline where the water content
// has risen to `threshold` (an absolute water content). The crossing is read
// between cells, so the extents vary smoothly as the front moves instead of
// jumping from cell to cell.
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

    // The front read from the cell values near it as a level followed by an
    // exponential foot (see FrontTracker.cpp), so that the reading does not
    // depend on where in its cells the front lies. With u = (theta -
    // initial) / span, where the level behind the crossing cell is not above
    // minLevel x the threshold (or the cells needed lie beyond the domain),
    // and with span = 0, the crossing is interpolated linearly between cell
    // centres; from minLevel to fullLevel x the threshold the two readings
    // are blended.
    struct Foot
    {
        double initial = 0;   // the initial water content
        double span = 0;      // theta_s - initial
        double minLevel = 2, fullLevel = 4;
    };

    // `emitterZ` is the depth of the emitter (0 for a surface emitter); cells
    // at rows above it count for `up`, below it for `down`.
    static Extent measure(const AxisymmetricMesh& mesh, const std::vector<double>& theta,
                          double threshold, double emitterZ, const Foot& foot);
    // read linearly between cell centres only
    static Extent measure(const AxisymmetricMesh& mesh, const std::vector<double>& theta,
                          double threshold, double emitterZ)
    {
        return measure(mesh, theta, threshold, emitterZ, Foot());
    }
};

} // namespace solver
