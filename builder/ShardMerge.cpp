#include "builder/ShardMerge.h"

#include "builder/DatabaseWriter.h"
#include "builder/InterruptCleanup.h"
#include "builder/OutputLock.h"
#include "builder/ShardInputs.h"
#include "builder/SqliteRead.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <tuple>

namespace {

// A case as the database keys it: SoilType, FlowRate, InitialHead, buried.
using CaseKey = std::tuple<int, int, double, bool>;

CaseKey keyOf(const TrickleBuildCase &c)
{
    return CaseKey{c.soil, c.flowRateNo, c.initialHead, c.emitter == solver::Emitter::Buried};
}

UlvexError mergeError(const QString &text)
{
    return UlvexError(TrickleBuildErrors::Merge, text);
}

// One partial database, read completely: what it is a part of, the build's
// inputs and the results of its cases.
struct Part
{
    QString path;
    int shard = 0;
    int shards = 0;
    QString fingerprint;
    QString buildDate;
    ShardInputs::Rows inputs;
    std::map<CaseKey, solver::CaseResult> results;

    QString name() const { return QStringLiteral("%1 (shard %2 of %3)").arg(path).arg(shard).arg(shards); }
};

Part readPart(const QString &path)
{
    auto notAPart = [&](const QString &what) { return mergeError(QStringLiteral("the part %1 %2").arg(path, what)); };
    sqlite3 *db = SqliteRead::open(path, notAPart);
    std::unique_ptr<sqlite3, void (*)(sqlite3 *)> closer(db, SqliteRead::close);
    auto read = [&](const QString &sql, const std::function<void(sqlite3_stmt *)> &each) {
        int error = SQLITE_OK;
        if (!SqliteRead::forEachRow(db, sql, each, error))
            throw notAPart(QStringLiteral("cannot be read (%1): %2; it is not a partial database of trickle-build")
                               .arg(sql, QString::fromUtf8(sqlite3_errmsg(db))));
    };

    Part p;
    p.path = path;
    std::map<QString, QString> info;
    int error = SQLITE_OK;
    SqliteRead::forEachRow(db, QStringLiteral("SELECT key, value FROM BuildInfo"),
                           [&](sqlite3_stmt *s) { info[SqliteRead::columnText(s, 0)] = SqliteRead::columnText(s, 1); }, error);
    if (!info.count(QStringLiteral("shard"))) {
        if (info[QStringLiteral("builder")] == QLatin1String("trickle-build"))
            throw notAPart(QStringLiteral("is a finished database of trickle-build, not one part of a sharded build (trickle-build --shard K/N)"));
        throw notAPart(QStringLiteral("is not a partial database of trickle-build (its BuildInfo names no shard)"));
    }
    if (!ShardInputs::parseShard(info[QStringLiteral("shard")], p.shard, p.shards))
        throw notAPart(QStringLiteral("has the shard \"%1\" in BuildInfo, not K/N").arg(info[QStringLiteral("shard")]));
    p.fingerprint = info[QStringLiteral("build_fingerprint")];
    p.buildDate = info[QStringLiteral("build_date")];

    read(QStringLiteral("SELECT name, content FROM ShardInputs"), [&](sqlite3_stmt *s) {
        const void *blob = sqlite3_column_blob(s, 1);
        p.inputs[SqliteRead::columnText(s, 0)] = QByteArray(static_cast<const char *>(blob), sqlite3_column_bytes(s, 1));
    });
    if (ShardInputs::fingerprint(p.inputs) != p.fingerprint)
        throw notAPart(QStringLiteral("was changed after it was written: its ShardInputs do not give its build_fingerprint"));
    const QString version = QString::fromUtf8(p.inputs[QStringLiteral("builder_version")]);
    if (version != QLatin1String(ULVEX_VERSION))
        throw notAPart(QStringLiteral("was computed by trickle-build %1; this is trickle-build %2, which would write another database: "
                                      "merge with the version that computed the parts")
                           .arg(version, QLatin1String(ULVEX_VERSION)));

    // The results: CaseInfo names the cases, the front tables hold their fronts.
    read(QStringLiteral("SELECT SoilType, FlowRate, InitialHead, Emitter, MassBalanceError, TimeSteps, MeshChange FROM CaseInfo"),
         [&](sqlite3_stmt *s) {
        solver::CaseResult r;
        r.massBalanceError = sqlite3_column_double(s, 4);
        r.timeSteps = long(sqlite3_column_int64(s, 5));
        if (sqlite3_column_type(s, 6) != SQLITE_NULL)
            r.meshChange = sqlite3_column_double(s, 6);
        p.results[CaseKey{sqlite3_column_int(s, 0), sqlite3_column_int(s, 1), sqlite3_column_double(s, 2),
                          SqliteRead::columnText(s, 3) == QLatin1String("buried")}] = r;
    });
    for (double head : TrickleBuild::initialHeads()) {
        for (auto emitter : {solver::Emitter::Surface, solver::Emitter::Buried}) {
            const bool buried = emitter == solver::Emitter::Buried;
            read(QStringLiteral("SELECT SoilType, FlowRate, Time, r, %1 FROM \"%2\" ORDER BY SoilType, FlowRate, Time")
                     .arg(buried ? QStringLiteral("zplus, zminus") : QStringLiteral("z, 0"), DatabaseWriter::frontTable(emitter, head)),
                 [&](sqlite3_stmt *s) {
                     const auto it = p.results.find(CaseKey{sqlite3_column_int(s, 0), sqlite3_column_int(s, 1), head, buried});
                     if (it == p.results.end())
                         return; // a front without its case: the case counts as missing
                     it->second.fronts.push_back(
                         {sqlite3_column_int(s, 2), sqlite3_column_double(s, 3), sqlite3_column_double(s, 4), sqlite3_column_double(s, 5)});
                 });
        }
    }
    // The pond radii of the surface cases, by hour.
    read(QStringLiteral("SELECT SoilType, FlowRate, InitialHead, Time, PondRadius FROM PondData"), [&](sqlite3_stmt *s) {
        const auto it = p.results.find(CaseKey{sqlite3_column_int(s, 0), sqlite3_column_int(s, 1), sqlite3_column_double(s, 2), false});
        const int hour = sqlite3_column_int(s, 3);
        if (it == p.results.end() || hour < 1 || hour > int(it->second.fronts.size()))
            return; // a radius without its case or front: checkResults() names the case
        it->second.fronts[size_t(hour - 1)].pondRadius = sqlite3_column_double(s, 4);
    });
    return p;
}

// The parts must be every shard of one build, each once.
void checkParts(const std::vector<Part> &parts)
{
    const Part &first = parts.front();
    std::map<int, const Part *> byShard;
    for (const Part &p : parts) {
        if (p.shards != first.shards)
            throw mergeError(QStringLiteral("%1 and %2 are parts of different builds: one was shared out into %3 shards, the other into %4")
                                 .arg(first.name(), p.name()).arg(first.shards).arg(p.shards));
        if (p.fingerprint != first.fingerprint)
            throw mergeError(QStringLiteral("%1 and %2 are parts of different builds: their build_fingerprint differs "
                                            "(another catalogue, base, sweep, --only, --drop-soil or solver)")
                                 .arg(first.name(), p.name()));
        const auto twice = byShard.find(p.shard);
        if (twice != byShard.end())
            throw mergeError(QStringLiteral("shard %1 of %2 is given twice: %3 and %4").arg(p.shard).arg(p.shards).arg(twice->second->path, p.path));
        byShard[p.shard] = &p;
    }
    QStringList missing;
    for (int k = 1; k <= first.shards; ++k) {
        if (!byShard.count(k))
            missing << QString::number(k);
    }
    if (!missing.isEmpty())
        throw mergeError(QStringLiteral("%1 %2 of %3 %4 missing; build %5 and merge again")
                             .arg(missing.size() == 1 ? QStringLiteral("shard") : QStringLiteral("shards"), missing.join(QStringLiteral(", ")))
                             .arg(first.shards)
                             .arg(missing.size() == 1 ? QStringLiteral("is") : QStringLiteral("are"),
                                  missing.size() == 1 ? QStringLiteral("it") : QStringLiteral("them")));
}

// Every case of the build must be in the part of its shard, with a front for
// every hour; and a part holds no case of another shard.
void checkResults(const std::vector<Part> &parts, const TrickleBuildPlan &plan)
{
    const int shards = parts.front().shards;
    std::map<int, const Part *> byShard;
    for (const Part &p : parts)
        byShard[p.shard] = &p;
    std::map<int, int> expected, lacking;
    std::map<int, QString> firstLacking;
    for (size_t i = 0; i < plan.cases.size(); ++i) {
        const int k = TrickleBuild::shardOf(i, shards);
        ++expected[k];
        const Part &p = *byShard[k];
        const auto it = p.results.find(keyOf(plan.cases[i]));
        bool complete = it != p.results.end() && int(it->second.fronts.size()) == plan.sweep.hours;
        for (size_t h = 0; complete && h < it->second.fronts.size(); ++h)
            complete = it->second.fronts[h].hour == int(h) + 1
                       && (plan.cases[i].emitter == solver::Emitter::Buried || it->second.fronts[h].pondRadius > 0);
        if (!complete && lacking[k]++ == 0)
            firstLacking[k] = plan.names[i];
    }
    for (const Part &p : parts) {
        if (lacking[p.shard] > 0)
            throw mergeError(QStringLiteral("%1 lacks the results (or the fronts or pond radii of every hour) of %2 of its %3 case(s), the first %4; "
                                            "build shard %5/%6 again and merge again")
                                 .arg(p.name()).arg(lacking[p.shard]).arg(expected[p.shard]).arg(firstLacking[p.shard])
                                 .arg(p.shard).arg(p.shards));
        if (int(p.results.size()) != expected[p.shard])
            throw mergeError(QStringLiteral("%1 holds %2 case result(s), but shard %3 of %4 of this build has %5 case(s)")
                                 .arg(p.name()).arg(p.results.size()).arg(p.shard).arg(p.shards).arg(expected[p.shard]));
    }
}

} // namespace

