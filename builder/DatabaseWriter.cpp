#include "builder/DatabaseWriter.h"

#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

// Finalizes a prepared statement whatever way the scope is left.
struct Statement
{
    sqlite3_stmt *stmt;
    ~Statement() { sqlite3_finalize(stmt); }
};

// Tables of the file, in the order they are created. Column names with blanks or
// signs are quoted; the program reads them as [Clay (%)] and the like. Tables
// keyed by soil, flow rate and time are stored by that key (WITHOUT ROWID): no
// separate index, half the size, and the program's look-ups follow the key.
const char *const kSchema[] = {
    "CREATE TABLE SoilTypeData (SoilTypeNo INTEGER PRIMARY KEY, Name TEXT NOT NULL, Texture TEXT,"
    " \"Clay (%)\" REAL, \"Soil Classification\" TEXT, \"theta_r (m3/m3)\" REAL, \"theta_s (m3/m3)\" REAL,"
    " \"alpha (1/m)\" REAL, \"n (-)\" REAL, \"Ks (m/s)\" REAL)",
    "CREATE TABLE FlowRateData (FlowRateNo INTEGER PRIMARY KEY, FlowRate REAL NOT NULL)",
    "CREATE TABLE TimeData (ID INTEGER PRIMARY KEY, Time INTEGER NOT NULL)",
    "CREATE TABLE \"SurfaceData-c3\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, z REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    "CREATE TABLE \"SurfaceData-c6\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, z REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    "CREATE TABLE \"SurfaceData-c\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, z REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    "CREATE TABLE \"BuriedData-c3\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, zplus REAL NOT NULL, zminus REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    "CREATE TABLE \"BuriedData-c6\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, zplus REAL NOT NULL, zminus REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    "CREATE TABLE \"BuriedData-c\" (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, Time INTEGER NOT NULL,"
    " r REAL NOT NULL, zplus REAL NOT NULL, zminus REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, Time)) WITHOUT ROWID",
    // The export writes every column from the fourth on, in this order, under the
    // headers "TimeStep,Radius,Zplus,Zminus" and "TimeStep,Zplus,Radius".
    "CREATE TABLE BuriedData (ID INTEGER PRIMARY KEY, SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL,"
    " Time INTEGER NOT NULL, r REAL NOT NULL, zplus REAL NOT NULL, zminus REAL NOT NULL)",
    "CREATE TABLE SurfaceData (ID INTEGER PRIMARY KEY, SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL,"
    " Time INTEGER NOT NULL, z REAL NOT NULL, r REAL NOT NULL)",
    "CREATE TABLE BuildInfo (key TEXT PRIMARY KEY, value TEXT) WITHOUT ROWID",
    // MeshChange: the largest relative change of the fronts when the case was
    // run again with every cell size halved (--check-mesh); NULL when not checked.
    "CREATE TABLE CaseInfo (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, InitialHead REAL NOT NULL,"
    " Emitter TEXT NOT NULL, MassBalanceError REAL NOT NULL, TimeSteps INTEGER NOT NULL, MeshChange REAL,"
    " PRIMARY KEY (SoilType, FlowRate, InitialHead, Emitter)) WITHOUT ROWID",
    // The wet spot around a surface emitter: the radius of the ponded disc at
    // every hour (the smallest disc, 0.01 m, where the soil takes the flow
    // without ponding; the source disc's radius for a flux disc).
    "CREATE TABLE PondData (SoilType INTEGER NOT NULL, FlowRate INTEGER NOT NULL, InitialHead REAL NOT NULL,"
    " Time INTEGER NOT NULL, PondRadius REAL NOT NULL, PRIMARY KEY (SoilType, FlowRate, InitialHead, Time)) WITHOUT ROWID",
};

// Tables and columns that databases written before them lack. A base without
// them is still a database of this layout: Extend adds them (empty, or NULL
// for the cases already there).
const char *const kPondDataTable = "PondData";
const char *const kMeshChangeColumn = "MeshChange";


} // namespace

