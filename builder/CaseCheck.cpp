#include "builder/CaseCheck.h"

#include <cmath>

namespace {

// " (<message>)" when the solver said something, else nothing.
QString aside(const std::string &message)
{
    return message.empty() ? QString() : QStringLiteral(" (%1)").arg(QString::fromStdString(message));
}

QString metres(double v)
{
    return QStringLiteral("%1 m").arg(v, 0, 'f', 4);
}

} // namespace

QString CaseCheck::problem(const solver::CaseSpec &wanted, const solver::CaseResult &result)
{
    const QString solver = solverProblem(wanted, result);
    return solver.isEmpty() ? frontProblem(wanted, result) : solver;
}

QString CaseCheck::solverProblem(const solver::CaseSpec &wanted, const solver::CaseResult &r)
{
    if (!r.stopReason.empty())
        return QStringLiteral("%1: %2").arg(QString::fromStdString(r.stopReason),
                                            r.message.empty() ? QStringLiteral("the solver stopped") : QString::fromStdString(r.message));
    if (r.reachedBoundary)
        return QStringLiteral("domain edge: a front reached the boundary of the solution domain%1").arg(aside(r.message));
    bool complete = int(r.fronts.size()) == wanted.hours;
    for (size_t k = 0; complete && k < r.fronts.size(); ++k)
        complete = r.fronts[k].hour == int(k) + 1;
    if (!complete)
        return QStringLiteral("incomplete: the solver returned %1 front(s), not one for each hour 1 to %2%3")
            .arg(r.fronts.size()).arg(wanted.hours).arg(aside(r.message));
    if (!std::isfinite(r.massBalanceError))
        return QStringLiteral("mass balance: the mass balance error is not a number");
    if (r.massBalanceError > kMaxMassBalanceError)
        return QStringLiteral("mass balance: the water balance is off by %1 % of the water given (at most %2 % is accepted)")
            .arg(100.0 * r.massBalanceError, 0, 'g', 3).arg(100.0 * kMaxMassBalanceError);
    return QString();
}

QString CaseCheck::frontProblem(const solver::CaseSpec &wanted, const solver::CaseResult &r)
{
    const bool buried = wanted.emitter == solver::Emitter::Buried;
    const char *const downName = buried ? "zplus" : "z";
    for (size_t k = 0; k < r.fronts.size(); ++k) {
        const solver::FrontRow &f = r.fronts[k];
        if (!(f.r > 0 && f.down > 0 && (!buried || f.up > 0)))
            return QStringLiteral("no front: the wetting front at hour %1 has no extent (r = %2, %3 = %4%5)")
                .arg(f.hour).arg(metres(f.r), QLatin1String(downName), metres(f.down),
                                 buried ? QStringLiteral(", zminus = %1").arg(metres(f.up)) : QString());
        if (k == 0)
            continue;
        const solver::FrontRow &e = r.fronts[k - 1];
        const double now[3] = {f.r, f.down, f.up}, before[3] = {e.r, e.down, e.up};
        const char *const names[3] = {"r", downName, "zminus"};
        for (int i = 0; i < 3; ++i) {
            if (now[i] < (1.0 - kRecedeTolerance) * before[i])
                return QStringLiteral("front recedes: %1 falls from %2 at hour %3 to %4 at hour %5")
                    .arg(QLatin1String(names[i]), metres(before[i])).arg(e.hour).arg(metres(now[i])).arg(f.hour);
        }
    }
    return QString();
}
