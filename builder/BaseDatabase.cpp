#include "builder/BaseDatabase.h"

#include "builder/DatabaseWriter.h"
#include "builder/SqliteRead.h"
#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QFileInfo>
#include <QLocale>
#include <QStringList>

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <functional>

using SqliteRead::columnText;
using SqliteRead::forEachRow;

BaseDatabase::BaseDatabase(const QString &path)
    : m_path(path)
{
    // Read-only: the base is never changed, not even when the output replaces it.
    m_db = SqliteRead::open(path, [this](const QString &what) { return error(what); });
    try {
        checkIntegrity();
        checkLayout();
        readSweep();
    } catch (...) {
        SqliteRead::close(m_db);
        m_db = nullptr;
        throw;
    }
}

BaseDatabase::~BaseDatabase()
{
    SqliteRead::close(m_db);
}

UlvexError BaseDatabase::error(const QString &what) const
{
    return UlvexError(TrickleBuildErrors::Base, QStringLiteral("the base database %1 %2").arg(m_path, what));
}

void BaseDatabase::fail(const QString &what) const
{
    throw error(what);
}

void BaseDatabase::checkIntegrity()
{
    // A damaged page would otherwise show only when the copy is written, after
    // every case has been computed, and the error would name the copy.
    QStringList problems;
    int error = SQLITE_OK;
    const bool read = forEachRow(m_db, QStringLiteral("PRAGMA quick_check(5)"), [&](sqlite3_stmt *s) { problems << columnText(s, 0); }, error);
    if (!read)
        fail(QStringLiteral("is damaged: SQLite's integrity check cannot read it (%1)").arg(QString::fromUtf8(sqlite3_errstr(error))));
    if (problems != QStringList{QStringLiteral("ok")})
        fail(QStringLiteral("is damaged: SQLite's integrity check finds %1").arg(problems.join(QStringLiteral("; "))));
}

void BaseDatabase::checkLayout()
{
    // Every table of the layout, with at least its columns (any extra table or
    // column is carried along untouched).
    for (const auto &table : DatabaseWriter::layout()) {
        QStringList present;
        int error = SQLITE_OK;
        forEachRow(m_db, QStringLiteral("PRAGMA table_info(\"%1\")").arg(table.first),
                   [&](sqlite3_stmt *s) { present << columnText(s, 1); }, error);
        // a database written before a table or column was added lacks it:
        // extending the base adds it
        if (present.isEmpty() && DatabaseWriter::isLaterAddition(table.first))
            continue;
        if (present.isEmpty())
            fail(QStringLiteral("lacks the table %1 (it is not a database written by trickle-build)").arg(table.first));
        for (const QString &column : table.second) {
            if (!present.contains(column, Qt::CaseInsensitive) && !DatabaseWriter::isLaterAddition(table.first, column))
                fail(QStringLiteral("lacks the column \"%1\" in the table %2").arg(column, table.first));
        }
    }
}

