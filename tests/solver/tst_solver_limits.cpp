// The bounds of one case: a case that would use more CPU time or a larger mesh
// than a case may stops with its reason ("time limit", "memory limit") instead
// of running on, and a case within them is not touched by them.

#include "SolverTestSoils.h"

#include "solver/CaseLimits.h"
#include "solver/WettingSimulation.h"

#include <QtTest>

using solver::CaseResult;
using solver::Emitter;
using solver::SolverSettings;

class TstSolverLimits : public QObject
{
    Q_OBJECT

private slots:
    void timeLimitStopsTheCase()
    {
        // Loam, wet, 8 L/h, buried takes about a second of CPU time.
        SolverSettings s;
        s.maxCaseSeconds = 0.05;
        const double before = solver::CaseLimits::threadCpuSeconds();
        const CaseResult r = solver::runCase(solvertest::makeCase(4, 8.0, -3.0, Emitter::Buried), s);
        const double used = solver::CaseLimits::threadCpuSeconds() - before;
        QCOMPARE(QString::fromStdString(r.stopReason), QStringLiteral("time limit"));
        QVERIFY2(QString::fromStdString(r.message).startsWith(QStringLiteral("the case used more than 0.05 s of CPU time at t = ")),
                 r.message.c_str());
        QVERIFY(int(r.fronts.size()) < 24);
        // stopped soon after the limit, within a step or two
        QVERIFY2(used < 0.5, qPrintable(QString::number(used)));
    }

    void cellLimitStopsTheCase()
    {
        // The first mesh alone has some hundred cells; the domain grows beyond
        // a thousand within the first hour.
        SolverSettings s;
        s.maxCells = 1000;
        const CaseResult r = solver::runCase(solvertest::makeCase(4, 8.0, -3.0, Emitter::Buried, 2), s);
        QCOMPARE(QString::fromStdString(r.stopReason), QStringLiteral("memory limit"));
        QVERIFY2(QString::fromStdString(r.message).contains(QStringLiteral("cells, more than the 1000 a case may use")), r.message.c_str());
        s.maxCells = 10;
        const CaseResult first = solver::runCase(solvertest::makeCase(4, 8.0, -3.0, Emitter::Buried, 2), s);
        QCOMPARE(QString::fromStdString(first.stopReason), QStringLiteral("memory limit"));
        QVERIFY(first.fronts.empty());
    }

    void withinTheLimitsNothingChanges()
    {
        // The limits only ever stop a case: within them the result is the
        // same, bit for bit, as with no limits at all.
        SolverSettings none;
        none.maxCaseSeconds = 0;
        none.maxCells = 0;
        const auto c = solvertest::makeCase(4, 2.0, -6.0, Emitter::Surface, 3);
        const CaseResult a = solver::runCase(c, SolverSettings()), b = solver::runCase(c, none);
        QVERIFY(a.stopReason.empty() && a.message.empty());
        QCOMPARE(a.fronts.size(), size_t(3));
        QCOMPARE(a.timeSteps, b.timeSteps);
        QCOMPARE(a.massBalanceError, b.massBalanceError);
        for (size_t i = 0; i < a.fronts.size(); ++i) {
            QCOMPARE(a.fronts[i].r, b.fronts[i].r);
            QCOMPARE(a.fronts[i].down, b.fronts[i].down);
        }
    }

    void failureToConvergeIsNamed()
    {
        // A soil far outside the accepted ranges (n 10): the solver finds no
        // step at the start and says so with its reason.
        auto c = solvertest::makeCase(1, 8.0, -10.0, Emitter::Buried, 1);
        c.soil.n = 10.0;
        const CaseResult r = solver::runCase(c);
        QCOMPARE(QString::fromStdString(r.stopReason), QStringLiteral("no convergence"));
        QVERIFY2(QString::fromStdString(r.message).startsWith(QStringLiteral("the solver did not converge at t = ")), r.message.c_str());
    }
};

QTEST_GUILESS_MAIN(TstSolverLimits)
#include "tst_solver_limits.moc"
