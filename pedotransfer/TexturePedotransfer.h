#pragma once

#include "pedotransfer/SoilEstimate.h"

#include <QStringList>

#include <optional>

// The program's way to Rosetta 3: van Genuchten-Mualem parameters estimated
// from a soil's texture and, when known, its bulk density and its water
// contents at 33 and 1500 kPa suction. The richest model the given values
// allow is used: texture alone, model 2; with bulk density, 3; with theta at
// 33 kPa, 4; with theta at 1500 kPa, 5.
//
// Unlike the reference computation, which passes over a value it cannot use,
// every value the user gives must be usable: one out of range, or one given
// without the values the richer model also needs (theta at 33 kPa without a
// bulk density), is a problem named by its field, not quietly ignored. The
// texture is used as given; it is not rescaled to 100 %.
class TexturePedotransfer
{
public:
    struct Input
    {
        double sand = 0; // % of the fine earth (0.05 to 2 mm)
        double silt = 0; // % (0.002 to 0.05 mm)
        double clay = 0; // % (below 0.002 mm)
        std::optional<double> bulkDensity; // dry, g/cm3
        std::optional<double> theta33;     // water content at 33 kPa, m3/m3
        std::optional<double> theta1500;   // water content at 1500 kPa, m3/m3
    };

    // The limits the models were made for, as their reference checks them.
    static constexpr double LeastTextureSum = 99.0; // %
    static constexpr double MostTextureSum = 101.0; // %
    static constexpr double LeastBulkDensity = 0.5; // g/cm3
    static constexpr double MostBulkDensity = 2.0;  // g/cm3

    // Everything that keeps the input from being estimated, each beginning
    // with the field it is about; empty when it may be estimated.
    static QStringList problems(const Input &input);
    // The model an input without problems is estimated with (2 to 5).
    static int modelCode(const Input &input);
    // The estimate, or none with the problems in `problems`.
    static std::optional<SoilEstimate> estimate(const Input &input,
                                                QStringList *problems = nullptr);
    // The input as the reference computation takes it (NaN where not given).
    static RosettaPredictor::Record record(const Input &input);

private:
    static void textureProblems(const Input &input, QStringList &p);
    static void waterProblems(const Input &input, QStringList &p);
};
