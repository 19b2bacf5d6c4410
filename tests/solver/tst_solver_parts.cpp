// The pieces of the flow solver: soil functions, mesh, front measurement.
#include "solver/AxisymmetricMesh.h"
#include "solver/FrontTracker.h"
#include "solver/GridCholesky.h"
#include "solver/GardnerSoil.h"
#include "solver/KirchhoffTable.h"
#include "solver/RichardsSolver.h"
#include "solver/VanGenuchten.h"
#include "solver/WettingSimulation.h"
#include "tests/solver/SolverTestSoils.h"

#include <QtTest>

#include <Eigen/SparseCholesky>

#include <cmath>

using namespace solver;

class TestSolverParts : public QObject
{
    Q_OBJECT
private slots:
    void vanGenuchtenClassic();
    void vanGenuchtenAirEntry();
    void capacityIsDerivativeOfWaterContent();
    void gardner();
    void kirchhoffOfGardnerSoil();
    void kirchhoffOfVanGenuchtenSoil();
    void tabulatedSoilFunctions();
    void gridCholeskySolves();
    void airEntryOnlyForSmallN();
    void gradedMesh();
    void remeshKeepsWater();
    void undoRemeshRestoresTheState();
    void frontOfKnownField();
    void stepFrontReadWhereItIs();
    void exponentialFootReadWhereItIs();
    void thinWettingReadLinearly();
    void frontMovesSmoothly();
};

void TestSolverParts::vanGenuchtenClassic()
{
    VanGenuchten vg(0.078, 0.43, 3.6, 1.56, 2.9e-6);
    QCOMPARE(vg.at(0.0).theta, 0.43);
    QCOMPARE(vg.at(0.0).k, 2.9e-6);
    // theta(h) from the retention curve by hand at h = -1 m
    const double m = 1 - 1 / 1.56;
    const double se = std::pow(1 + std::pow(3.6, 1.56), -m);
    QVERIFY(std::fabs(vg.at(-1.0).theta - (0.078 + 0.352 * se)) < 1e-12);
    // Mualem with l = 0.5
    const double kr = std::sqrt(se) * std::pow(1 - std::pow(1 - std::pow(se, 1 / m), m), 2);
    QVERIFY(std::fabs(vg.at(-1.0).k / (2.9e-6 * kr) - 1) < 1e-9);
    // monotone: drier means less water and lower conductivity
    double lastTheta = 1, lastK = 1;
    for (double h = -0.001; h > -100; h *= 1.5) {
        const auto p = vg.at(h);
        QVERIFY(p.theta < lastTheta && p.k < lastK && p.capacity > 0);
        lastTheta = p.theta;
        lastK = p.k;
    }
}

void TestSolverParts::vanGenuchtenAirEntry()
{
    const double hs = -0.02;
    VanGenuchten vg(0.068, 0.38, 0.8, 1.09, 4.8 / 100 / 86400, 0.5, hs);
    // saturated from h_s up, continuous at h_s
    QCOMPARE(vg.at(-0.01).theta, 0.38);
    QCOMPARE(vg.at(-0.01).k, vg.ks());
    QCOMPARE(vg.at(-0.01).capacity, 0.0);
    QVERIFY(std::fabs(vg.at(hs - 1e-9).theta - 0.38) < 1e-8);
    QVERIFY(std::fabs(vg.at(hs - 1e-9).k / vg.ks() - 1) < 1e-5);
    // the unmodified Mualem curve of this clay loses most of its conductivity
    // within the first 2 cm of suction; the modified one keeps it
    VanGenuchten classic(0.068, 0.38, 0.8, 1.09, 4.8 / 100 / 86400);
    QVERIFY(classic.at(-0.02).k < 0.2 * classic.ks());
    QVERIFY(vg.at(-0.021).k > 0.95 * vg.ks());
}

void TestSolverParts::capacityIsDerivativeOfWaterContent()
{
    VanGenuchten a(0.045, 0.43, 14.5, 2.68, 712.8 / 100 / 86400);
    VanGenuchten b(0.07, 0.36, 0.5, 1.09, 0.48 / 100 / 86400, 0.5, -0.02);
    GardnerSoil g(0.05, 0.45, 2.0, 1e-5);
    const SoilModel* soils[] = {&a, &b, &g};
    for (const SoilModel* s : soils)
        for (double h : {-0.05, -0.3, -1.0, -3.0, -10.0}) {
            const double d = 1e-6 * std::fabs(h);
            const double numeric = (s->theta(h + d) - s->theta(h - d)) / (2 * d);
            QVERIFY2(std::fabs(s->at(h).capacity - numeric) <= 1e-5 * numeric + 1e-12,
                     qPrintable(QString("h = %1").arg(h)));
        }
}

