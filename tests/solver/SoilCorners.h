#pragma once

// The corners of the soils the program accepts (SoilRanges): every soil at the
// edges of the ranges and joint rules, alone and together, for the tests and
// benchmarks that show that each of them can be computed.
//
// For n at the ends of each family (fine- and coarse-textured), the corners
// of the family's region of alpha and Ks (its alpha range, and Ks between the
// band that suits alpha and its Ks range), with the water contents of Loam;
// and for the finest and the coarsest of those, the corners of the water
// contents.

#include "solver/CaseSpec.h"
#include "base/SoilRanges.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace soilcorners {

inline solver::SoilParams soil(const std::string& name, double thetaR, double thetaS, double alpha, double n, double ks)
{
    solver::SoilParams p;
    p.number = 1;
    p.name = name;
    p.texture = "medium";
    p.classification = "corner of the accepted ranges";
    p.clayPercent = std::nan("");
    p.thetaR = thetaR;
    p.thetaS = thetaS;
    p.alpha = alpha;
    p.n = n;
    p.ks = ks;
    return p;
}

// The corners of alpha and Ks for soils of this n, in its family: (alpha, Ks)
// pairs at the ends of the family's alpha, and where the band of Ks that suits
// alpha meets the ends of the family's Ks.
inline std::vector<std::pair<double, double>> alphaKsCorners(double n)
{
    const SoilRanges::Family f = SoilRanges::familyOf(n);
    const double aLow = f.alpha.low, aHigh = f.alpha.high;
    std::vector<std::pair<double, double>> out = {{aLow, SoilRanges::ksFor(aLow, n).low}, {aLow, SoilRanges::ksFor(aLow, n).high}};
    const double meetsLow = std::sqrt(f.ks.low / f.ksPerAlpha2.low);
    const double meetsHigh = std::sqrt(f.ks.high / f.ksPerAlpha2.high);
    if (meetsLow > aLow && meetsLow < aHigh)
        out.push_back({meetsLow, SoilRanges::ksFor(meetsLow, n).low}); // f.ks.low, but for rounding
    if (meetsHigh > aLow && meetsHigh < aHigh)
        out.push_back({meetsHigh, SoilRanges::ksFor(meetsHigh, n).high});
    out.push_back({aHigh, SoilRanges::ksFor(aHigh, n).low});
    out.push_back({aHigh, SoilRanges::ksFor(aHigh, n).high});
    return out;
}

inline std::vector<solver::SoilParams> corners()
{
    using R = SoilRanges;
    const double loamThetaR = 0.078, loamThetaS = 0.43;
    // n at the ends of each family: the finest soil, the last one computed
    // with an air-entry value, the first one without, the coarsest
    const double ns[] = {R::n().low, R::coarseFromN() - 0.01, R::coarseFromN(), R::n().high};
    std::vector<solver::SoilParams> out;
    char name[96];
    for (double n : ns) {
        for (const auto& aks : alphaKsCorners(n)) {
            std::snprintf(name, sizeof name, "corner a%g n%g Ks%g", aks.first, n, aks.second);
            out.push_back(soil(name, loamThetaR, loamThetaS, aks.first, n, aks.second));
        }
    }
    // the water contents' corners for the finest soil and the coarsest one
    const solver::SoilParams ends[2] = {out.front(), out.back()};
    for (const auto& e : ends) {
        const double cap = R::familyOf(e.n).minWaterCapacity;
        const double thetas[4][2] = {{R::thetaR().low, std::max(R::thetaS().low, R::thetaR().low + cap)},
                                     {R::thetaR().high, R::thetaR().high + cap},
                                     {R::thetaR().low, R::thetaS().high},
                                     {R::thetaR().high, R::thetaS().high}};
        for (const auto& t : thetas) {
            std::snprintf(name, sizeof name, "%s tr%g ts%g", e.name.c_str(), t[0], t[1]);
            out.push_back(soil(name, t[0], t[1], e.alpha, e.n, e.ks));
        }
    }
    return out;
}

} // namespace soilcorners
