// The true outline of the wetted zone, traced on fields whose outline is
// known: a field linear between centres is traced exactly, an ellipse and an
// exponential foot within the interpolation's error, ending on the axis and on
// the surface, and separate wet zones give separate curves.

#include "solver/Outline.h"

#include <QtTest>

#include <cmath>
#include <functional>

using solver::AxisymmetricMesh;
using solver::Outline;

namespace {

std::vector<double> uniformFaces(double from, double to, int cells)
{
    std::vector<double> f;
    for (int k = 0; k <= cells; ++k)
        f.push_back(from + (to - from) * k / cells);
    return f;
}

std::vector<double> field(const AxisymmetricMesh& m, const std::function<double(double, double)>& f)
{
    std::vector<double> th(std::size_t(m.cells()));
    for (int iz = 0; iz < m.rows(); ++iz)
        for (int ir = 0; ir < m.columns(); ++ir)
            th[std::size_t(m.index(ir, iz))] = f(m.rCentre(ir), m.zCentre(iz));
    return th;
}

} // namespace

class TstOutline : public QObject
{
    Q_OBJECT

private slots:
    void aLinearFieldIsTracedExactly()
    {
        // Graded cells: theta falls linearly with r, the same at every depth;
        // its outline is the vertical line r = 0.37 from the surface down.
        std::vector<double> rf = {0};
        for (double h = 0.002; rf.back() < 1.0; h *= 1.2)
            rf.push_back(rf.back() + h);
        const AxisymmetricMesh m(rf, uniformFaces(0, 0.8, 40));
        const auto curves = Outline::trace(m, field(m, [](double r, double) { return 1.0 - r; }), 1.0 - 0.37);
        QCOMPARE(int(curves.size()), 1);
        for (const auto& p : curves[0])
            QVERIFY2(std::fabs(p.r - 0.37) < 1e-12, qPrintable(QString::number(p.r, 'g', 17)));
        const double top = std::min(curves[0].front().z, curves[0].back().z);
        const double bottom = std::max(curves[0].front().z, curves[0].back().z);
        QCOMPARE(top, 0.0);                 // it ends on the surface
        QCOMPARE(bottom, m.zCentre(m.rows() - 1)); // and on the last centre
    }

    void aSurfaceBulbEndsOnTheAxisAndTheSurface()
    {
        // An ellipse of radius 0.3 m and depth 0.5 m under the surface.
        const double a = 0.3, b = 0.5;
        const AxisymmetricMesh m(uniformFaces(0, 0.6, 300), uniformFaces(0, 0.8, 400));
        const auto th = field(m, [&](double r, double z) { return 1.0 - (r * r / (a * a) + z * z / (b * b)); });
        const auto curves = Outline::trace(m, th, 0.0);
        QCOMPARE(int(curves.size()), 1);
        const Outline::Curve& c = curves[0];
        for (const auto& p : c)
            QVERIFY(std::fabs(p.r * p.r / (a * a) + p.z * p.z / (b * b) - 1.0) < 1e-3);
        const Outline::Point axisEnd = c.front().r == 0 ? c.front() : c.back();
        const Outline::Point surfaceEnd = c.front().r == 0 ? c.back() : c.front();
        QCOMPARE(axisEnd.r, 0.0);
        QVERIFY(std::fabs(axisEnd.z - b) < 1e-3);
        QCOMPARE(surfaceEnd.z, 0.0);
        QVERIFY(std::fabs(surfaceEnd.r - a) < 1e-3);
        // a quarter of the ellipse's perimeter (Ramanujan), within 0.1 %
        const double h = std::pow(a - b, 2) / std::pow(a + b, 2);
        const double quarter = M_PI * (a + b) * (1 + 3 * h / (10 + std::sqrt(4 - 3 * h))) / 4;
        QVERIFY2(std::fabs(Outline::length(c) / quarter - 1) < 1e-3, qPrintable(QString::number(Outline::length(c) / quarter)));
    }

    void aBuriedBulbRunsFromTheAxisAboveToTheAxisBelow()
    {
        // An exponential foot around a buried emitter: theta = exp(-rho / L),
        // outline at exp(-1): the sphere rho = L.
        const double L = 0.2;
        const AxisymmetricMesh m(uniformFaces(0, 0.5, 100), uniformFaces(-0.5, 0.5, 200));
        const auto th = field(m, [&](double r, double z) { return std::exp(-std::hypot(r, z) / L); });
        const auto curves = Outline::trace(m, th, std::exp(-1.0));
        QCOMPARE(int(curves.size()), 1);
        const Outline::Curve& c = curves[0];
        QCOMPARE(c.front().r, 0.0);
        QCOMPARE(c.back().r, 0.0);
        QVERIFY(std::fabs(std::fabs(c.front().z) - L) < 2e-3 && std::fabs(std::fabs(c.back().z) - L) < 2e-3);
        QVERIFY(c.front().z * c.back().z < 0); // one end above the emitter, one below
        for (const auto& p : c)
            QVERIFY2(std::fabs(std::hypot(p.r, p.z) / L - 1) < 5e-3, qPrintable(QString::number(std::hypot(p.r, p.z))));
        QVERIFY(std::fabs(Outline::length(c) / (M_PI * L) - 1) < 5e-3); // half a great circle
    }

    void separateWetZonesAreSeparateCurves()
    {
        // A bulb at the surface and a wet layer deeper down (a closed ring
        // away from the axis).
        const AxisymmetricMesh m(uniformFaces(0, 1.0, 100), uniformFaces(0, 1.0, 100));
        const auto th = field(m, [](double r, double z) {
            const double bulb = 1.0 - std::hypot(r, z) / 0.2;
            const double ring = 1.0 - std::hypot(r - 0.6, z - 0.6) / 0.1;
            return std::max(bulb, ring);
        });
        const auto curves = Outline::trace(m, th, 0.0);
        QCOMPARE(int(curves.size()), 2);
        // longest first: the ring (0.628 m), then the bulb's quarter circle
        // (0.314 m)
        QVERIFY(std::fabs(Outline::length(curves[0]) - 2 * M_PI * 0.1) < 2e-3);
        QVERIFY(std::fabs(Outline::length(curves[1]) - M_PI * 0.2 / 2) < 2e-3);
        const auto& ring = curves[0];
        QCOMPARE(ring.front().r, ring.back().r); // closed
        QCOMPARE(ring.front().z, ring.back().z);
    }

    void nothingWetNothingTraced()
    {
        const AxisymmetricMesh m(uniformFaces(0, 1.0, 10), uniformFaces(0, 1.0, 10));
        QVERIFY(Outline::trace(m, std::vector<double>(100, 0.1), 0.2).empty());
    }
};

QTEST_APPLESS_MAIN(TstOutline)
#include "tst_outline.moc"
