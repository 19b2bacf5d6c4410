#pragma once

#include "solver/CaseSpec.h"

#include <QByteArray>
#include <QString>
#include <map>
#include <utility>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

// Writes the simulation database that the Ulvex program reads: the lookup tables
// (SoilTypeData, FlowRateData, TimeData), the six front tables by emitter and
// initial water content ("SurfaceData-c3" ... "BuriedData-c"), the two export
// tables (SurfaceData, BuriedData, holding the dry-soil fronts), BuildInfo,
// CaseInfo (per-case mass balance and mesh check) and PondData (the pond radius
// of the surface cases at every hour). Lengths are in metres.
//
// Everything is written inside one transaction that finish() commits; the file
// is then compacted. The same calls in the same order give the same bytes, so
// the caller decides the order (the builder writes cases in a fixed order, never
// in order of completion). Failures raise UlvexError (TrickleBuildErrors::Database).
//
// A database can also be extended: the builder copies a finished database (the
// base) into a new file and adds soils to it or drops soils from it. The rows of
// the export tables then continue the base's ID sequence.
class DatabaseWriter
{
public:
    enum class Mode {
        Create, // `path` must not hold a database yet (an empty file is fine)
        Extend, // `path` holds a complete database of this layout
    };

    // One row of CaseInfo.
    struct StoredCase
    {
        int soil = 0;
        int flowRateNo = 0;
        double initialHead = 0;
        solver::Emitter emitter = solver::Emitter::Surface;
        double massBalanceError = 0;
        double meshChange = 0; // NaN when the case was not checked on a finer mesh
    };

    explicit DatabaseWriter(const QString &path, Mode mode = Mode::Create);
    ~DatabaseWriter();
    DatabaseWriter(const DatabaseWriter &) = delete;
    DatabaseWriter &operator=(const DatabaseWriter &) = delete;

    void writeSoils(const std::vector<solver::SoilParams> &soils);
    void writeFlowRates(const std::vector<double> &litresPerHour); // FlowRateNo 1, 2, ...
    void writeTimes(int hours);                                     // ID k holds k hours
    // One case: its fronts go to the front table chosen by emitter and initial head,
    // to the export table as well when the soil starts dry (-10 m), and its mass
    // balance to CaseInfo.
    void writeCase(int soilTypeNo, int flowRateNo, double initialHead, solver::Emitter emitter,
                   const solver::CaseResult &result);
    // Sets the keys, replacing the values of keys already present.
    void writeBuildInfo(const std::vector<std::pair<QString, QString>> &entries);
    void removeBuildInfo(const QString &key);
    // The table ShardInputs (name, content) of a partial database: what the
    // merge of a sharded build needs to repeat its write phase.
    void writeShardInputs(const std::map<QString, QByteArray> &rows);
    // Removes the soil and every row of its cases (front, export and CaseInfo rows).
    void dropSoil(int soilTypeNo);
    // Gives a soil of the copied base another number, in SoilTypeData and in
    // every table keyed by soil. The new number must be free.
    void renumberSoil(int from, int to);
    // Every row of CaseInfo as written so far, in no particular order.
    std::vector<StoredCase> storedCases();
    // Commits, compacts and closes the file.
    void finish();

    // "SurfaceData-c3" for a surface emitter in soil at -3 m, "BuriedData-c" at -10 m...
    static QString frontTable(solver::Emitter emitter, double initialHead);
    static QString exportTable(solver::Emitter emitter);
    // The tables this writer creates, each with its column names in order.
    static std::vector<std::pair<QString, std::vector<QString>>> layout();
    // Whether the table (or the column of a table) came into the layout after
    // databases had been written without it (PondData, CaseInfo.MeshChange): a
    // base may lack it, and extending the base adds it.
    static bool isLaterAddition(const QString &table, const QString &column = QString());
    // Initial pressure head (m) of the dry soil, whose fronts fill the export tables.
    static constexpr double kExportHead = -10.0;

private:
    void addLaterParts();
    void exec(const char *sql);
    sqlite3_stmt *prepare(const QString &sql);
    void step(sqlite3_stmt *stmt, const char *what);
    [[noreturn]] void fail(const QString &what);

    sqlite3 *m_db = nullptr;
    QString m_path;
    int m_nextExportId[2] = {1, 1};
};