void TestSolverParts::gardner()
{
    GardnerSoil g(0.05, 0.45, 2.0, 1e-5);
    QCOMPARE(g.at(0.0).k, 1e-5);
    QVERIFY(std::fabs(g.at(-1.0).k - 1e-5 * std::exp(-2.0)) < 1e-18);
    QVERIFY(std::fabs(g.at(-1.0).theta - (0.05 + 0.4 * std::exp(-2.0))) < 1e-15);
}

void TestSolverParts::kirchhoffOfGardnerSoil()
{
    // Phi = Ks / alpha exp(alpha h) below saturation, then growing with slope Ks
    // (cubic interpolation between nodes 0.6 % apart: about 1e-7 of Phi at -7.5 m)
    const double alpha = 2.0, ks = 1e-6;
    GardnerSoil soil(0.05, 0.4, alpha, ks);
    KirchhoffTable table(soil);
    QCOMPARE(table.topHead(), 0.0);
    for (double h : {-1e-6, -0.003, -0.05, -0.4, -1.0, -3.0, -7.5}) {
        const double exact = ks / alpha * std::exp(alpha * h);
        QVERIFY2(std::fabs(table.phi(h) / exact - 1) < 1e-6, qPrintable(QString::number(h)));
    }
    QVERIFY(std::fabs(table.phi(0.7) - (ks / alpha + 0.7 * ks)) < 1e-15);
}

void TestSolverParts::kirchhoffOfVanGenuchtenSoil()
{
    // Loam with the air-entry modification: the table starts at h_s
    VanGenuchten vg(0.078, 0.43, 3.6, 1.56, 2.9e-6, 0.5, -0.02);
    KirchhoffTable table(vg);
    QCOMPARE(table.topHead(), -0.02);
    // differences of Phi against a fine Simpson integration of K, in log-spaced
    // pieces (K changes by orders of magnitude over a metre)
    auto integral = [&](double lo, double hi) {
        double sum = 0;
        const int pieces = 400, steps = 200;
        for (int p = 0; p < pieces; ++p) {
            const double a = hi - (hi - lo) * std::pow(double(p) / pieces, 3);
            const double b = hi - (hi - lo) * std::pow(double(p + 1) / pieces, 3);
            const double d = (a - b) / steps;
            double part = vg.conductivity(a) + vg.conductivity(b);
            for (int i = 1; i < steps; ++i)
                part += (i % 2 ? 4 : 2) * vg.conductivity(b + i * d);
            sum += part * d / 3;
        }
        return sum;
    };
    for (double h : {-0.021, -0.05, -0.3, -1.0, -4.0, -10.0}) {
        const double expected = integral(h, -0.02);
        const double got = table.phi(-0.02) - table.phi(h);
        QVERIFY2(std::fabs(got / expected - 1) < 1e-6, qPrintable(QString::number(h)));
    }
    // the slope of Phi is K, and the secant between two heads (the integral
    // mean the solver uses) lies between their conductivities
    for (double h : {-0.025, -0.2, -2.0, -9.0}) {
        const double d = 1e-5 * std::fabs(h);
        const double slope = (table.phi(h + d) - table.phi(h - d)) / (2 * d);
        QVERIFY(std::fabs(slope / vg.conductivity(h) - 1) < 1e-4);
        const double secant = (table.phi(h) - table.phi(10 * h)) / (h - 10 * h);
        QVERIFY(secant < vg.conductivity(h) && secant > vg.conductivity(10 * h));
    }
    // saturated: slope Ks
    QVERIFY(std::fabs((table.phi(0.5) - table.phi(-0.02)) / 0.52 - vg.ks()) < 1e-12 * vg.ks() + 1e-18);
}

