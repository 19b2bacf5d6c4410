#pragma once

#include "solver/CaseSpec.h"
#include "base/UlvexError.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

// One simulation of the sweep, named by the keys the database uses.
struct TrickleBuildCase
{
    int soil = 0;           // SoilTypeNo
    int flowRateNo = 0;     // FlowRateNo, 1..number of flow rates
    double initialHead = 0; // m: -3, -6 or -10
    solver::Emitter emitter = solver::Emitter::Surface;
};

// What every soil is computed for: each flow rate, initial head and emitter
// position, with fronts at every whole hour 1..hours.
struct TrickleSweep
{
    std::vector<double> flowRates;    // L/h, FlowRateNo order
    int hours = 24;
    std::vector<double> initialHeads; // m
    double frontThreshold = 0.1;      // fraction of (theta_s - initial theta)
};

struct TrickleBuildOptions
{
    QString soilsPath;            // the soils to compute; may be empty with basePath and dropSoils
    QString outPath;
    // A finished database to build on: its soils and rows are kept as they are,
    // the catalogue's soils are computed for its sweep and added, and dropSoils
    // are removed. The sweep options below must then be left unset.
    QString basePath;
    // Instead of basePath: the base is the output itself when it exists, else
    // this database (the shipped one, for a user's first soil). The choice is
    // made once the output is locked, so two builds adding a soil each to a
    // database that does not exist yet do not both start from the shipped one.
    QString baseIfMissing;
    std::vector<int> dropSoils;   // SoilTypeNo of the base's soils to leave out
    // Names of the base's soils to leave out (compared without regard to
    // case): a soil is dropped by what it is, whatever number earlier drops
    // have given it by the time the build holds the lock.
    QStringList dropSoilNames;
    // The caller holds the output's lock already (OutputLock; a merge takes it
    // before it writes its inputs beside the output).
    bool outputLocked = false;
    int threads = 0;              // 0: one per core
    std::optional<double> frontThreshold;          // default 0.1
    std::optional<std::vector<double>> flowRates;  // L/h; default 0.5, 1, 2, 4, 8
    std::optional<int> hours;                      // 1..72; default 24
    std::vector<TrickleBuildCase> only; // empty: the whole sweep
    bool force = false;           // replace an existing output file
    bool keepGoing = false;       // after a failed case, run the others and list every failure
    QString buildDate;            // recorded in BuildInfo as given
    QString solverSettings;       // description of the solver's settings, recorded in BuildInfo
    // Every case is also run with every cell size halved and the largest
    // relative change of its fronts is stored (CaseInfo.MeshChange). The
    // Runner does the second run; the build records that it was asked for.
    bool checkMesh = false;
    // The surface emitter's source: 0 for the ponded disc (the default), else
    // the radius (m) of a disc through which the flow enters as an even flux.
    // The Runner computes with it; the build records it and refuses a base
    // built with another source.
    double surfaceFluxRadius = 0;
    // One part of a build shared out over several machines: only the cases of
    // shard `shard` of `shards` (1-based) are computed, and the output is a
    // partial database that trickle-build --merge joins with the other parts.
    // 0 and 0: the whole build.
    int shard = 0;
    int shards = 0;
};

// The cases of a build and what they are computed for, as run() would compute
// them: every case of every shard, in the order in which they are written.
struct TrickleBuildPlan
{
    TrickleSweep sweep;
    std::vector<TrickleBuildCase> cases;
    std::vector<QString> names; // of each case, with its soil's name
};

struct TrickleBuildSummary
{
    int cases = 0; // cases computed by this build
    int threads = 0;
    double wallSeconds = 0;
    double largestMassBalanceError = 0; // over every case of the database written
    QString largestMassBalanceCase;
    double largestMeshChange = 0;       // over the checked cases of the database written
    QString largestMeshChangeCase;      // empty when no case was checked
    int meshCheckedCases = 0;
    double cheapestSeconds = 0;
    QString cheapestCase;
    double dearestSeconds = 0;
    QString dearestCase;
};

