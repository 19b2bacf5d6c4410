#include "builder/TrickleBuild.h"

#include "base/BuildTemporary.h"

#include "builder/BaseDatabase.h"
#include "builder/CaseCheck.h"
#include "builder/DatabaseWriter.h"
#include "builder/InterruptCleanup.h"
#include "builder/OutputLock.h"
#include "builder/ShardInputs.h"
#include "builder/SoilCatalogue.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QTemporaryFile>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <tuple>

#include <sys/resource.h>

namespace {

// Removes the temporary database (and SQLite's journal beside it) unless the
// build got as far as renaming it; SIGINT and SIGTERM remove them as well.
class TempFileGuard
{
public:
    explicit TempFileGuard(const QString &path) : m_path(path), m_file(path), m_journal(path + QStringLiteral("-journal")) {}
    ~TempFileGuard()
    {
        if (!m_released) {
            QFile::remove(m_path);
            QFile::remove(m_path + QStringLiteral("-journal"));
        }
    }
    void release() { m_released = true; }

private:
    QString m_path;
    InterruptCleanup::Guard m_file, m_journal;
    bool m_released = false;
};

QString fmtDuration(double seconds)
{
    const long s = std::lround(std::max(0.0, seconds));
    if (s >= 3600)
        return QStringLiteral("%1:%2:%3").arg(s / 3600).arg((s / 60) % 60, 2, 10, QLatin1Char('0')).arg(s % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
}

int emitterRank(solver::Emitter e) { return e == solver::Emitter::Surface ? 0 : 1; }

// The fixed order of the sweep: soil, flow rate, initial head (wet to dry), emitter.
bool caseLess(const TrickleBuildCase &a, const TrickleBuildCase &b)
{
    return std::make_tuple(a.soil, a.flowRateNo, -a.initialHead, emitterRank(a.emitter))
         < std::make_tuple(b.soil, b.flowRateNo, -b.initialHead, emitterRank(b.emitter));
}

bool caseEqual(const TrickleBuildCase &a, const TrickleBuildCase &b)
{
    return !caseLess(a, b) && !caseLess(b, a);
}

struct Outcome
{
    bool done = false;
    solver::CaseResult result;
    double seconds = 0;
    QString error; // empty when the case is good
};

using NameOf = std::function<QString(const TrickleBuildCase &)>;

// Every case of the given soils over the whole sweep, in the order they are written.
std::vector<TrickleBuildCase> sweepCases(const std::vector<solver::SoilParams> &soils, const TrickleSweep &sweep)
{
    std::vector<TrickleBuildCase> cases;
    for (const auto &soil : soils)
        for (int f = 1; f <= int(sweep.flowRates.size()); ++f)
            for (double h : sweep.initialHeads)
                for (auto e : {solver::Emitter::Surface, solver::Emitter::Buried})
                    cases.push_back({soil.number, f, h, e});
    std::sort(cases.begin(), cases.end(), caseLess);
    return cases;
}

// Runs the cases on a pool of threads, each thread taking the next case not yet
// started, and logs one progress line per finished case. Throws
// TrickleBuildErrors::CaseFailed naming the failed case(s).
std::vector<Outcome> runCases(const std::vector<TrickleBuildCase> &cases, const SoilCatalogue &catalogue, const TrickleSweep &sweep,
                              int threads, bool keepGoing, const TrickleBuild::Runner &runner, const TrickleBuild::Log &log,
                              const NameOf &nameOf, const QString &label)
{
    // Cases start roughly dearest first (high flow, buried: the largest bulbs),
    // so that no long case is left running alone at the end of the sweep. The
    // order of writing does not depend on this.
    std::vector<size_t> startOrder(cases.size());
    for (size_t i = 0; i < cases.size(); ++i)
        startOrder[i] = i;
    std::stable_sort(startOrder.begin(), startOrder.end(), [&](size_t a, size_t b) {
        return std::make_tuple(-cases[a].flowRateNo, -emitterRank(cases[a].emitter))
             < std::make_tuple(-cases[b].flowRateNo, -emitterRank(cases[b].emitter));
    });

    std::vector<Outcome> outcomes(cases.size());
    std::atomic<size_t> next{0};
    std::atomic<bool> stop{false};
    std::mutex mutex;
    int finished = 0;
    QElapsedTimer clock;
    clock.start();

    auto worker = [&]() {
        for (;;) {
            if (stop.load())
                return;
            const size_t n = next.fetch_add(1);
            if (n >= cases.size())
                return;
            const size_t i = startOrder[n];
            const TrickleBuildCase &c = cases[i];
            solver::CaseSpec caseSpec;
            caseSpec.soil = *catalogue.find(c.soil);
            caseSpec.flowLitresPerHour = sweep.flowRates[size_t(c.flowRateNo - 1)];
            caseSpec.initialHead = c.initialHead;
            caseSpec.emitter = c.emitter;
            caseSpec.hours = sweep.hours;
            caseSpec.frontThreshold = sweep.frontThreshold;

            Outcome out;
            QElapsedTimer caseClock;
            caseClock.start();
            try {
                out.result = runner(caseSpec);
            } catch (const std::exception &e) {
                out.error = QStringLiteral("solver error: %1").arg(QString::fromLocal8Bit(e.what()));
            } catch (...) {
                out.error = QStringLiteral("solver error: an unknown error");
            }
            out.seconds = double(caseClock.nsecsElapsed()) * 1e-9;
            const solver::CaseResult &r = out.result;
            if (out.error.isEmpty())
                out.error = CaseCheck::problem(caseSpec, r);
            out.done = true;

            std::lock_guard<std::mutex> lock(mutex);
            ++finished;
            const double elapsed = double(clock.nsecsElapsed()) * 1e-9;
            const double left = elapsed / finished * double(cases.size() - size_t(finished));
            if (!out.error.isEmpty()) {
                if (!keepGoing)
                    stop = true;
                log(QStringLiteral("[%1/%2] %3%4: FAILED after %5 s: %6")
                        .arg(finished, 3).arg(cases.size()).arg(label, nameOf(c)).arg(out.seconds, 0, 'f', 1).arg(out.error));
            } else {
                log(QStringLiteral("[%1/%2] %3%4: %5 s, mass balance %6 %; elapsed %7, about %8 left")
                        .arg(finished, 3).arg(cases.size()).arg(label, nameOf(c)).arg(out.seconds, 0, 'f', 1)
                        .arg(100.0 * r.massBalanceError, 0, 'g', 3).arg(fmtDuration(elapsed), fmtDuration(left)));
                if (!r.warning.empty())
                    log(QStringLiteral("warning: %1%2: %3").arg(label, nameOf(c), QString::fromStdString(r.warning)));
            }
            outcomes[i] = std::move(out);
        }
    };

    if (threads == 1) {
        worker();
    } else {
        std::vector<std::thread> pool;
        for (int t = 0; t < threads; ++t)
            pool.emplace_back(worker);
        for (auto &t : pool)
            t.join();
    }

    // The first failed case in the sweep's order is named with its reason; with
    // --keep-going the others follow by name.
    QStringList failed;
    QString firstFailure;
    for (size_t i = 0; i < cases.size(); ++i) {
        if (outcomes[i].done && !outcomes[i].error.isEmpty()) {
            if (failed.isEmpty())
                firstFailure = QStringLiteral("case %1: %2").arg(nameOf(cases[i]), outcomes[i].error);
            failed << nameOf(cases[i]);
        }
    }
    if (!failed.isEmpty()) {
        QString text = firstFailure;
        if (failed.size() > 1)
            text += QStringLiteral("; %1 cases failed in all: %2").arg(failed.size()).arg(failed.join(QStringLiteral("; ")));
        throw UlvexError(TrickleBuildErrors::CaseFailed, label + text + QStringLiteral("; no database written"));
    }
    return outcomes;
}

QString numberList(const std::vector<double> &values)
{
    QStringList texts;
    for (double v : values)
        texts << TrickleBuild::exactNumber(v);
    return texts.join(QLatin1Char(','));
}

// "<earlier>; <entry>", or just the entry when there is nothing earlier.
QString appendEntry(const QString &earlier, const QString &entry)
{
    return earlier.isEmpty() ? entry : earlier + QStringLiteral("; ") + entry;
}

} // namespace

TrickleBuild::TrickleBuild(TrickleBuildOptions options, Runner runner)
    : m_options(std::move(options)), m_runner(std::move(runner)),
      m_log([](const QString &line) {
          const QByteArray b = line.toLocal8Bit() + '\n';
          std::fwrite(b.constData(), 1, size_t(b.size()), stderr);
          std::fflush(stderr);
      })
{
}

QString TrickleBuild::exactNumber(double v)
{
    return QString::number(v, 'g', QLocale::FloatingPointShortest);
}

const std::vector<double> &TrickleBuild::defaultFlowRates()
{
    static const std::vector<double> rates = {0.5, 1.0, 2.0, 4.0, 8.0};
    return rates;
}

const std::vector<double> &TrickleBuild::initialHeads()
{
    static const std::vector<double> heads = {-3.0, -6.0, -10.0};
    return heads;
}

TrickleBuildCase TrickleBuild::parseCase(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    auto bad = [&](const QString &why) {
        return UlvexError(TrickleBuildErrors::Usage,
                          QStringLiteral("--only \"%1\": %2 (expected SOIL,FLOW,IC,EMITTER, e.g. 4,5,10,buried)").arg(text, why));
    };
    if (parts.size() != 4)
        throw bad(QStringLiteral("four values separated by commas are needed"));
    TrickleBuildCase c;
    bool ok = false;
    c.soil = parts[0].trimmed().toInt(&ok);
    if (!ok || c.soil < 1)
        throw bad(QStringLiteral("SOIL must be a SoilTypeNo of the catalogue"));
    c.flowRateNo = parts[1].trimmed().toInt(&ok);
    if (!ok || c.flowRateNo < 1)
        throw bad(QStringLiteral("FLOW must be a FlowRateNo: 1 for the first flow rate, 2 for the second..."));
    const int suction = std::abs(parts[2].trimmed().toInt(&ok));
    if (!ok || (suction != 3 && suction != 6 && suction != 10))
        throw bad(QStringLiteral("IC must be the initial suction in metres: 3, 6 or 10"));
    c.initialHead = -double(suction);
    const QString e = parts[3].trimmed().toLower();
    if (e == QLatin1String("surface") || e == QLatin1String("s"))
        c.emitter = solver::Emitter::Surface;
    else if (e == QLatin1String("buried") || e == QLatin1String("b"))
        c.emitter = solver::Emitter::Buried;
    else
        throw bad(QStringLiteral("EMITTER must be surface or buried"));
    return c;
}

QString TrickleBuild::caseText(const TrickleBuildCase &c)
{
    return QStringLiteral("%1,%2,%3,%4")
        .arg(c.soil)
        .arg(c.flowRateNo)
        .arg(std::lround(-c.initialHead))
        .arg(c.emitter == solver::Emitter::Buried ? QStringLiteral("buried") : QStringLiteral("surface"));
}

QString TrickleBuild::caseName(const TrickleBuildCase &c, const std::vector<double> &flowRates, const QString &soilName)
{
    const double q = (c.flowRateNo >= 1 && c.flowRateNo <= int(flowRates.size())) ? flowRates[size_t(c.flowRateNo - 1)] : 0.0;
    return QStringLiteral("soil %1%2, %3 L/h, %4 m, %5")
        .arg(c.soil)
        .arg(soilName.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(soilName))
        .arg(q)
        .arg(c.initialHead)
        .arg(c.emitter == solver::Emitter::Buried ? QStringLiteral("buried") : QStringLiteral("surface"));
}

QString TrickleBuild::surfaceSourceText(double fluxRadius)
{
    return fluxRadius > 0 ? QStringLiteral("flux disc %1 m").arg(exactNumber(fluxRadius)) : QStringLiteral("ponded disc");
}

double TrickleBuild::parseSurfaceSource(const QString &text)
{
    const QString t = text.trimmed();
    bool ok = false;
    const double r = t.startsWith(QLatin1String("disc:")) ? QLocale::c().toDouble(t.mid(5), &ok) : 0.0;
    if (!ok || !std::isfinite(r) || r <= 0 || r > 1)
        throw UlvexError(TrickleBuildErrors::Usage,
                         QStringLiteral("--surface-source \"%1\": expected disc:R, the radius R in metres of the disc through which "
                                        "the flow enters as an even flux, more than 0 and at most 1, e.g. disc:0.05").arg(text));
    return r;
}

QString TrickleBuild::buildDate(const QString &given)
{
    if (!given.isEmpty())
        return given;
    const QByteArray epoch = qgetenv("SOURCE_DATE_EPOCH");
    if (!epoch.isEmpty()) {
        bool ok = false;
        const qint64 secs = epoch.trimmed().toLongLong(&ok);
        if (!ok || secs < 0)
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("SOURCE_DATE_EPOCH \"%1\" is not a number of seconds").arg(QString::fromLocal8Bit(epoch)));
        return QDateTime::fromSecsSinceEpoch(secs, Qt::UTC).toString(Qt::ISODate);
    }
    return QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
}

