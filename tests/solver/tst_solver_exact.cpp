// The flow solver against exact solutions of Richards' equation for Gardner
// soils, where K = Ks exp(alpha h) makes the equation linear in K (or in the
// matric flux potential Phi = K / alpha).
#include "solver/AxisymmetricMesh.h"
#include "solver/GardnerSoil.h"
#include "solver/RichardsSolver.h"

#include <QtTest>

#include <cmath>
#include <functional>

using namespace solver;

class TestSolverExact : public QObject
{
    Q_OBJECT
private slots:
    void steadyPointSourceMatchesPhilip();
    void infiltrationTowardWaterTableMatchesSeries();
};

// Steady flow from a point source of q m3/s in an infinite Gardner soil with a
// uniform downward background flow: Phi = Phi_far + q/(4 pi rho) exp(alpha (z - rho)/2),
// z downward. The exact heads are imposed on the outer boundaries of a finite
// cylinder and the solver is run to steady state from the far-field head.
void TestSolverExact::steadyPointSourceMatchesPhilip()
{
    const double alpha = 2.0, ks = 1e-5, q = 1e-7, hFar = -2.0, a = 0.01;
    GardnerSoil soil(0.05, 0.45, alpha, ks);
    const double phiFar = ks * std::exp(alpha * hFar) / alpha;
    auto phiExact = [&](double r, double z) {
        const double rho = std::hypot(r, z);
        return phiFar + q / (4.0 * M_PI * rho) * std::exp(alpha * (z - rho) / 2.0);
    };
    auto headExact = [&](double r, double z) { return std::log(alpha * phiExact(r, z) / ks) / alpha; };

    const double extent = 0.4;
    auto rf = AxisymmetricMesh::gradedFaces(0.0, 1.0, extent, 0.0025, a, 1.1, 0.02);
    auto zDown = AxisymmetricMesh::gradedFaces(0.0, 1.0, extent, 0.0025, a, 1.1, 0.02);
    auto zUp = AxisymmetricMesh::gradedFaces(0.0, -1.0, extent, 0.0025, a, 1.1, 0.02);
    std::vector<double> zf(zUp.rbegin(), zUp.rend() - 1);
    zf.insert(zf.end(), zDown.begin(), zDown.end());
    AxisymmetricMesh mesh(rf, zf);

    SolverSettings set;
    set.maxStep = 1e7;
    set.headTolerance = 1e-6;
    set.headRelTolerance = 0;
    set.thetaTolerance = 1e-8;
    RichardsSolver solver(soil, mesh, set);
    solver.setUniformHead(hFar);
    std::vector<double> top, bottom, outer;
    for (int j = 0; j < mesh.columns(); ++j) {
        top.push_back(headExact(mesh.rCentre(j), zf.front()));
        bottom.push_back(headExact(mesh.rCentre(j), zf.back()));
    }
    for (int i = 0; i < mesh.rows(); ++i)
        outer.push_back(headExact(rf.back(), mesh.zCentre(i)));
    solver.setFixedHeads(RichardsSolver::Side::Top, top);
    solver.setFixedHeads(RichardsSolver::Side::Bottom, bottom);
    solver.setFixedHeads(RichardsSolver::Side::Outer, outer);
    // the source: every cell whose centre lies within the source sphere
    std::vector<double> src(mesh.cells(), 0.0);
    double vol = 0;
    for (int iz = 0; iz < mesh.rows(); ++iz)
        for (int ir = 0; ir < mesh.columns(); ++ir)
            if (std::hypot(mesh.rCentre(ir), mesh.zCentre(iz)) <= a)
                vol += mesh.volume(ir, iz);
    QVERIFY(vol > 0);
    for (int iz = 0; iz < mesh.rows(); ++iz)
        for (int ir = 0; ir < mesh.columns(); ++ir)
            if (std::hypot(mesh.rCentre(ir), mesh.zCentre(iz)) <= a)
                src[mesh.index(ir, iz)] = q * mesh.volume(ir, iz) / vol;
    solver.setSources(src);

    // march to steady state: stop when a long step changes nothing
    double change = 1;
    int steps = 0;
    while (steps < 2000 && !(solver.time() > 1e6 && change < 1e-9)) {
        const std::vector<double> before = solver.heads();
        const double dt = solver.suggestedStep();
        if (!solver.step(dt)) {
            QVERIFY2(solver.suggestedStep() > set.minStep, "the solver stalled");
            continue;
        }
        ++steps;
        change = 0;
        for (size_t i = 0; i < before.size(); ++i)
            change = std::max(change, std::fabs(solver.heads()[i] - before[i]));
    }
    QVERIFY2(change < 1e-9, "no steady state reached");

    double worst = 0, worstRho = 0;
    int compared = 0;
    for (int iz = 0; iz < mesh.rows(); ++iz)
        for (int ir = 0; ir < mesh.columns(); ++ir) {
            // outside the source sphere, and cells wholly outside it
            const double rho = std::hypot(mesh.rCentre(ir), mesh.zCentre(iz));
            if (rho < a + 0.0025)
                continue;
            const double phi = ks * std::exp(alpha * solver.heads()[mesh.index(ir, iz)]) / alpha;
            const double exact = phiExact(mesh.rCentre(ir), mesh.zCentre(iz));
            const double err = std::fabs(phi - exact) / exact;
            if (err > worst) {
                worst = err;
                worstRho = rho;
            }
            ++compared;
        }
    qInfo("Philip point source: %d cells compared, largest relative error of Phi %.3f %% at rho = %.3f m",
          compared, 100 * worst, worstRho);
    QVERIFY(compared > 1000);
    QVERIFY2(worst < 0.02, "matric flux potential differs from Philip's solution by 2 % or more");
    // the source really dominates near the emitter: the test is not about Phi_far alone
    QVERIFY(phiExact(0.0, 0.02) > 5 * phiFar);
}

