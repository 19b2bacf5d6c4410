// Mesh convergence of the fronts: the same case with every cell size halved
// (finest and largest cells halved, growth factor square-rooted) must give r,
// z (and zminus) within 2 % in every hour of the day. This CI test covers
// three of the six representative cases that run in well under a minute each
// (Loam dry 0.5 L/h surface; Clay wet 8 L/h surface; Clay dry 0.5 L/h
// buried). bench_solver --convergence runs all six (Sand, Loam and Clay; wet
// and dry; 0.5 and 8 L/h; surface and buried) and prints every hour's change.
#include "solver/WettingSimulation.h"
#include "tests/solver/SolverTestSoils.h"

#include <QtTest>

#include <algorithm>
#include <cmath>

using namespace solver;

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
    QCOMPARE(a.fronts.size(), b.fronts.size());
    for (size_t i = 0; i < a.fronts.size(); ++i) {
        const FrontRow& fa = a.fronts[i];
        const FrontRow& fb = b.fronts[i];
        if (buried)
            QVERIFY(fb.up > 0);   // so that zminus is among the values compared
        const double change = solvertest::largestChange(fa, fb);
        if (fa.hour == 1 || fa.hour == 24 || change >= 0.02)
            qInfo("hour %2d: r %.4f -> %.4f m, z %.4f -> %.4f m, zminus %.4f -> %.4f m, "
                  "largest change %.2f %%",
                  fa.hour, fa.r, fb.r, fa.down, fb.down, fa.up, fb.up, 100 * change);
        QVERIFY2(change < 0.02, qPrintable(QStringLiteral("hour %1").arg(fa.hour)));
    }
}

QTEST_GUILESS_MAIN(TestSolverConvergence)
#include "tst_solver_convergence.moc"
