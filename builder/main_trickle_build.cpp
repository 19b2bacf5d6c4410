// trickle-build: computes the wetting fronts of the whole sweep (every soil of
// the catalogue, flow rate, initial water content and emitter position) and
// writes them to the SQLite database that the Ulvex program reads; or adds soils
// to such a database, or drops soils from it. A big build can be shared out over
// several machines (--shard K/N) and its parts joined again (--merge).

#include "builder/InterruptCleanup.h"
#include "builder/ShardInputs.h"
#include "builder/ShardMerge.h"
#include "builder/TrickleBuild.h"
#include "builder/TrickleBuildErrors.h"
#include "solver/WettingSimulation.h"
#include "base/UlvexError.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLocale>

#include <csignal>
#include <cstdio>
#include <functional>

namespace {

void complain(const QString &text)
{
    const QByteArray b = (QStringLiteral("trickle-build: ") + text + QLatin1Char('\n')).toLocal8Bit();
    std::fwrite(b.constData(), 1, size_t(b.size()), stderr);
}

// Runs the build or the merge: exit status 0 on success, 2 on a usage error, 1
// on any other failure, which is told on one line.
int runReporting(const std::function<void()> &work)
{
    try {
        work();
    } catch (const UlvexError &e) {
        complain(QStringLiteral("error %1: %2").arg(e.number()).arg(e.description()));
        return e.number() == TrickleBuildErrors::Usage ? 2 : 1;
    } catch (const std::exception &e) {
        complain(QStringLiteral("error: %1").arg(QString::fromLocal8Bit(e.what())));
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    // Under a file-size limit (ulimit -f) a write beyond it would kill the
    // process with SIGXFSZ, without a word and leaving its temporary files;
    // ignored, the write fails with EFBIG and the build reports it like a full
    // disk, naming the output, and cleans up.
    std::signal(SIGXFSZ, SIG_IGN);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("trickle-build"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ULVEX_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Computes the wetting fronts around a drip emitter for every soil of the catalogue,\n"
        "flow rate (--flows, default 0.5, 1, 2, 4, 8 L/h), initial pressure head (-3, -6, -10 m)\n"
        "and emitter position (surface, buried), at every hour up to --hours (default 24),\n"
        "and writes them to a new SQLite database.\n"
        "With --base, the catalogue's soils are computed for the sweep of that database and\n"
        "added to a copy of it; --drop-soil leaves soils of the base out.\n"
        "The build date stored in the database is --build-date, else SOURCE_DATE_EPOCH\n"
        "when set, else the current time.\n"
        "--check-mesh runs every case again with every cell size halved and stores how far\n"
        "its fronts move (CaseInfo.MeshChange); --surface-source disc:R feeds the surface\n"
        "emitter's flow as an even flux over a disc of radius R m instead of a ponded disc.\n"
        "--shard K/N computes only the K-th of N parts of the build, into a partial database;\n"
        "trickle-build --merge PART... --out FILE joins the parts into the database that the\n"
        "same build writes in one run."));
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
                                     QStringLiteral("Build only this case (may be repeated): SoilTypeNo, FlowRateNo (1 for the first flow rate), "
                                                    "initial suction 3, 6 or 10 m, surface or buried; e.g. 4,5,10,buried."),
                                     QStringLiteral("SOIL,FLOW,IC,EMITTER"));
    const QCommandLineOption keepGoingOpt(QStringLiteral("keep-going"),
                                          QStringLiteral("After a failed case, run the others and list every failure (no database is written)."));
    const QCommandLineOption forceOpt(QStringLiteral("force"), QStringLiteral("Replace the output file if it exists."));
    const QCommandLineOption dateOpt(QStringLiteral("build-date"), QStringLiteral("Build date to record (for reproducible files)."),
                                     QStringLiteral("text"));
    const QCommandLineOption flowsOpt(QStringLiteral("flows"),
                                      QStringLiteral("Flow rates in litres per hour, positive and increasing (default 0.5,1,2,4,8)."),
                                      QStringLiteral("Q1,Q2,..."));
    const QCommandLineOption hoursOpt(QStringLiteral("hours"), QStringLiteral("Hours to simulate, 1 to 72 (default 24)."),
                                      QStringLiteral("N"));
    const QCommandLineOption baseOpt(QStringLiteral("base"),
                                     QStringLiteral("Database to build on: its soils and rows are kept, the catalogue's soils are "
                                                    "computed for its sweep and added."),
                                     QStringLiteral("file"));
    const QCommandLineOption dropOpt(QStringLiteral("drop-soil"),
                                     QStringLiteral("With --base: leave out this SoilTypeNo of the base (may be repeated)."),
                                     QStringLiteral("N"));
    const QCommandLineOption baseIfMissingOpt(QStringLiteral("base-if-missing"),
                                              QStringLiteral("Build on --out itself when it exists, else on this database (e.g. the shipped "
                                                             "one); chosen once the output is locked. Instead of --base."),
                                              QStringLiteral("file"));
    const QCommandLineOption dropNamedOpt(QStringLiteral("drop-soil-named"),
                                          QStringLiteral("With --base or --base-if-missing: leave out the base's soil of this name "
                                                         "(compared without regard to case; may be repeated)."),
                                          QStringLiteral("name"));
    const QCommandLineOption shardOpt(QStringLiteral("shard"),
                                      QStringLiteral("Compute only the K-th of N parts of the build (1 <= K <= N) into a partial database; "
                                                     "join the parts with --merge."),
                                      QStringLiteral("K/N"));
    const QCommandLineOption mergeOpt(QStringLiteral("merge"),
                                      QStringLiteral("Join the partial databases given as arguments (every shard of one build) into "
                                                     "the database of the whole build (with --out, --force, --build-date)."));
    const QCommandLineOption checkMeshOpt(QStringLiteral("check-mesh"),
                                          QStringLiteral("Run every case a second time with every cell size halved and store the "
                                                         "largest relative change of its fronts (CaseInfo.MeshChange)."));
    const QCommandLineOption surfaceSourceOpt(QStringLiteral("surface-source"),
                                              QStringLiteral("Surface emitter: the flow enters as an even flux over a disc of radius R "
                                                             "metres, never ponding (default: a ponded disc held at h = 0 whose radius "
                                                             "takes the whole flow)."),
                                              QStringLiteral("disc:R"));
    parser.addOptions({soilsOpt, outOpt, baseOpt, baseIfMissingOpt, dropOpt, dropNamedOpt, flowsOpt, hoursOpt, threadsOpt, thresholdOpt, onlyOpt, keepGoingOpt,
                       forceOpt, dateOpt, shardOpt, mergeOpt, checkMeshOpt, surfaceSourceOpt});
    parser.addPositionalArgument(QStringLiteral("parts"), QStringLiteral("With --merge: the partial databases to join."),
                                 QStringLiteral("[PART...]"));
    parser.process(app);