void TrickleBuild::checkOptions() const
{
    const TrickleBuildOptions &opt = m_options;
    auto usage = [](const QString &text) { return UlvexError(TrickleBuildErrors::Usage, text); };
    if (opt.threads < 0)
        throw usage(QStringLiteral("the number of threads must not be negative"));
    if (opt.outPath.isEmpty())
        throw usage(QStringLiteral("no output file given"));
    if (!m_runner)
        throw usage(QStringLiteral("no solver given"));
    if (opt.shards != 0 || opt.shard != 0) {
        if (opt.shards < 1 || opt.shard < 1 || opt.shard > opt.shards)
            throw usage(QStringLiteral("--shard %1/%2: K/N must have 1 <= K <= N, e.g. 2/3 for the second of three parts")
                            .arg(opt.shard).arg(opt.shards));
    }
    if (!opt.basePath.isEmpty() && !opt.baseIfMissing.isEmpty())
        throw usage(QStringLiteral("--base and --base-if-missing cannot be used together: give one base"));
    if (!opt.baseIfMissing.isEmpty() && opt.shards > 0)
        throw usage(QStringLiteral("--base-if-missing cannot be used with --shard: give the base with --base"));
    const bool dropping = !opt.dropSoils.empty() || !opt.dropSoilNames.isEmpty();
    if (opt.basePath.isEmpty() && opt.baseIfMissing.isEmpty()) {
        if (opt.soilsPath.isEmpty())
            throw usage(QStringLiteral("no soil catalogue given"));
        if (dropping)
            throw usage(QStringLiteral("--drop-soil and --drop-soil-named need --base: soils are dropped from a database"));
    } else {
        // The sweep of the added soils is the base's, so that the database stays one sweep.
        if (opt.flowRates)
            throw usage(QStringLiteral("--flows cannot be used with --base: the flow rates are the base's"));
        if (opt.hours)
            throw usage(QStringLiteral("--hours cannot be used with --base: the hours are the base's"));
        if (opt.frontThreshold)
            throw usage(QStringLiteral("--front-threshold cannot be used with --base: the front threshold is the base's"));
        if (!opt.only.empty())
            throw usage(QStringLiteral("--only cannot be used with --base: added soils get every case of the base's sweep"));
        if (opt.soilsPath.isEmpty() && !dropping)
            throw usage(QStringLiteral("--base needs --soils (soils to add) or --drop-soil (soils to drop)"));
        std::vector<int> drops = opt.dropSoils;
        std::sort(drops.begin(), drops.end());
        const auto twice = std::adjacent_find(drops.begin(), drops.end());
        if (twice != drops.end())
            throw usage(QStringLiteral("--drop-soil %1 is given twice").arg(*twice));
        QStringList seen;
        for (const QString &name : opt.dropSoilNames) {
            if (seen.contains(name, Qt::CaseInsensitive))
                throw usage(QStringLiteral("--drop-soil-named \"%1\" is given twice").arg(name));
            seen << name;
        }
        // A part holds only its own cases: it must not take the base's place.
        if (opt.shards > 0 && QFileInfo(opt.outPath) == QFileInfo(opt.basePath))
            throw usage(QStringLiteral("--shard: --out %1 names the base database; a part of the build cannot replace the base")
                            .arg(opt.outPath));
    }
    const double threshold = opt.frontThreshold.value_or(0.1);
    if (!(threshold > 0.0 && threshold < 1.0))
        throw usage(QStringLiteral("the front threshold %1 must lie between 0 and 1 (a fraction of theta_s minus the initial theta)").arg(threshold));
    const int hours = opt.hours.value_or(kDefaultHours);
    if (hours < 1 || hours > kMaxHours)
        throw usage(QStringLiteral("--hours %1: the number of hours must be a whole number from 1 to %2").arg(hours).arg(kMaxHours));
    if (opt.flowRates) {
        const std::vector<double> &q = *opt.flowRates;
        bool good = !q.empty();
        for (size_t i = 0; good && i < q.size(); ++i)
            good = std::isfinite(q[i]) && q[i] > 0 && (i == 0 || q[i] > q[i - 1]);
        if (!good)
            throw usage(QStringLiteral("--flows %1: the flow rates must be positive and strictly increasing, in litres per hour "
                                       "(e.g. 0.5,1,2,4,8)").arg(numberList(q)));
    }
}

