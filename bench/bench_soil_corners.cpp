// The dearest soil a user may add: trickle-build adding one corner soil of the
// accepted ranges (SoilRanges) to the shipped database, as the program does,
// with its default threads: all 30 cases of the shipped sweep, 24 hours each.
// Prints the wall and CPU time and the peak memory of the process, against
// the bounds a soil must keep (2 minutes, 500 MB on this project's 2-core
// machine).
//
//   bench_soil_corners          the slowest corner (make bench)
//   bench_soil_corners --all    every corner, one after the other (about 25
//                               minutes on two cores)
#include "tests/solver/SoilCorners.h"

#include <QFile>
#include <QTemporaryDir>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

extern char** environ;

namespace {

struct Run
{
    double wall = 0, cpu = 0;
    long peakKb = 0;
    bool ok = false;
};

// Runs the program to its end; wait4 gives that one child's CPU time and peak
// resident memory.
Run runProgram(const std::vector<std::string>& args)
{
    std::vector<char*> argv;
    for (const auto& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    Run r;
    timespec t0{}, t1{};
    clock_gettime(CLOCK_MONOTONIC, &t0);
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return r;
    int status = 0;
    rusage u{};
    if (wait4(pid, &status, 0, &u) != pid)
        return r;
    clock_gettime(CLOCK_MONOTONIC, &t1);
    r.wall = double(t1.tv_sec - t0.tv_sec) + 1e-9 * double(t1.tv_nsec - t0.tv_nsec);
    r.cpu = double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + 1e-6 * double(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
    r.peakKb = u.ru_maxrss;
    r.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return r;
}

// The soil as a catalogue of one soil, in SI units, numbered after the base's.
bool writeCatalogue(const QString& path, const solver::SoilParams& s)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const QString text = QStringLiteral("Name,Texture,Clay (%),Soil Classification,theta_r,theta_s,alpha (1/m),n,Ks (m/s)\n"
                                        "%1,medium,,corner,%2,%3,%4,%5,%6\n")
                             .arg(QString::fromStdString(s.name))
                             .arg(s.thetaR, 0, 'g', 17).arg(s.thetaS, 0, 'g', 17).arg(s.alpha, 0, 'g', 17)
                             .arg(s.n, 0, 'g', 17).arg(s.ks, 0, 'g', 17);
    return f.write(text.toUtf8()) > 0;
}

Run addSoil(const solver::SoilParams& s, const QTemporaryDir& dir)
{
    const QString csv = dir.filePath(QStringLiteral("corner.csv"));
    const QString out = dir.filePath(QStringLiteral("user.db"));
    QFile::remove(out);
    if (!writeCatalogue(csv, s))
        return Run{};
    return runProgram({TRICKLE_BUILD_EXE, "--soils", csv.toStdString(), "--base", ULVEX_SHIPPED_DB, "--out",
                       out.toStdString(), "--build-date", "bench"});
}

// The slowest corner when every corner was measured (--all): the coarsest
// soil (alpha, n and Ks at their largest) with the least room for water
// (theta_r 0, theta_s 0.3): the largest and sharpest bulbs.
bool isSlowest(const solver::SoilParams& s)
{
    return s.n == SoilRanges::n().high && s.alpha == SoilRanges::alpha().high && s.ks == SoilRanges::ks().high
           && s.thetaR == SoilRanges::thetaR().low && s.thetaS == s.thetaR + SoilRanges::coarse().minWaterCapacity;
}

} // namespace

int main(int argc, char** argv)
{
    const bool all = argc > 1 && std::strcmp(argv[1], "--all") == 0;
    QTemporaryDir dir;
    std::printf("trickle-build adding one corner soil of the accepted ranges to the shipped database,\n"
                "30 cases, default threads (bounds: 120 s wall, 500 MB)\n");
    std::printf("%-46s %8s %8s %8s  %s\n", "soil", "wall s", "CPU s", "peak MB", "");
    // Figures only: a corner beyond the bounds is marked, not failed; a
    // soil the builder could not compute fails the benchmark.
    bool computed = true;
    for (const auto& s : soilcorners::corners()) {
        if (!all && !isSlowest(s))
            continue;
        const Run r = addSoil(s, dir);
        const bool within = r.ok && r.wall <= 120 && r.peakKb <= 500 * 1024;
        computed = computed && r.ok;
        std::printf("%-46s %8.1f %8.1f %8.0f  %s\n", s.name.c_str(), r.wall, r.cpu, double(r.peakKb) / 1024,
                    !r.ok ? "FAILED" : within ? "" : "beyond the bounds");
        std::fflush(stdout);
    }
    return computed ? 0 : 1;
}
