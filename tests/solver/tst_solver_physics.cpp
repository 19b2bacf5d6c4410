// Whole cases of the sweep through runCase: do the fronts make physical sense?
#include "tests/solver/SolverCases.h"

#include <QtTest>

using namespace solver;
using namespace solvertest;

class TestSolverPhysics : public QObject
{
    Q_OBJECT
private slots:
    void frontsGrowWithTime();
    void frontsGrowWithFlow();
    void sandDeeperAndNarrowerThanClay();
    void wetterSoilWetsFurther();
    void buriedEmitterWetsMoreDownThanUp();
};

void TestSolverPhysics::frontsGrowWithTime()
{
    for (bool buried : {false, true}) {
        const CaseResult r = runChecked(
            makeCase(Loam, 2.0, -6.0, buried ? Emitter::Buried : Emitter::Surface, 12));
        QCOMPARE(int(r.fronts.size()), 12);
        for (size_t i = 1; i < r.fronts.size(); ++i) {
            QCOMPARE(r.fronts[i].hour, int(i) + 1);
            QVERIFY(r.fronts[i].r > r.fronts[i - 1].r);
            QVERIFY(r.fronts[i].down > r.fronts[i - 1].down);
            if (buried)
                QVERIFY(r.fronts[i].up >= r.fronts[i - 1].up);
            else
                QCOMPARE(r.fronts[i].up, 0.0);
        }
    }
}

void TestSolverPhysics::frontsGrowWithFlow()
{
    const CaseResult slow = runChecked(makeCase(Loam, 0.5, -6.0, Emitter::Surface, 6));
    const CaseResult fast = runChecked(makeCase(Loam, 8.0, -6.0, Emitter::Surface, 6));
    for (int i = 0; i < 6; ++i) {
        QVERIFY(fast.fronts[i].r > slow.fronts[i].r);
        QVERIFY(fast.fronts[i].down > slow.fronts[i].down);
    }
}

// the same volume of water (same flow and time)
void TestSolverPhysics::sandDeeperAndNarrowerThanClay()
{
    for (Emitter e : {Emitter::Surface, Emitter::Buried}) {
        const FrontRow sand = runChecked(makeCase(Sand, 2.0, -10.0, e, 6)).fronts.back();
        const FrontRow clay = runChecked(makeCase(Clay, 2.0, -10.0, e, 6)).fronts.back();
        qInfo("%s: sand r %.3f z %.3f, clay r %.3f z %.3f",
              e == Emitter::Surface ? "surface" : "buried", sand.r, sand.down, clay.r, clay.down);
        QVERIFY(sand.down > clay.down);
        QVERIFY(sand.r < clay.r);
    }
}

void TestSolverPhysics::wetterSoilWetsFurther()
{
    const FrontRow wet = runChecked(makeCase(Loam, 2.0, -3.0, Emitter::Surface, 6)).fronts.back();
    const FrontRow moist = runChecked(makeCase(Loam, 2.0, -6.0, Emitter::Surface, 6)).fronts.back();
    const FrontRow dry = runChecked(makeCase(Loam, 2.0, -10.0, Emitter::Surface, 6)).fronts.back();
    QVERIFY(wet.r > moist.r && moist.r > dry.r);
    QVERIFY(wet.down > moist.down && moist.down > dry.down);
}

void TestSolverPhysics::buriedEmitterWetsMoreDownThanUp()
{
    const CaseResult r = runChecked(makeCase(Sand, 4.0, -6.0, Emitter::Buried, 6));
    const FrontRow& f = r.fronts.back();
    QVERIFY(f.up > 0.02);
    QVERIFY(f.down > 1.5 * f.up);
}

QTEST_GUILESS_MAIN(TestSolverPhysics)
#include "tst_solver_physics.moc"