// Everything run() knows before it writes: the base (still open, holding its
// read transaction), the sweep, the soils, the drops and the cases.
struct TrickleBuild::Prepared
{
    QString date;
    std::unique_ptr<BaseDatabase> base;
    TrickleSweep sweep;
    // Soils by SoilTypeNo, for naming cases: the base's that stay, then the added ones.
    std::map<int, QString> soilNames;
    QStringList droppedEntries;
    std::vector<int> drops; // SoilTypeNo of the base's soils left out, by number and by name, ascending
    // The soils after a dropped one move up to close its gap: the program
    // lists the soils in number order and takes a soil's place in that list
    // for its number, so numbers must run on without gaps where they did.
    std::vector<std::pair<int, int>> moves;                 // old number, new number
    std::vector<std::pair<QString, QString>> movedAddedKeys; // new key, value
    SoilCatalogue catalogue;
    // Every case of the build (every shard's), in the fixed order in which they are written.
    std::vector<TrickleBuildCase> cases;

    QString nameOf(const TrickleBuildCase &c) const
    {
        const auto it = soilNames.find(c.soil);
        return caseName(c, sweep.flowRates, it == soilNames.end() ? QString() : it->second);
    }
};

TrickleBuild::Prepared TrickleBuild::prepare() const
{
    const TrickleBuildOptions &opt = m_options;
    checkOptions();
    Prepared p;
    p.date = buildDate(opt.buildDate);

    // The base first: everything else is checked against it.
    TrickleSweep &sweep = p.sweep;
    if (!opt.basePath.isEmpty()) {
        p.base = std::make_unique<BaseDatabase>(opt.basePath);
        sweep.flowRates = p.base->flowRates();
        sweep.hours = p.base->hours();
        sweep.initialHeads = p.base->initialHeads().empty() ? initialHeads() : p.base->initialHeads();
        sweep.frontThreshold = p.base->frontThreshold();
    } else {
        sweep.flowRates = opt.flowRates.value_or(defaultFlowRates());
        sweep.hours = opt.hours.value_or(kDefaultHours);
        sweep.initialHeads = initialHeads();
        sweep.frontThreshold = opt.frontThreshold.value_or(0.1);
    }

    // One database holds one kind of surface source: soils added to a base are
    // computed with the base's (a base written before the source was recorded
    // was built with the ponded disc).
    if (p.base && !opt.soilsPath.isEmpty()) {
        const QString recorded = p.base->buildInfo(QStringLiteral("surface_source"));
        const QString baseSource = recorded.isEmpty() ? surfaceSourceText(0) : recorded;
        if (baseSource != surfaceSourceText(opt.surfaceFluxRadius))
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("the base database %1 was built with the surface source \"%2\", this build would use \"%3\"; "
                                            "a database holds one kind of surface source (give --surface-source to match the base)")
                                 .arg(opt.basePath, baseSource, surfaceSourceText(opt.surfaceFluxRadius)));
    }

    prepareDrops(p);
    prepareCatalogue(p);
    if (p.soilNames.empty())
        throw UlvexError(TrickleBuildErrors::Usage,
                         QStringLiteral("dropping every soil of the base database %1 would leave a database without soils").arg(opt.basePath));

    // The cases, in the fixed order in which they are written.
    const SoilCatalogue &catalogue = p.catalogue;
    std::vector<TrickleBuildCase> &cases = p.cases;
    if (opt.only.empty()) {
        cases = sweepCases(catalogue.soils(), sweep);
    } else {
        cases = opt.only;
        for (const auto &c : cases) {
            if (!catalogue.find(c.soil))
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--only: the soil catalogue %1 has no SoilTypeNo %2").arg(catalogue.sourceName()).arg(c.soil));
            if (c.flowRateNo > int(sweep.flowRates.size()))
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--only: FlowRateNo %1 is not in the flow list; FLOW must be a FlowRateNo from 1 (%2 L/h) to %3 (%4 L/h)")
                                     .arg(c.flowRateNo).arg(sweep.flowRates.front()).arg(sweep.flowRates.size()).arg(sweep.flowRates.back()));
        }
        std::sort(cases.begin(), cases.end(), caseLess);
        const auto dup = std::adjacent_find(cases.begin(), cases.end(), caseEqual);
        if (dup != cases.end())
            throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("--only: the case %1 is given twice").arg(caseName(*dup, sweep.flowRates)));
    }
    return p;
}

