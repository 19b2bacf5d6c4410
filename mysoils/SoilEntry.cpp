#include "mysoils/SoilEntry.h"

#include "base/SoilRanges.h"

#include <charconv>
#include <cmath>

namespace {

const double SecondsPerDay = 86400.0;

// A field of the catalogue: quoted when it holds a comma or a quote, as the
// catalogue reader expects.
QString field(const QString &text)
{
    QString t = text;
    t.replace(QLatin1Char('\n'), QLatin1Char(' '));
    t.replace(QLatin1Char('\r'), QLatin1Char(' '));
    if (!t.contains(QLatin1Char(',')) && !t.contains(QLatin1Char('"')))
        return t;
    t.replace(QStringLiteral("\""), QStringLiteral("\"\""));
    return QLatin1Char('"') + t + QLatin1Char('"');
}

// A converted value without the last digits' noise of the conversion
// (0.036 1/cm is 3.6 1/m and back 0.036, not 0.036000000000000004).
double tidy(double v)
{
    return QString::number(v, 'g', 12).toDouble();
}

bool inside(double v, const SoilEntry::Range &r)
{
    return std::isfinite(v) && v >= r.low && v <= r.high;
}

QString rangeText(const SoilEntry::Range &r, const QString &unit = QString())
{
    return QStringLiteral("from %1 to %2%3")
        .arg(SoilEntry::numberText(r.low), SoilEntry::numberText(r.high),
             unit.isEmpty() ? QString() : QLatin1Char(' ') + unit);
}

} // namespace

QStringList SoilEntry::textures()
{
    return {QStringLiteral("coarse"), QStringLiteral("moderately coarse"), QStringLiteral("medium"),
            QStringLiteral("moderately fine"), QStringLiteral("fine")};
}

QString SoilEntry::unitText(AlphaUnit unit)
{
    return unit == AlphaUnit::PerMetre ? QStringLiteral("1/m") : QStringLiteral("1/cm");
}

QString SoilEntry::unitText(KsUnit unit)
{
    switch (unit) {
    case KsUnit::MetrePerDay:
        return QStringLiteral("m/day");
    case KsUnit::CentimetrePerDay:
        return QStringLiteral("cm/day");
    case KsUnit::CentimetrePerHour:
        return QStringLiteral("cm/h");
    case KsUnit::MetrePerSecond:
        break;
    }
    return QStringLiteral("m/s");
}

QList<SoilEntry::AlphaUnit> SoilEntry::alphaUnits()
{
    return {AlphaUnit::PerMetre, AlphaUnit::PerCentimetre};
}

QList<SoilEntry::KsUnit> SoilEntry::ksUnits()
{
    return {KsUnit::MetrePerDay, KsUnit::CentimetrePerDay, KsUnit::CentimetrePerHour,
            KsUnit::MetrePerSecond};
}

double SoilEntry::toSi(AlphaUnit unit)
{
    return unit == AlphaUnit::PerMetre ? 1.0 : 100.0;
}

double SoilEntry::toSi(KsUnit unit)
{
    switch (unit) {
    case KsUnit::MetrePerDay:
        return 1.0 / SecondsPerDay;
    case KsUnit::CentimetrePerDay:
        return 0.01 / SecondsPerDay;
    case KsUnit::CentimetrePerHour:
        return 0.01 / 3600.0;
    case KsUnit::MetrePerSecond:
        break;
    }
    return 1.0;
}

double SoilEntry::converted(double value, AlphaUnit from, AlphaUnit to)
{
    return tidy(value * toSi(from) / toSi(to));
}

double SoilEntry::converted(double value, KsUnit from, KsUnit to)
{
    return tidy(value * toSi(from) / toSi(to));
}

namespace {

// A range of the table in another unit: `factor` of that unit in SI.
SoilEntry::Range shownIn(const SoilRanges::Range &si, double factor)
{
    return {tidy(si.low / factor), tidy(si.high / factor)};
}

} // namespace

SoilEntry::Range SoilEntry::thetaRRange()
{
    return shownIn(SoilRanges::thetaR(), 1.0);
}

SoilEntry::Range SoilEntry::thetaSRange()
{
    return shownIn(SoilRanges::thetaS(), 1.0);
}

double SoilEntry::leastWaterRange(double n)
{
    return SoilRanges::familyOf(n).minWaterCapacity;
}

SoilEntry::Range SoilEntry::nRange()
{
    return shownIn(SoilRanges::n(), 1.0);
}

SoilEntry::Range SoilEntry::alphaRange(AlphaUnit unit)
{
    return shownIn(SoilRanges::alpha(), toSi(unit));
}

SoilEntry::Range SoilEntry::ksRange(KsUnit unit)
{
    return shownIn(SoilRanges::ks(), toSi(unit));
}

SoilEntry::Range SoilEntry::ksSuited() const
{
    // Three digits, rounded inward: every value shown is accepted.
    const Range r = shownIn(SoilRanges::ksFor(alphaSi(), n), toSi(ksUnit));
    const auto rounded = [](double v, double (*toward)(double)) {
        if (!(v > 0))
            return v;
        const double scale = std::pow(10.0, std::floor(std::log10(v)) - 2);
        return tidy(toward(v / scale) * scale);
    };
    return {rounded(r.low, std::ceil), rounded(r.high, std::floor)};
}

QString SoilEntry::numberText(double value)
{
    char buf[400]; // the longest fixed double
    const auto res = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed);
    return QString::fromLatin1(buf, int(res.ptr - buf));
}