void TestSolverParts::tabulatedSoilFunctions()
{
    // the table the solver's iterations read: theta, capacity and K of every
    // catalogue soil (with the air-entry rule of the sweep) against the soil's
    // own functions, from saturation to 30 m of suction
    SolverSettings settings;
    for (int number = 1; number <= 12; ++number) {
        const auto soil = WettingSimulation::makeSoil(solvertest::soil(number), settings);
        const KirchhoffTable table(*soil);
        const bool classic = !WettingSimulation::usesAirEntry(solvertest::soil(number), settings);
        double worstTheta = 0, worstK = 0, worstC = 0;
        int compared = 0;
        for (double s = 1e-9; s < 30; s *= 1.003, ++compared) {
            const double h = soil->saturationHead() - s;
            const SoilModel::Point exact = soil->at(h);
            const KirchhoffTable::Point p = table.at(h);
            worstTheta = std::max(worstTheta, std::fabs(p.theta - exact.theta) / (exact.theta - soil->thetaR()));
            worstK = std::max(worstK, std::fabs(p.k / exact.k - 1));
            if (s > 1e-7)
                worstC = std::max(worstC, std::fabs(p.capacity / exact.capacity - 1));
            QCOMPARE(p.phi, table.phi(h));
        }
        QVERIFY(compared > 7000);
        const QString what = QString::fromStdString(solvertest::soil(number).name);
        QVERIFY2(worstTheta < 1e-9, qPrintable(what + QString(": theta %1").arg(worstTheta)));
        QVERIFY2(worstK < (classic ? 1e-6 : 1e-8), qPrintable(what + QString(": K %1").arg(worstK)));
        QVERIFY2(worstC < 1e-8, qPrintable(what + QString(": capacity %1").arg(worstC)));
        // saturated above h_top, and the soil's own functions beyond the last node
        const KirchhoffTable::Point wet = table.at(soil->saturationHead() + 0.3);
        QCOMPARE(wet.theta, soil->thetaS());
        QCOMPARE(wet.k, soil->ks());
        QCOMPARE(wet.capacity, 0.0);
        QCOMPARE(table.at(-5000.0).theta, soil->theta(-5000.0));
    }
}

void TestSolverParts::gridCholeskySolves()
{
    // five-point matrices of grids of every shape the solver meets (a single
    // column, long and wide ones, one larger than a leaf by one cell), with
    // conductances spread over many orders of magnitude as between wet and
    // dry cells, against Eigen's sparse LDL^T
    const int shapes[][2] = {{1, 1}, {1, 200}, {3, 5}, {4, 4}, {17, 1}, {5, 4}, {13, 31}, {42, 148}, {61, 36}};
    unsigned seed = 12345;
    auto random = [&seed]() {
        seed = seed * 1103515245u + 12345u;
        return double((seed >> 8) & 0xffff) / 65536.0;
    };
    for (const auto& shape : shapes) {
        const int nr = shape[0], nz = shape[1], n = nr * nz;
        std::vector<Eigen::Triplet<double>> t;
        std::vector<double> diagonal(size_t(n), 0.0);
        auto couple = [&](int a, int b) {
            const double c = std::pow(10.0, -12 * random());
            t.emplace_back(a, b, -c);
            t.emplace_back(b, a, -c);
            diagonal[size_t(a)] += c;
            diagonal[size_t(b)] += c;
        };
        for (int iz = 0; iz < nz; ++iz)
            for (int ir = 0; ir < nr; ++ir) {
                if (ir + 1 < nr)
                    couple(iz * nr + ir, iz * nr + ir + 1);
                if (iz + 1 < nz)
                    couple(iz * nr + ir, (iz + 1) * nr + ir);
            }
        for (int i = 0; i < n; ++i)   // storage terms, some cells saturated (none)
            t.emplace_back(i, i, diagonal[size_t(i)] + (random() < 0.3 ? 0.0 : 1e-6 * random()) + 1e-14);
        Eigen::SparseMatrix<double> a(n, n);
        a.setFromTriplets(t.begin(), t.end());
        a.makeCompressed();
        Eigen::VectorXd b(n);
        for (int i = 0; i < n; ++i)
            b[i] = random() - 0.5;
        Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> reference(a);
        const Eigen::VectorXd expected = reference.solve(b);
        GridCholesky g;
        g.analyse(nr, nz, a);
        QVERIFY(g.factorise(a));
        Eigen::VectorXd x;
        g.solve(b, x);
        QCOMPARE(int(x.size()), n);
        // as accurate as the reference: residual and difference within what
        // the reference's own residual allows
        const double residual = (a * x - b).norm() / b.norm();
        const double referenceResidual = (a * expected - b).norm() / b.norm();
        const double difference = (x - expected).norm() / expected.norm();
        qInfo("%2d x %3d: relative residual %.1e (reference %.1e), difference %.1e", nr, nz,
              residual, referenceResidual, difference);
        QVERIFY2(difference < 1e-6 && residual < 10 * referenceResidual + 1e-13,
                 qPrintable(QString("%1 x %2: %3 %4").arg(nr).arg(nz).arg(difference).arg(residual)));
        // a shared structure and new values on the same pattern (the disc's
        // diagonal terms), and a matrix that is not positive definite
        GridCholesky second;
        second.shareStructure(g);
        a.coeffRef(0, 0) += 5.0;
        QVERIFY(second.factorise(a));
        second.solve(b, x);
        reference.compute(a);
        QVERIFY((a * x - b).norm() <= 10 * (a * reference.solve(b) - b).norm() + 1e-13 * b.norm());
        a.coeffRef(n - 1, n - 1) = -1.0;
        QVERIFY(!second.factorise(a));
    }
}

