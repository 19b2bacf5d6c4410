#include "base/SoilRanges.h"


#include <algorithm>
#include <cmath>

namespace {

struct Named
{
    const char *field;
    const char *unit;
    SoilRanges::Range range;
    double value;
};

QString withUnit(const QString &number, const char *unit)
{
    return *unit ? number + QLatin1Char(' ') + QLatin1String(unit) : number;
}

// Whether v lies in r, its ends widened by the last digits' rounding: a value
// at an end converted from another unit (1e-8 m/s shown as 0.000864 m/day and
// back: 9.999999999999999e-09 m/s) is the end, not beyond it.
bool inRange(const SoilRanges::Range &r, double v)
{
    constexpr double rounding = 1e-12;
    return v >= r.low - rounding * std::fabs(r.low) && v <= r.high + rounding * std::fabs(r.high);
}

} // namespace

SoilRanges::Range SoilRanges::thetaR() { return {0.0, 0.25}; }
SoilRanges::Range SoilRanges::thetaS() { return {0.25, 0.7}; }
SoilRanges::Range SoilRanges::alpha() { return {0.2, 15.0}; }
SoilRanges::Range SoilRanges::n() { return {1.09, 2.8}; }
SoilRanges::Range SoilRanges::ks() { return {1e-8, 1e-4}; }
double SoilRanges::coarseFromN() { return 1.85; }

SoilRanges::Family SoilRanges::fine()
{
    return {"fine-textured", {n().low, coarseFromN()}, {alpha().low, 8.0}, {ks().low, 4e-5}, {4e-9, 5e-6}, 0.1};
}

SoilRanges::Family SoilRanges::coarse()
{
    return {"coarse-textured", {coarseFromN(), n().high}, {4.0, alpha().high}, {ks().low, ks().high}, {2e-8, 2e-6}, 0.3};
}

SoilRanges::Family SoilRanges::familyOf(double n)
{
    return n < coarseFromN() ? fine() : coarse();
}

SoilRanges::Range SoilRanges::ksFor(double alpha, double n)
{
    const Family f = familyOf(n);
    const double a2 = alpha * alpha;
    return {std::max(f.ks.low, f.ksPerAlpha2.low * a2), std::min(f.ks.high, f.ksPerAlpha2.high * a2)};
}

QString SoilRanges::numberText(double v)
{
    return QString::number(v, 'g', 6);
}

std::vector<SoilRanges::Problem> SoilRanges::problems(double thetaR, double thetaS, double alpha, double n, double ks)
{
    std::vector<Problem> out = rangeProblems(thetaR, thetaS, alpha, n, ks);
    // The joint rules are told only of values that lie in their ranges.
    if (out.empty())
        out = jointProblems(thetaR, thetaS, alpha, n, ks);
    return out;
}

std::vector<SoilRanges::Problem> SoilRanges::rangeProblems(double thetaR, double thetaS, double alpha, double n, double ks)
{
    const Named values[] = {
        {"theta_r", "m3/m3", SoilRanges::thetaR(), thetaR}, {"theta_s", "m3/m3", SoilRanges::thetaS(), thetaS},
        {"alpha", "1/m", SoilRanges::alpha(), alpha},       {"n", "", SoilRanges::n(), n},
        {"Ks", "m/s", SoilRanges::ks(), ks},
    };
    std::vector<Problem> out;
    for (const Named &v : values) {
        if (!std::isfinite(v.value))
            out.push_back({QLatin1String(v.field), QStringLiteral("%1 is not a number").arg(QLatin1String(v.field))});
        else if (!inRange(v.range, v.value))
            out.push_back({QLatin1String(v.field),
                           QStringLiteral("%1 %2 lies outside %3 to %4")
                               .arg(QLatin1String(v.field), withUnit(numberText(v.value), v.unit), numberText(v.range.low),
                                    withUnit(numberText(v.range.high), v.unit))});
    }
    return out;
}

std::vector<SoilRanges::Problem> SoilRanges::jointProblems(double thetaR, double thetaS, double alpha, double n, double ks)
{
    std::vector<Problem> out;
    const Family f = familyOf(n);
    const QString family = QStringLiteral("%1 soils (n %2 %3)")
                               .arg(QLatin1String(f.name), n < coarseFromN() ? QStringLiteral("below") : QStringLiteral("from"),
                                    numberText(coarseFromN()));
    // theta_s - theta_r is the water a soil can take up: with little the
    // wetted bulb grows large (and its computation long), with too little the
    // front's threshold, a share of it, becomes meaningless. (With room for
    // the rounding of a difference such as 0.35 - 0.25.)
    if (!(thetaS - thetaR >= f.minWaterCapacity - 1e-12))
        out.push_back({QStringLiteral("theta_s"), QStringLiteral("theta_s %1 must exceed theta_r %2 by at least %3 m3/m3 in %4")
                                                      .arg(numberText(thetaS), numberText(thetaR), numberText(f.minWaterCapacity),
                                                           family)});
    if (!inRange(f.alpha, alpha)) {
        out.push_back({QStringLiteral("alpha"), QStringLiteral("alpha %1 1/m does not suit n %2: %3 are accepted with alpha from %4 to "
                                                               "%5 1/m")
                                                    .arg(numberText(alpha), numberText(n), family, numberText(f.alpha.low),
                                                         numberText(f.alpha.high))});
        return out;
    }
    const Range suited = ksFor(alpha, n);
    if (!inRange(suited, ks))
        out.push_back({QStringLiteral("Ks"), QStringLiteral("Ks %1 m/s does not suit alpha %2 1/m and n %3: %4 with pores of that size "
                                                            "are accepted with Ks from %5 to %6 m/s")
                                                 .arg(numberText(ks), numberText(alpha), numberText(n), family,
                                                      QString::number(suited.low, 'g', 3), QString::number(suited.high, 'g', 3))});
    return out;
}

QString SoilRanges::textProblem(const QString &field, const QString &text, int maxLength)
{
    if (text.size() > maxLength)
        return QStringLiteral("the %1 has %2 characters; at most %3 are allowed").arg(field).arg(text.size()).arg(maxLength);
    for (int i = 0; i < text.size(); ++i) {
        // A line break, a tab or a NUL would cut or break the line in which
        // the name is stored, listed and reported.
        const QChar c = text.at(i);
        if (!c.isPrint() && !c.isSurrogate())
            return QStringLiteral("the %1 holds a character that is not printable (U+%2) at position %3; it must be one line of "
                                  "printable text")
                .arg(field)
                .arg(c.unicode(), 4, 16, QLatin1Char('0'))
                .arg(i + 1);
    }
    return QString();
}

QString SoilRanges::nameProblem(const QString &name)
{
    if (name.trimmed().isEmpty())
        return QStringLiteral("the Name is empty");
    return textProblem(QStringLiteral("Name"), name, MaxNameLength);
}
