#pragma once

#include "base/UlvexError.h"

#include <QString>
#include <map>
#include <vector>

struct sqlite3;

// The database that a build adds soils to or drops soils from (trickle-build
// --base). Opening it checks that it is a database of this builder's layout and
// reads what the build needs: its sweep, its soils and its BuildInfo. All of that
// happens inside one read transaction that lasts until copyTo(), so the copy holds
// exactly what was checked even if someone writes the file meanwhile. The file
// itself is only read. Problems raise UlvexError (TrickleBuildErrors::Base) whose
// text names the file.
class BaseDatabase
{
public:
    struct Soil
    {
        int number = 0; // SoilTypeNo
        QString name;
    };

    explicit BaseDatabase(const QString &path);
    ~BaseDatabase();
    BaseDatabase(const BaseDatabase &) = delete;
    BaseDatabase &operator=(const BaseDatabase &) = delete;

    const QString &path() const { return m_path; }
    const std::vector<double> &flowRates() const { return m_flowRates; } // L/h, FlowRateNo 1, 2, ...
    int hours() const { return m_hours; }                                // TimeData holds 1..hours
    // BuildInfo initial_heads_m (m); empty when the base does not record them.
    const std::vector<double> &initialHeads() const { return m_initialHeads; }
    double frontThreshold() const { return m_frontThreshold; }
    const std::vector<Soil> &soils() const { return m_soils; } // ascending SoilTypeNo
    const Soil *findSoil(int soilTypeNo) const;
    // The value of a BuildInfo key; empty when the key is absent.
    QString buildInfo(const QString &key) const;

    // Copies the whole database, every table as it stands, into `path` (an empty
    // file), then closes the base.
    void copyTo(const QString &path);

private:
    UlvexError error(const QString &what) const;
    [[noreturn]] void fail(const QString &what) const;
    void checkIntegrity();
    void checkLayout();
    void readSweep();

    sqlite3 *m_db = nullptr;
    QString m_path;
    std::vector<double> m_flowRates;
    int m_hours = 0;
    std::vector<double> m_initialHeads;
    double m_frontThreshold = 0;
    std::vector<Soil> m_soils;
    std::map<QString, QString> m_buildInfo;
};
