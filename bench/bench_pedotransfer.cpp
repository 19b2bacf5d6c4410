// Time of reading each compiled-in weight file (what the first estimate with
// a model pays once per process) and of one estimate afterwards: the four
// texture models, their 1000 networks each and the 100 networks for K0 and L.

#include "BenchStats.h"

#include "pedotransfer/RosettaModel.h"
#include "pedotransfer/TexturePedotransfer.h"

#include <QFile>

#include <cstdio>

namespace {

QByteArray weightFile(const QString &name)
{
    QFile file(QStringLiteral(":/pedotransfer/%1.json").arg(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TexturePedotransfer::Input loamFor(int code)
{
    TexturePedotransfer::Input in;
    in.sand = 40;
    in.silt = 40;
    in.clay = 20;
    if (code >= 3)
        in.bulkDensity = 1.4;
    if (code >= 4)
        in.theta33 = 0.28;
    if (code >= 5)
        in.theta1500 = 0.1;
    return in;
}

} // namespace

int main()
{
    QElapsedTimer first;
    first.start();
    RosettaModel::builtIn(2); // also registers the resource
    std::printf("bench_pedotransfer: first use of model 2 (reads its file) %.1f ms\n",
                double(first.nsecsElapsed()) / 1e6);
    for (const char *name : {"rose3_mod2", "rose3_mod5", "rose1_unsat_k"}) {
        const QByteArray json = weightFile(QLatin1String(name));
        if (json.isEmpty()) {
            std::fprintf(stderr, "bench_pedotransfer: %s is not compiled in\n", name);
            return 1;
        }
        const QByteArray what = QByteArray("read ") + name;
        BenchStats::measure(10, [&json] { RosettaModel::fromJson(json); }, 1).print(what.constData());
    }
    for (int code = 2; code <= 5; ++code) {
        const TexturePedotransfer::Input in = loamFor(code);
        if (!TexturePedotransfer::estimate(in)) {
            std::fprintf(stderr, "bench_pedotransfer: no estimate for model %d\n", code);
            return 1;
        }
        const QByteArray what = "one estimate, model " + QByteArray::number(code);
        BenchStats::measure(200, [&in] { TexturePedotransfer::estimate(in); }).print(what.constData());
    }
    return 0;
}
