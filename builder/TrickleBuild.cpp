#include "builder/TrickleBuild.h"

#include "builder/DatabaseWriter.h"
#include "builder/SoilCatalogue.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <mutex>
#include <thread>
#include <tuple>

#include <unistd.h>

namespace {

// Paths of the temporary database (and its journal) of the build in progress,
// for the interrupt handler. Plain buffers: the handler may only call unlink().
char g_tempPath[4096];
char g_journalPath[4100];
volatile std::sig_atomic_t g_haveTemp = 0;

void setInterruptTemp(const QString &path)
{
    g_haveTemp = 0;
    if (path.isEmpty())
        return;
    const QByteArray p = QFile::encodeName(path);
    const QByteArray j = p + "-journal";
    if (size_t(p.size()) >= sizeof g_tempPath)
        return;
    std::memcpy(g_tempPath, p.constData(), size_t(p.size()) + 1);
    std::memcpy(g_journalPath, j.constData(), size_t(j.size()) + 1);
    g_haveTemp = 1;
}

extern "C" void onInterrupt(int sig)
{
    if (g_haveTemp) {
        ::unlink(g_tempPath);
        ::unlink(g_journalPath);
    }
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

// Removes the temporary database unless the build got as far as renaming it.
class TempFileGuard
{
public:
    explicit TempFileGuard(const QString &path) : m_path(path) { setInterruptTemp(path); }
    ~TempFileGuard()
    {
        setInterruptTemp(QString());
        if (!m_released) {
            QFile::remove(m_path);
            QFile::remove(m_path + QStringLiteral("-journal"));
        }
    }
    void release() { m_released = true; }

private:
    QString m_path;
    bool m_released = false;
};

QString fmtDuration(double seconds)
{
    const long s = std::lround(std::max(0.0, seconds));
    if (s >= 3600)
        return QStringLiteral("%1:%2:%3").arg(s / 3600).arg((s / 60) % 60, 2, 10, QLatin1Char('0')).arg(s % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
}

int emitterRank(builder::Emitter e) { return e == builder::Emitter::Surface ? 0 : 1; }

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
    builder::CaseResult result;
    double seconds = 0;
    QString error; // empty when the case is good
};

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

const std::vector<double> &TrickleBuild::flowRates()
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
    if (!ok || c.flowRateNo < 1 || c.flowRateNo > int(flowRates().size()))
        throw bad(QStringLiteral("FLOW must be a FlowRateNo from 1 (0.5 L/h) to 5 (8 L/h)"));
    const int suction = std::abs(parts[2].trimmed().toInt(&ok));
    if (!ok || (suction != 3 && suction != 6 && suction != 10))
        throw bad(QStringLiteral("IC must be the initial suction in metres: 3, 6 or 10"));
    c.initialHead = -double(suction);
    const QString e = parts[3].trimmed().toLower();
    if (e == QLatin1String("surface") || e == QLatin1String("s"))
        c.emitter = builder::Emitter::Surface;
    else if (e == QLatin1String("buried") || e == QLatin1String("b"))
        c.emitter = builder::Emitter::Buried;
    else
        throw bad(QStringLiteral("EMITTER must be surface or buried"));
    return c;
}

QString TrickleBuild::caseName(const TrickleBuildCase &c, const QString &soilName)
{
    const double q = (c.flowRateNo >= 1 && c.flowRateNo <= int(flowRates().size())) ? flowRates()[size_t(c.flowRateNo - 1)] : 0.0;
    return QStringLiteral("soil %1%2, %3 L/h, %4 m, %5")
        .arg(c.soil)
        .arg(soilName.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(soilName))
        .arg(q)
        .arg(c.initialHead)
        .arg(c.emitter == builder::Emitter::Buried ? QStringLiteral("buried") : QStringLiteral("surface"));
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

void TrickleBuild::installInterruptCleanup()
{
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

TrickleBuildSummary TrickleBuild::run()
{
    using builder::CaseSpec;
    const TrickleBuildOptions &opt = m_options;
    if (!(opt.frontThreshold > 0.0 && opt.frontThreshold < 1.0))
        throw UlvexError(TrickleBuildErrors::Usage,
                         QStringLiteral("the front threshold %1 must lie between 0 and 1 (a fraction of theta_s minus the initial theta)").arg(opt.frontThreshold));
    if (opt.threads < 0)
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("the number of threads must not be negative"));
    if (opt.hours < 1)
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("the number of hours must be at least 1"));
    if (opt.outPath.isEmpty())
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("no output file given"));
    if (!m_runner)
        throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("no solver given"));

    const QString date = buildDate(opt.buildDate);
    const SoilCatalogue catalogue = SoilCatalogue::fromFile(opt.soilsPath);

    // The cases, in the fixed order in which they are written.
    std::vector<TrickleBuildCase> cases;
    if (opt.only.empty()) {
        for (const auto &soil : catalogue.soils())
            for (int f = 1; f <= int(flowRates().size()); ++f)
                for (double h : initialHeads())
                    for (auto e : {builder::Emitter::Surface, builder::Emitter::Buried})
                        cases.push_back({soil.number, f, h, e});
    } else {
        cases = opt.only;
        for (const auto &c : cases) {
            if (!catalogue.find(c.soil))
                throw UlvexError(TrickleBuildErrors::Usage,
                                 QStringLiteral("--only: the soil catalogue %1 has no SoilTypeNo %2").arg(catalogue.sourceName()).arg(c.soil));
        }
        std::sort(cases.begin(), cases.end(), caseLess);
        const auto dup = std::adjacent_find(cases.begin(), cases.end(), caseEqual);
        if (dup != cases.end())
            throw UlvexError(TrickleBuildErrors::Usage, QStringLiteral("--only: the case %1 is given twice").arg(caseName(*dup)));
    }
    auto nameOf = [&](const TrickleBuildCase &c) {
        const builder::SoilParams *s = catalogue.find(c.soil);
        return caseName(c, s ? QString::fromStdString(s->name) : QString());
    };

    // Refuse early, before hours of computing, when the output may not be written.
    const QFileInfo outInfo(opt.outPath);
    if (outInfo.exists() || outInfo.isSymLink()) {
        if (outInfo.isDir())
            throw UlvexError(TrickleBuildErrors::OutputExists, QStringLiteral("%1 is a folder").arg(opt.outPath));
        if (!opt.force)
            throw UlvexError(TrickleBuildErrors::OutputExists,
                             QStringLiteral("%1 exists already; give --force to replace it").arg(opt.outPath));
    }
    const QDir outDir = outInfo.absoluteDir();
    if (!outDir.exists())
        throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("the folder %1 does not exist").arg(outDir.path()));

    QString tempPath;
    {
        QTemporaryFile temp(outDir.filePath(QStringLiteral(".%1.XXXXXX.part").arg(outInfo.fileName())));
        temp.setAutoRemove(false);
        if (!temp.open())
            throw UlvexError(TrickleBuildErrors::FileSystem,
                             QStringLiteral("cannot create a temporary file in %1: %2").arg(outDir.path(), temp.errorString()));
        tempPath = temp.fileName();
    }
    TempFileGuard guard(tempPath);

    DatabaseWriter writer(tempPath);
    writer.writeSoils(catalogue.soils());
    writer.writeFlowRates(flowRates());
    writer.writeTimes(opt.hours);

    // Run the cases: each thread takes the next case not yet started.
    unsigned hw = std::thread::hardware_concurrency();
    int threads = opt.threads > 0 ? opt.threads : int(hw > 0 ? hw : 1);
    threads = std::max(1, std::min(threads, int(cases.size())));

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

    m_log(QStringLiteral("trickle-build: %1 case(s) on %2 thread(s), soils from %3, into %4")
              .arg(cases.size()).arg(threads).arg(catalogue.sourceName(), opt.outPath));

    auto worker = [&]() {
        for (;;) {
            if (stop.load())
                return;
            const size_t n = next.fetch_add(1);
            if (n >= cases.size())
                return;
            const size_t i = startOrder[n];
            const TrickleBuildCase &c = cases[i];
            CaseSpec caseSpec;
            caseSpec.soil = *catalogue.find(c.soil);
            caseSpec.flowLitresPerHour = flowRates()[size_t(c.flowRateNo - 1)];
            caseSpec.initialHead = c.initialHead;
            caseSpec.emitter = c.emitter;
            caseSpec.hours = opt.hours;
            caseSpec.frontThreshold = opt.frontThreshold;

            Outcome out;
            QElapsedTimer caseClock;
            caseClock.start();
            try {
                out.result = m_runner(caseSpec);
            } catch (const std::exception &e) {
                out.error = QStringLiteral("the solver failed: %1").arg(QString::fromLocal8Bit(e.what()));
            } catch (...) {
                out.error = QStringLiteral("the solver failed with an unknown error");
            }
            out.seconds = double(caseClock.nsecsElapsed()) * 1e-9;
            const builder::CaseResult &r = out.result;
            if (out.error.isEmpty() && r.reachedBoundary)
                out.error = QStringLiteral("a front reached the boundary of the solution domain%1")
                                .arg(r.message.empty() ? QString() : QStringLiteral(" (%1)").arg(QString::fromStdString(r.message)));
            if (out.error.isEmpty()) {
                bool shapeOk = int(r.fronts.size()) == opt.hours;
                for (size_t k = 0; shapeOk && k < r.fronts.size(); ++k)
                    shapeOk = r.fronts[k].hour == int(k) + 1;
                if (!shapeOk)
                    out.error = QStringLiteral("the solver returned %1 front(s), not one for each hour 1 to %2%3")
                                    .arg(r.fronts.size()).arg(opt.hours)
                                    .arg(r.message.empty() ? QString() : QStringLiteral(" (%1)").arg(QString::fromStdString(r.message)));
            }
            if (out.error.isEmpty() && !std::isfinite(r.massBalanceError))
                out.error = QStringLiteral("the mass balance error is not a number");
            out.done = true;

            std::lock_guard<std::mutex> lock(mutex);
            ++finished;
            const double elapsed = double(clock.nsecsElapsed()) * 1e-9;
            const double left = elapsed / finished * double(cases.size() - size_t(finished));
            if (!out.error.isEmpty()) {
                if (!opt.keepGoing)
                    stop = true;
                m_log(QStringLiteral("[%1/%2] %3: FAILED after %4 s: %5")
                          .arg(finished, 3).arg(cases.size()).arg(nameOf(c)).arg(out.seconds, 0, 'f', 1).arg(out.error));
            } else {
                m_log(QStringLiteral("[%1/%2] %3: %4 s, mass balance %5 %; elapsed %6, about %7 left")
                          .arg(finished, 3).arg(cases.size()).arg(nameOf(c)).arg(out.seconds, 0, 'f', 1)
                          .arg(100.0 * r.massBalanceError, 0, 'g', 3).arg(fmtDuration(elapsed), fmtDuration(left)));
                if (r.massBalanceError > 0.005)
                    m_log(QStringLiteral("warning: %1: mass balance error %2 % exceeds 0.5 %")
                              .arg(nameOf(c)).arg(100.0 * r.massBalanceError, 0, 'f', 3));
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
        throw UlvexError(TrickleBuildErrors::CaseFailed, text + QStringLiteral("; no database written"));
    }

    TrickleBuildSummary sum;
    sum.cases = int(cases.size());
    sum.threads = threads;
    sum.cheapestSeconds = 1e300;
    sum.largestMassBalanceError = -1;
    for (size_t i = 0; i < cases.size(); ++i) {
        const Outcome &o = outcomes[i];
        writer.writeCase(cases[i].soil, cases[i].flowRateNo, cases[i].initialHead, cases[i].emitter, o.result);
        if (o.result.massBalanceError > sum.largestMassBalanceError) {
            sum.largestMassBalanceError = o.result.massBalanceError;
            sum.largestMassBalanceCase = nameOf(cases[i]);
        }
        if (o.seconds < sum.cheapestSeconds) {
            sum.cheapestSeconds = o.seconds;
            sum.cheapestCase = nameOf(cases[i]);
        }
        if (o.seconds > sum.dearestSeconds) {
            sum.dearestSeconds = o.seconds;
            sum.dearestCase = nameOf(cases[i]);
        }
    }

    QStringList flows, heads;
    for (double q : flowRates())
        flows << QString::number(q);
    for (double h : initialHeads())
        heads << QString::number(h);
    writer.writeBuildInfo({
        {QStringLiteral("builder"), QStringLiteral("trickle-build")},
        {QStringLiteral("builder_version"), QStringLiteral(ULVEX_VERSION)},
        {QStringLiteral("build_date"), date},
        {QStringLiteral("soil_catalogue"), QFileInfo(opt.soilsPath).fileName()},
        {QStringLiteral("solver_settings"), opt.solverSettings},
        {QStringLiteral("front_threshold"), QString::number(opt.frontThreshold, 'g', 12)},
        {QStringLiteral("front_definition"),
         QStringLiteral("outline where the water content exceeds its initial value by front_threshold x (theta_s - initial theta)")},
        {QStringLiteral("length_unit"), QStringLiteral("m")},
        {QStringLiteral("hours"), QString::number(opt.hours)},
        {QStringLiteral("flow_rates_l_per_h"), flows.join(QLatin1Char(','))},
        {QStringLiteral("initial_heads_m"), heads.join(QLatin1Char(','))},
        {QStringLiteral("export_tables"), QStringLiteral("SurfaceData and BuriedData hold the fronts of the dry soil (-10 m)")},
        {QStringLiteral("cases"), QString::number(cases.size())},
        {QStringLiteral("max_mass_balance_error"), QString::number(sum.largestMassBalanceError, 'g', 6)},
        {QStringLiteral("max_mass_balance_case"), sum.largestMassBalanceCase},
    });
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
    m_log(QStringLiteral("trickle-build: wrote %1: %2 case(s) in %3 (%4 s) on %5 thread(s); cheapest case %6 s (%7), dearest %8 s (%9); "
                         "largest mass balance error %10 % (%11)")
              .arg(opt.outPath).arg(sum.cases).arg(fmtDuration(sum.wallSeconds)).arg(sum.wallSeconds, 0, 'f', 1).arg(threads)
              .arg(sum.cheapestSeconds, 0, 'f', 2).arg(sum.cheapestCase).arg(sum.dearestSeconds, 0, 'f', 2).arg(sum.dearestCase)
              .arg(100.0 * sum.largestMassBalanceError, 0, 'g', 3).arg(sum.largestMassBalanceCase));
    return sum;
}