ShardMerge::ShardMerge(ShardMergeOptions options)
    : m_options(std::move(options)),
      m_log([](const QString &line) {
          const QByteArray b = line.toLocal8Bit() + '\n';
          std::fwrite(b.constData(), 1, size_t(b.size()), stderr);
          std::fflush(stderr);
      })
{
}

TrickleBuildSummary ShardMerge::run()
{
    const ShardMergeOptions &opt = m_options;
    if (opt.parts.isEmpty())
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("--merge needs the partial databases to join"));
    if (opt.outPath.isEmpty())
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("no output file given"));

    // Everything is read and checked before anything is written.
    std::vector<Part> parts;
    for (const QString &path : opt.parts)
        parts.push_back(readPart(path));
    checkParts(parts);
    TrickleBuild::checkOutput(opt.outPath, opt.force);
    QString date = opt.buildDate;
    if (date.isEmpty()) {
        for (const Part &p : parts)
            date = std::max(date, p.buildDate); // ISO 8601 dates in UTC order as text
    }

    // The output is locked before anything is written beside it (see OutputLock).
    const OutputLock lock(opt.outPath, m_log);
    // The build's inputs under their original names, beside the output.
    const QFileInfo outInfo(opt.outPath);
    QTemporaryDir folder(outInfo.absoluteDir().filePath(QStringLiteral(".%1.XXXXXX.inputs").arg(outInfo.fileName())));
    if (!folder.isValid())
        throw UlvexError(TrickleBuildErrors::FileSystem,
                         QStringLiteral("cannot create a temporary folder in %1: %2").arg(outInfo.absolutePath(), folder.errorString()));
    std::vector<std::unique_ptr<InterruptCleanup::Guard>> guards;
    guards.push_back(std::make_unique<InterruptCleanup::Guard>(folder.path()));
    ShardInputs::Files files;
    TrickleBuildOptions build = ShardInputs::restore(parts.front().inputs, folder.path(), parts.front().path, files);
    for (const auto &file : files) {
        const QString dir = QFileInfo(file.first).path();
        guards.push_back(std::make_unique<InterruptCleanup::Guard>(dir));
        guards.push_back(std::make_unique<InterruptCleanup::Guard>(file.first));
        QFile f(file.first);
        if (!QDir().mkpath(dir) || !f.open(QIODevice::WriteOnly) || f.write(file.second) != file.second.size() || !f.flush())
            throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("cannot write %1: %2").arg(file.first, f.errorString()));
    }
    build.outPath = opt.outPath;
    build.force = opt.force;
    build.buildDate = date;
    build.threads = 1;
    build.outputLocked = true;

    // The stored results stand in for the solver.
    std::map<CaseKey, const solver::CaseResult *> results;
    for (const Part &p : parts) {
        for (const auto &r : p.results)
            results[r.first] = &r.second;
    }
    std::vector<double> flows; // the build's flow rates, FlowRateNo order
    TrickleBuild merged(build, [&](const solver::CaseSpec &s) {
        const int flowRateNo = int(std::find(flows.begin(), flows.end(), s.flowLitresPerHour) - flows.begin()) + 1;
        const auto it = results.find(CaseKey{s.soil.number, flowRateNo, s.initialHead, s.emitter == solver::Emitter::Buried});
        if (it == results.end()) // checkResults() has made sure that it is there
            throw std::runtime_error("no part holds the result of this case");
        return *it->second;
    });
    // The shards have reported every case already.
    merged.setLog([](const QString &) {});
    const TrickleBuildPlan plan = merged.plan();
    flows = plan.sweep.flowRates;
    checkResults(parts, plan);

    m_log(QStringLiteral("trickle-build: merging %1 part(s), the %2 shards of a build of %3 case(s), into %4")
              .arg(parts.size()).arg(parts.front().shards).arg(plan.cases.size()).arg(opt.outPath));
    const TrickleBuildSummary sum = merged.run();
    m_log(QStringLiteral("trickle-build: wrote %1: %2 case(s) merged from %3 part(s); largest mass balance error %4 % (%5)")
              .arg(opt.outPath).arg(plan.cases.size()).arg(parts.size())
              .arg(100.0 * sum.largestMassBalanceError, 0, 'g', 3)
              .arg(sum.largestMassBalanceCase.isEmpty() ? QStringLiteral("no case") : sum.largestMassBalanceCase));
    return sum;
}
