// The exact steady solution of a point source below a no-flux surface (the
// reference for a buried emitter with the soil surface above it), checked on
// its own before the solver is compared with it: no water crosses the
// surface, all the emitter's water leaves through a sphere around it, it is
// Raats' surface source at d = 0 and Philip's source far below the surface.

#include "tests/solver/ExactBuriedSource.h"

#include <QtTest>

using exactburied::Source;

class TstExactBuried : public QObject
{
    Q_OBJECT

private slots:
    void noWaterCrossesTheSurface()
    {
        // Loam-like alpha 3.6 1/m and a sand-like 14.5 1/m, emitter at 5 and 20 cm.
        for (double alpha : {3.6, 14.5})
            for (double d : {0.05, 0.2}) {
                const Source src{2.0 / 3.6e6, alpha / 2, d};
                // the flux a sphere of radius d around the source would carry
                const double scale = src.flow / (4 * M_PI * d * d);
                for (double r = 0.01; r < 2.0; r *= 1.5) {
                    const double q = exactburied::downwardFlux(src, r, 0.0, 1e-5);
                    QVERIFY2(std::fabs(q) < 1e-6 * scale, qPrintable(QStringLiteral("alpha %1, d %2, r %3: q = %4 of %5")
                                                                         .arg(alpha).arg(d).arg(r).arg(q).arg(scale)));
                }
                // but it does just below the source
                QVERIFY(exactburied::downwardFlux(src, 0.0, 2 * d, 1e-5) > 0.01 * scale);
            }
    }

    void theEmittersWaterLeavesThroughASphereAroundIt()
    {
        // Steady: what flows out through a sphere of radius R around the
        // emitter is Q, the surface passing nothing (the sphere stays below it).
        const Source src{1e-6, 1.8, 0.3};
        const double R = 0.1;
        const int n = 400;
        double out = 0;
        for (int i = 0; i < n; ++i) {
            const double theta = M_PI * (i + 0.5) / n; // from straight down
            const double r = R * std::sin(theta), zeta = src.depth + R * std::cos(theta);
            const double h = 1e-6;
            const double dr = (exactburied::phi(src, r + h, zeta) - exactburied::phi(src, std::fabs(r - h), zeta)) / (2 * h);
            const double qr = -dr;
            const double qz = exactburied::downwardFlux(src, r, zeta, h);
            const double normal = qr * std::sin(theta) + qz * std::cos(theta);
            out += normal * 2 * M_PI * r * R * (M_PI / n);
        }
        QVERIFY2(std::fabs(out / src.flow - 1) < 1e-3, qPrintable(QString::number(out / src.flow, 'g', 8)));
    }

    void atTheSurfaceItIsRaatsSource()
    {
        const Source src{1e-6, 1.8, 0.0};
        for (double r : {0.02, 0.1, 0.5})
            for (double zeta : {0.0, 0.05, 0.3}) {
                const double a = exactburied::phi(src, r, zeta), b = exactburied::phiRaats(src.flow, src.s, r, zeta);
                QVERIFY2(std::fabs(a / b - 1) < 1e-12, qPrintable(QStringLiteral("r %1, zeta %2: %3 against %4").arg(r).arg(zeta).arg(a).arg(b)));
            }
    }

    void farBelowTheSurfaceItIsPhilipsSource()
    {
        // Near the emitter the surface's share falls as the emitter goes
        // deeper: the relative difference at 5 cm from the emitter.
        double last = 1;
        for (double d : {0.2, 0.5, 1.0, 2.0}) {
            const Source src{1e-6, 1.8, d};
            const double a = exactburied::phi(src, 0.05, d), b = exactburied::phiUnbounded(src, 0.05, d);
            const double diff = std::fabs(a / b - 1);
            QVERIFY2(diff < last, qPrintable(QStringLiteral("d %1: %2").arg(d).arg(diff)));
            last = diff;
        }
        QVERIFY2(last < 1e-3, qPrintable(QString::number(last)));
    }
};

QTEST_APPLESS_MAIN(TstExactBuried)
#include "tst_exact_buried.moc"