void TestSolverParts::airEntryOnlyForSmallN()
{
    SolverSettings s;
    int modified = 0;
    for (int i = 1; i <= 12; ++i)
        if (WettingSimulation::usesAirEntry(solvertest::soil(i), s))
            ++modified;
    // every class from Loam on; Sand, Loamy Sand and Sandy Loam (n >= 1.89) keep
    // the classic curves
    QCOMPARE(modified, 9);
    QVERIFY(!WettingSimulation::usesAirEntry(solvertest::soil(3), s));
    QVERIFY(WettingSimulation::usesAirEntry(solvertest::soil(4), s));
    QVERIFY(WettingSimulation::usesAirEntry(solvertest::soil(12), s));
}

void TestSolverParts::gradedMesh()
{
    auto f = AxisymmetricMesh::gradedFaces(0.0, 1.0, 1.0, 0.0025, 0.01, 1.1, 0.05);
    QCOMPARE(f.front(), 0.0);
    QVERIFY(f.back() >= 1.0);
    QVERIFY(std::fabs(f[4] - 0.01) < 1e-15);  // a face exactly at the source radius
    for (size_t i = 1; i + 1 < f.size(); ++i) {
        const double a = f[i] - f[i - 1], b = f[i + 1] - f[i];
        QVERIFY(b >= a * (1 - 1e-12) && b <= std::max(a * 1.1, 0.05) * (1 + 1e-12));
    }
    auto up = AxisymmetricMesh::gradedFaces(0.0, -1.0, 0.5, 0.0025, 0.01, 1.1, 0.05);
    QVERIFY(up.back() <= -0.5);
    AxisymmetricMesh mesh(f, {0.0, 0.1, 0.3});
    double vol = 0;
    for (int iz = 0; iz < mesh.rows(); ++iz)
        for (int ir = 0; ir < mesh.columns(); ++ir)
            vol += mesh.volume(ir, iz);
    QVERIFY(std::fabs(vol - M_PI * f.back() * f.back() * 0.3) < 1e-12);
    auto g = f;
    AxisymmetricMesh::extendFaces(g, 0.5, 1.1, 0.05);
    QVERIFY(g.back() >= f.back() + 0.5 && g.size() > f.size());
}

namespace {
// water content falling linearly from 0.4 at the emitter to 0.1 at distance R0
std::vector<double> cone(const AxisymmetricMesh& m, double r0, double zScale)
{
    std::vector<double> th(m.cells());
    for (int iz = 0; iz < m.rows(); ++iz)
        for (int ir = 0; ir < m.columns(); ++ir) {
            const double rho = std::hypot(m.rCentre(ir), m.zCentre(iz) / zScale);
            th[m.index(ir, iz)] = 0.1 + 0.3 * std::max(0.0, 1 - rho / r0);
        }
    return th;
}

// n cells of 2 cm outward from the axis, n above and n below z = 0
AxisymmetricMesh twoCentimetreCells(int n)
{
    std::vector<double> rf, zf;
    for (int i = 0; i <= n; ++i)
        rf.push_back(0.02 * i);
    for (int i = -n; i <= n; ++i)
        zf.push_back(0.02 * i);
    return AxisymmetricMesh(rf, zf);
}
}

