#pragma once

// The steady point source at depth d below a surface through which no water
// passes, in a Gardner soil (K = Ks e^{alpha h}), z (here zeta) downward from
// the surface. With the matric flux potential Phi = K / alpha and s = alpha/2,
// rho1 and rho2 the distances to the source and to its mirror image at -d:
//
//   Phi = (Q / 4 pi) e^{s (zeta - d)} [ e^{-s rho1} / rho1 + e^{-s rho2} / rho2
//                                       - 2 s e^{s (zeta + d)} E1(s (rho2 + zeta + d)) ]
//
// The first term is Philip's buried source, the second its mirror image, the
// third takes back through the surface what the image would let pass. At d =
// 0 it is Raats' surface point source. The downward flux is
// q = -dPhi/dzeta + 2 s Phi.
#include "tests/solver/ExactSurface.h"

#include <cmath>

namespace exactburied {

struct Source
{
    double flow = 0;  // Q, m3/s
    double s = 0;     // alpha / 2, 1/m
    double depth = 0; // d, m
};

inline double phi(const Source& src, double r, double zeta)
{
    const double s = src.s, d = src.depth;
    const double rho1 = std::hypot(r, zeta - d), rho2 = std::hypot(r, zeta + d);
    const double bracket = std::exp(-s * rho1) / rho1 + std::exp(-s * rho2) / rho2
                           - 2 * s * std::exp(s * (zeta + d)) * exactsurface::e1(s * (rho2 + zeta + d));
    return src.flow / (4 * M_PI) * std::exp(s * (zeta - d)) * bracket;
}

// Philip's point source in a soil without a surface, at the same place.
inline double phiUnbounded(const Source& src, double r, double zeta)
{
    const double rho1 = std::hypot(r, zeta - src.depth);
    return src.flow / (4 * M_PI * rho1) * std::exp(src.s * (zeta - src.depth) - src.s * rho1);
}

// Raats' point source on the surface.
inline double phiRaats(double flow, double s, double r, double zeta)
{
    const double rho = std::hypot(r, zeta);
    return flow / (2 * M_PI * rho) * std::exp(s * (zeta - rho))
           * (1 - s * rho * std::exp(s * (rho + zeta)) * exactsurface::e1(s * (rho + zeta)));
}

// The downward flux, dPhi/dzeta by a central difference of step h.
inline double downwardFlux(const Source& src, double r, double zeta, double h)
{
    const double dphi = (phi(src, r, zeta + h) - phi(src, r, zeta - h)) / (2 * h);
    return -dphi + 2 * src.s * phi(src, r, zeta);
}

} // namespace exactburied