QStringList SoilEntry::problems(const QStringList &takenNames) const
{
    QStringList p;
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        p << QStringLiteral("Name: enter a name for the soil");
    else if (trimmed.size() > MaxNameLength)
        p << QStringLiteral("Name: at most %1 characters").arg(MaxNameLength);
    else if (const QString bad = SoilRanges::nameProblem(trimmed); !bad.isEmpty())
        p << QStringLiteral("Name: %1").arg(bad);
    else
        for (const QString &taken : takenNames)
            if (taken.trimmed().compare(trimmed, Qt::CaseInsensitive) == 0) {
                p << QStringLiteral("Name: the database holds a soil named \"%1\" already; "
                                    "choose another name")
                         .arg(taken.trimmed());
                break;
            }
    if (!textures().contains(texture))
        p << QStringLiteral("Texture group: choose one of %1").arg(textures().join(QStringLiteral(", ")));
    if (clayPercent && !inside(*clayPercent, clayRange()))
        p << QStringLiteral("Clay (%): %1, or leave it empty").arg(rangeText(clayRange()));
    if (const QString bad = SoilRanges::textProblem(QStringLiteral("Classification"), classification.trimmed(),
                                                    MaxClassificationLength);
        !bad.isEmpty())
        p << QStringLiteral("Classification: %1").arg(bad);
    p << hydraulicProblems();
    return p;
}

QStringList SoilEntry::hydraulicProblems() const
{
    QStringList p;
    const auto range = [&p](const char *field, double v, const Range &r, const QString &unit) {
        if (!inside(v, r))
            p << QStringLiteral("%1: %2").arg(QLatin1String(field), rangeText(r, unit));
    };
    range("theta_r", thetaR, thetaRRange(), QStringLiteral("m3/m3"));
    range("theta_s", thetaS, thetaSRange(), QStringLiteral("m3/m3"));
    range("alpha", alpha, alphaRange(alphaUnit), unitText(alphaUnit));
    range("n", n, nRange(), QString());
    range("Ks", ks, ksRange(ksUnit), unitText(ksUnit));
    if (!p.isEmpty())
        return p;
    // The joint rules of the table, told in the units shown.
    for (const SoilRanges::Problem &problem : SoilRanges::problems(thetaR, thetaS, alphaSi(), n, ksSi())) {
        if (problem.field == QLatin1String("theta_s"))
            p << QStringLiteral("theta_s: at least %1 above theta_r (%2) in a %3 soil (n %4), so that the soil can "
                                "take up water")
                     .arg(numberText(leastWaterRange(n)), numberText(thetaR),
                          QLatin1String(SoilRanges::familyOf(n).name), numberText(n));
        else if (problem.field == QLatin1String("alpha"))
            p << QStringLiteral("alpha: with n %1 (a %2 soil), %3")
                     .arg(numberText(n), QLatin1String(SoilRanges::familyOf(n).name),
                          rangeText(shownIn(SoilRanges::familyOf(n).alpha, toSi(alphaUnit)), unitText(alphaUnit)));
        else if (problem.field == QLatin1String("Ks"))
            p << QStringLiteral("Ks: with alpha %1 %2 and n %3, %4 (Ks goes with the size of the pores that "
                                "alpha stands for)")
                     .arg(numberText(alpha), unitText(alphaUnit), numberText(n),
                          rangeText(ksSuited(), unitText(ksUnit)));
        else
            p << problem.message;
    }
    return p;
}

QString SoilEntry::catalogue(const QList<SoilEntry> &soils)
{
    // One header serves every soil only when they share their units; a soil
    // in other units is converted to those of the first.
    const AlphaUnit alphaUnit = soils.isEmpty() ? AlphaUnit::PerCentimetre : soils.first().alphaUnit;
    const KsUnit ksUnit = soils.isEmpty() ? KsUnit::CentimetrePerDay : soils.first().ksUnit;
    QString text = QStringLiteral("# Soils added by the user in Ulvex\n");
    text += QStringLiteral("Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),"
                           "alpha (%1),n (-),Ks (%2)\n")
                .arg(unitText(alphaUnit), unitText(ksUnit));
    for (const SoilEntry &s : soils) {
        const double alpha = tidy(s.alphaSi() / toSi(alphaUnit));
        const double ks = tidy(s.ksSi() / toSi(ksUnit));
        const QStringList fields = {
            field(s.name.trimmed()),
            field(s.texture),
            s.clayPercent ? numberText(*s.clayPercent) : QString(),
            field(s.classification.trimmed()),
            numberText(s.thetaR),
            numberText(s.thetaS),
            numberText(alpha),
            numberText(s.n),
            numberText(ks),
        };
        text += fields.join(QLatin1Char(',')) + QLatin1Char('\n');
    }
    return text;
}

SoilEntry SoilEntry::fromSi(const QString &name, const QString &texture,
                            std::optional<double> clayPercent, const QString &classification,
                            double thetaR, double thetaS, double alphaPerMetre, double n,
                            double ksMetresPerSecond, AlphaUnit alphaUnit, KsUnit ksUnit)
{
    SoilEntry s;
    s.name = name;
    s.texture = texture;
    s.clayPercent = clayPercent;
    s.classification = classification;
    s.thetaR = thetaR;
    s.thetaS = thetaS;
    s.alphaUnit = alphaUnit;
    s.alpha = tidy(alphaPerMetre / toSi(alphaUnit));
    s.n = n;
    s.ksUnit = ksUnit;
    s.ks = tidy(ksMetresPerSecond / toSi(ksUnit));
    return s;
}
