#pragma once

#include "mysoils/SoilEntry.h"

#include <QString>

#include <optional>

// Turns the database builder's account of a failure into words for the person
// who asked for the computation: what went wrong, which of the soil's values
// is most likely the cause, and what to try. The builder's own text stays
// available to the caller for the details.
class SoilAdvice
{
public:
    // `builderMessage`: the builder's error line ("trickle-build: error 3005:
    // case soil 13 (...), 0.5 L/h, -10 m, buried: ..."), or the program's own
    // text when the builder could not run. `soil`: the soil being added, when
    // the computation added one.
    static QString explain(const QString &builderMessage, const std::optional<SoilEntry> &soil);

    // The value of the soil nearest to a limit of what may be entered, with
    // its accepted range: "alpha (0.01 1/m) is at the low end of the accepted
    // range, from 0.01 to 100 1/m". Empty when every value lies well inside.
    static QString mostUnusualValue(const SoilEntry &soil);

private:
    static QString whatWentWrong(const QString &builderMessage);
    static QString caseInWords(const QString &builderMessage);
};
