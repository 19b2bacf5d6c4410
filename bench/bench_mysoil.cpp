// One soil added as a user adds it, end to end: trickle-build run as the
// program runs it (a catalogue of one soil, the shipped database as the base,
// the user's database as the output, one simulation per core), timed from the
// start of the process to its end. The soils: the loam class average (a
// middling soil), its sand and its silty clay (the cheapest and the dearest
// of the shipped sweep's soils).
//
//   bench_mysoil [BUILDER]   (default: the trickle-build of this build)
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <thread>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QString builder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(ULVEX_TRICKLE_BUILD);
    const struct
    {
        const char *name;
        const char *line;
    } soils[] = {
        {"Loam", "My Loam,medium,20,bench,0.078,0.43,0.036,1.56,24.96"},
        {"Sand", "My Sand,coarse,3,bench,0.045,0.43,0.145,2.68,712.8"},
        {"Silty Clay", "My Silty Clay,fine,47,bench,0.070,0.36,0.005,1.09,0.48"},
    };
    std::printf("one added soil, 30 cases, %u core(s), base %s\n", std::thread::hardware_concurrency(),
                ULVEX_SHIPPED_DB);
    std::printf("%-12s %10s\n", "soil", "wall s");
    for (const auto &soil : soils) {
        QTemporaryDir dir;
        const QString catalogue = dir.filePath(QStringLiteral("soil.csv"));
        QFile f(catalogue);
        if (!f.open(QIODevice::WriteOnly))
            return 1;
        f.write("Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),alpha (1/cm),n (-),Ks (cm/day)\n");
        f.write(soil.line);
        f.write("\n");
        f.close();
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        QElapsedTimer clock;
        clock.start();
        p.start(builder, {QStringLiteral("--soils"), catalogue, QStringLiteral("--base"),
                          QStringLiteral(ULVEX_SHIPPED_DB), QStringLiteral("--out"),
                          dir.filePath(QStringLiteral("user.db"))});
        if (!p.waitForFinished(-1) || p.exitCode() != 0) {
            std::printf("%-12s failed: %s\n", soil.name, p.readAll().constData());
            return 1;
        }
        std::printf("%-12s %10.1f\n", soil.name, double(clock.nsecsElapsed()) * 1e-9);
        std::fflush(stdout);
    }
    return 0;
}
