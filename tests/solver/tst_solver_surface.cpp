// The surface boundary of the flow solver against exact steady solutions for
// Gardner soils (K = Ks exp(alpha h), so that the steady equation is linear in
// the matric flux potential Phi = K / alpha):
//  * a ponded disc of radius a held at h = 0 (Wooding, 1968): the flow it takes;
//  * a small disc fed with an even flux (the surface point source of Philip
//    and Raats, 1971): Phi outside the source;
//  * the other way round, a disc fed with a fixed flow: the pond radius it
//    settles at, against the radius Wooding's solution gives for that flow.
#include "solver/AxisymmetricMesh.h"
#include "solver/GardnerSoil.h"
#include "solver/RichardsSolver.h"
#include "tests/solver/ExactSurface.h"

#include <QtTest>

#include <cmath>
#include <functional>

using namespace solver;

class TestSolverSurface : public QObject
{
    Q_OBJECT
private slots:
    void woodingReferenceIsConverged();
    void pondedDiscFlowMatchesWooding_data();
    void pondedDiscFlowMatchesWooding();
    void surfacePointSourceMatchesRaats();
    void steadyPondRadiusMatchesWooding();
};

namespace {

const double kThetaR = 0.05, kThetaS = 0.45, kKs = 1e-5;

// Faces from 0 to `length` with cells of `fine` at `at` (a face), growing by
// `growth` away from it on both sides up to `largest`.
std::vector<double> facesAround(double at, double length, double fine, double growth, double largest)
{
    std::vector<double> inward{at};
    double size = fine;
    while (inward.back() > 0) {
        inward.push_back(std::max(0.0, inward.back() - size));
        size = std::min(size * growth, largest);
    }
    // the last cell at the axis must not be a sliver
    if (inward.size() > 2 && inward[inward.size() - 2] < 0.5 * (inward[inward.size() - 3] - inward[inward.size() - 2]))
        inward.erase(inward.end() - 2);
    std::vector<double> faces(inward.rbegin(), inward.rend());
    size = fine;
    while (faces.back() < length) {
        faces.push_back(faces.back() + size);
        size = std::min(size * growth, largest);
    }
    return faces;
}

// Marches to a steady state: until a step of at least `minTime` into the run
// changes no head by more than `headChange` m and `measure` by less than
// `relChange` of itself. Returns false when the solver stalls.
bool marchToSteady(RichardsSolver &solver, const std::function<double()> &measure, double minTime,
                   int maxSteps = 8000)
{
    double last = measure();
    int failures = 0;
    for (int steps = 0; steps < maxSteps; ++steps) {
        const std::vector<double> before = solver.heads();
        if (!solver.step(solver.suggestedStep())) {
            if (++failures > 50) {
                qInfo("stalled at t = %.4g s after %d steps", solver.time(), steps);
                return false;
            }
            continue;
        }
        failures = 0;
        double change = 0;
        for (size_t i = 0; i < before.size(); ++i)
            change = std::max(change, std::fabs(solver.heads()[i] - before[i]));
        const double now = measure();
        const bool settled = solver.time() > minTime && change < 1e-7
                             && std::fabs(now - last) <= 1e-6 * std::fabs(now);
        last = now;
        if (settled)
            return true;
    }
    qInfo("no steady state after %d steps: t = %.4g s, measure %.8g", maxSteps, solver.time(), last);
    return false;
}

// The approach to steady state with the solver's own tolerances: the sudden
// contact of dry soil with water at h = 0 takes steps down to the smallest
// in the first instants, which the tight tolerances of the steady state
// would not pass. Returns the heads at `until` (empty when it stalls).
std::vector<double> approach(const SoilModel &soil, const AxisymmetricMesh &mesh,
                             const std::function<void(RichardsSolver &)> &setUp, double until)
{
    SolverSettings set;
    set.maxStep = 1e6;
    RichardsSolver solver(soil, mesh, set);
    setUp(solver);
    int failures = 0;
    for (int steps = 0; solver.time() < until; ++steps) {
        if (solver.step(std::min(solver.suggestedStep(), until - solver.time())))
            failures = 0;
        else if (++failures > 50 || steps > 20000)
            return {};
    }
    return solver.heads();
}

SolverSettings steadySettings(double headTolerance = 1e-6, double thetaTolerance = 1e-8)
{
    SolverSettings set;
    set.maxStep = 1e7;
    set.headTolerance = headTolerance;
    set.headRelTolerance = 0;
    set.thetaTolerance = thetaTolerance;
    return set;
}

} // namespace

