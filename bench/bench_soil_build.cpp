// What a user waits for when the program computes a soil: trickle-build
// itself, run as a separate program, on
//   - the twelve cases of bench_solver (every soil once; flows, initial heads
//     and emitters in turn), one at a time on one thread: CPU seconds per case;
//   - one soil's 30 cases (5 flow rates x 3 initial heads x 2 emitters, 24 h
//     each) end to end with two threads, for Loam and for Sand (the dearest
//     class): wall and CPU seconds.
//
// With ULVEX_OLD_TRICKLE_BUILD naming another trickle-build (an earlier
// solver, built from its own checkout), every run is repeated with it right
// after the new one, so that both see the same load on a shared machine, and
// the old/new ratios are printed:
//
//   git worktree add /tmp/solver-old <commit>
//   cmake -S /tmp/solver-old -B /tmp/solver-old/build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
//   cmake --build /tmp/solver-old/build --target trickle-build
//   ULVEX_OLD_TRICKLE_BUILD=/tmp/solver-old/build/bin/trickle-build make bench
#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Run
{
    double wall = 0, cpu = 0;
    bool ok = false;
};

double childCpuSeconds()
{
    rusage u{};
    getrusage(RUSAGE_CHILDREN, &u);
    return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec)
           + 1e-6 * double(u.ru_utime.tv_usec + u.ru_stime.tv_usec);
}

// Runs trickle-build on the given cases into a scratch database.
Run build(const QString& exe, const QStringList& only, int threads, const QString& out)
{
    QStringList args = {"--soils", QStringLiteral(ULVEX_SOILS_CSV), "--out", out, "--force",
                        "--threads", QString::number(threads), "--build-date", "bench"};
    for (const QString& c : only)
        args << "--only" << c;
    Run r;
    const double cpu0 = childCpuSeconds();
    QElapsedTimer clock;
    clock.start();
    QProcess p;
    p.start(exe, args);
    r.ok = p.waitForFinished(-1) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    r.wall = double(clock.nsecsElapsed()) * 1e-9;
    r.cpu = childCpuSeconds() - cpu0;
    if (!r.ok)
        std::fprintf(stderr, "%s failed:\n%s\n", qPrintable(exe),
                     p.readAllStandardError().constData());
    return r;
}

} // namespace

int main()
{
    const QString fresh = QStringLiteral(TRICKLE_BUILD_EXE);
    const char* oldEnv = std::getenv("ULVEX_OLD_TRICKLE_BUILD");
    const QString old = oldEnv && *oldEnv ? QString::fromLocal8Bit(oldEnv) : QString();
    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("bench.db"));
    const char* names[13] = {"", "Sand", "Loamy Sand", "Sandy Loam", "Loam", "Silt", "Silt Loam",
                             "Sandy Clay Loam", "Clay Loam", "Silty Clay Loam", "Sandy Clay",
                             "Silty Clay", "Clay"};
    const double litres[5] = {0.5, 1, 2, 4, 8};
    const int suction[3] = {3, 6, 10};

    std::printf("trickle-build, one case at a time on one thread: CPU seconds per case%s\n",
                old.isEmpty() ? " (set ULVEX_OLD_TRICKLE_BUILD to compare with another build)" : "");
    std::printf("%-16s %5s %5s %-8s %8s%s\n", "soil", "L/h", "h0 m", "emitter", "new s",
                old.isEmpty() ? "" : "    old s  old/new");
    double totalNew = 0, totalOld = 0;
    bool ok = true;
    for (int soil = 1; soil <= 12; ++soil) {
        const int flow = (soil * 2) % 5, head = soil % 3;
        const bool surface = soil % 2;
        const QString only = QStringLiteral("%1,%2,%3,%4").arg(soil).arg(flow + 1).arg(suction[head])
                                 .arg(surface ? "surface" : "buried");
        const Run a = build(fresh, {only}, 1, out);
        ok = ok && a.ok;
        totalNew += a.cpu;
        std::printf("%-16s %5.1f %5d %-8s %8.2f", names[soil], litres[flow], -suction[head],
                    surface ? "surface" : "buried", a.cpu);
        if (!old.isEmpty()) {
            const Run b = build(old, {only}, 1, out);
            ok = ok && b.ok;
            totalOld += b.cpu;
            std::printf(" %8.2f %8.2f", b.cpu, b.cpu / a.cpu);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    std::printf("%-37s %8.2f", "mean", totalNew / 12);
    if (!old.isEmpty())
        std::printf(" %8.2f %8.2f", totalOld / 12, totalOld / totalNew);
    std::printf("\n\n");

    // one soil, every case, two threads: Loam, and Sand, whose deep buried
    // bulbs make it the dearest class
    for (const int soil : {4, 1}) {
        QStringList all;
        for (int flow = 1; flow <= 5; ++flow)
            for (int head : suction)
                for (const char* emitter : {"surface", "buried"})
                    all << QStringLiteral("%1,%2,%3,%4").arg(soil).arg(flow).arg(head).arg(emitter);
        std::printf("one soil end to end: %s, %d cases, two threads\n", names[soil], int(all.size()));
        const Run a = build(fresh, all, 2, out);
        ok = ok && a.ok;
        std::printf("  new: %6.1f s wall, %6.1f s CPU (%.2f s CPU a case)\n", a.wall, a.cpu,
                    a.cpu / all.size());
        if (!old.isEmpty()) {
            const Run b = build(old, all, 2, out);
            ok = ok && b.ok;
            std::printf("  old: %6.1f s wall, %6.1f s CPU (%.2f s CPU a case)\n", b.wall, b.cpu,
                        b.cpu / all.size());
            std::printf("  old/new: %.2f wall, %.2f CPU\n", b.wall / a.wall, b.cpu / a.cpu);
        }
        std::fflush(stdout);
    }
    return ok ? 0 : 1;
}
