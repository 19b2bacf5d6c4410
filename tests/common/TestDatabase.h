#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// A small, fully predictable trickle.db for tests.
//
// TestDatabase::create(folder) writes "<folder>/trickle.db" with every table the
// program reads: the lookup tables SoilTypeData, FlowRateData and TimeData, the
// six display tables [SurfaceData-c3], [SurfaceData-c6], [SurfaceData-c],
// [BuriedData-c3], [BuriedData-c6], [BuriedData-c], and the two export tables
// SurfaceData and BuriedData.
//
// Contents with the default options:
//   SoilTypeData  SoilTypeNo 1..5, Name soilName(n), Texture soilTexture(n),
//                 [Clay (%)] = 10 * n, [Soil Classification] soilClassification(n),
//                 [Ks (m/h)] = n / 100.0 (one column beyond the four the soil
//                 chooser shows, so "Select *" and the chooser's query differ)
//   FlowRateData  FlowRateNo 1..4, FlowRate flowRate(n) (0.5, 1, 2, 4)
//   TimeData      ID 1..24, Time = ID (row k holds k hours)
//   display and export tables: one row for every soil, flow position and whole
//   hour 1..24; every length column holds frontValue(table, column, soil, flow,
//   time).
//   PondData      SoilType, FlowRate, InitialHead (-3, -6, -10), Time and
//                 PondRadius = pondRadius(soil, flow, head, time). Rows are inserted with the time running backwards, so a query only
//   returns them in time order when it asks for it.
//
// Typical use in a test:
//   QTemporaryDir dir;
//   TestDatabase::create(dir.path());
//   ProgramFolder::setOverride(dir.path());
//   ... float(TestDatabase::frontValue("SurfaceData-c3", "r", 4, 2, 14)) ...
class TestDatabase
{
public:
    struct Options
    {
        int soils = 5;   // 1..9
        int flows = 4;   // 1..9
        int hours = 24;  // 1..99; TimeData and the front tables hold 1..hours
        // Tables to leave out, by their plain name ("SurfaceData-c3", "TimeData").
        QStringList omitTables;
        // Columns to leave out: table name -> column names ("r", "Clay (%)").
        QMap<QString, QStringList> omitColumns;
    };

    // Creates (replacing any earlier one) <folder>/trickle.db and returns its
    // full path. Throws std::runtime_error if the file cannot be written.
    static QString create(const QString &folder, const Options &options);
    static QString create(const QString &folder);

    // Adds a BuildInfo table (key, value) to the database at `path` holding
    // these entries, as the database builder records its builds (e.g.
    // "build_date", "origin_build_date", "added_soil_6"). Throws
    // std::runtime_error if it cannot be written.
    static void addBuildInfo(const QString &path, const QMap<QString, QString> &entries);

    // Writes <folder>/trickle.db holding text that is not a database; returns
    // its path.
    static QString createNotADatabase(const QString &folder);

    // The value stored in a length column (r, z, zplus, zminus) of a front
    // table for one soil, flow position and time. Every (table, column, soil,
    // flow, time) gives a different value, between 0 and 1 (metres), growing
    // with time: value = code / 1e6 with
    // code = time*10000 + soil*1000 + flow*100 + tableCode*10 + columnCode,
    // tableCode = position in frontTables(), columnCode r 0, z 1, zplus 2,
    // zminus 3. Returns -1 for an unknown table or column.
    static double frontValue(const QString &table, const QString &column,
                             int soil, int flow, int time);

    // The radius of the wet spot (table PondData, metres) stored for a soil,
    // flow position, initial head (m) and hour: different for every key.
    static double pondRadius(int soil, int flow, double initialHead, int time);

    // The eight front tables, plain names: the six display tables
    // (SurfaceData-c3, SurfaceData-c6, SurfaceData-c, BuriedData-c3,
    // BuriedData-c6, BuriedData-c) then SurfaceData and BuriedData.
    static QStringList frontTables();

    // The columns of a front table in table order (the export tables start
    // with "ID").
    static QStringList frontColumns(const QString &table);

    static QString soilName(int soil);           // "Sand", "Loamy Sand", ...
    static QString soilTexture(int soil);        // "coarse", ...
    static QString soilClassification(int soil); // "Class 1 (coarse)", ...
    static double flowRate(int flow);            // 0.5, 1, 2, 4, 8, ...
};
