// Every corner of the soils the program accepts (SoilRanges, alone and
// together) is computed and passes the checks a build makes before it stores
// a case. Here the first two hours of the cases that failed first when the
// ranges were wider: a strong surface emitter in dry soil (the ponded disc's
// edge), a moderate one in moist soil, and a strong buried emitter in wet soil
// (the pressurised source). All 30 cases of the slowest corner, 24 hours each,
// are in bench_soil_corners (make bench), which with --all runs every corner
// so; the figures are in builder/README.md.

#include "SoilCorners.h"

#include "builder/CaseCheck.h"
#include "solver/SolverSettings.h"
#include "solver/WettingSimulation.h"
#include "base/SoilRanges.h"

#include <QtTest>

using solver::CaseSpec;
using solver::Emitter;

class TstSolverCorners : public QObject
{
    Q_OBJECT

private slots:
    void everyCornerIsAccepted()
    {
        const auto soils = soilcorners::corners();
        QCOMPARE(int(soils.size()), 30);
        for (const auto &s : soils) {
            const auto p = SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks);
            QVERIFY2(p.empty(), qPrintable(QStringLiteral("%1: %2").arg(QString::fromStdString(s.name), p.empty() ? QString() : p.front().message)));
        }
    }

    void justBeyondACornerIsRefused()
    {
        // The corners are the edges: a little further and the soil is refused.
        int beyond = 0;
        for (const auto &s : soilcorners::corners()) {
            const SoilRanges::Family f = SoilRanges::familyOf(s.n);
            const SoilRanges::Range ks = SoilRanges::ksFor(s.alpha, s.n);
            if (s.ks == ks.high) {
                QVERIFY2(!SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks * 1.01).empty(), s.name.c_str());
                ++beyond;
            }
            if (s.ks == ks.low) {
                QVERIFY2(!SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks * 0.99).empty(), s.name.c_str());
                ++beyond;
            }
            if (s.alpha == f.alpha.high) {
                QVERIFY2(!SoilRanges::problems(s.thetaR, s.thetaS, s.alpha * 1.01, s.n, s.ks).empty(), s.name.c_str());
                ++beyond;
            }
        }
        QVERIFY(beyond >= 30);
    }

    void solverAndRangesAgreeOnTheFamilies()
    {
        // The fine-textured soils are those the solver computes with an
        // air-entry value.
        QCOMPARE(SoilRanges::coarseFromN(), solver::SolverSettings().airEntryMaxN);
    }

    void everyCornerComputes_data()
    {
        QTest::addColumn<double>("litres");
        QTest::addColumn<double>("head");
        QTest::addColumn<int>("emitter");
        QTest::newRow("8 L/h, dry, surface") << 8.0 << -10.0 << int(Emitter::Surface);
        QTest::newRow("2 L/h, moist, surface") << 2.0 << -6.0 << int(Emitter::Surface);
        QTest::newRow("8 L/h, wet, buried") << 8.0 << -3.0 << int(Emitter::Buried);
    }

    void everyCornerComputes()
    {
        QFETCH(double, litres);
        QFETCH(double, head);
        QFETCH(int, emitter);
        QStringList failed;
        for (const auto &soil : soilcorners::corners()) {
            CaseSpec c;
            c.soil = soil;
            c.flowLitresPerHour = litres;
            c.initialHead = head;
            c.emitter = Emitter(emitter);
            c.hours = 2;
            const QString problem = CaseCheck::problem(c, solver::runCase(c));
            if (!problem.isEmpty())
                failed << QStringLiteral("%1: %2").arg(QString::fromStdString(soil.name), problem);
        }
        QVERIFY2(failed.isEmpty(), qPrintable(failed.join(QLatin1Char('\n'))));
    }
};

QTEST_GUILESS_MAIN(TstSolverCorners)
#include "tst_solver_corners.moc"
