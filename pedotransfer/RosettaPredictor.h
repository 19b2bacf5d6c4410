#pragma once

#include "pedotransfer/EnsembleSummary.h"

#include <array>
#include <optional>

class RosettaModel;

// The Rosetta 3 pedotransfer computation as its authors' package does it, to
// the last digits: the choice of the richest model a record allows, the
// ensemble of 1000 networks of that model, its summary, and K0 and L from the
// 100 networks of the unsaturated-conductivity model fed with the summary.
//
// This is the reference behaviour, for records as they come: a value that is
// missing or out of range is passed over silently (the climb to a richer model
// stops there). TexturePedotransfer is the program's strict front to it.
class RosettaPredictor
{
public:
    // Sand, silt and clay in % of the fine earth, dry bulk density in g/cm3,
    // water content at 33 kPa and at 1500 kPa suction as fractions (m3/m3);
    // NaN where a value is missing.
    using Record = std::array<double, 6>;

    // The seven parameters of a result, in this order. Alpha is in 1/cm, Ks
    // and K0 in cm/day; with SummaryKind::Log, alpha, n, Ks and K0 are given
    // as their log10 and so are their spreads.
    enum Parameter { ThetaR, ThetaS, Alpha, N, Ks, K0, L, ParameterCount };

    struct Result
    {
        int modelCode = -1; // 2 to 5; -1: the texture is not usable
        SummaryKind kind = SummaryKind::Log;
        std::array<double, ParameterCount> estimates; // NaN where there is none
        std::array<double, ParameterCount> spreads;   // sample standard deviations
    };

    // The richest model whose inputs are all present and in range: -1 when the
    // texture is unusable (a fraction negative or missing, or a sum outside 99
    // to 101 %), else 2 plus one for each of bulk density (0.5 to 2 g/cm3),
    // theta at 33 kPa (between 0 and 1) and theta at 1500 kPa (between 0 and
    // theta at 33 kPa), counted in that order up to the first that fails.
    static int bestModel(const Record &record);

    // The result with the best model for the record.
    static Result predict(const Record &record, SummaryKind kind);
    // The result with a given texture model (2 to 5), which takes the first
    // modelCode + 1 values of the record as they are, without the checks.
    static Result predict(int modelCode, const Record &record, SummaryKind kind);

    // K0 and L (in this order) from linear theta_r, theta_s, alpha (1/cm) and
    // n; none when these lie outside what that model was made for
    // (0 <= theta_r < theta_s < 1, alpha > 0, n > 1).
    static std::optional<EnsembleSummary> unsaturatedK(double thetaR, double thetaS,
                                                       double alpha, double n,
                                                       SummaryKind kind);

private:
    static Result empty(int modelCode, SummaryKind kind);
    static EnsembleSummary summarise(const RosettaModel &model, const std::vector<double> &input,
                                     SummaryKind kind);
};
