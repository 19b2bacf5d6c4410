#pragma once

// The twelve soil classes of the shipped catalogue (class-average van
// Genuchten-Mualem parameters of Carsel and Parrish, 1988), for tests and
// benchmarks of the solver that should not depend on reading the catalogue.
#include "solver/CaseSpec.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace solvertest {

inline solver::SoilParams soil(int number)
{
    struct Row { const char* name; double thetaR, thetaS, alphaPerCm, n, ksCmPerDay; };
    static const Row rows[12] = {
        {"Sand", 0.045, 0.43, 0.145, 2.68, 712.8},
        {"Loamy Sand", 0.057, 0.41, 0.124, 2.28, 350.2},
        {"Sandy Loam", 0.065, 0.41, 0.075, 1.89, 106.1},
        {"Loam", 0.078, 0.43, 0.036, 1.56, 24.96},
        {"Silt", 0.034, 0.46, 0.016, 1.37, 6.0},
        {"Silt Loam", 0.067, 0.45, 0.020, 1.41, 10.8},
        {"Sandy Clay Loam", 0.100, 0.39, 0.059, 1.48, 31.44},
        {"Clay Loam", 0.095, 0.41, 0.019, 1.31, 6.24},
        {"Silty Clay Loam", 0.089, 0.43, 0.010, 1.23, 1.68},
        {"Sandy Clay", 0.100, 0.38, 0.027, 1.23, 2.88},
        {"Silty Clay", 0.070, 0.36, 0.005, 1.09, 0.48},
        {"Clay", 0.068, 0.38, 0.008, 1.09, 4.8},
    };
    const Row& r = rows[number - 1];
    solver::SoilParams p;
    p.number = number;
    p.name = r.name;
    p.thetaR = r.thetaR;
    p.thetaS = r.thetaS;
    p.alpha = r.alphaPerCm * 100.0;          // 1/m
    p.n = r.n;
    p.ks = r.ksCmPerDay / 100.0 / 86400.0;   // m/s
    return p;
}

inline solver::CaseSpec makeCase(int soilNumber, double litresPerHour, double head,
                                  solver::Emitter emitter, int hours = 24)
{
    solver::CaseSpec c;
    c.soil = soil(soilNumber);
    c.flowLitresPerHour = litresPerHour;
    c.initialHead = head;
    c.emitter = emitter;
    c.hours = hours;
    return c;
}

// Mesh convergence: solver::largestChange (CaseSpec.h), shared with trickle-build --check-mesh.
using solver::largestChange;

} // namespace solvertest