// The base's soils that stay, under the numbers they will have: the soils
// after a dropped one move up to close its gap.
void TrickleBuild::prepareDrops(Prepared &p) const
{
    const TrickleBuildOptions &opt = m_options;
    if (!p.base)
        return;
    std::map<int, QString> &soilNames = p.soilNames;
    for (const auto &s : p.base->soils())
        soilNames[s.number] = s.name;
    std::vector<int> &drops = p.drops;
    drops = opt.dropSoils;
    for (const QString &name : opt.dropSoilNames) {
        const auto it = std::find_if(soilNames.begin(), soilNames.end(),
                                     [&](const auto &s) { return s.second.compare(name, Qt::CaseInsensitive) == 0; });
        if (it == soilNames.end())
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("--drop-soil-named \"%1\": the base database %2 has no soil of that name").arg(name, opt.basePath));
        if (std::count(drops.begin(), drops.end(), it->first))
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("--drop-soil-named \"%1\" names the soil %2, which is dropped already").arg(name).arg(it->first));
        drops.push_back(it->first);
    }
    std::sort(drops.begin(), drops.end());
    for (int n : drops) {
        const auto it = soilNames.find(n);
        if (it == soilNames.end())
            throw UlvexError(TrickleBuildErrors::Usage,
                             QStringLiteral("--drop-soil %1: the base database %2 has no SoilTypeNo %1").arg(n).arg(opt.basePath));
        p.droppedEntries << QStringLiteral("%1 %2 (%3)").arg(n).arg(it->second, p.date);
        soilNames.erase(it);
    }
    std::map<int, QString> renumbered;
    for (const auto &kept : soilNames) {
        const int below = int(std::count_if(drops.begin(), drops.end(), [&](int d) { return d < kept.first; }));
        const int moved = kept.first - below;
        renumbered[moved] = kept.second;
        if (moved != kept.first) {
            p.moves.emplace_back(kept.first, moved);
            const QString added = p.base->buildInfo(QStringLiteral("added_soil_%1").arg(kept.first));
            if (!added.isEmpty())
                p.movedAddedKeys.emplace_back(QStringLiteral("added_soil_%1").arg(moved), added);
        }
    }
    soilNames.swap(renumbered);
}

