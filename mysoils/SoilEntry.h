#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// A soil the user describes by its measured properties, as the "Add" dialog
// takes it: van Genuchten parameters in the units the user chose, before the
// database builder computes its wetting fronts. It knows the ranges a soil
// physicist would accept, checks a soil against them (and against the names
// already taken), and writes itself as a soil catalogue for the builder,
// keeping the user's units (the builder converts them).
class SoilEntry
{
public:
    enum class AlphaUnit { PerMetre, PerCentimetre };
    enum class KsUnit { MetrePerDay, CentimetrePerDay, CentimetrePerHour, MetrePerSecond };

    // An accepted range of a value, in the unit shown.
    struct Range
    {
        double low = 0;
        double high = 0;
    };

    QString name;
    QString texture;
    std::optional<double> clayPercent; // optional
    QString classification;
    double thetaR = 0;
    double thetaS = 0;
    double alpha = 0; // in alphaUnit
    AlphaUnit alphaUnit = AlphaUnit::PerCentimetre;
    double n = 0;
    double ks = 0; // in ksUnit
    KsUnit ksUnit = KsUnit::CentimetrePerDay;

    // The texture groups of the catalogue, coarse to fine.
    static QStringList textures();
    static QString unitText(AlphaUnit unit); // "1/m", "1/cm"
    static QString unitText(KsUnit unit);    // "m/day", "cm/day", "cm/h", "m/s"
    static QList<AlphaUnit> alphaUnits();
    static QList<KsUnit> ksUnits();
    // Factors to SI: alpha in 1/m, Ks in m/s.
    static double toSi(AlphaUnit unit);
    static double toSi(KsUnit unit);
    // A value given in one unit, in another (without the conversion's noise
    // in the last digits), so that the soil stays the same soil.
    static double converted(double value, AlphaUnit from, AlphaUnit to);
    static double converted(double value, KsUnit from, KsUnit to);

    // The ranges of the single values, in the units shown: those of the
    // program's one table of the soils it can compute (SoilRanges), which
    // the database builder checks too. Within them, joint rules hold as well
    // (see problems()).
    static Range thetaRRange();
    static Range thetaSRange();
    // The least water a soil of this n may take up, theta_s - theta_r (a
    // fine-textured soil less than a coarse-textured one).
    static double leastWaterRange(double n);
    static Range nRange();
    static Range clayRange() { return {0.0, 100.0}; }
    static Range alphaRange(AlphaUnit unit);
    static Range ksRange(KsUnit unit);
    // The Ks that suits this soil's alpha and n, in the unit of its Ks.
    Range ksSuited() const;
    static constexpr int MaxNameLength = 40;
    static constexpr int MaxClassificationLength = 60;

    // Alpha and Ks in SI units.
    double alphaSi() const { return alpha * toSi(alphaUnit); }
    double ksSi() const { return ks * toSi(ksUnit); }

    // Everything that keeps the soil from being computed, each naming its
    // field ("alpha: ..."), in the units shown; empty when it may be computed. `takenNames`: the soil names the
    // database holds already (compared without regard to case).
    QStringList problems(const QStringList &takenNames) const;
    // Those of theta_r, theta_s, alpha, n and Ks alone.
    QStringList hydraulicProblems() const;

    // A soil catalogue holding these soils, in the builder's format: a header
    // naming the columns with their units, then one line a soil. Without a
    // SoilTypeNo column, so that the builder numbers them after the soils of
    // the database they are added to.
    static QString catalogue(const QList<SoilEntry> &soils);

    // A soil from values in SI units (as a database holds them), shown in the
    // given units.
    static SoilEntry fromSi(const QString &name, const QString &texture,
                            std::optional<double> clayPercent, const QString &classification,
                            double thetaR, double thetaS, double alphaPerMetre, double n,
                            double ksMetresPerSecond, AlphaUnit alphaUnit, KsUnit ksUnit);

    // The shortest text of a value that reads back as the same double, "."
    // as decimal separator, written out without an exponent (0.0000029, not
    // 2.9e-06), as people type the numbers and as the fields take them.
    static QString numberText(double value);
};
