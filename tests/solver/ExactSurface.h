#pragma once

// Exact steady solutions for a Gardner soil (K = Ks exp(alpha h)) with a source
// on the surface, z downward. With the matric flux potential Phi = K / alpha
// the steady equation is lap Phi - alpha dPhi/dz = 0, and Phi = e^{s z} u,
// s = alpha / 2, turns it into lap u = s^2 u. The downward flux at the
// surface is s u - du/dz.
#include <Eigen/Dense>

#include <cmath>
#include <vector>

namespace exactsurface {

// E1(x) = integral from x to infinity of e^{-t}/t dt, x > 0
inline double e1(double x)
{
    return -std::expint(-x);
}

// Gauss-Legendre nodes and weights on [-1, 1] (Newton on the recurrence)
inline void gaussLegendre(int n, std::vector<double> &x, std::vector<double> &w)
{
    x.assign(size_t(n), 0.0);
    w.assign(size_t(n), 0.0);
    for (int i = 0; i < n; ++i) {
        double t = std::cos(M_PI * (i + 0.75) / (n + 0.5));
        double dp = 1;
        for (int it = 0; it < 100; ++it) {
            double p0 = 1, p1 = t;
            for (int k = 2; k <= n; ++k) {
                const double p2 = ((2 * k - 1) * t * p1 - (k - 1) * p0) / k;
                p0 = p1;
                p1 = p2;
            }
            dp = n * (t * p1 - p0) / (t * t - 1);
            const double dt = p1 / dp;
            t -= dt;
            if (std::fabs(dt) < 1e-16)
                break;
        }
        x[size_t(i)] = t;
        w[size_t(i)] = 2 / ((1 - t * t) * dp * dp);
    }
}

// Surface point source of q m3/s on a surface that takes no other flow
// (Philip; Raats, 1971): Phi = q/(2 pi) e^{s z} [e^{-s rho}/rho - s e^{s z} E1(s (rho + z))].
inline double surfacePointSource(double q, double alpha, double r, double z)
{
    const double s = alpha / 2, rho = std::hypot(r, z);
    return q / (2 * M_PI) * std::exp(s * z) * (std::exp(-s * rho) / rho - s * std::exp(s * z) * e1(s * (rho + z)));
}

// Steady flow from a ponded disc of radius a held at h = 0 (Phi = Ks/alpha)
// on a surface that takes no other flow, as Q / (pi a^2 Ks), for the
// parameter alpha a (Wooding, 1968).
//
// Wooding's dual integral equations, reduced to one Fredholm equation of the
// second kind and solved by quadrature. Lengths in units of a. With
// u(r, 0+) = integral of A(k) J0(k r) dk and (s + gamma) A(k) = k G(k),
// gamma = sqrt(k^2 + s^2), G(k) = integral from 0 to 1 of g(t) cos(k t) dt, the
// flux vanishes beyond the disc for every g, and Q = 2 pi integral of g. Abel's
// inversion of u = Phi0 on the disc gives
//   (pi/2) g(x) - integral from 0 to 1 of [L(x - t) + L(x + t)]/2 g(t) dt = Phi0,
// L(y) = integral of M(k) cos(k y) dk, M = 1 - k/(s + gamma) = 1 + (s - gamma)/k.
// Turning that integral onto the imaginary axis gives L(y) = s l(s |y|) with
//   l(w) = E1(w) + integral from 0 to 1 of (1 - sqrt(1 - t^2))/t e^{-w t} dt,
// whose logarithmic singularity at y = 0 is subtracted and integrated exactly.
// `panels` Gauss panels of 8 points, crowded toward the disc's edge, where g
// turns sharply for large alpha a. The kernel's regular part still has a kink
// at x = t, so the result converges as the square of the panel width; see
// woodingFlux() for the extrapolated value.
inline double woodingFluxOnPanels(double alphaA, int panels)
{
    const double s = alphaA / 2, phi0 = 1 / alphaA;
    std::vector<double> gx, gw;
    gaussLegendre(32, gx, gw);
    // the smooth part of l: integral over phi of tan(phi/2) cos(phi) e^{-w sin phi}
    auto smooth = [&](double w) {
        double sum = 0;
        for (size_t i = 0; i < gx.size(); ++i) {
            const double p = (gx[i] + 1) * M_PI / 4;
            sum += gw[i] * std::tan(p / 2) * std::cos(p) * std::exp(-w * std::sin(p));
        }
        return sum * M_PI / 4;
    };
    const double eulerGamma = 0.57721566490153286;
    // L(y) + s ln|y|, continuous
    auto regular = [&](double y) {
        const double w = s * std::fabs(y);
        if (w < 1e-14)
            return s * (-eulerGamma - std::log(s) + smooth(0));
        return s * (e1(w) + smooth(w) + std::log(std::fabs(y)));
    };

    std::vector<double> px, pw, x, w;
    gaussLegendre(8, px, pw);
    for (int p = 0; p < panels; ++p) {
        const double lo = std::sin(0.5 * M_PI * p / panels), hi = std::sin(0.5 * M_PI * (p + 1) / panels);
        for (size_t i = 0; i < px.size(); ++i) {
            x.push_back(lo + (hi - lo) * (px[i] + 1) / 2);
            w.push_back(pw[i] * (hi - lo) / 2);
        }
    }
    const int n = int(x.size());
    Eigen::MatrixXd a = Eigen::MatrixXd::Zero(n, n);
    Eigen::VectorXd b = Eigen::VectorXd::Constant(n, phi0);
    for (int i = 0; i < n; ++i) {
        const double xi = x[size_t(i)];
        a(i, i) += M_PI / 2;
        // - s/2 ln|x - t|: with g(t) - g(x) by quadrature, g(x) times its exact integral
        double logSum = 0;
        for (int j = 0; j < n; ++j) {
            const double tj = x[size_t(j)];
            double k = 0.5 * (regular(xi - tj) + regular(xi + tj) - s * std::log(xi + tj));
            if (j != i) {
                const double singular = -0.5 * s * std::log(std::fabs(xi - tj));
                k += singular;
                logSum += w[size_t(j)] * singular;
            }
            a(i, j) -= w[size_t(j)] * k;
        }
        const double exactLog = -0.5 * s * (xi * std::log(xi) + (1 - xi) * std::log(1 - xi) - 1);
        a(i, i) -= exactLog - logSum;
    }
    const Eigen::VectorXd g = a.partialPivLu().solve(b);
    double integral = 0;
    for (int i = 0; i < n; ++i)
        integral += w[size_t(i)] * g[i];
    // Q = 2 pi a Ks integral (units of a and Ks), over pi a^2 Ks
    return 2 * integral;
}

// The same, extrapolated from `panels` and twice as many (Richardson, second
// order): 16 and 32 panels agree within 5e-5, 32 and 64 within 3e-6, for
// alpha a up to 20.
inline double woodingFlux(double alphaA, int panels)
{
    const double coarse = woodingFluxOnPanels(alphaA, panels), fine = woodingFluxOnPanels(alphaA, 2 * panels);
    return fine + (fine - coarse) / 3;
}

} // namespace exactsurface