// The catalogue's soils, numbered after the soils kept and checked against
// them; they join the soil names.
void TrickleBuild::prepareCatalogue(Prepared &p) const
{
    const TrickleBuildOptions &opt = m_options;
    std::map<int, QString> &soilNames = p.soilNames;
    SoilCatalogue &catalogue = p.catalogue;
    if (opt.soilsPath.isEmpty())
        return;
    catalogue = SoilCatalogue::fromFile(opt.soilsPath);
    // The added soils follow the last soil kept (the first soil of a full
    // build is 1), numbered without gaps: the program takes a soil's place in
    // its list for its number.
    const qint64 firstNumber = soilNames.empty() ? 1 : qint64(soilNames.rbegin()->first) + 1;
    if (!catalogue.hasSoilTypeNo())
        catalogue.renumberFrom(firstNumber);
    for (const auto &s : catalogue.soils()) {
        const QString name = QString::fromStdString(s.name);
        if (soilNames.count(s.number))
            throw catalogue.lineError(s.number, QStringLiteral("SoilTypeNo %1 is already the soil \"%2\" of the base database %3")
                                                    .arg(s.number).arg(soilNames[s.number], opt.basePath));
        for (const auto &kept : soilNames) {
            if (kept.second.compare(name, Qt::CaseInsensitive) == 0)
                throw catalogue.lineError(s.number, QStringLiteral("the Name \"%1\" is already the soil %2 of the base database %3")
                                                        .arg(name).arg(kept.first).arg(opt.basePath));
        }
    }
    catalogue.requireNumbersFrom(firstNumber);
    for (const auto &s : catalogue.soils())
        soilNames[s.number] = QString::fromStdString(s.name);
}

void TrickleBuild::checkOutput(const QString &outPath, bool force)
{
    const QFileInfo outInfo(outPath);
    if (outInfo.exists() || outInfo.isSymLink()) {
        if (outInfo.isDir())
            throw UlvexError(TrickleBuildErrors::OutputExists, QStringLiteral("%1 is a folder").arg(outPath));
        if (!force)
            throw UlvexError(TrickleBuildErrors::OutputExists, QStringLiteral("%1 exists already; give --force to replace it").arg(outPath));
    }
    const QDir outDir = outInfo.absoluteDir();
    if (!outDir.exists())
        throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("the folder %1 does not exist").arg(outDir.path()));
}

TrickleBuildPlan TrickleBuild::plan() const
{
    const Prepared p = prepare();
    TrickleBuildPlan plan;
    plan.sweep = p.sweep;
    plan.cases = p.cases;
    for (const auto &c : p.cases)
        plan.names.push_back(p.nameOf(c));
    return plan;
}