void TestSolverParts::remeshKeepsWater()
{
    // a wetted region (saturated and pressurised cells in the middle, drier
    // outward) on one mesh, moved to a coarser and larger one
    VanGenuchten loam(0.078, 0.43, 3.6, 1.56, 2.9e-6, 0.5, -0.02);
    const double h0 = -6.0;
    const AxisymmetricMesh fine(AxisymmetricMesh::gradedFaces(0, 1, 0.3, 0.0025, 0.01, 1.12, 0.02),
                                AxisymmetricMesh::gradedFaces(0, 1, 0.4, 0.0025, 0.01, 1.12, 0.02));
    RichardsSolver solver(loam, fine, SolverSettings());
    solver.setUniformHead(h0);
    std::vector<double> h(fine.cells(), h0), src(fine.cells(), 0.0);
    for (int iz = 0; iz < fine.rows(); ++iz)
        for (int ir = 0; ir < fine.columns(); ++ir) {
            const double d = std::hypot(fine.rCentre(ir), fine.zCentre(iz));
            if (d < 0.2)
                h[fine.index(ir, iz)] = d < 0.03 ? 0.5 - 10 * d : -30 * (d - 0.03) * (d - 0.03) - 0.01;
            if (d < 0.01)
                src[fine.index(ir, iz)] = 1e-7;
        }
    solver.setHeads(h);
    solver.setSources(src);
    const double before = solver.storage();
    const AxisymmetricMesh coarse(AxisymmetricMesh::gradedFaces(0, 1, 0.5, 0.0025, 0.01, 1.2, 0.04),
                                  AxisymmetricMesh::gradedFaces(0, 1, 0.6, 0.0025, 0.01, 1.2, 0.04));
    solver.remesh(coarse, h0);
    QCOMPARE(solver.mesh().cells(), coarse.cells());
    // the water of the old domain plus the initial state where the new one
    // reaches beyond it
    double newVolume = 0;
    for (int iz = 0; iz < coarse.rows(); ++iz)
        for (int ir = 0; ir < coarse.columns(); ++ir)
            newVolume += coarse.volume(ir, iz);
    const double expected = before + loam.theta(h0) * (newVolume - M_PI * fine.rFaces().back() * fine.rFaces().back() * fine.zFaces().back());
    QVERIFY2(std::fabs(solver.storage() / expected - 1) < 1e-12,
             qPrintable(QStringLiteral("%1 against %2").arg(solver.storage()).arg(expected)));
    // the pressurised cells stay saturated, the far soil exactly at its head
    QVERIFY(solver.heads()[coarse.index(0, 0)] > 0);
    QCOMPARE(solver.heads()[coarse.index(coarse.columns() - 1, coarse.rows() - 1)], h0);
    // every new cell holds the water of the old cells it overlaps, cell by cell
    // (the initial state where it reaches beyond them)
    std::vector<double> oldTheta(fine.cells());
    for (int i = 0; i < fine.cells(); ++i)
        oldTheta[i] = loam.theta(h[i]);
    double worst = 0;
    for (int jz = 0; jz < coarse.rows(); ++jz)
        for (int jr = 0; jr < coarse.columns(); ++jr) {
            double water = 0, covered = 0;
            for (int iz = 0; iz < fine.rows(); ++iz) {
                const double dz = std::min(fine.zFaces()[iz + 1], coarse.zFaces()[jz + 1])
                                  - std::max(fine.zFaces()[iz], coarse.zFaces()[jz]);
                if (dz <= 0)
                    continue;
                for (int ir = 0; ir < fine.columns(); ++ir) {
                    const double lo = std::max(fine.rFaces()[ir], coarse.rFaces()[jr]);
                    const double hi = std::min(fine.rFaces()[ir + 1], coarse.rFaces()[jr + 1]);
                    if (hi <= lo)
                        continue;
                    const double v = dz * M_PI * (hi * hi - lo * lo);
                    water += v * oldTheta[fine.index(ir, iz)];
                    covered += v;
                }
            }
            const double v = coarse.volume(jr, jz);
            const double expectedTheta = (water + (v - covered) * loam.theta(h0)) / v;
            worst = std::max(worst, std::fabs(solver.thetas()[coarse.index(jr, jz)] - expectedTheta));
        }
    QVERIFY2(worst < 1e-12, qPrintable(QString::number(worst)));
}

void TestSolverParts::undoRemeshRestoresTheState()
{
    // A remesh can be taken back until a step on the new mesh succeeds: the
    // mesh, every head and water content and the sources as they were.
    VanGenuchten loam(0.078, 0.43, 3.6, 1.56, 2.9e-6, 0.5, -0.02);
    const double h0 = -6.0;
    const AxisymmetricMesh fine(AxisymmetricMesh::gradedFaces(0, 1, 0.3, 0.0025, 0.01, 1.12, 0.02),
                                AxisymmetricMesh::gradedFaces(0, 1, 0.4, 0.0025, 0.01, 1.12, 0.02));
    const AxisymmetricMesh coarse(AxisymmetricMesh::gradedFaces(0, 1, 0.5, 0.0025, 0.01, 1.2, 0.04),
                                  AxisymmetricMesh::gradedFaces(0, 1, 0.6, 0.0025, 0.01, 1.2, 0.04));
    RichardsSolver solver(loam, fine, SolverSettings());
    solver.setUniformHead(h0);
    std::vector<double> src(fine.cells(), 0.0);
    src[fine.index(0, 0)] = 1e-7;
    solver.setSources(src);
    // steps as the solver suggests them, until it has accepted `count`
    auto advance = [&solver](int count) {
        for (int tries = 0; count > 0 && tries < 200; ++tries)
            if (solver.step(solver.suggestedStep()))
                --count;
        return count == 0;
    };
    QVERIFY(!solver.undoRemesh());   // nothing to undo yet
    QVERIFY(advance(5));
    const std::vector<double> heads = solver.heads(), thetas = solver.thetas();
    const double storage = solver.storage(), time = solver.time();
    solver.remesh(coarse, h0);
    QCOMPARE(solver.mesh().cells(), coarse.cells());
    QVERIFY(solver.undoRemesh());
    QCOMPARE(solver.mesh().cells(), fine.cells());
    QCOMPARE(solver.mesh().rFaces(), fine.rFaces());
    QCOMPARE(solver.mesh().zFaces(), fine.zFaces());
    QVERIFY(solver.heads() == heads);     // bit for bit
    QVERIFY(solver.thetas() == thetas);
    QCOMPARE(solver.storage(), storage);
    QCOMPARE(solver.time(), time);
    QVERIFY(!solver.undoRemesh());   // once only
    // the run goes on from there; after a step on the new mesh there is no way back
    QVERIFY(advance(1));
    QVERIFY(solver.storage() > storage);
    solver.remesh(coarse, h0);
    QVERIFY(advance(1));
    QVERIFY(!solver.undoRemesh());
    QCOMPARE(solver.mesh().cells(), coarse.cells());
}