DatabaseWriter::DatabaseWriter(const QString &path, Mode mode)
    : m_path(path)
{
    const QByteArray native = path.toUtf8();
    const int flags = mode == Mode::Create ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READWRITE;
    const int rc = sqlite3_open_v2(native.constData(), &m_db, flags, nullptr);
    if (rc != SQLITE_OK) {
        const QString msg = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QStringLiteral("out of memory");
        sqlite3_close(m_db);
        m_db = nullptr;
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("%1: cannot open the database for writing: %2").arg(path, msg));
    }
    if (mode == Mode::Extend) {
        exec("BEGIN");
        addLaterParts();
        // New export rows follow the base's, whatever IDs it used.
        for (int buried = 0; buried < 2; ++buried) {
            Statement s{prepare(QStringLiteral("SELECT coalesce(max(ID), 0) + 1 FROM %1")
                                .arg(exportTable(buried ? solver::Emitter::Buried : solver::Emitter::Surface)))};
            if (sqlite3_step(s.stmt) != SQLITE_ROW)
                fail(QStringLiteral("cannot read the IDs of the export tables"));
            m_nextExportId[buried] = sqlite3_column_int(s.stmt, 0);
        }
        return;
    }
    // Fixed page size and encoding, so the bytes do not depend on defaults.
    exec("PRAGMA page_size = 4096");
    exec("PRAGMA encoding = 'UTF-8'");
    exec("BEGIN");
    for (const char *sql : kSchema)
        exec(sql);
}

bool DatabaseWriter::isLaterAddition(const QString &table, const QString &column)
{
    if (table == QLatin1String(kPondDataTable))
        return true;
    return table == QLatin1String("CaseInfo") && column == QLatin1String(kMeshChangeColumn);
}

void DatabaseWriter::addLaterParts()
{
    bool hasPondData = false, hasMeshChange = false;
    {
        Statement s{prepare(QStringLiteral("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = '%1'")
                                .arg(QLatin1String(kPondDataTable)))};
        hasPondData = sqlite3_step(s.stmt) == SQLITE_ROW && sqlite3_column_int(s.stmt, 0) > 0;
    }
    {
        Statement s{prepare(QStringLiteral("PRAGMA table_info(CaseInfo)"))};
        while (sqlite3_step(s.stmt) == SQLITE_ROW) {
            const char *name = reinterpret_cast<const char *>(sqlite3_column_text(s.stmt, 1));
            if (name && QString::fromUtf8(name).compare(QLatin1String(kMeshChangeColumn), Qt::CaseInsensitive) == 0)
                hasMeshChange = true;
        }
    }
    if (!hasMeshChange)
        exec("ALTER TABLE CaseInfo ADD COLUMN MeshChange REAL");
    if (!hasPondData) {
        for (const char *sql : kSchema) {
            if (QByteArray(sql).startsWith(QByteArray("CREATE TABLE ") + kPondDataTable + " "))
                exec(sql);
        }
    }
}

DatabaseWriter::~DatabaseWriter()
{
    if (m_db) {
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close(m_db);
    }
}

void DatabaseWriter::fail(const QString &what)
{
    const QString msg = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QString();
    throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("%1: %2: %3").arg(m_path, what, msg));
}

void DatabaseWriter::exec(const char *sql)
{
    if (!m_db)
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("%1: the database is already closed").arg(m_path));
    char *err = nullptr;
    if (sqlite3_exec(m_db, sql, nullptr, nullptr, &err) != SQLITE_OK) {
        const QString msg = QString::fromUtf8(err ? err : "unknown error");
        sqlite3_free(err);
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("%1: %2 (in \"%3\")").arg(m_path, msg, QString::fromUtf8(sql)));
    }
}

sqlite3_stmt *DatabaseWriter::prepare(const QString &sql)
{
    if (!m_db)
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("%1: the database is already closed").arg(m_path));
    sqlite3_stmt *stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, utf8.constData(), -1, &stmt, nullptr) != SQLITE_OK)
        fail(QStringLiteral("cannot prepare \"%1\"").arg(sql));
    return stmt;
}

void DatabaseWriter::step(sqlite3_stmt *stmt, const char *what)
{
    if (sqlite3_step(stmt) != SQLITE_DONE)
        fail(QString::fromUtf8(what));
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
}

