#include "solver/WaterBalance.h"

#include <cmath>

namespace solver {

double WaterBalance::gained(const RichardsSolver& solver) const
{
    const AxisymmetricMesh& m = solver.mesh();
    const auto& th = solver.thetas();
    double g = 0;
    for (int iz = 0; iz < m.rows(); ++iz)
        for (int ir = 0; ir < m.columns(); ++ir)
            g += m.volume(ir, iz) * (th[m.index(ir, iz)] - m_initial);
    return g;
}

double WaterBalance::error(const RichardsSolver& solver, double given) const
{
    return std::fabs(gained(solver) - solver.cumulativeDrainage() - given) / given;
}

double WaterBalance::bookedError(const RichardsSolver& solver, double given)
{
    return std::fabs(solver.cumulativeInflow() - solver.cumulativeDrainage() - given) / given;
}

} // namespace solver
