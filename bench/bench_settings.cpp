// Time of one LoadGraphSettings on a complete settings file: every key is read
// through the low-level routines, each reading the file afresh.

#include "settings/basIndProfile.h"
#include "base/ProgramFolder.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

int main()
{
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "bench_settings: no temporary folder\n");
        return 1;
    }
    ProgramFolder::setOverride(dir.path());

    // A file as a user's program would have it: both sections, all keys.
    GraphSettings saved;
    saved.MaxX = 2.5f;
    saved.TimeScale = QStringLiteral("LIN");
    basIndProfile::SaveGraphSettings(saved);
    basIndProfile::SaveLVSoilSettings(LVSoilSettings());

    const int runs = 500;
    std::vector<double> micros;
    micros.reserve(runs);
    GraphSettings g;
    for (int i = 0; i < 20; ++i) // warm the file cache
        basIndProfile::LoadGraphSettings(g);
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer t;
        t.start();
        basIndProfile::LoadGraphSettings(g);
        micros.push_back(double(t.nsecsElapsed()) / 1000.0);
    }
    if (g.MaxX != 2.5f || g.TimeScale != QStringLiteral("LIN")) {
        std::fprintf(stderr, "bench_settings: the file did not read back\n");
        return 1;
    }
    std::sort(micros.begin(), micros.end());
    const double median = micros[micros.size() / 2];
    const double p95 = micros[std::min(micros.size() - 1, micros.size() * 95 / 100)];
    std::printf("bench_settings: LoadGraphSettings over %d runs: median %.1f us, p95 %.1f us\n",
                runs, median, p95);
    return 0;
}