    if (parser.isSet(mergeOpt)) {
        // The parts carry the build's catalogue, base and options: nothing else to say.
        for (const QCommandLineOption *o : {&soilsOpt, &baseOpt, &baseIfMissingOpt, &dropOpt, &dropNamedOpt, &flowsOpt, &hoursOpt, &threadsOpt, &thresholdOpt, &onlyOpt,
                                            &keepGoingOpt, &shardOpt, &checkMeshOpt, &surfaceSourceOpt}) {
            if (parser.isSet(*o)) {
                complain(QStringLiteral("--merge takes the parts, --out, --force and --build-date only; --%1 belongs to the builds "
                                        "of the shards, whose parts carry it; see --help").arg(o->names().first()));
                return 2;
            }
        }
        if (parser.positionalArguments().isEmpty() || !parser.isSet(outOpt)) {
            complain(QStringLiteral("--merge needs the partial databases and --out; see --help"));
            return 2;
        }
        return runReporting([&]() {
            ShardMergeOptions options;
            options.parts = parser.positionalArguments();
            options.outPath = parser.value(outOpt);
            options.force = parser.isSet(forceOpt);
            options.buildDate = parser.value(dateOpt);
            InterruptCleanup::install();
            ShardMerge(options).run();
        });
    }

    if (!parser.positionalArguments().isEmpty()) {
        complain(QStringLiteral("unexpected argument \"%1\"; see --help").arg(parser.positionalArguments().first()));
        return 2;
    }
    const bool dropOnly = (parser.isSet(baseOpt) || parser.isSet(baseIfMissingOpt)) && (parser.isSet(dropOpt) || parser.isSet(dropNamedOpt));
    if ((!parser.isSet(soilsOpt) && !dropOnly) || !parser.isSet(outOpt)) {
        complain(QStringLiteral("both --soils and --out are needed (or --base, --drop-soil and --out); see --help"));
        return 2;
    }

