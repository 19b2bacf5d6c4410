#pragma once

// The stand-in for the solver used by the tests of the build driver: fast, and
// every number it returns is known from the case, so the tests can tell where a
// row came from.

#include "solver/CaseSpec.h"
#include "builder/TrickleBuild.h"
#include "base/UlvexError.h"

#include <QString>
#include <QtTest>

#include <atomic>

// r, down and up differ, so a swapped column shows; every number depends on the
// soil, the flow rate and the initial head.
inline double standInK(int soil, double flowLitresPerHour, double initialHead)
{
    return 0.001 * soil + 0.0001 * flowLitresPerHour - 0.00001 * initialHead;
}

// The stand-in's mass-balance error: grows with the soil number, so the last
// soil holds the largest error; below the bound a stored case must keep
// (CaseCheck) for every soil number the tests use.
inline double standInMassBalance(int soil, double flowLitresPerHour, double initialHead, bool buried)
{
    return 1e-5 * soil + 1e-6 * flowLitresPerHour - 1e-7 * initialHead + (buried ? 1e-8 : 0.0);
}

inline solver::CaseResult standInRun(const solver::CaseSpec &s)
{
    solver::CaseResult r;
    const double k = standInK(s.soil.number, s.flowLitresPerHour, s.initialHead);
    for (int h = 1; h <= s.hours; ++h) {
        solver::FrontRow f;
        f.hour = h;
        f.r = 0.01 * h + k;
        f.down = 0.02 * h + k;
        f.up = s.emitter == solver::Emitter::Buried ? 0.005 * h + k : 0.0;
        f.pondRadius = s.emitter == solver::Emitter::Buried ? 0.0 : 0.01 + 0.002 * h + k;
        r.fronts.push_back(f);
    }
    // as if every case had been run again on a finer mesh
    r.meshChange = 0.001 * s.soil.number + 0.0001 * s.flowLitresPerHour;
    r.massBalanceError = standInMassBalance(s.soil.number, s.flowLitresPerHour, s.initialHead,
                                            s.emitter == solver::Emitter::Buried);
    r.timeSteps = 100 + s.soil.number;
    return r;
}

// Runs a build quietly.
inline TrickleBuildSummary standInBuild(const TrickleBuildOptions &o, TrickleBuild::Runner runner = standInRun)
{
    TrickleBuild b(o, std::move(runner));
    b.setLog([](const QString &) {});
    return b.run();
}

// Runs a build that must be refused before any case is computed, with the error
// `number` whose text starts with `start` and holds `contains`.
inline void expectRefused(const TrickleBuildOptions &o, int number, const QString &start, const QString &contains = QString())
{
    std::atomic<int> calls{0};
    try {
        standInBuild(o, [&](const solver::CaseSpec &s) { ++calls; return standInRun(s); });
        QFAIL("the build was not refused");
    } catch (const UlvexError &e) {
        QCOMPARE(e.number(), number);
        QVERIFY2(e.description().startsWith(start), qPrintable(e.description()));
        QVERIFY2(e.description().contains(contains), qPrintable(e.description()));
    }
    QCOMPARE(calls.load(), 0);
}
