#pragma once

#include <QString>
#include <vector>

// The soils the program can compute: the accepted range of every van
// Genuchten-Mualem parameter in SI units, the joint rules between them, and
// the rule for a soil's name. One table for the whole program: the form in
// which a user describes a soil and the database builder's catalogue reader
// both check against it, so that whatever the form accepts the builder
// accepts too, and the builder computes every soil inside (the corners of the
// ranges and rules, alone and together, are tested and benchmarked).
//
// The ranges are those of measured mineral soils with a margin, not broad
// physical limits: outside them the flow solver was measured to fail or to
// take far longer than a soil may, or the wetting front as the program
// defines it (a rise of the water content by a tenth of what the soil can
// take up) stops growing while the emitter waters (see builder/README.md,
// "Soil ranges").
//
// Soils fall into two families by n, as measured soils do: fine-textured
// soils (n below 1.85, computed with an air-entry value; the nine classes from
// Loam to Clay) and coarse-textured ones (n from 1.85; Sandy Loam, Loamy Sand,
// Sand). Each family has its own range of alpha, of Ks and its least room
// for water. Within a family Ks must roughly suit the pores that alpha stands
// for: coarse pores (a large alpha) conduct much, fine ones little, Ks growing
// about as alpha squared (the twelve classes lie within a factor of 4.4 of
// 2e-7 alpha^2, alpha in 1/m and Ks in m/s). The band is wide, from ten times
// below to ten times above nearly every class average of the family (a
// user's measured conductivity often lies that far from the class average of
// the same texture): only a fine-pored soil with a coarse soil's Ks,
// which drains the emitter's water away so fast that its wetting front falls
// back while the emitter waters, and a coarse-pored soil with a clay's Ks,
// which ponds over metres, are refused.
class SoilRanges
{
public:
    struct Range
    {
        double low = 0;
        double high = 0;
        bool contains(double v) const { return v >= low && v <= high; } // false for NaN
    };

    // The ranges of each parameter alone (both families together).
    static Range thetaR(); // residual water content, m3/m3
    static Range thetaS(); // saturated water content, m3/m3
    static Range alpha();  // 1/m
    static Range n();      // -
    static Range ks();     // saturated conductivity, m/s

    // Joint rules, by family.
    struct Family
    {
        const char *name;  // "fine-textured", "coarse-textured"
        Range n;           // the fine family's high end is excluded
        Range alpha;       // 1/m
        Range ks;          // m/s
        Range ksPerAlpha2; // Ks from ksPerAlpha2.low alpha^2 to ksPerAlpha2.high alpha^2
        // The least pore space that water can fill, theta_s - theta_r
        // (m3/m3): the wetted bulb's volume, and with it the time a case
        // takes, grows as the inverse of it.
        double minWaterCapacity;
    };
    // Soils with n below coarseFromN() are fine-textured and computed with
    // an air-entry value (the solver's air-entry modification); from it on
    // coarse-textured, computed with the plain curves.
    static double coarseFromN();
    static Family fine();
    static Family coarse();
    static Family familyOf(double n);
    // The Ks accepted with alpha in the family of n.
    static Range ksFor(double alpha, double n);

    // The longest soil name, in characters.
    static constexpr int MaxNameLength = 100;

    // One reason why a soil cannot be computed. `field` is the parameter's
    // name as the catalogue's header and the form show it ("theta_r",
    // "theta_s", "alpha", "n", "Ks", "Name"); `message` is a sentence that
    // starts with it, e.g. "n 12 lies outside 1.09 to 2.8".
    struct Problem
    {
        QString field;
        QString message;
    };

    // Every problem of a soil given in SI units; empty when it may be computed.
    static std::vector<Problem> problems(double thetaR, double thetaS, double alpha, double n, double ks);
    // A soil's name: one line of printable text, not empty, at most
    // MaxNameLength characters. Empty when the name may be used.
    static QString nameProblem(const QString &name);
    // The same rule, but for the length and an empty text, for another text
    // field of a soil (its texture or classification), with that field's name
    // and longest length.
    static QString textProblem(const QString &field, const QString &text, int maxLength);

    // A number as the messages show it: six significant digits (a value
    // converted from the user's unit, 0.036 1/cm, shows as 3.6 1/m), "." as
    // the decimal separator.
    static QString numberText(double v);

private:
    static std::vector<Problem> rangeProblems(double thetaR, double thetaS, double alpha, double n, double ks);
    static std::vector<Problem> jointProblems(double thetaR, double thetaS, double alpha, double n, double ks);
};