    return runReporting([&]() {
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
        options.basePath = parser.value(baseOpt);
        options.baseIfMissing = parser.value(baseIfMissingOpt);
        options.dropSoilNames = parser.values(dropNamedOpt);
        for (const QString &n : parser.values(dropOpt)) {
            bool ok = false;
            options.dropSoils.push_back(n.toInt(&ok));
            if (!ok || options.dropSoils.back() < 1)
                throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("--drop-soil \"%1\" is not a SoilTypeNo").arg(n));
        }
        if (parser.isSet(hoursOpt)) {
            bool ok = false;
            options.hours = parser.value(hoursOpt).toInt(&ok);
            if (!ok)
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--hours \"%1\" is not a whole number of hours").arg(parser.value(hoursOpt)));
        }
        if (parser.isSet(flowsOpt)) {
            std::vector<double> flows;
            for (const QString &q : parser.value(flowsOpt).split(QLatin1Char(','))) {
                bool ok = false;
                flows.push_back(QLocale::c().toDouble(q.trimmed(), &ok));
                if (!ok)
                    throw UlvexError(TrickleBuildErrors::Usage,
                                     QStringLiteral("--flows \"%1\": \"%2\" is not a number of litres per hour").arg(parser.value(flowsOpt), q));
            }
            options.flowRates = flows;
        }
        for (const QString &only : parser.values(onlyOpt))
            options.only.push_back(TrickleBuild::parseCase(only));
        if (parser.isSet(shardOpt) && !ShardInputs::parseShard(parser.value(shardOpt), options.shard, options.shards))
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("--shard \"%1\" is not K/N with 1 <= K <= N, e.g. 2/3 for the second of three parts")
                                 .arg(parser.value(shardOpt)));

        options.checkMesh = parser.isSet(checkMeshOpt);
        if (parser.isSet(surfaceSourceOpt))
            options.surfaceFluxRadius = TrickleBuild::parseSurfaceSource(parser.value(surfaceSourceOpt));

        solver::SolverSettings settings;
        settings.surfaceFluxRadius = options.surfaceFluxRadius;
        options.solverSettings = QString::fromStdString(settings.describe());

        const bool checkMesh = options.checkMesh;
        TrickleBuild build(options, [settings, checkMesh](const solver::CaseSpec &caseSpec) {
            solver::CaseResult result = solver::runCase(caseSpec, settings);
            if (checkMesh && result.message.empty() && !result.reachedBoundary) {
                // the same case with every cell size halved: how far the fronts move
                solver::SolverSettings fine = settings;
                fine.refinement = 2.0 * settings.refinement;
                const solver::CaseResult refined = solver::runCase(caseSpec, fine);
                if (!refined.message.empty() || refined.reachedBoundary) {
                    // the case fails for the halved cells' reason
                    result.stopReason = refined.reachedBoundary ? std::string() : refined.stopReason;
                    result.reachedBoundary = refined.reachedBoundary;
                    result.message = "the run with every cell size halved failed: " + refined.message;
                    result.fronts.clear();
                    return result;
                }
                result.meshChange = solver::largestChange(result, refined);
            }
            return result;
        });
        InterruptCleanup::install();
        build.run();
    });
}
