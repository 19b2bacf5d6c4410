// Mesh convergence of the 24-hour fronts: the same case with every cell size
// halved (finest and largest cells halved, growth factor square-rooted) must
// give r and z within 2 %. This CI test covers three of the representative
// cases that run in well under a minute together (Loam dry 0.5 L/h surface,
// the most sensitive of the six; Clay wet 8 L/h surface; Clay dry 0.5 L/h
// buried). bench_solver --convergence runs all six (Sand, Loam and Clay; wet
// and dry; 0.5 and 8 L/h; surface and buried) and prints every hour's change.
#include "builder/WettingSimulation.h"
#include "tests/builder/SolverTestSoils.h"

#include <QtTest>

#include <cmath>

using namespace builder;

class TestSolverConvergence : public QObject
{
    Q_OBJECT
private slots:
    void halvedCellsKeepFronts_data();
    void halvedCellsKeepFronts();
};

void TestSolverConvergence::halvedCellsKeepFronts_data()
{
    QTest::addColumn<int>("soil");
    QTest::addColumn<double>("flow");
    QTest::addColumn<double>("head");
    QTest::addColumn<bool>("buried");
    QTest::newRow("loam dry 0.5 L/h surface") << 4 << 0.5 << -10.0 << false;
    QTest::newRow("clay wet 8 L/h surface") << 12 << 8.0 << -3.0 << false;
    QTest::newRow("clay dry 0.5 L/h buried") << 12 << 0.5 << -10.0 << true;
}

void TestSolverConvergence::halvedCellsKeepFronts()
{
    QFETCH(int, soil);
    QFETCH(double, flow);
    QFETCH(double, head);
    QFETCH(bool, buried);
    const CaseSpec c =
        solvertest::makeCase(soil, flow, head, buried ? Emitter::Buried : Emitter::Surface);
    SolverSettings fine;
    fine.refinement = 2;
    const CaseResult a = runCase(c), b = runCase(c, fine);
    QVERIFY(a.message.empty() && b.message.empty());
    const FrontRow& fa = a.fronts.back();
    const FrontRow& fb = b.fronts.back();
    const double dr = std::fabs(fa.r / fb.r - 1), dz = std::fabs(fa.down / fb.down - 1);
    qInfo("24 h: r %.4f -> %.4f m (%.2f %%), z %.4f -> %.4f m (%.2f %%)", fa.r, fb.r, 100 * dr,
          fa.down, fb.down, 100 * dz);
    QVERIFY(dr < 0.02);
    QVERIFY(dz < 0.02);
    if (buried)
        QVERIFY(std::fabs(fa.up / fb.up - 1) < 0.02);
}

QTEST_GUILESS_MAIN(TestSolverConvergence)
#include "tst_solver_convergence.moc"
