// trickle-build: computes the wetting fronts of the whole sweep (every soil of
// the catalogue, flow rate, initial water content and emitter position) and
// writes them to the SQLite database that the Ulvex program reads.

#include "builder/TrickleBuild.h"
#include "builder/TrickleBuildErrors.h"
#include "builder/WettingSimulation.h"
#include "base/UlvexError.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLocale>

#include <cstdio>

namespace {

void complain(const QString &text)
{
    const QByteArray b = (QStringLiteral("trickle-build: ") + text + QLatin1Char('\n')).toLocal8Bit();
    std::fwrite(b.constData(), 1, size_t(b.size()), stderr);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("trickle-build"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ULVEX_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Computes the wetting fronts around a drip emitter for every soil of the catalogue,\n"
        "flow rate (0.5, 1, 2, 4, 8 L/h), initial pressure head (-3, -6, -10 m) and emitter\n"
        "position (surface, buried), and writes them to a new SQLite database.\n"
        "The build date stored in the database is --build-date, else SOURCE_DATE_EPOCH\n"
        "when set, else the current time."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption soilsOpt(QStringLiteral("soils"), QStringLiteral("Soil catalogue (CSV) to read."), QStringLiteral("file"));
    const QCommandLineOption outOpt(QStringLiteral("out"), QStringLiteral("Database to write."), QStringLiteral("file"));
    const QCommandLineOption threadsOpt(QStringLiteral("threads"),
                                        QStringLiteral("Simulations run at once (default: one per core)."), QStringLiteral("N"));
    const QCommandLineOption thresholdOpt(QStringLiteral("front-threshold"),
                                          QStringLiteral("Front: water content above the initial one by F x (theta_s - initial theta); default 0.1."),
                                          QStringLiteral("F"));
    const QCommandLineOption onlyOpt(QStringLiteral("only"),
                                     QStringLiteral("Build only this case (may be repeated): SoilTypeNo, FlowRateNo 1-5, "
                                                    "initial suction 3, 6 or 10 m, surface or buried; e.g. 4,5,10,buried."),
                                     QStringLiteral("SOIL,FLOW,IC,EMITTER"));
    const QCommandLineOption keepGoingOpt(QStringLiteral("keep-going"),
                                          QStringLiteral("After a failed case, run the others and list every failure (no database is written)."));
    const QCommandLineOption forceOpt(QStringLiteral("force"), QStringLiteral("Replace the output file if it exists."));
    const QCommandLineOption dateOpt(QStringLiteral("build-date"), QStringLiteral("Build date to record (for reproducible files)."),
                                     QStringLiteral("text"));
    parser.addOptions({soilsOpt, outOpt, threadsOpt, thresholdOpt, onlyOpt, keepGoingOpt, forceOpt, dateOpt});
    parser.process(app);

    if (!parser.positionalArguments().isEmpty()) {
        complain(QStringLiteral("unexpected argument \"%1\"; see --help").arg(parser.positionalArguments().first()));
        return 2;
    }
    if (!parser.isSet(soilsOpt) || !parser.isSet(outOpt)) {
        complain(QStringLiteral("both --soils and --out are needed; see --help"));
        return 2;
    }

    try {
        TrickleBuildOptions options;
        options.soilsPath = parser.value(soilsOpt);
        options.outPath = parser.value(outOpt);
        options.force = parser.isSet(forceOpt);
        options.keepGoing = parser.isSet(keepGoingOpt);
        options.buildDate = parser.value(dateOpt);
        if (parser.isSet(threadsOpt)) {
            bool ok = false;
            options.threads = parser.value(threadsOpt).toInt(&ok);
            if (!ok || options.threads < 1)
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--threads \"%1\" is not a whole number of 1 or more").arg(parser.value(threadsOpt)));
        }
        if (parser.isSet(thresholdOpt)) {
            bool ok = false;
            options.frontThreshold = QLocale::c().toDouble(parser.value(thresholdOpt), &ok);
            if (!ok)
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--front-threshold \"%1\" is not a number").arg(parser.value(thresholdOpt)));
        }
        for (const QString &only : parser.values(onlyOpt))
            options.only.push_back(TrickleBuild::parseCase(only));

        const builder::SolverSettings settings;
        options.solverSettings = QString::fromStdString(settings.describe());

        TrickleBuild build(options, [settings](const builder::CaseSpec &caseSpec) { return builder::runCase(caseSpec, settings); });
        TrickleBuild::installInterruptCleanup();
        build.run();
    } catch (const UlvexError &e) {
        complain(QStringLiteral("error %1: %2").arg(e.number()).arg(e.description()));
        return e.number() == TrickleBuildErrors::Usage ? 2 : 1;
    } catch (const std::exception &e) {
        complain(QStringLiteral("error: %1").arg(QString::fromLocal8Bit(e.what())));
        return 1;
    }
    return 0;
}
