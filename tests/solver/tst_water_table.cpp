// The initial state above a water table: hydrostatic heads (h = z - D, z down
// from the surface, D the water table's depth) with the bottom held at the
// water table are an equilibrium of the discretised equation, so soil that
// no water reaches stays exactly as it was, in a fine soil with its air-entry
// value and in a sand, on a graded mesh.

#include "tests/solver/SolverTestSoils.h"

#include "solver/AxisymmetricMesh.h"
#include "solver/RichardsSolver.h"
#include "solver/WettingSimulation.h"

#include <QtTest>

#include <cmath>

using namespace solver;

class TstWaterTable : public QObject
{
    Q_OBJECT

private slots:
    void hydrostaticStaysAtRest_data()
    {
        QTest::addColumn<int>("soil");
        QTest::newRow("Silty Clay (air entry)") << 11;
        QTest::newRow("Loam (air entry)") << 4;
        QTest::newRow("Sand") << 1;
    }

    void hydrostaticStaysAtRest()
    {
        QFETCH(int, soil);
        const double D = 1.2;
        const SolverSettings set;
        const auto model = WettingSimulation::makeSoil(solvertest::soil(soil), set);
        // graded faces down to the water table, the last one on it
        std::vector<double> zf = AxisymmetricMesh::gradedFaces(0.0, 1.0, D, 0.005, 0.02, 1.15, 0.05);
        const double stretch = D / zf.back();
        for (double& z : zf)
            z *= stretch;
        zf.back() = D;
        const AxisymmetricMesh mesh(AxisymmetricMesh::gradedFaces(0.0, 1.0, 1.0, 0.005, 0.02, 1.15, 0.1), zf);
        QCOMPARE(mesh.zFaces().back(), D); // the bottom face on the water table
        RichardsSolver solver(*model, mesh, set);
        std::vector<double> h(std::size_t(mesh.cells()));
        for (int iz = 0; iz < mesh.rows(); ++iz)
            for (int ir = 0; ir < mesh.columns(); ++ir)
                h[std::size_t(mesh.index(ir, iz))] = mesh.zCentre(iz) - D;
        solver.setHeads(h);
        solver.setFixedHeads(RichardsSolver::Side::Bottom, std::vector<double>(std::size_t(mesh.columns()), 0.0));
        const double storage0 = solver.storage();
        const double target = 48 * 3600.0;
        while (solver.time() < target) {
            const double dt = std::min(solver.suggestedStep(), target - solver.time());
            QVERIFY2(solver.step(dt) || solver.suggestedStep() > set.minStep, "the solver stalled");
        }
        double moved = 0;
        for (std::size_t i = 0; i < h.size(); ++i)
            moved = std::max(moved, std::fabs(solver.heads()[i] - h[i]));
        qInfo("largest change of head in 48 h: %.3g m; storage change %.3g of %.3g m3; %ld steps", moved,
              solver.storage() - storage0, storage0, solver.acceptedSteps());
        QVERIFY2(moved < 1e-6, qPrintable(QString::number(moved)));
        QVERIFY(std::fabs(solver.storage() - storage0) < 1e-9 * storage0);
        QVERIFY(std::fabs(solver.cumulativeInflow()) < 1e-9 * storage0); // nothing in or out at the bottom
    }
};

QTEST_APPLESS_MAIN(TstWaterTable)
#include "tst_water_table.moc"
