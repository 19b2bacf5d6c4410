// Times the flow solver on a representative subset of the sweep: every soil
// once, flows, initial heads and emitter positions taken in turn, 24 hours
// each. Prints the seconds per case, the median and the 95th percentile, and
// an estimate of the full 360-case sweep on the cores of this machine; and
// where the time goes: Picard iterations per step, factorisations per step
// and the share of the time spent factorising.
//
//   bench_solver                 the subset
//   bench_solver --convergence   also runs six cases with every cell size
//                                halved and prints how much r, z and zminus
//                                change, hour by hour (slow: several minutes)
//   bench_solver --case SOIL FLOW HEAD surface|buried [REFINEMENT]
//                                one case on the shipped mesh and a refined one
//                                (default 2), hour by hour, with the pond radius
//   bench_solver --air-entry     the nine soils with the air-entry modification:
//                                a buried and a surface case (2 L/h, -6 m) with
//                                and without it, r, z and zminus at 6 and 24 h
#include "solver/WettingSimulation.h"
#include "tests/solver/SolverTestSoils.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

using namespace solver;

namespace {

// One case on the shipped mesh and with every cell size halved, hour by hour:
// r, z (zplus), zminus and the pond radius on both, and the relative change.
int compareMeshes(int soil, double flow, double head, Emitter e, double refinement,
                  const SolverSettings& base, SolverSettings fine)
{
    const CaseSpec caseSpec = solvertest::makeCase(soil, flow, head, e);
    fine.refinement = refinement * fine.refinement;
    WettingSimulation coarseRun(caseSpec, base), fineRun(caseSpec, fine);
    const CaseResult a = coarseRun.run(), b = fineRun.run();
    std::printf("%s, %g L/h, %g m, %s: %.1f s (%ld steps), refined %.1f s (%ld steps)\n",
                caseSpec.soil.name.c_str(), flow, head, e == Emitter::Surface ? "surface" : "buried",
                a.wallSeconds, a.timeSteps, b.wallSeconds, b.timeSteps);
    for (const CaseResult* run : {&a, &b})
        if (!run->message.empty())
            std::printf("%s run: %s\n", run == &a ? "first" : "refined", run->message.c_str());
    std::printf("%4s %8s %8s %8s %8s | %8s %8s %8s %8s | %6s %6s %6s %6s\n", "hour", "r", "z",
                "zminus", "pond", "r", "z", "zminus", "pond", "dr %", "dz %", "dzm %", "dp %");
    for (size_t i = 0; i < a.fronts.size() && i < b.fronts.size(); ++i) {
        const FrontRow &x = a.fronts[i], &y = b.fronts[i];
        auto rel = [](double u, double v) { return v > 0 ? 100 * (u / v - 1) : 0.0; };
        std::printf("%4d %8.4f %8.4f %8.4f %8.4f | %8.4f %8.4f %8.4f %8.4f | %6.2f %6.2f %6.2f %6.2f\n",
                    x.hour, x.r, x.down, x.up, x.pondRadius, y.r, y.down, y.up, y.pondRadius,
                    rel(x.r, y.r), rel(x.down, y.down), rel(x.up, y.up),
                    rel(x.pondRadius, y.pondRadius));
    }
    std::printf("largest change %.2f %%\n", 100 * largestChange(a, b));
    return 0;
}

// One case of a soil that takes the air-entry modification, run with it (as
// shipped) and without it (the classic curves): the fronts at 6 and 24 h and
// the differences, or why the run without it stopped.
void compareAirEntry(int soil, double flow, double head, Emitter e)
{
    const CaseSpec caseSpec = solvertest::makeCase(soil, flow, head, e);
    SolverSettings classic;
    classic.airEntryMaxN = 1.0;   // no soil has n below 1: none is modified
    const CaseResult a = runCase(caseSpec), b = runCase(caseSpec, classic);
    std::printf("%-16s %-7s %6ld %6ld steps", caseSpec.soil.name.c_str(),
                e == Emitter::Surface ? "surface" : "buried", a.timeSteps, b.timeSteps);
    if (b.fronts.size() < 24 || a.fronts.size() < 24) {
        std::printf("  without: %s\n", b.message.empty() ? "stopped" : b.message.c_str());
        return;
    }
    for (int hour : {6, 24}) {
        const FrontRow &x = a.fronts[size_t(hour - 1)], &y = b.fronts[size_t(hour - 1)];
        auto rel = [](double u, double v) { return v > 0 ? 100 * (v / u - 1) : 0.0; };
        std::printf(" | %2d h: r %.3f/%.3f (%+.1f %%) z %.3f/%.3f (%+.1f %%)", hour, x.r, y.r, rel(x.r, y.r),
                    x.down, y.down, rel(x.down, y.down));
        if (e == Emitter::Buried)
            std::printf(" zminus %.3f/%.3f (%+.1f %%)", x.up, y.up, rel(x.up, y.up));
    }
    std::printf(" | mass balance %.1e/%.1e\n", a.massBalanceError, b.massBalanceError);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    // bench_solver --case SOIL FLOW HEAD surface|buried [REFINEMENT [SETTING=VALUE...]]
    if (argc >= 6 && std::strcmp(argv[1], "--case") == 0) {
        // SETTING=VALUE applies to both runs, fine.SETTING=VALUE to the refined one only
        SolverSettings base, fineBase;
        auto apply = [](SolverSettings& set, const std::string& key, double v) {
            if (key == "blend") set.saturatedBlendBand = v;
            else if (key == "blendpond") set.blendUnderPond = v != 0;
            else if (key == "shaped") set.shapedMesh = v != 0;
            else if (key == "shapelimit") set.shapeLimit = v;
            else if (key == "early") set.earlyRemeshes = int(v);
            else if (key == "across") set.cellsAcrossBulb = v;
            else if (key == "finest") set.finestCell = v;
            else if (key == "growth") set.growth = v;
            else if (key == "refinement") set.refinement = v;
            else if (key == "airentry") set.airEntryMaxN = v;
            else if (key == "maxstep") set.maxStep = v;
            else if (key == "maxdtheta") set.maxThetaChange = v;
            else if (key == "foot") set.footFrontReading = v != 0;
            else if (key == "footmin") set.footMinLevel = v;
            else if (key == "footfull") set.footFullLevel = v;
            else std::fprintf(stderr, "unknown setting %s\n", key.c_str());
        };
        for (int i = 7; i < argc; ++i) {
            const char* eq = std::strchr(argv[i], '=');
            if (!eq)
                continue;
            const std::string key(argv[i], size_t(eq - argv[i]));
            const double v = std::atof(eq + 1);
            if (key.rfind("fine.", 0) == 0) {
                apply(fineBase, key.substr(5), v);
            } else {
                apply(base, key, v);
                apply(fineBase, key, v);
            }
        }
        return compareMeshes(std::atoi(argv[2]), std::atof(argv[3]), std::atof(argv[4]),
                             std::strcmp(argv[5], "buried") == 0 ? Emitter::Buried : Emitter::Surface,
                             argc >= 7 ? std::atof(argv[6]) : 2.0, base, fineBase);
    }
    if (argc > 1 && std::strcmp(argv[1], "--air-entry") == 0) {
        std::printf("with / without the air-entry modification (h_s = -2 cm), 2 L/h, -6 m\n");
        for (int soil = 1; soil <= 12; ++soil) {
            if (!(solvertest::soil(soil).n < SolverSettings().airEntryMaxN))
                continue;
            compareAirEntry(soil, 2, -6, Emitter::Buried);
            compareAirEntry(soil, 2, -6, Emitter::Surface);
        }
        return 0;
    }
    const bool convergence = argc > 1 && std::strcmp(argv[1], "--convergence") == 0;
    const double flows[5] = {0.5, 1, 2, 4, 8};
    const double heads[3] = {-3, -6, -10};
    std::vector<double> seconds;
    double worstBalance = 0;
    std::printf("%-16s %5s %6s %-8s %8s %8s %8s %9s %7s %8s %6s %6s %6s\n", "soil", "L/h", "h0 m",
                "emitter", "r m", "z m", "zminus m", "mass bal", "steps", "seconds", "it/st",
                "fac/st", "fac %");
    long steps = 0, iterations = 0, factorisations = 0;
    double factorSeconds = 0;
    for (int soil = 1; soil <= 12; ++soil) {
        const double flow = flows[(soil * 2) % 5];
        const double head = heads[soil % 3];
        const Emitter e = soil % 2 ? Emitter::Surface : Emitter::Buried;
        WettingSimulation sim(solvertest::makeCase(soil, flow, head, e), SolverSettings());
        const CaseResult r = sim.run();
        const RichardsSolver::Statistics& st = sim.statistics();
        const FrontRow& f = r.fronts.empty() ? FrontRow() : r.fronts.back();
        const double perStep = 1.0 / std::max(1L, r.timeSteps);
        std::printf("%-16s %5.1f %6.0f %-8s %8.3f %8.3f %8.3f %9.1e %7ld %8.2f %6.2f %6.2f %6.0f %s\n",
                    solvertest::soil(soil).name.c_str(), flow, head,
                    e == Emitter::Surface ? "surface" : "buried", f.r, f.down, f.up,
                    r.massBalanceError, r.timeSteps, r.wallSeconds, st.iterations * perStep,
                    st.factorisations * perStep, 100 * st.factorSeconds / r.wallSeconds,
                    r.message.c_str());
        steps += r.timeSteps;
        iterations += st.iterations;
        factorisations += st.factorisations;
        factorSeconds += st.factorSeconds;
        std::fflush(stdout);
        seconds.push_back(r.wallSeconds);
        worstBalance = std::max(worstBalance, r.massBalanceError);
    }
    std::vector<double> sorted = seconds;
    std::sort(sorted.begin(), sorted.end());
    double total = 0;
    for (double s : seconds)
        total += s;
    const double median = 0.5 * (sorted[5] + sorted[6]);
    const double p95 = sorted[size_t(std::ceil(0.95 * sorted.size())) - 1];
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    std::printf("\nper case: median %.2f s, p95 %.2f s, cheapest %.2f s, dearest %.2f s, mean %.2f s\n",
                median, p95, sorted.front(), sorted.back(), total / seconds.size());
    std::printf("largest mass-balance error %.1e\n", worstBalance);
    std::printf("per step: %.2f Picard iterations, %.2f factorisations; factorising: %.0f %% of the"
                " time\n", double(iterations) / steps, double(factorisations) / steps,
                100 * factorSeconds / total);
    std::printf("estimated full sweep (360 cases) on %u cores: %.1f min\n", cores,
                360 * total / seconds.size() / cores / 60.0);

    if (!convergence)
        return 0;
    std::printf("\nmesh convergence (every cell size halved): largest change of r, z and zminus,"
                " hour by hour\n");
    struct Case { int soil; double flow, head; Emitter e; };
    const Case cases[] = {{1, 8, -10, Emitter::Surface}, {1, 0.5, -3, Emitter::Buried},
                          {4, 0.5, -10, Emitter::Surface}, {4, 8, -3, Emitter::Buried},
                          {12, 8, -3, Emitter::Surface}, {12, 0.5, -10, Emitter::Buried}};
    for (const Case& c : cases) {
        const CaseSpec caseSpec = solvertest::makeCase(c.soil, c.flow, c.head, c.e);
        SolverSettings fine;
        fine.refinement = 2;
        const CaseResult a = runCase(caseSpec), b = runCase(caseSpec, fine);
        std::printf("%-6s %4.1f L/h %4.0f m %-8s (%.1f s, %.1f s)\n  hour:",
                    caseSpec.soil.name.c_str(), c.flow, c.head,
                    c.e == Emitter::Surface ? "surface" : "buried", a.wallSeconds, b.wallSeconds);
        std::vector<double> change;
        for (size_t i = 0; i < a.fronts.size() && i < b.fronts.size(); ++i) {
            change.push_back(100 * solvertest::largestChange(a.fronts[i], b.fronts[i]));
            std::printf(" %4d", a.fronts[i].hour);
        }
        std::printf("\n  %%:   ");
        int lastOver = 0;
        for (size_t i = 0; i < change.size(); ++i) {
            std::printf(" %4.1f", change[i]);
            if (change[i] >= 2.0)
                lastOver = int(i) + 1;
        }
        std::printf("\n  below 2 %% from hour %d on; 24 h: r %.4f -> %.4f m, z %.4f -> %.4f m\n",
                    lastOver + 1, a.fronts.back().r, b.fronts.back().r, a.fronts.back().down,
                    b.fronts.back().down);
        std::fflush(stdout);
    }
    return 0;
}