void TestSolverParts::frontOfKnownField()
{
    std::vector<double> rf, zf;
    for (int i = 0; i <= 100; ++i)
        rf.push_back(0.01 * i);
    for (int i = -100; i <= 100; ++i)
        zf.push_back(0.01 * i);
    AxisymmetricMesh mesh(rf, zf);
    // threshold 0.25 is reached at rho = R0/2; the field is stretched twice
    // as far in z, so the outline reaches 0.2 m sideways and 0.4 m up and down
    const auto e = FrontTracker::measure(mesh, cone(mesh, 0.4, 2.0), 0.25, 0.0);
    QVERIFY(e.wet);
    QVERIFY(std::fabs(e.radius - 0.2) < 0.005);
    QVERIFY(std::fabs(e.down - 0.4) < 0.005);
    QVERIFY(std::fabs(e.up - 0.4) < 0.005);
    QVERIFY(!e.touchesOuter && !e.touchesBottom && !e.touchesTop);
    // a front beyond the domain is flagged
    const auto big = FrontTracker::measure(mesh, cone(mesh, 3.0, 1.0), 0.25, 0.0);
    QVERIFY(big.touchesOuter && big.touchesBottom && big.touchesTop);
    // nothing wet
    const auto dry = FrontTracker::measure(mesh, cone(mesh, 0.4, 1.0), 0.5, 0.0);
    QVERIFY(!dry.wet);
    QCOMPARE(dry.radius, 0.0);
}

void TestSolverParts::stepFrontReadWhereItIs()
{
    // A step front (water content 0.35 behind it, 0.10 ahead, threshold at
    // a tenth of the rise to 0.40) averaged into 2 cm cells, at many
    // positions within a cell: a bulb of radius R and half-height H around
    // a buried emitter at z = 0, the cells it partly covers holding their
    // share (ring volumes along r, lengths along z).
    const AxisymmetricMesh mesh = twoCentimetreCells(50);
    const std::vector<double> &rf = mesh.rFaces(), &zf = mesh.zFaces();
    const double initial = 0.10, behind = 0.35, span = 0.40 - initial, threshold = initial + 0.1 * span;
    FrontTracker::Foot foot;
    foot.initial = initial;
    foot.span = span;
    auto field = [&](double R, double H) {
        std::vector<double> th(mesh.cells(), initial);
        for (int iz = 0; iz < mesh.rows(); ++iz) {
            const double zCover = std::clamp((std::min(zf[iz + 1], H) - std::max(zf[iz], -H)) / (zf[iz + 1] - zf[iz]), 0.0, 1.0);
            for (int ir = 0; ir < mesh.columns(); ++ir) {
                const double rCover = std::clamp((std::min(rf[ir + 1] * rf[ir + 1], R * R) - rf[ir] * rf[ir])
                                                     / (rf[ir + 1] * rf[ir + 1] - rf[ir] * rf[ir]), 0.0, 1.0);
                th[mesh.index(ir, iz)] = initial + (behind - initial) * rCover * zCover;
            }
        }
        return th;
    };
    // The radius with the top and bottom on faces, the height and depth with
    // the radius on a face: the cells of the bulb's rim then hold the full
    // level (where a rim cell is partly covered, the level there is low and
    // the reading takes in the linear one).
    double worstFoot = 0, worstLinear = 0;
    for (double f = 0.0; f < 1.0; f += 0.05) {
        const double R = 0.50 + 0.02 * f, H = 0.30 + 0.02 * f;
        const auto wide = field(R, 0.30), tall = field(0.50, H);
        const auto r = FrontTracker::measure(mesh, wide, threshold, 0.0, foot);
        const auto z = FrontTracker::measure(mesh, tall, threshold, 0.0, foot);
        worstFoot = std::max({worstFoot, std::fabs(r.radius - R), std::fabs(z.down - H), std::fabs(z.up - H)});
        const auto rl = FrontTracker::measure(mesh, wide, threshold, 0.0);
        const auto zl = FrontTracker::measure(mesh, tall, threshold, 0.0);
        worstLinear = std::max({worstLinear, std::fabs(rl.radius - R), std::fabs(zl.down - H)});
    }
    qInfo("step front in 2 cm cells: read within %.2g mm (linear reading: %.1f mm)", 1000 * worstFoot, 1000 * worstLinear);
    // the cells ahead hold nothing: a foot of no length, the step where it is,
    // also just past a face, where the cell ahead holds a sliver of it
    QVERIFY2(worstFoot < 1e-9, qPrintable(QString::number(worstFoot)));
    QVERIFY(worstLinear > 0.005);   // what the reading is for
}