void DatabaseWriter::writeSoils(const std::vector<solver::SoilParams> &soils)
{
    Statement s{prepare(QStringLiteral("INSERT INTO SoilTypeData VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"))};
    for (const auto &soil : soils) {
        sqlite3_bind_int(s.stmt, 1, soil.number);
        sqlite3_bind_text(s.stmt, 2, soil.name.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(s.stmt, 3, soil.texture.c_str(), -1, SQLITE_TRANSIENT);
        if (std::isnan(soil.clayPercent))
            sqlite3_bind_null(s.stmt, 4); // not given: shown empty
        else
            sqlite3_bind_double(s.stmt, 4, soil.clayPercent);
        sqlite3_bind_text(s.stmt, 5, soil.classification.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_double(s.stmt, 6, soil.thetaR);
        sqlite3_bind_double(s.stmt, 7, soil.thetaS);
        sqlite3_bind_double(s.stmt, 8, soil.alpha);
        sqlite3_bind_double(s.stmt, 9, soil.n);
        sqlite3_bind_double(s.stmt, 10, soil.ks);
        step(s.stmt, "cannot write a soil");
    }
}

void DatabaseWriter::writeFlowRates(const std::vector<double> &litresPerHour)
{
    Statement s{prepare(QStringLiteral("INSERT INTO FlowRateData VALUES (?, ?)"))};
    for (size_t i = 0; i < litresPerHour.size(); ++i) {
        sqlite3_bind_int(s.stmt, 1, int(i) + 1);
        sqlite3_bind_double(s.stmt, 2, litresPerHour[i]);
        step(s.stmt, "cannot write a flow rate");
    }
}

void DatabaseWriter::writeTimes(int hours)
{
    Statement s{prepare(QStringLiteral("INSERT INTO TimeData VALUES (?, ?)"))};
    for (int k = 1; k <= hours; ++k) {
        sqlite3_bind_int(s.stmt, 1, k);
        sqlite3_bind_int(s.stmt, 2, k);
        step(s.stmt, "cannot write a time");
    }
}

QString DatabaseWriter::frontTable(solver::Emitter emitter, double initialHead)
{
    const QString family = emitter == solver::Emitter::Buried ? QStringLiteral("BuriedData") : QStringLiteral("SurfaceData");
    // The dry table carries the bare suffix "-c": the program asks for it by that name.
    if (initialHead == -3.0)
        return family + QStringLiteral("-c3");
    if (initialHead == -6.0)
        return family + QStringLiteral("-c6");
    if (initialHead == -10.0)
        return family + QStringLiteral("-c");
    throw UlvexError(TrickleBuildErrors::Database,
                     QStringLiteral("no front table for an initial pressure head of %1 m (only -3, -6 and -10 m)").arg(initialHead));
}

QString DatabaseWriter::exportTable(solver::Emitter emitter)
{
    return emitter == solver::Emitter::Buried ? QStringLiteral("BuriedData") : QStringLiteral("SurfaceData");
}

void DatabaseWriter::writeCase(int soilTypeNo, int flowRateNo, double initialHead, solver::Emitter emitter,
                               const solver::CaseResult &result)
{
    const bool buried = emitter == solver::Emitter::Buried;
    const QString table = frontTable(emitter, initialHead);
    const QString what = QStringLiteral("cannot write a front of soil %1, flow %2 to %3").arg(soilTypeNo).arg(flowRateNo).arg(table);
    const QByteArray whatUtf8 = what.toUtf8();
    for (const auto &f : result.fronts) {
        if (!std::isfinite(f.r) || !std::isfinite(f.down) || !std::isfinite(f.up))
            throw UlvexError(TrickleBuildErrors::Database, what + QStringLiteral(": the front at hour %1 is not a finite number").arg(f.hour));
    }
    {
        Statement s{prepare(buried ? QStringLiteral("INSERT INTO \"%1\" (SoilType, FlowRate, Time, r, zplus, zminus) VALUES (?, ?, ?, ?, ?, ?)").arg(table)
                                   : QStringLiteral("INSERT INTO \"%1\" (SoilType, FlowRate, Time, r, z) VALUES (?, ?, ?, ?, ?)").arg(table))};
        for (const auto &f : result.fronts) {
            sqlite3_bind_int(s.stmt, 1, soilTypeNo);
            sqlite3_bind_int(s.stmt, 2, flowRateNo);
            sqlite3_bind_int(s.stmt, 3, f.hour);
            sqlite3_bind_double(s.stmt, 4, f.r);
            sqlite3_bind_double(s.stmt, 5, f.down);
            if (buried)
                sqlite3_bind_double(s.stmt, 6, f.up);
            step(s.stmt, whatUtf8.constData());
        }
    }
    if (initialHead == kExportHead) {
        int &nextId = m_nextExportId[buried ? 1 : 0];
        Statement s{prepare(buried ? QStringLiteral("INSERT INTO BuriedData (ID, SoilType, FlowRate, Time, r, zplus, zminus) VALUES (?, ?, ?, ?, ?, ?, ?)")
                                   : QStringLiteral("INSERT INTO SurfaceData (ID, SoilType, FlowRate, Time, z, r) VALUES (?, ?, ?, ?, ?, ?)"))};
        for (const auto &f : result.fronts) {
            sqlite3_bind_int(s.stmt, 1, nextId++);
            sqlite3_bind_int(s.stmt, 2, soilTypeNo);
            sqlite3_bind_int(s.stmt, 3, flowRateNo);
            sqlite3_bind_int(s.stmt, 4, f.hour);
            if (buried) {
                sqlite3_bind_double(s.stmt, 5, f.r);
                sqlite3_bind_double(s.stmt, 6, f.down);
                sqlite3_bind_double(s.stmt, 7, f.up);
            } else {
                sqlite3_bind_double(s.stmt, 5, f.down);
                sqlite3_bind_double(s.stmt, 6, f.r);
            }
            step(s.stmt, "cannot write an export row");
        }
    }
    if (!buried) {
        Statement s{prepare(QStringLiteral("INSERT INTO PondData (SoilType, FlowRate, InitialHead, Time, PondRadius) VALUES (?, ?, ?, ?, ?)"))};
        for (const auto &f : result.fronts) {
            if (!std::isfinite(f.pondRadius) || f.pondRadius <= 0)
                throw UlvexError(TrickleBuildErrors::Database,
                                 what + QStringLiteral(": the pond radius at hour %1 is not a positive number").arg(f.hour));
            sqlite3_bind_int(s.stmt, 1, soilTypeNo);
            sqlite3_bind_int(s.stmt, 2, flowRateNo);
            sqlite3_bind_double(s.stmt, 3, initialHead);
            sqlite3_bind_int(s.stmt, 4, f.hour);
            sqlite3_bind_double(s.stmt, 5, f.pondRadius);
            step(s.stmt, "cannot write a pond radius");
        }
    }
    Statement s{prepare(QStringLiteral("INSERT INTO CaseInfo (SoilType, FlowRate, InitialHead, Emitter, MassBalanceError, TimeSteps, MeshChange)"
                                       " VALUES (?, ?, ?, ?, ?, ?, ?)"))};
    sqlite3_bind_int(s.stmt, 1, soilTypeNo);
    sqlite3_bind_int(s.stmt, 2, flowRateNo);
    sqlite3_bind_double(s.stmt, 3, initialHead);
    sqlite3_bind_text(s.stmt, 4, buried ? "buried" : "surface", -1, SQLITE_STATIC);
    sqlite3_bind_double(s.stmt, 5, result.massBalanceError);
    sqlite3_bind_int64(s.stmt, 6, result.timeSteps);
    if (std::isnan(result.meshChange))
        sqlite3_bind_null(s.stmt, 7); // not checked
    else
        sqlite3_bind_double(s.stmt, 7, result.meshChange);
    step(s.stmt, "cannot write the case's mass balance");
}

void DatabaseWriter::writeBuildInfo(const std::vector<std::pair<QString, QString>> &entries)
{
    Statement s{prepare(QStringLiteral("INSERT OR REPLACE INTO BuildInfo VALUES (?, ?)"))};
    for (const auto &e : entries) {
        const QByteArray k = e.first.toUtf8();
        const QByteArray v = e.second.toUtf8();
        sqlite3_bind_text(s.stmt, 1, k.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(s.stmt, 2, v.constData(), -1, SQLITE_TRANSIENT);
        step(s.stmt, "cannot write the build information");
    }
}

void DatabaseWriter::writeShardInputs(const std::map<QString, QByteArray> &rows)
{
    exec("CREATE TABLE ShardInputs (name TEXT PRIMARY KEY, content BLOB NOT NULL) WITHOUT ROWID");
    Statement s{prepare(QStringLiteral("INSERT INTO ShardInputs VALUES (?, ?)"))};
    for (const auto &row : rows) {
        const QByteArray name = row.first.toUtf8();
        sqlite3_bind_text(s.stmt, 1, name.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob64(s.stmt, 2, row.second.constData(), sqlite3_uint64(row.second.size()), SQLITE_TRANSIENT);
        step(s.stmt, "cannot write the inputs of the shard");
    }
}

void DatabaseWriter::removeBuildInfo(const QString &key)
{
    Statement s{prepare(QStringLiteral("DELETE FROM BuildInfo WHERE key = ?"))};
    const QByteArray k = key.toUtf8();
    sqlite3_bind_text(s.stmt, 1, k.constData(), -1, SQLITE_TRANSIENT);
    step(s.stmt, "cannot remove from the build information");
}

void DatabaseWriter::dropSoil(int soilTypeNo)
{
    // Every table keyed by soil: the front tables, the export tables and CaseInfo.
    for (const auto &table : layout()) {
        if (std::find(table.second.begin(), table.second.end(), QStringLiteral("SoilType")) == table.second.end())
            continue;
        Statement s{prepare(QStringLiteral("DELETE FROM \"%1\" WHERE SoilType = ?").arg(table.first))};
        sqlite3_bind_int(s.stmt, 1, soilTypeNo);
        step(s.stmt, "cannot remove the rows of a soil");
    }
    Statement s{prepare(QStringLiteral("DELETE FROM SoilTypeData WHERE SoilTypeNo = ?"))};
    sqlite3_bind_int(s.stmt, 1, soilTypeNo);
    step(s.stmt, "cannot remove a soil");
}

void DatabaseWriter::renumberSoil(int from, int to)
{
    for (const auto &table : layout()) {
        if (std::find(table.second.begin(), table.second.end(), QStringLiteral("SoilType")) == table.second.end())
            continue;
        Statement s{prepare(QStringLiteral("UPDATE \"%1\" SET SoilType = ? WHERE SoilType = ?").arg(table.first))};
        sqlite3_bind_int(s.stmt, 1, to);
        sqlite3_bind_int(s.stmt, 2, from);
        step(s.stmt, "cannot renumber the rows of a soil");
    }
    Statement s{prepare(QStringLiteral("UPDATE SoilTypeData SET SoilTypeNo = ? WHERE SoilTypeNo = ?"))};
    sqlite3_bind_int(s.stmt, 1, to);
    sqlite3_bind_int(s.stmt, 2, from);
    step(s.stmt, "cannot renumber a soil");
}

std::vector<DatabaseWriter::StoredCase> DatabaseWriter::storedCases()
{
    std::vector<StoredCase> out;
    Statement s{prepare(QStringLiteral("SELECT SoilType, FlowRate, InitialHead, Emitter, MassBalanceError, MeshChange FROM CaseInfo"))};
    int rc;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW) {
        StoredCase c;
        c.soil = sqlite3_column_int(s.stmt, 0);
        c.flowRateNo = sqlite3_column_int(s.stmt, 1);
        c.initialHead = sqlite3_column_double(s.stmt, 2);
        const char *e = reinterpret_cast<const char *>(sqlite3_column_text(s.stmt, 3));
        c.emitter = e && std::strcmp(e, "buried") == 0 ? solver::Emitter::Buried : solver::Emitter::Surface;
        c.massBalanceError = sqlite3_column_double(s.stmt, 4);
        c.meshChange = sqlite3_column_type(s.stmt, 5) == SQLITE_NULL ? std::numeric_limits<double>::quiet_NaN()
                                                                     : sqlite3_column_double(s.stmt, 5);
        out.push_back(c);
    }
    if (rc != SQLITE_DONE)
        fail(QStringLiteral("cannot read CaseInfo"));
    return out;
}

std::vector<std::pair<QString, std::vector<QString>>> DatabaseWriter::layout()
{
    // Read back from the schema itself, so that it is stated only once.
    sqlite3 *db = nullptr;
    std::vector<std::pair<QString, std::vector<QString>>> tables;
    if (sqlite3_open(":memory:", &db) == SQLITE_OK) {
        for (const char *sql : kSchema)
            sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
        sqlite3_stmt *t = nullptr;
        sqlite3_prepare_v2(db, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY rowid", -1, &t, nullptr);
        while (t && sqlite3_step(t) == SQLITE_ROW) {
            const QString name = QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(t, 0)));
            std::vector<QString> columns;
            sqlite3_stmt *c = nullptr;
            const QByteArray info = QStringLiteral("PRAGMA table_info(\"%1\")").arg(name).toUtf8();
            sqlite3_prepare_v2(db, info.constData(), -1, &c, nullptr);
            while (c && sqlite3_step(c) == SQLITE_ROW)
                columns.push_back(QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(c, 1))));
            sqlite3_finalize(c);
            tables.emplace_back(name, columns);
        }
        sqlite3_finalize(t);
    }
    sqlite3_close(db);
    if (tables.size() != sizeof kSchema / sizeof kSchema[0])
        throw UlvexError(TrickleBuildErrors::Database, QStringLiteral("cannot read back the layout of the database"));
    return tables;
}

void DatabaseWriter::finish()
{
    exec("COMMIT");
    // Compacting leaves no free pages behind, and the result depends only on the
    // data, not on the way it was inserted.
    exec("VACUUM");
    if (sqlite3_close(m_db) != SQLITE_OK)
        fail(QStringLiteral("cannot close the database"));
    m_db = nullptr;
}