TrickleBuildSummary TrickleBuild::run()
{
    // Refuse early, before waiting for the lock, when the options are wrong
    // or the output's folder does not exist (the lock goes beside the output).
    checkOptions();
    const QDir outDir = QFileInfo(m_options.outPath).absoluteDir();
    if (!outDir.exists())
        throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("the folder %1 does not exist").arg(outDir.path()));
    // From before the base is read until after the rename, no other build
    // writes this output (see OutputLock).
    std::unique_ptr<OutputLock> lock;
    if (!m_options.outputLocked)
        lock = std::make_unique<OutputLock>(m_options.outPath, m_log);
    if (!m_options.baseIfMissing.isEmpty()) {
        m_options.basePath = QFileInfo::exists(m_options.outPath) ? m_options.outPath : m_options.baseIfMissing;
        m_options.baseIfMissing.clear();
    }
    m_tempPath.clear();
    try {
        return runLocked();
    } catch (const UlvexError &e) {
        if (m_tempPath.isEmpty() || !e.description().contains(m_tempPath))
            throw;
        throw writeError(e);
    }
}

UlvexError TrickleBuild::writeError(const UlvexError &e) const
{
    // The temporary file is the build's own business: the user asked for the
    // output, and a full disk or a file-size limit is told of the output.
    QString what = e.description();
    what.replace(m_tempPath + QStringLiteral(": "), QString());
    what.replace(m_tempPath, QStringLiteral("the temporary file beside it"));
    QString limit;
    rlimit fsize{};
    if (getrlimit(RLIMIT_FSIZE, &fsize) == 0 && fsize.rlim_cur != RLIM_INFINITY)
        limit = QStringLiteral(" (files may grow to %1 bytes at most here: ulimit -f)").arg(qulonglong(fsize.rlim_cur));
    return UlvexError(e.number(), QStringLiteral("cannot write %1: %2%3").arg(m_options.outPath, what, limit));
}

