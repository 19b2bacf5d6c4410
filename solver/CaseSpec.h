#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

// What one simulation of the sweep is about, and what it gives back. The solver
// (WettingSimulation) and the database builder (trickle-build) meet here; both
// work in SI units: metres, seconds, cubic metres.
namespace solver {

// van Genuchten-Mualem soil, as listed in the soil catalogue.
struct SoilParams
{
    int number = 0;             // SoilTypeNo, 1-based
    std::string name;           // e.g. "Sandy Loam"
    std::string texture;        // texture group, e.g. "moderately coarse"
    double clayPercent = 0;     // representative clay content of the class; NaN when not given
    std::string classification; // short honest description
    double thetaR = 0;          // residual water content (-)
    double thetaS = 0;          // saturated water content (-)
    double alpha = 0;           // 1/m
    double n = 0;               // (-)
    double ks = 0;              // saturated conductivity, m/s
};

enum class Emitter { Surface, Buried };

struct CaseSpec
{
    SoilParams soil;
    double flowLitresPerHour = 0;  // emitter discharge
    double initialHead = -10.0;    // uniform initial pressure head, m (-3, -6, -10)
    Emitter emitter = Emitter::Surface;
    int hours = 24;                // fronts are reported at every whole hour 1..hours
    double frontThreshold = 0.1;   // fraction of (theta_s - theta_initial)
};

// One reported front. For a surface emitter `down` is the greatest depth below
// the surface (column z) and `up` is 0; for a buried emitter `down` is zplus and
// `up` is zminus, both measured from the emitter along the axis.
struct FrontRow
{
    int hour = 0;
    double r = 0;    // greatest radial distance of the front, m
    double down = 0; // m
    double up = 0;   // m
    // Surface emitter: radius of the ponded disc at that hour (the wet spot
    // around the dripper), at least the smallest disc when the soil takes the
    // flow without ponding; the source disc's radius for a flux disc. 0 for a
    // buried emitter.
    double pondRadius = 0; // m
};

struct CaseResult
{
    std::vector<FrontRow> fronts;       // one per whole hour, 1..hours
    double massBalanceError = 0;        // |water gained - Q t| / (Q t) at the end
    double wallSeconds = 0;
    long timeSteps = 0;
    bool reachedBoundary = false;       // a front touched the domain's edge: the case is invalid
    std::string message;                // what went wrong, when something did
    // Why the solver stopped before the last hour, as one of the fixed
    // phrases the build reports: "no convergence", "time limit" or "memory
    // limit"; empty when it ran to the end.
    std::string stopReason;
    // Something the build should tell but that does not invalidate the case
    // (e.g. a flux disc whose surface head rose above 0); empty when none.
    std::string warning;
    // Largest relative change of r, z (zplus) and zminus over all hours when
    // the case was run again with every cell size halved; NaN when not checked.
    double meshChange = std::numeric_limits<double>::quiet_NaN();
};

// Mesh convergence of one hour: the largest relative change of r, z (zplus)
// and, above a buried emitter, zminus between the fronts on a mesh and on a
// finer one.
inline double largestChange(const FrontRow& coarse, const FrontRow& fine)
{
    double d = std::max(std::fabs(coarse.r / fine.r - 1), std::fabs(coarse.down / fine.down - 1));
    if (fine.up > 0)
        d = std::max(d, std::fabs(coarse.up / fine.up - 1));
    return d;
}

// The same over every hour of two runs of one case: the figure stored as
// CaseInfo.MeshChange. Runs of different lengths cannot be compared: NaN.
inline double largestChange(const CaseResult& coarse, const CaseResult& fine)
{
    if (coarse.fronts.size() != fine.fronts.size() || coarse.fronts.empty())
        return std::numeric_limits<double>::quiet_NaN();
    double d = 0;
    for (size_t i = 0; i < coarse.fronts.size(); ++i)
        d = std::max(d, largestChange(coarse.fronts[i], fine.fronts[i]));
    return d;
}

} // namespace solver