// One-dimensional infiltration toward a water table (after Srivastava and Yeh,
// 1991): a column of height L above the water table (h = 0 at the bottom) in
// steady state under the surface flux qA; from t = 0 the surface flux is qB.
// With u = K - K_final and u = exp(-alpha zeta / 2) w (zeta = height above the
// water table), w obeys c w_t = w_zz - alpha^2/4 w, c = alpha (theta_s -
// theta_r) / Ks, with w(0) = 0 and w' + alpha/2 w = 0 at zeta = L: an
// eigenfunction series in sin(lambda_k zeta), tan(lambda L) = -2 lambda / alpha.
void TestSolverExact::infiltrationTowardWaterTableMatchesSeries()
{
    const double L = 1.0, alpha = 10.0, thetaR = 0.15, thetaS = 0.45;
    const double ks = 1.0 / 100.0 / 3600.0;  // 1 cm/h
    const double qA = 0.1 * ks, qB = 0.9 * ks;
    const double c = alpha * (thetaS - thetaR) / ks;
    GardnerSoil soil(thetaR, thetaS, alpha, ks);

    auto kInitial = [&](double zeta) { return qA + (ks - qA) * std::exp(-alpha * zeta); };
    auto kFinal = [&](double zeta) { return qB + (ks - qB) * std::exp(-alpha * zeta); };

    // eigenvalues: one root of lambda cos(lambda L) + alpha/2 sin(lambda L) in
    // every interval ((k - 1/2) pi / L, k pi / L)
    const int terms = 200;
    std::vector<double> lambda, coef;
    for (int k = 1; k <= terms; ++k) {
        double lo = (k - 0.5) * M_PI / L, hi = k * M_PI / L;
        auto f = [&](double x) { return x * std::cos(x * L) + 0.5 * alpha * std::sin(x * L); };
        for (int i = 0; i < 200; ++i) {
            const double mid = 0.5 * (lo + hi);
            if ((f(lo) < 0) == (f(mid) < 0))
                lo = mid;
            else
                hi = mid;
        }
        const double lam = 0.5 * (lo + hi);
        // coefficients by Simpson's rule on a fine grid
        const int n = 4000;
        double num = 0, den = 0;
        for (int i = 0; i <= n; ++i) {
            const double zeta = L * i / n;
            const double wgt = (i == 0 || i == n) ? 1 : (i % 2 ? 4 : 2);
            const double w0 = std::exp(alpha * zeta / 2) * (qA - qB) * (1 - std::exp(-alpha * zeta));
            num += wgt * w0 * std::sin(lam * zeta);
            den += wgt * std::sin(lam * zeta) * std::sin(lam * zeta);
        }
        lambda.push_back(lam);
        coef.push_back(num / den);
    }
    auto headExact = [&](double zeta, double t) {
        double w = 0;
        for (int k = 0; k < terms; ++k)
            w += coef[k] * std::sin(lambda[k] * zeta)
                 * std::exp(-(lambda[k] * lambda[k] + alpha * alpha / 4) * t / c);
        const double kk = kFinal(zeta) + std::exp(-alpha * zeta / 2) * w;
        return std::log(kk / ks) / alpha;
    };
    // the series reproduces the initial state (a check of the exact solution itself)
    for (double zeta : {0.2, 0.5, 0.9})
        QVERIFY(std::fabs(headExact(zeta, 1.0) - std::log(kInitial(zeta) / ks) / alpha) < 1e-3);

    // one column of cells, z downward from the surface (zeta = L - z)
    std::vector<double> zf;
    const int cells = 200;
    for (int i = 0; i <= cells; ++i)
        zf.push_back(L * i / cells);
    AxisymmetricMesh mesh({0.0, 0.1}, zf);
    SolverSettings set;
    set.maxStep = 600;
    RichardsSolver solver(soil, mesh, set);
    std::vector<double> h0;
    for (int i = 0; i < cells; ++i)
        h0.push_back(std::log(kInitial(L - mesh.zCentre(i)) / ks) / alpha);
    solver.setHeads(h0);
    solver.setFixedInflows(RichardsSolver::Side::Top, {qB * mesh.ringArea(0)});
    solver.setFixedHeads(RichardsSolver::Side::Bottom, {0.0});

    const double storage0 = solver.storage();
    for (double hours : {5.0, 20.0, 60.0}) {
        const double target = hours * 3600;
        while (solver.time() < target) {
            const double dt = std::min(solver.suggestedStep(), target - solver.time());
            if (!solver.step(dt))
                QVERIFY2(solver.suggestedStep() > set.minStep, "the solver stalled");
        }
        double worst = 0, largest = 0;
        for (int i = 0; i < cells; ++i) {
            const double exact = headExact(L - mesh.zCentre(i), target);
            worst = std::max(worst, std::fabs(solver.heads()[i] - exact));
            largest = std::max(largest, std::fabs(exact));
        }
        qInfo("1-D infiltration at %g h: largest head error %.5f m of %.4f m (%.2f %%)", hours,
              worst, largest, 100 * worst / largest);
        QVERIFY2(worst < 0.02 * largest, "pressure head profile differs from the exact one by 2 % or more");
    }
    // the water balance of the column closes (booked boundary flows = storage change)
    const double booked = solver.cumulativeInflow();
    QVERIFY(std::fabs(solver.storage() - storage0 - booked) < 1e-4 * std::fabs(booked) + 1e-12);
}

QTEST_GUILESS_MAIN(TestSolverExact)
#include "tst_solver_exact.moc"