// The reference itself: the flow of the ponded disc from Wooding's mixed
// boundary-value problem, solved as a Fredholm equation with quadrature
// panels doubled, must agree with itself and with the two limits (the disc
// electrode 4 a Phi0 for small alpha a, one-dimensional flow Ks for large).
void TestSolverSurface::woodingReferenceIsConverged()
{
    qInfo("alpha a   Q/(pi a^2 Ks) exact   approximation 1 + 4/(pi alpha a)   approximation/exact - 1");
    for (double aa : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0}) {
        const double coarse = exactsurface::woodingFlux(aa, 16), fine = exactsurface::woodingFlux(aa, 32);
        const double approx = 1 + 4 / (M_PI * aa);
        qInfo("%6.1f   %.6f   %.6f   %+.2f %%", aa, fine, approx, 100 * (approx / fine - 1));
        QVERIFY2(std::fabs(coarse / fine - 1) < 5e-5, "the reference is not converged");
        // the approximation is exact in both limits and below the exact flow in between
        QVERIFY(approx < fine && fine < approx * 1.07);
    }
    // the disc electrode: Q = 4 a Phi0 as alpha a goes to 0
    const double small = 1e-4;
    QVERIFY(std::fabs(exactsurface::woodingFlux(small, 16) * M_PI * small / 4 - 1) < 1e-3);
}

void TestSolverSurface::pondedDiscFlowMatchesWooding_data()
{
    QTest::addColumn<double>("alphaA");
    for (double aa : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0})
        QTest::newRow(qPrintable(QStringLiteral("alpha a = %1").arg(aa))) << aa;
}

// A disc of radius a held at h = 0 (the solver's ponded disc with its radius
// fixed) in a dry Gardner soil, marched to steady state: the flow through it
// against Wooding's.
void TestSolverSurface::pondedDiscFlowMatchesWooding()
{
    QFETCH(double, alphaA);
    const double a = 0.1, alpha = alphaA / a;
    GardnerSoil soil(kThetaR, kThetaS, alpha, kKs);
    const double length = 1 / alpha;   // sorptive length
    const double radius = a + std::max(10 * length, 0.3), depth = std::max(15 * length, 0.8);
    const double fine = std::min(a / 100, length / 20);
    AxisymmetricMesh mesh(facesAround(a, radius, fine, 1.15, std::min(radius / 25, 5 * length)),
                          facesAround(0.0, depth, fine, 1.15, depth / 25));
    // The soil starts at a uniform head h0 and keeps its background flow
    // K(h0) (in through the surface, out at the bottom). The problem is linear
    // in Phi: the disc then takes Wooding's flow for Phi0 - Phi(h0), that is
    // his flow times 1 - exp(alpha h0), on top of the background.
    const double h0 = -6 / alpha, background = kKs * std::exp(alpha * h0);
    std::vector<double> topInflow;
    for (int j = 0; j < mesh.columns(); ++j)
        topInflow.push_back(background * mesh.ringArea(j));
    auto setUp = [&](RichardsSolver &s) {
        s.setUniformHead(h0);
        s.setFixedInflows(RichardsSolver::Side::Top, topInflow);
        s.setFreeDrainageBottom();
        s.setFixedPond(a);
    };
    const std::vector<double> start = approach(soil, mesh, setUp, 1e5);
    QVERIFY2(!start.empty(), "the solver stalled");
    RichardsSolver solver(soil, mesh, steadySettings());
    setUp(solver);
    solver.setHeads(start);
    QVERIFY2(marchToSteady(solver, [&] { return solver.lastPondInflow(); }, 0), "no steady state reached");

    const double exact = M_PI * a * a * kKs * exactsurface::woodingFlux(alphaA, 32) * (1 - std::exp(alpha * h0));
    const double flow = solver.lastPondInflow();
    qInfo("alpha a = %g: %d x %d cells, Q = %.6g m3/s, exact %.6g m3/s: %+.3f %%", alphaA,
          mesh.columns(), mesh.rows(), flow, exact, 100 * (flow / exact - 1));
    QVERIFY2(std::fabs(flow / exact - 1) < 0.02, "the ponded disc's flow differs from Wooding's by 2 % or more");
}