// The database build: reads the soil catalogue, runs every case of the sweep (or
// the chosen ones) on a pool of threads, one simulation per thread, and writes the
// database. Given a base database, it copies the base and adds the catalogue's
// soils, computed for the base's sweep, and/or drops soils from it. The database is
// written to a temporary file beside the output and renamed only when complete, so
// a failed or interrupted build never leaves a partial database under the output
// name, and a base that the output replaces stays as it was until that rename; the
// temporary file is removed on failure. The solver is passed in as `Runner`, so
// this class does not depend on it.
//
// A build may be shared out over several machines: each shard computes every
// N-th case of the fixed order and writes a partial database, which carries the
// build's inputs (see ShardInputs) so that ShardMerge can write the whole
// database through run() once more, with the stored results as its Runner.
class TrickleBuild
{
public:
    using Runner = std::function<solver::CaseResult(const solver::CaseSpec &)>;
    using Log = std::function<void(const QString &)>;

    TrickleBuild(TrickleBuildOptions options, Runner runner);

    // Where progress and warnings go; standard error by default.
    void setLog(Log log) { m_log = std::move(log); }

    // Throws UlvexError on any failure (see TrickleBuildErrors).
    TrickleBuildSummary run();

    // Checks the options, the base and the catalogue as run() does and lists
    // the cases of the whole build, without computing or writing anything.
    TrickleBuildPlan plan() const;
    // Refuses an output that may not be written (a folder, an existing file
    // without `force`, a folder that does not exist), before anything is
    // computed or written.
    static void checkOutput(const QString &outPath, bool force);
    // The shard (1..shards) that computes the case at `index` of the plan's
    // order: round-robin, so that every shard gets its share of the dear cases
    // (the large flows of each soil) and of the cheap ones.
    static int shardOf(size_t index, int shards) { return int(index % size_t(shards)) + 1; }

    static const std::vector<double> &defaultFlowRates(); // L/h, FlowRateNo order
    static const std::vector<double> &initialHeads();     // m
    static constexpr int kDefaultHours = 24;
    static constexpr int kMaxHours = 72;
    // "SOIL,FLOW,IC,EMITTER", e.g. "4,5,10,buried": SoilTypeNo, FlowRateNo (its
    // range is checked by run(), against the flow rates of the build), initial
    // suction in metres (3, 6 or 10; -3 etc. also accepted) and "surface" or
    // "buried" (or s / b).
    static TrickleBuildCase parseCase(const QString &text);
    // "SOIL,FLOW,IC,EMITTER" as parseCase() reads it, e.g. "4,5,10,buried".
    static QString caseText(const TrickleBuildCase &c);
    static QString caseName(const TrickleBuildCase &c, const std::vector<double> &flowRates,
                            const QString &soilName = QString());
    // Numbers written to BuildInfo and kept for a merge: the shortest text that
    // reads back as the same number, so that a build on this database (or the
    // merge of a sharded build) computes with exactly the same values.
    static QString exactNumber(double v);
    // BuildInfo's surface_source: "ponded disc", or "flux disc 0.05 m".
    static QString surfaceSourceText(double fluxRadius);
    // "disc:R" (R in metres, > 0) as --surface-source takes it, e.g. "disc:0.05".
    static double parseSurfaceSource(const QString &text);
    // The build date recorded in BuildInfo: `given` when not empty, else the time
    // in SOURCE_DATE_EPOCH when set (reproducible builds), else now; ISO 8601 UTC.
    static QString buildDate(const QString &given);

private:
    struct Prepared;
    void checkOptions() const;
    Prepared prepare() const;
    void prepareDrops(Prepared &p) const;
    void prepareCatalogue(Prepared &p) const;
    TrickleBuildSummary runLocked();
    // A failure to write the temporary database, told of the output.
    UlvexError writeError(const UlvexError &e) const;

    TrickleBuildOptions m_options;
    Runner m_runner;
    Log m_log;
    QString m_tempPath; // of the running build, once created
};
