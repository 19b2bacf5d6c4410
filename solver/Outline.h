#pragma once

#include "solver/AxisymmetricMesh.h"

#include <vector>

namespace solver {

// The true outline of the wetted zone: the curves on which the water content
// equals a threshold, traced through the cell centres (marching squares with
// linear interpolation along the lines between neighbouring centres, a saddle
// decided by the mean of its four corners). The axis is a mirror (the field
// is the same at -r as at r), so an outline that meets the axis ends on it at
// r = 0; the domain's top face takes the values of the top row (no flow
// through it), so an outline that reaches the top ends on that face. A field
// linear between neighbouring centres is traced exactly.
class Outline
{
public:
    struct Point
    {
        double r = 0; // m from the axis
        double z = 0; // m, the mesh's z (down positive)
    };
    using Curve = std::vector<Point>;

    // Every curve on which theta = threshold, each an ordered polyline; a
    // closed curve repeats its first point at its end. Longest first.
    static std::vector<Curve> trace(const AxisymmetricMesh& mesh, const std::vector<double>& theta, double threshold);

    // The length of a curve, m.
    static double length(const Curve& c);
};

} // namespace solver