// Steady flow from a small disc fed with an even flux q (no ponding) in a
// Gardner soil with a uniform background flow: outside the source, Phi against
// Phi_far + the surface point source's
// Phi = q/(2 pi) e^{s z} [e^{-s rho}/rho - s e^{s z} E1(s (rho + z))], s = alpha/2,
// whose heads are imposed on the bottom and the outer wall.
void TestSolverSurface::surfacePointSourceMatchesRaats()
{
    const double alpha = 4.0, q = 1e-8, source = 0.005, hFar = -3.0;
    GardnerSoil soil(kThetaR, kThetaS, alpha, kKs);
    const double phiFar = kKs * std::exp(alpha * hFar) / alpha;
    auto phiExact = [&](double r, double z) { return phiFar + exactsurface::surfacePointSource(q, alpha, r, z); };
    auto headExact = [&](double r, double z) { return std::log(alpha * phiExact(r, z) / kKs) / alpha; };

    const double extent = 0.5;
    AxisymmetricMesh mesh(AxisymmetricMesh::gradedFaces(0.0, 1.0, extent, 0.001, source, 1.08, 0.02),
                          AxisymmetricMesh::gradedFaces(0.0, 1.0, extent, 0.001, source, 1.08, 0.02));
    std::vector<double> bottom, outer;
    for (int j = 0; j < mesh.columns(); ++j)
        bottom.push_back(headExact(mesh.rCentre(j), mesh.zFaces().back()));
    for (int i = 0; i < mesh.rows(); ++i)
        outer.push_back(headExact(mesh.rFaces().back(), mesh.zCentre(i)));
    // the uniform background flow K(hFar) enters through the surface, so that
    // Phi_far + the point source's Phi is the exact solution
    std::vector<double> topInflow;
    for (int j = 0; j < mesh.columns(); ++j)
        topInflow.push_back(alpha * phiFar * mesh.ringArea(j));
    auto setUp = [&](RichardsSolver &s) {
        s.setUniformHead(hFar);
        s.setFixedInflows(RichardsSolver::Side::Top, topInflow);
        s.setFixedHeads(RichardsSolver::Side::Bottom, bottom);
        s.setFixedHeads(RichardsSolver::Side::Outer, outer);
        s.setFluxDisc(q, source);
    };
    const std::vector<double> start = approach(soil, mesh, setUp, 1e6);
    QVERIFY2(!start.empty(), "the solver stalled");
    RichardsSolver solver(soil, mesh, steadySettings());
    setUp(solver);
    solver.setHeads(start);
    QVERIFY2(marchToSteady(solver, [&] { return solver.heads()[0]; }, 0), "no steady state reached");
    QVERIFY2(solver.fluxDiscPeakHead() < 0, "the test is about the flux disc without ponding");

    double worst = 0, worstRho = 0;
    int compared = 0;
    const double outside = 4 * source;
    for (int iz = 0; iz < mesh.rows(); ++iz)
        for (int ir = 0; ir < mesh.columns(); ++ir) {
            const double r = mesh.rCentre(ir), z = mesh.zCentre(iz), rho = std::hypot(r, z);
            if (rho < outside)
                continue;
            const double phi = kKs * std::exp(alpha * solver.heads()[mesh.index(ir, iz)]) / alpha;
            const double err = std::fabs(phi / phiExact(r, z) - 1);
            if (err > worst) {
                worst = err;
                worstRho = rho;
            }
            ++compared;
        }
    qInfo("surface point source: %d cells beyond %.0f mm compared, largest relative error of Phi %.3f %% at rho = %.3f m",
          compared, 1000 * outside, 100 * worst, worstRho);
    QVERIFY(compared > 1000);
    QVERIFY2(worst < 0.02, "Phi differs from the surface point source's by 2 % or more");
    // the source dominates the field compared, not the far-field value
    QVERIFY(phiExact(0.0, 0.1) > 20 * phiFar);
}

// The ponded disc as the builder uses it: a fixed flow Q, the radius solved
// for. Its steady radius must be the one at which Wooding's disc takes Q.
void TestSolverSurface::steadyPondRadiusMatchesWooding()
{
    const double alpha = 20.0;
    GardnerSoil soil(kThetaR, kThetaS, alpha, kKs);
    const double aExpected = 0.1;
    const double flow = M_PI * aExpected * aExpected * kKs * exactsurface::woodingFlux(alpha * aExpected, 32);
    const double radius = 1.0, depth = 1.2;
    AxisymmetricMesh mesh(AxisymmetricMesh::gradedFaces(0.0, 1.0, radius, 0.001, 0.01, 1.05, 0.04),
                          facesAround(0.0, depth, 0.0025, 1.15, 0.05));
    SolverSettings set = steadySettings();
    RichardsSolver solver(soil, mesh, set);
    solver.setUniformHead(-12 / alpha);
    solver.setFreeDrainageBottom();
    solver.setPond(flow, set.minDiscRadius);
    QVERIFY2(marchToSteady(solver, [&] { return solver.pondRadius(); }, 1e5), "no steady state reached");
    const double a = solver.pondRadius();
    qInfo("flow %.4g m3/s (alpha = %g /m): steady pond radius %.5f m, Wooding's %.5f m: %+.3f %%", flow, alpha, a,
          aExpected, 100 * (a / aExpected - 1));
    QVERIFY2(std::fabs(a / aExpected - 1) < 0.02, "the steady pond radius differs from Wooding's by 2 % or more");
}

QTEST_GUILESS_MAIN(TestSolverSurface)
#include "tst_solver_surface.moc"