void TestSolverParts::exponentialFootReadWhereItIs()
{
    // A front at the level P up to s, then u = P exp(-(x - s) / lambda),
    // averaged exactly into 2 cm cells, once along the rows (a cylinder:
    // ring averages) and once along the columns (a slab around z = 0): the
    // threshold lies at s + lambda ln(P / threshold).
    const AxisymmetricMesh mesh = twoCentimetreCells(60);
    const std::vector<double> &rf = mesh.rFaces(), &zf = mesh.zFaces();
    const double dx = 0.02, initial = 0.10, span = 0.30, P = 0.8, thr = 0.1;
    const double threshold = initial + thr * span;
    FrontTracker::Foot foot;
    foot.initial = initial;
    foot.span = span;
    // integral of the profile from 0 to x, along a column (weight 1) or a
    // row (weight r)
    auto integral = [&](double x, double s, double lambda, bool radial) {
        if (x <= s || lambda == 0)
            return radial ? P * std::pow(std::min(x, s), 2) / 2 : P * std::min(x, s);
        if (!radial)
            return P * s + P * lambda * (1 - std::exp(-(x - s) / lambda));
        auto g = [&](double r) { return -lambda * std::exp(-(r - s) / lambda) * (r + lambda); };
        return P * s * s / 2 + P * (g(x) - g(s));
    };
    auto average = [&](double a, double b, double s, double lambda, bool radial) {
        const double weight = radial ? (b * b - a * a) / 2 : b - a;
        return (integral(b, s, lambda, radial) - integral(a, s, lambda, radial)) / weight;
    };
    for (double lambdaCells : {0.1, 0.25, 0.5, 1.0, 2.0, 4.0}) {
        const double lambda = lambdaCells * dx;
        double worstFoot = 0, worstLinear = 0;
        for (int k = 0; k < 40; ++k) {
            const double s = 0.4 + dx * k / 40, expected = s + lambda * std::log(P / thr);
            std::vector<double> rows(mesh.cells()), columns(mesh.cells());
            for (int iz = 0; iz < mesh.rows(); ++iz)
                for (int ir = 0; ir < mesh.columns(); ++ir) {
                    const double ur = average(rf[ir], rf[ir + 1], s, lambda, true);
                    const double a = std::fabs(zf[iz]), b = std::fabs(zf[iz + 1]);
                    const double uz = average(std::min(a, b), std::max(a, b), s, lambda, false);
                    rows[mesh.index(ir, iz)] = initial + span * ur;
                    columns[mesh.index(ir, iz)] = initial + span * uz;
                }
            const auto r = FrontTracker::measure(mesh, rows, threshold, 0.0, foot);
            const auto z = FrontTracker::measure(mesh, columns, threshold, 0.0, foot);
            worstFoot = std::max({worstFoot, std::fabs(r.radius - expected), std::fabs(z.down - expected),
                                  std::fabs(z.up - expected)});
            const auto rl = FrontTracker::measure(mesh, rows, threshold, 0.0);
            const auto zl = FrontTracker::measure(mesh, columns, threshold, 0.0);
            worstLinear = std::max({worstLinear, std::fabs(rl.radius - expected), std::fabs(zl.down - expected),
                                    std::fabs(zl.up - expected)});
        }
        qInfo("foot of %.2f cells: read within %.3f cells (linear reading: %.3f)", lambdaCells,
              worstFoot / dx, worstLinear / dx);
        // Exact where the foot is short: the cell behind the crossing then
        // holds the level. A foot of a cell or so reaches that cell too, and
        // the level read there is low; the reading stays within a sixth of a
        // cell and never does worse than the linear one, which for long feet
        // it approaches.
        if (lambdaCells <= 0.1)
            QVERIFY2(worstFoot < 0.001 * dx, qPrintable(QString::number(worstFoot / dx)));
        QVERIFY2(worstFoot < dx / 6, qPrintable(QString::number(worstFoot / dx)));
        QVERIFY(worstFoot <= worstLinear + 1e-6 * dx);
    }
    // a front spread over many cells by a straight ramp (no foot) stays near
    // the linear reading
    const auto smooth = cone(mesh, 0.6, 1.0);
    std::vector<double> th(mesh.cells());
    for (int i = 0; i < mesh.cells(); ++i)
        th[i] = initial + (smooth[i] - 0.1) / 0.3 * 0.9 * span;   // from initial to 0.9 of the span
    const auto a = FrontTracker::measure(mesh, th, threshold, 0.0, foot), b = FrontTracker::measure(mesh, th, threshold, 0.0);
    QVERIFY(std::fabs(a.radius - b.radius) < dx / 4);
    QVERIFY(std::fabs(a.down - b.down) < dx / 4);
}