void BaseDatabase::readSweep()
{
    auto read = [&](const QString &sql, const std::function<void(sqlite3_stmt *)> &each) {
        int error = SQLITE_OK;
        if (!forEachRow(m_db, sql, each, error))
            fail(QStringLiteral("cannot be read (%1): %2").arg(sql, QString::fromUtf8(sqlite3_errmsg(m_db))));
    };

    read(QStringLiteral("SELECT key, value FROM BuildInfo"),
         [&](sqlite3_stmt *s) { m_buildInfo[columnText(s, 0)] = columnText(s, 1); });
    // One part of a sharded build holds only that shard's cases: building on it
    // would give a database that lacks the others without saying so.
    if (m_buildInfo.count(QStringLiteral("partial")) || m_buildInfo.count(QStringLiteral("shard")))
        fail(QStringLiteral("is one part of a build shared out over several machines (shard %1), not a finished database; "
                            "merge the parts with trickle-build --merge first")
                 .arg(buildInfo(QStringLiteral("shard"))));
    for (const char *key : {"build_date", "front_threshold"}) {
        if (!m_buildInfo.count(QLatin1String(key)))
            fail(QStringLiteral("has no %1 in BuildInfo").arg(QLatin1String(key)));
    }

    read(QStringLiteral("SELECT SoilTypeNo, Name FROM SoilTypeData ORDER BY SoilTypeNo"),
         [&](sqlite3_stmt *s) { m_soils.push_back({sqlite3_column_int(s, 0), columnText(s, 1)}); });

    // The program finds a flow rate and a time by their place in the list, so the
    // numbers must run 1, 2, 3, ... without a gap.
    bool numbered = true;
    read(QStringLiteral("SELECT FlowRateNo, FlowRate FROM FlowRateData ORDER BY FlowRateNo"), [&](sqlite3_stmt *s) {
        numbered = numbered && sqlite3_column_int(s, 0) == int(m_flowRates.size()) + 1;
        m_flowRates.push_back(sqlite3_column_double(s, 1));
    });
    if (m_flowRates.empty())
        fail(QStringLiteral("holds no flow rate in FlowRateData"));
    if (!numbered)
        fail(QStringLiteral("does not number its flow rates 1, 2, 3, ... in FlowRateData"));
    for (double q : m_flowRates) {
        if (!(std::isfinite(q) && q > 0))
            fail(QStringLiteral("holds the flow rate %1 L/h in FlowRateData; flow rates must be positive").arg(q));
    }
    read(QStringLiteral("SELECT ID, Time FROM TimeData ORDER BY ID"), [&](sqlite3_stmt *s) {
        ++m_hours;
        numbered = numbered && sqlite3_column_int(s, 0) == m_hours && sqlite3_column_int(s, 1) == m_hours;
    });
    if (m_hours == 0 || !numbered)
        fail(QStringLiteral("does not hold the hours 1, 2, 3, ... in TimeData (row k must hold k hours)"));

    const QLocale c = QLocale::c();
    bool ok = false;
    m_frontThreshold = c.toDouble(buildInfo(QStringLiteral("front_threshold")), &ok);
    if (!ok || !(m_frontThreshold > 0 && m_frontThreshold < 1))
        fail(QStringLiteral("has the front_threshold \"%1\" in BuildInfo, not a number between 0 and 1").arg(buildInfo(QStringLiteral("front_threshold"))));
    const QString heads = buildInfo(QStringLiteral("initial_heads_m"));
    if (!heads.isEmpty()) {
        for (const QString &h : heads.split(QLatin1Char(','))) {
            const double head = c.toDouble(h.trimmed(), &ok);
            if (!ok || (head != -3.0 && head != -6.0 && head != -10.0) || std::count(m_initialHeads.begin(), m_initialHeads.end(), head))
                fail(QStringLiteral("has the initial_heads_m \"%1\" in BuildInfo; they must be distinct values of -3, -6 and -10").arg(heads));
            m_initialHeads.push_back(head);
        }
    }
}

const BaseDatabase::Soil *BaseDatabase::findSoil(int soilTypeNo) const
{
    for (const auto &s : m_soils) {
        if (s.number == soilTypeNo)
            return &s;
    }
    return nullptr;
}

QString BaseDatabase::buildInfo(const QString &key) const
{
    const auto it = m_buildInfo.find(key);
    return it == m_buildInfo.end() ? QString() : it->second;
}

void BaseDatabase::copyTo(const QString &path)
{
    sqlite3 *dest = nullptr;
    const QByteArray native = path.toUtf8();
    int rc = sqlite3_open_v2(native.constData(), &dest, SQLITE_OPEN_READWRITE, nullptr);
    if (rc == SQLITE_OK) {
        sqlite3_backup *backup = sqlite3_backup_init(dest, "main", m_db, "main");
        if (backup) {
            sqlite3_backup_step(backup, -1);
            rc = sqlite3_backup_finish(backup);
        } else {
            rc = sqlite3_errcode(dest);
        }
    }
    const QString msg = dest ? QString::fromUtf8(sqlite3_errmsg(dest)) : QStringLiteral("out of memory");
    const int closed = sqlite3_close(dest);
    if (rc != SQLITE_OK || closed != SQLITE_OK)
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("cannot copy the base database %1 into %2: %3").arg(m_path, path, msg));
    SqliteRead::close(m_db);
    m_db = nullptr;
}
