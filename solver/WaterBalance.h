#pragma once

#include "solver/RichardsSolver.h"

namespace solver {

// The water balance of the emitter's water: what the soil gained over its
// initial state, less the background drainage through the bottom (which the
// initial state would have lost anyway), against what the emitter gave.
class WaterBalance
{
public:
    explicit WaterBalance(double initialTheta) : m_initial(initialTheta) {}

    // The water the soil holds above its initial state (m3).
    double gained(const RichardsSolver& solver) const;
    // |gained - drained - given| / given.
    double error(const RichardsSolver& solver, double given) const;
    // The same with the flow booked through the emitter in place of the
    // soil's gain: checks the pond's disc search.
    static double bookedError(const RichardsSolver& solver, double given);

private:
    double m_initial;
};

} // namespace solver