void TestSolverParts::thinWettingReadLinearly()
{
    // A step front 0.4 of the way into a 2 cm cell behind which the soil is
    // wetted to a level P: where P is at most twice the threshold the
    // crossing is read linearly, from four times on as a step, and in
    // between the reading passes from the one to the other without a jump as
    // P rises.
    std::vector<double> f;
    for (int i = 0; i <= 40; ++i)
        f.push_back(0.02 * i);
    const AxisymmetricMesh mesh(f, f);
    const double initial = 0.1, span = 0.3, thr = 0.1, threshold = initial + thr * span;
    const double s = 0.40 + 0.4 * 0.02;   // the step, in column 20
    FrontTracker::Foot foot;
    foot.initial = initial;
    foot.span = span;
    double last = -1, largestJump = 0;
    for (double P = 0.15; P <= 0.6 + 1e-9; P += 0.001) {
        std::vector<double> th(mesh.cells());
        for (int iz = 0; iz < mesh.rows(); ++iz)
            for (int ir = 0; ir < mesh.columns(); ++ir) {
                const double cover = std::clamp((std::min(f[ir + 1] * f[ir + 1], s * s) - f[ir] * f[ir])
                                                    / (f[ir + 1] * f[ir + 1] - f[ir] * f[ir]), 0.0, 1.0);
                th[mesh.index(ir, iz)] = initial + span * P * cover;
            }
        const double r = FrontTracker::measure(mesh, th, threshold, 0.0, foot).radius;
        const double linear = FrontTracker::measure(mesh, th, threshold, 0.0).radius;
        if (P <= 2 * thr)
            QCOMPARE(r, linear);
        if (P >= 4 * thr)
            QVERIFY2(std::fabs(r - s) < 1e-9, qPrintable(QString::number(r - s)));
        if (last >= 0)
            largestJump = std::max(largestJump, std::fabs(r - last));
        last = r;
    }
    // the linear reading itself moves with P (the crossing cell's content
    // grows with it), by up to 0.15 mm per step of P here; a hard switch
    // between the readings at one level jumps by 5 mm
    QVERIFY2(largestJump < 0.0003, qPrintable(QString::number(largestJump)));
}

void TestSolverParts::frontMovesSmoothly()
{
    // coarse cells (5 cm): a front moving 1 mm at a time must move about 1 mm
    // at a time, not in 5 cm jumps
    std::vector<double> rf, zf;
    for (int i = 0; i <= 40; ++i)
        rf.push_back(0.05 * i);
    for (int i = 0; i <= 40; ++i)
        zf.push_back(0.05 * i);
    AxisymmetricMesh mesh(rf, zf);
    double last = -1;
    for (double r0 = 0.6; r0 < 0.9; r0 += 0.002) {
        const auto e = FrontTracker::measure(mesh, cone(mesh, r0, 1.0), 0.25, 0.0);
        if (last >= 0) {
            const double step = e.radius - last;
            QVERIFY2(step > 0 && step < 0.01, qPrintable(QString("jump of %1 m").arg(step)));
        }
        last = e.radius;
    }
}

QTEST_GUILESS_MAIN(TestSolverParts)
#include "tst_solver_parts.moc"
