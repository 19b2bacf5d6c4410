// Times a full DrawGraph of the graph control (ground, six fronts, cover
// strips, sky, emitter, both axes, legend) at three sizes and prints the
// median and 95th percentile. It reports figures only and never fails on speed.
#include "graph/ColorRef.h"
#include "graph/GraphEllipse.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFont>
#include <algorithm>
#include <cstdio>
#include <vector>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QFont::insertSubstitution("Verdana", "DejaVu Sans");

    const QSize sizes[] = {QSize(400, 600), QSize(1200, 1800), QSize(2400, 3600)};
    const int runs = 300;
    const int colors[6] = {ColorRef::rgb(255, 0, 0),   ColorRef::rgb(0, 0, 255),
                           ColorRef::rgb(0, 160, 0),   ColorRef::rgb(200, 0, 200),
                           ColorRef::rgb(0, 160, 160), ColorRef::rgb(128, 64, 0)};

    std::printf("DrawGraph, six fronts, background on, %d runs each\n", runs);
    for (const QSize &size : sizes) {
        GraphEllipse graph;
        graph.resize(size);
        graph.applyResize();
        graph.setDrawBackground(true);
        graph.setLineWidth(2);
        for (int i = 0; i < 6; ++i) {
            clsData front;
            front.setlabel(QString("%1 Hour").arg(1 << i));
            front.setRadius1(0.06f * (i + 1));
            front.setzplus(0.12f * (i + 1));
            front.setzminus(0.03f * (i + 1));
            front.setColor(colors[i]);
            graph.AddEllipse(front);
        }
        // Warm-up: font and glyph caches.
        for (int i = 0; i < 5; ++i)
            graph.DrawGraph();

        std::vector<double> ms;
        ms.reserve(runs);
        QElapsedTimer timer;
        for (int i = 0; i < runs; ++i) {
            timer.start();
            const QString result = graph.DrawGraph();
            ms.push_back(timer.nsecsElapsed() / 1e6);
            if (!result.isEmpty()) {
                std::printf("DrawGraph failed: %s\n", qPrintable(result));
                return 1;
            }
        }
        std::sort(ms.begin(), ms.end());
        const double median = ms[ms.size() / 2];
        const double p95 = ms[std::min(ms.size() - 1, size_t(ms.size() * 0.95))];
        std::printf("%5d x %-5d median %7.3f ms   p95 %7.3f ms\n", size.width(), size.height(),
                    median, p95);
    }
    return 0;
}
