#pragma once

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

// Runs a piece of work repeatedly and prints its median and 95th percentile in
// milliseconds. Benchmarks report figures only; they never fail on speed.
struct BenchStats
{
    double median = 0;
    double p95 = 0;

    static BenchStats measure(int runs, const std::function<void()> &work, int warmup = 5)
    {
        for (int i = 0; i < warmup; ++i)
            work();
        std::vector<double> ms;
        ms.reserve(size_t(runs));
        QElapsedTimer timer;
        for (int i = 0; i < runs; ++i) {
            timer.start();
            work();
            ms.push_back(double(timer.nsecsElapsed()) / 1e6);
        }
        std::sort(ms.begin(), ms.end());
        BenchStats s;
        s.median = ms[ms.size() / 2];
        s.p95 = ms[std::min(ms.size() - 1, size_t(double(ms.size()) * 0.95))];
        return s;
    }

    void print(const char *what) const
    {
        std::printf("%-44s median %8.3f ms   p95 %8.3f ms\n", what, median, p95);
        std::fflush(stdout);
    }
};
