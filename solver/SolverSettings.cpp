#include "solver/SolverSettings.h"

#include <sstream>

namespace solver {

std::string SolverSettings::describe() const
{
    std::ostringstream o;
    o << "mixed-form Richards, modified Picard, axisymmetric finite volumes;"
      << " Mualem l=" << poreConnectivity << "; air-entry h_s=" << airEntryHead
      << " m for n<" << airEntryMaxN << "; face K=";
    if (integralMeanConductivity)
        o << "integral mean, arithmetic within " << saturatedBlendBand << " m of saturation"
          << (blendUnderPond ? "" : " (not under the ponded disc)");
    else
        o << "arithmetic mean";
    if (tabulatedSoil)
        o << "; soil functions tabulated";
    o << "; source radius=" << sourceRadius
      << " m; min disc radius=" << minDiscRadius << " m; finest cell=" << finestCell / refinement
      << " m; growth=" << growth << "; cells across bulb=" << cellsAcrossBulb * refinement
      << (remesh ? "; remeshed at 1, 2, 4, 8, 16 h" : "")
      << "; domain=" << initialDomainFactor << " x bulb, grown by " << domainGrowth
      << " at trigger=" << growTrigger << "; max step=" << maxStep
      << " s; max theta change/step=" << maxThetaChange << "; head tol=" << headTolerance
      << " m+" << headRelTolerance << "|h|" << (headToleranceByFlow ? " or by flow" : "")
      << "; theta tol=" << thetaTolerance << "; storage tol=" << storageTolerance
      << (chordIterations ? "; chord iterations, also under the disc" : "");
    if (chordIterations)
        o << " (factorised anew when a saturated cell's diagonal fell below 1/" << chordDiagonalRatio
          << ")";
    if (remesh && earlyRemeshes > 0)
        o << "; early remeshing " << earlyRemeshes << " x before 1 h";
    if (shapedMesh)
        o << "; cells of each side sized by the bulb's extent (>= " << shapeLimit << " x largest)";
    if (footFrontReading)
        o << "; fronts read as a level with an exponential foot";
    if (rescue)
        o << "; a run stuck at the smallest step rescued (steps restarted, plain Picard, flow spread over the disc) for "
          << rescueSeconds << " s each, up to " << maxRescues << " times";
    if (surfaceFluxRadius > 0)
        o << "; surface emitter: even flux over a disc of " << surfaceFluxRadius << " m";
    return o.str();
}

} // namespace solver
