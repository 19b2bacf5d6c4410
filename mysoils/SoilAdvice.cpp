#include "mysoils/SoilAdvice.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {

// The builder's reasons for a failed case, by a phrase of its text, in the
// words of someone who irrigates rather than someone who writes solvers.
struct Reason
{
    const char *phrase;
    const char *words;
};

const Reason Reasons[] = {
    {"mass balance", "the computation lost track of the water: the water in the soil no longer "
                     "matched the water the emitter gave"},
    {"front recedes", "the computed wetted soil shrank while the emitter was still giving water, which "
                      "cannot happen in a real soil"},
    {"no front", "no wetted zone could be told apart from the soil's initial wetness"},
    {"domain edge", "the water spread beyond the largest block of soil that Ulvex computes"},
    {"no convergence", "the computation could not find a solution"},
    {"time limit", "it took longer than Ulvex allows for one case"},
    {"memory limit", "it needed more memory than Ulvex allows for one case"},
    {"incomplete", "the computation ended before the last hour"},
    {"solver error", "the computation stopped with an error"},
};

// How a value is spread over its range: alpha and Ks across orders of
// magnitude, n by how far it lies above 1 (its lower bound, where the soil
// stops draining at all), also across orders of magnitude.
enum class Scale { Logarithmic, LogAboveOne };

double scaled(double v, Scale scale)
{
    const double x = scale == Scale::LogAboveOne ? v - 1.0 : v;
    return x > 0 ? std::log10(x) : -1e9;
}

// Where a value lies in its range, 0 at either end and 0.5 in the middle.
double depth(double value, const SoilEntry::Range &r, Scale scale)
{
    const double lo = scaled(r.low, scale), hi = scaled(r.high, scale), v = scaled(value, scale);
    if (!(hi > lo))
        return 0.5;
    const double t = (v - lo) / (hi - lo);
    return std::clamp(std::min(t, 1.0 - t), 0.0, 0.5);
}

QString endWord(double value, const SoilEntry::Range &r, Scale scale)
{
    return 2 * scaled(value, scale) < scaled(r.low, scale) + scaled(r.high, scale) ? QStringLiteral("low")
                                                                                   : QStringLiteral("high");
}

} // namespace

QString SoilAdvice::explain(const QString &builderMessage, const std::optional<SoilEntry> &soil)
{
    const bool caseFailed = builderMessage.contains(QLatin1String("error 3005"));
    const bool notWritten = builderMessage.contains(QLatin1String("error 3006"))
                            || builderMessage.contains(QLatin1String("error 3004"));
    const bool notStarted = builderMessage.contains(QLatin1String("cannot be started"));
    const QString who = soil ? QStringLiteral("the soil \"%1\"").arg(soil->name) : QStringLiteral("your soils");

    if (notStarted)
        return QStringLiteral("Ulvex could not start its database builder, so %1 could not be computed. "
                              "Ulvex may not be installed completely: install it again.")
            .arg(who);
    if (notWritten)
        return QStringLiteral("Ulvex computed %1 but could not write your database. Check that the disk "
                              "is not full and that your data folder can be written, then try again. "
                              "Your soils are as they were.")
            .arg(who);
    if (builderMessage.contains(QLatin1String("error 3007")))
        return QStringLiteral("Ulvex could not compute %1: your own database cannot be read, and Ulvex does "
                              "not write over it. Move it aside (see Details for where it is and what is wrong "
                              "with it) and add the soil again; Ulvex then starts a new database of your soils.")
            .arg(who);
    if (!caseFailed)
        return QStringLiteral("Ulvex could not compute %1. Your soils are as they were.").arg(who);

    QString text = QStringLiteral("Ulvex could not compute %1: for %2, %3.")
                       .arg(who, caseInWords(builderMessage), whatWentWrong(builderMessage));
    const QString unusual = soil ? mostUnusualValue(*soil) : QString();
    if (!unusual.isEmpty())
        text += QStringLiteral("\n\nThe likely cause: %1. Check that value; if it is right, try a value a "
                               "little further inside the range, or start from the class average "
                               "nearest to your soil.")
                    .arg(unusual);
    else
        text += QStringLiteral("\n\nCheck the soil's values against its measurements, or start from the "
                               "class average nearest to your soil.");
    return text + QStringLiteral("\n\nNothing was added; your soils are as they were.");
}

