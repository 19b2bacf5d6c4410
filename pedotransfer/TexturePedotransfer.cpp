#include "pedotransfer/TexturePedotransfer.h"

#include <cmath>
#include <limits>

namespace {

QString number(double v)
{
    return QString::number(v, 'g', 6);
}

bool within(double v, double low, double high)
{
    return v >= low && v <= high; // false for NaN
}

// Strictly between 0 and 1: a water content as a fraction.
bool fraction(double v)
{
    return v > 0 && v < 1;
}

} // namespace

QStringList TexturePedotransfer::problems(const Input &input)
{
    QStringList p;
    textureProblems(input, p);
    if (input.bulkDensity && !within(*input.bulkDensity, LeastBulkDensity, MostBulkDensity))
        p << QStringLiteral("Bulk density (g/cm3): from %1 to %2")
                 .arg(number(LeastBulkDensity), number(MostBulkDensity));
    waterProblems(input, p);
    return p;
}

void TexturePedotransfer::textureProblems(const Input &input, QStringList &p)
{
    const std::pair<const char *, double> fractions[] = {
        {"Sand", input.sand}, {"Silt", input.silt}, {"Clay", input.clay}};
    bool inRange = true;
    for (const auto &[name, value] : fractions) {
        if (within(value, 0, 100))
            continue;
        p << QStringLiteral("%1 (%): from 0 to 100").arg(QLatin1String(name));
        inRange = false;
    }
    const double sum = input.sand + input.silt + input.clay;
    // The sum is taken as it is, as the models were made to: 33/33/33 is
    // 0.33 of each, not a third.
    if (inRange && !within(sum, LeastTextureSum, MostTextureSum))
        p << QStringLiteral("Sand, silt and clay: together 100 % (from %1 to %2 %), not %3 %")
                 .arg(number(LeastTextureSum), number(MostTextureSum), number(sum));
}

void TexturePedotransfer::waterProblems(const Input &input, QStringList &p)
{
    if (input.theta33) {
        if (!input.bulkDensity)
            p << QStringLiteral("Theta at 33 kPa: needs the bulk density as well");
        if (!fraction(*input.theta33))
            p << QStringLiteral("Theta at 33 kPa (m3/m3): above 0 and below 1 (a fraction, "
                                "not a percentage)");
    }
    if (!input.theta1500)
        return;
    if (!input.theta33)
        p << QStringLiteral("Theta at 1500 kPa: needs theta at 33 kPa as well");
    if (!fraction(*input.theta1500))
        p << QStringLiteral("Theta at 1500 kPa (m3/m3): above 0 and below 1 (a fraction, "
                            "not a percentage)");
    else if (input.theta33 && !(*input.theta1500 < *input.theta33))
        p << QStringLiteral("Theta at 1500 kPa: below theta at 33 kPa (%1)")
                 .arg(number(*input.theta33));
}

int TexturePedotransfer::modelCode(const Input &input)
{
    return 2 + int(input.bulkDensity.has_value()) + int(input.theta33.has_value())
           + int(input.theta1500.has_value());
}

std::optional<SoilEstimate> TexturePedotransfer::estimate(const Input &input,
                                                          QStringList *problemsOut)
{
    const QStringList p = problems(input);
    if (problemsOut)
        *problemsOut = p;
    if (!p.isEmpty())
        return std::nullopt;
    const RosettaPredictor::Result result =
        RosettaPredictor::predict(modelCode(input), record(input), SummaryKind::Log);
    return SoilEstimate::fromLogResult(result);
}

RosettaPredictor::Record TexturePedotransfer::record(const Input &input)
{
    const double missing = std::numeric_limits<double>::quiet_NaN();
    return {input.sand,
            input.silt,
            input.clay,
            input.bulkDensity.value_or(missing),
            input.theta33.value_or(missing),
            input.theta1500.value_or(missing)};
}