TrickleBuildSummary TrickleBuild::runLocked()
{
    const TrickleBuildOptions &opt = m_options;
    Prepared p = prepare();
    const QString &date = p.date;
    const TrickleSweep &sweep = p.sweep;
    const SoilCatalogue &catalogue = p.catalogue;
    auto nameOf = [&](const TrickleBuildCase &c) { return p.nameOf(c); };

    // A shard computes every shards-th case of the build's order and writes a
    // partial database: the lookup tables, its cases' rows and what the merge
    // needs to write the whole database as one build would (ShardInputs).
    const bool sharded = opt.shards > 0;
    std::vector<TrickleBuildCase> cases;
    for (size_t i = 0; i < p.cases.size(); ++i) {
        if (!sharded || shardOf(i, opt.shards) == opt.shard)
            cases.push_back(p.cases[i]);
    }
    const QString shardText = sharded ? QStringLiteral("%1/%2").arg(opt.shard).arg(opt.shards) : QString();
    const QString label = sharded ? QStringLiteral("shard %1: ").arg(shardText) : QString();

    // Refuse before hours of computing when the output may not be written;
    // it may also have appeared while this build waited for the lock.
    checkOutput(opt.outPath, opt.force);
    const QFileInfo outInfo(opt.outPath);
    const QDir outDir = outInfo.absoluteDir();

    // The inputs of a shard are read while the base is still held by its read
    // transaction, so that they are what was checked.
    ShardInputs::Rows inputs;
    if (sharded) {
        // the soils dropped by name recorded by number, as a merge repeats them
        TrickleBuildOptions recorded = opt;
        recorded.dropSoils = p.drops;
        recorded.dropSoilNames.clear();
        inputs = ShardInputs::collect(recorded, ShardInputs::readFile(opt.soilsPath), ShardInputs::readFile(opt.basePath));
    }

    QString tempPath;
    {
        QTemporaryFile temp(outDir.filePath(BuildTemporary::templateFor(outInfo.fileName())));
        temp.setAutoRemove(false);
        if (!temp.open())
            throw UlvexError(TrickleBuildErrors::FileSystem,
                             QStringLiteral("cannot create a temporary file in %1: %2").arg(outDir.path(), temp.errorString()));
        tempPath = temp.fileName();
    }
    m_tempPath = tempPath;
    TempFileGuard guard(tempPath);

    // On a base, the whole base is copied first, so the output holds every table
    // and row of it as it stands (and the base may be the file the output
    // replaces). A shard's partial database holds only its own cases: the merge
    // takes the base from ShardInputs.
    const bool extend = p.base && !sharded;
    QString baseName, baseBuildDate, baseOrigin, baseCatalogues, baseDropped, baseSurfaceSource;
    if (p.base) {
        baseName = QFileInfo(opt.basePath).fileName();
        baseBuildDate = p.base->buildInfo(QStringLiteral("build_date"));
        baseOrigin = p.base->buildInfo(QStringLiteral("origin_build_date"));
        baseCatalogues = p.base->buildInfo(QStringLiteral("added_catalogues"));
        baseDropped = p.base->buildInfo(QStringLiteral("dropped_soils"));
        baseSurfaceSource = p.base->buildInfo(QStringLiteral("surface_source"));
        m_log(QStringLiteral("trickle-build: %1base %2: %3 soil(s), %4 flow rate(s), %5 hour(s)%6")
                  .arg(label, opt.basePath).arg(p.base->soils().size()).arg(sweep.flowRates.size()).arg(sweep.hours)
                  .arg(p.drops.empty() ? QString() : QStringLiteral("; dropping %1").arg(p.droppedEntries.join(QStringLiteral("; ")))));
        if (extend)
            p.base->copyTo(tempPath);
        p.base.reset();
    }
    DatabaseWriter writer(tempPath, extend ? DatabaseWriter::Mode::Extend : DatabaseWriter::Mode::Create);
    if (!extend) {
        writer.writeFlowRates(sweep.flowRates);
        writer.writeTimes(sweep.hours);
    } else {
        for (int n : p.drops)
            writer.dropSoil(n);
        for (const auto &m : p.moves)
            writer.renumberSoil(m.first, m.second);
    }
    writer.writeSoils(catalogue.soils());

    unsigned hw = std::thread::hardware_concurrency();
    int threads = opt.threads > 0 ? opt.threads : int(hw > 0 ? hw : 1);
    threads = std::max(1, std::min(threads, int(cases.size())));
    QElapsedTimer clock;
    clock.start();
    if (!opt.soilsPath.isEmpty())
        m_log(QStringLiteral("trickle-build: %1%2 case(s)%3 on %4 thread(s), soils from %5, into %6")
                  .arg(label).arg(cases.size())
                  .arg(sharded ? QStringLiteral(" of %1").arg(p.cases.size()) : QString())
                  .arg(threads).arg(catalogue.sourceName(), opt.outPath));
    const std::vector<Outcome> outcomes = runCases(cases, catalogue, sweep, threads, opt.keepGoing, m_runner, m_log, nameOf, label);

    TrickleBuildSummary sum;
    sum.cases = int(cases.size());
    sum.threads = threads;
    sum.cheapestSeconds = cases.empty() ? 0.0 : 1e300;
    for (size_t i = 0; i < cases.size(); ++i) {
        const Outcome &o = outcomes[i];
        writer.writeCase(cases[i].soil, cases[i].flowRateNo, cases[i].initialHead, cases[i].emitter, o.result);
        if (o.seconds < sum.cheapestSeconds) {
            sum.cheapestSeconds = o.seconds;
            sum.cheapestCase = nameOf(cases[i]);
        }
        if (o.seconds > sum.dearestSeconds) {
            sum.dearestSeconds = o.seconds;
            sum.dearestCase = nameOf(cases[i]);
        }
    }

    // The mass-balance summary covers every case the database holds, the base's
    // included; on a tie the first case in the sweep's order is named.
    std::vector<DatabaseWriter::StoredCase> stored = writer.storedCases();
    auto keyOf = [](const DatabaseWriter::StoredCase &s) { return TrickleBuildCase{s.soil, s.flowRateNo, s.initialHead, s.emitter}; };
    std::sort(stored.begin(), stored.end(), [&](const auto &a, const auto &b) { return caseLess(keyOf(a), keyOf(b)); });
    sum.largestMassBalanceError = 0;
    for (const auto &s : stored) {
        if (s.massBalanceError > sum.largestMassBalanceError || sum.largestMassBalanceCase.isEmpty()) {
            sum.largestMassBalanceError = s.massBalanceError;
            sum.largestMassBalanceCase = nameOf(keyOf(s));
        }
        if (!std::isnan(s.meshChange)) {
            ++sum.meshCheckedCases;
            if (s.meshChange > sum.largestMeshChange || sum.largestMeshChangeCase.isEmpty()) {
                sum.largestMeshChange = s.meshChange;
                sum.largestMeshChangeCase = nameOf(keyOf(s));
            }
        }
    }

    std::vector<std::pair<QString, QString>> info;
    if (!extend) {
        info = {
            {QStringLiteral("builder"), QStringLiteral("trickle-build")},
            {QStringLiteral("builder_version"), QStringLiteral(ULVEX_VERSION)},
            {QStringLiteral("build_date"), date},
            {QStringLiteral("soil_catalogue"), QFileInfo(opt.soilsPath).fileName()},
            {QStringLiteral("solver_settings"), opt.solverSettings},
            {QStringLiteral("front_threshold"), TrickleBuild::exactNumber(sweep.frontThreshold)},
            {QStringLiteral("front_definition"),
             QStringLiteral("outline where the water content exceeds its initial value by front_threshold x (theta_s - initial theta)")},
            {QStringLiteral("length_unit"), QStringLiteral("m")},
            {QStringLiteral("hours"), QString::number(sweep.hours)},
            {QStringLiteral("flow_rates_l_per_h"), numberList(sweep.flowRates)},
            {QStringLiteral("initial_heads_m"), numberList(sweep.initialHeads)},
            {QStringLiteral("export_tables"), QStringLiteral("SurfaceData and BuriedData hold the fronts of the dry soil (-10 m)")},
            {QStringLiteral("surface_source"), surfaceSourceText(opt.surfaceFluxRadius)},
        };
    } else {
        // The base's keys stay as they are in the copy; these are this build's.
        info = {
            {QStringLiteral("build_date"), date},
            {QStringLiteral("base_database"), baseName},
            {QStringLiteral("base_build_date"), baseBuildDate},
            {QStringLiteral("origin_build_date"), baseOrigin.isEmpty() ? baseBuildDate : baseOrigin},
        };
        for (int n : p.drops)
            writer.removeBuildInfo(QStringLiteral("added_soil_%1").arg(n));
        for (const auto &m : p.moves)
            writer.removeBuildInfo(QStringLiteral("added_soil_%1").arg(m.first));
        for (const auto &k : p.movedAddedKeys)
            info.push_back(k);
        // a base written before the source was recorded was built with the ponded disc
        if (baseSurfaceSource.isEmpty())
            info.emplace_back(QStringLiteral("surface_source"), surfaceSourceText(0));
        if (!p.drops.empty())
            info.emplace_back(QStringLiteral("dropped_soils"), appendEntry(baseDropped, p.droppedEntries.join(QStringLiteral("; "))));
        if (!opt.soilsPath.isEmpty()) {
            info.emplace_back(QStringLiteral("added_catalogues"),
                              appendEntry(baseCatalogues, QStringLiteral("%1 (%2)").arg(QFileInfo(opt.soilsPath).fileName(), date)));
            for (const auto &s : catalogue.soils())
                info.emplace_back(QStringLiteral("added_soil_%1").arg(s.number), date);
        }
    }
    info.emplace_back(QStringLiteral("cases"), QString::number(stored.size()));
    info.emplace_back(QStringLiteral("max_mass_balance_error"), QString::number(sum.largestMassBalanceError, 'g', 6));
    info.emplace_back(QStringLiteral("max_mass_balance_case"), sum.largestMassBalanceCase);
    // Whether the cases were run again with halved cells (CaseInfo.MeshChange):
    // over every case the database holds, the base's included.
    const int checked = sum.meshCheckedCases;
    info.emplace_back(QStringLiteral("check_mesh"),
                      checked == 0 ? QStringLiteral("no")
                      : checked == int(stored.size())
                          ? QStringLiteral("yes: every case also run with every cell size halved; CaseInfo.MeshChange holds the largest relative change of r, z (zplus) and zminus over all hours")
                          : QStringLiteral("partly: %1 of %2 cases also run with every cell size halved (CaseInfo.MeshChange; NULL for the others)")
                                .arg(checked).arg(stored.size()));
    if (checked > 0) {
        info.emplace_back(QStringLiteral("max_mesh_change"), QString::number(sum.largestMeshChange, 'g', 6));
        info.emplace_back(QStringLiteral("max_mesh_change_case"), sum.largestMeshChangeCase);
    } else {
        writer.removeBuildInfo(QStringLiteral("max_mesh_change"));
        writer.removeBuildInfo(QStringLiteral("max_mesh_change_case"));
    }
    if (sharded) {
        // What makes the file a part: the viewer and --base refuse it, --merge looks for it.
        if (!baseName.isEmpty())
            info.emplace_back(QStringLiteral("base_database"), baseName);
        info.emplace_back(QStringLiteral("shard"), shardText);
        info.emplace_back(QStringLiteral("build_fingerprint"), ShardInputs::fingerprint(inputs));
        info.emplace_back(QStringLiteral("partial"), ShardInputs::partialNote(opt.shard, opt.shards));
        writer.writeShardInputs(inputs);
    }
    writer.writeBuildInfo(info);
    writer.finish();

    QFile::setPermissions(tempPath, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    if (!opt.force && QFileInfo::exists(opt.outPath))
        throw UlvexError(TrickleBuildErrors::OutputExists,
                         QStringLiteral("%1 appeared while building; give --force to replace it").arg(opt.outPath));
    if (std::rename(QFile::encodeName(tempPath).constData(), QFile::encodeName(opt.outPath).constData()) != 0)
        throw UlvexError(TrickleBuildErrors::FileSystem,
                         QStringLiteral("cannot rename %1 to %2: %3").arg(tempPath, opt.outPath, QString::fromLocal8Bit(std::strerror(errno))));
    guard.release();

    sum.wallSeconds = double(clock.nsecsElapsed()) * 1e-9;
    QString computed = QStringLiteral("no case computed");
    if (!cases.empty())
        computed = QStringLiteral("%1 case(s) in %2 (%3 s) on %4 thread(s); cheapest case %5 s (%6), dearest %7 s (%8)")
                       .arg(sum.cases).arg(fmtDuration(sum.wallSeconds)).arg(sum.wallSeconds, 0, 'f', 1).arg(threads)
                       .arg(sum.cheapestSeconds, 0, 'f', 2).arg(sum.cheapestCase).arg(sum.dearestSeconds, 0, 'f', 2).arg(sum.dearestCase);
    if (sum.meshCheckedCases > 0)
        m_log(QStringLiteral("trickle-build: mesh check: %1 case(s) run again with every cell size halved; largest change of the fronts %2 % (%3)")
                  .arg(sum.meshCheckedCases).arg(100.0 * sum.largestMeshChange, 0, 'f', 2).arg(sum.largestMeshChangeCase));
    m_log(QStringLiteral("trickle-build: wrote %1%2: %3; largest mass balance error %4 % (%5)")
              .arg(opt.outPath, sharded ? QStringLiteral(" (shard %1 of %2 of the build)").arg(opt.shard).arg(opt.shards) : QString(),
                   computed)
              .arg(100.0 * sum.largestMassBalanceError, 0, 'g', 3)
              .arg(sum.largestMassBalanceCase.isEmpty() ? QStringLiteral("no case") : sum.largestMassBalanceCase));
    return sum;
}