QString SoilAdvice::whatWentWrong(const QString &builderMessage)
{
    // The builder names the reason with a fixed phrase after the case:
    // "... surface: mass balance: the water balance is off by ...".
    static const QRegularExpression phrase(QStringLiteral(", (?:surface|buried): ([a-z ]+):"));
    const QString found = phrase.match(builderMessage).captured(1);
    for (const Reason &r : Reasons)
        if (found == QLatin1String(r.phrase))
            return QLatin1String(r.words);
    return QStringLiteral("the computation failed");
}

QString SoilAdvice::caseInWords(const QString &builderMessage)
{
    // "case soil 13 (Name), 0.5 L/h, -10 m, buried: ..."
    static const QRegularExpression named(
        QStringLiteral("case soil \\d+(?: \\(.*\\))?, ([0-9.]+) L/h, -?([0-9.]+) m, (surface|buried)"));
    const QRegularExpressionMatch m = named.match(builderMessage);
    if (!m.hasMatch())
        return QStringLiteral("one of its cases");
    const int suction = m.captured(2).toInt();
    const QString start = suction <= 3 ? QStringLiteral("wet") : suction <= 6 ? QStringLiteral("moist")
                                                                                : QStringLiteral("dry");
    return QStringLiteral("%1 L/h from a %2 emitter in %3 soil")
        .arg(m.captured(1), m.captured(3) == QLatin1String("buried") ? QStringLiteral("buried")
                                                                      : QStringLiteral("surface"),
             start);
}

QString SoilAdvice::mostUnusualValue(const SoilEntry &soil)
{
    // The water a soil can take up, theta_s - theta_r: a soil that holds
    // little wets a large, slowly computed bulb, one that holds almost none
    // no visible bulb at all.
    const double room = soil.thetaS - soil.thetaR;
    if (room < SoilEntry::leastWaterRange(soil.n) + 0.05)
        return QStringLiteral("theta_s - theta_r (%1) leaves the soil little water to take up; at least %2 "
                              "is accepted")
            .arg(SoilEntry::numberText(room), SoilEntry::numberText(SoilEntry::leastWaterRange(soil.n)));
    struct Candidate
    {
        QString name;
        double value;
        SoilEntry::Range range;
        QString unit;
        Scale scale;
    };
    const Candidate candidates[] = {
        {QStringLiteral("alpha"), soil.alpha, SoilEntry::alphaRange(soil.alphaUnit),
         SoilEntry::unitText(soil.alphaUnit), Scale::Logarithmic},
        {QStringLiteral("n"), soil.n, SoilEntry::nRange(), QString(), Scale::LogAboveOne},
        {QStringLiteral("Ks"), soil.ks, SoilEntry::ksRange(soil.ksUnit), SoilEntry::unitText(soil.ksUnit),
         Scale::Logarithmic},
    };
    const Candidate *nearest = nullptr;
    double least = 0.1; // only a value in the outer tenth of its range is named
    for (const Candidate &c : candidates) {
        const double d = depth(c.value, c.range, c.scale);
        if (d < least) {
            least = d;
            nearest = &c;
        }
    }
    if (!nearest)
        return QString();
    const QString unit = nearest->unit.isEmpty() ? QString() : QLatin1Char(' ') + nearest->unit;
    return QStringLiteral("%1 (%2%3) is at the %4 end of the accepted range, from %5 to %6%3")
        .arg(nearest->name, SoilEntry::numberText(nearest->value), unit,
             endWord(nearest->value, nearest->range, nearest->scale),
             SoilEntry::numberText(nearest->range.low), SoilEntry::numberText(nearest->range.high));
}
