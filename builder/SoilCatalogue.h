#pragma once

#include "solver/CaseSpec.h"
#include "base/UlvexError.h"

#include <QString>
#include <vector>

// The soil catalogue read by trickle-build: a comma-separated text file with one
// soil a line. Lines starting with '#' and empty lines are comments. The first
// other line is the header; it names the columns and states the units of the
// hydraulic parameters in brackets, e.g. "alpha (1/cm)" or "Ks (cm/day)". The
// catalogue converts every value to SI (alpha in 1/m, Ks in m/s) so the rest of
// the builder never sees other units.
//
// The SoilTypeNo column may be left out: the soils are then numbered in the
// order of the file, from 1 (a catalogue of soils to add to a database is
// renumbered after the database's last soil, see renumberFrom()).
//
// Every problem is reported as an UlvexError (TrickleBuildErrors::Catalogue)
// whose text names the file and the line number and says what is wrong.
class SoilCatalogue
{
public:
    static SoilCatalogue fromFile(const QString &path);
    static SoilCatalogue fromText(const QString &text, const QString &sourceName);

    // Soils in ascending SoilTypeNo.
    const std::vector<solver::SoilParams> &soils() const { return m_soils; }
    const solver::SoilParams *find(int soilTypeNo) const;
    QString sourceName() const { return m_sourceName; }

    // Whether the file has a SoilTypeNo column (else the soils are numbered in file order).
    bool hasSoilTypeNo() const { return m_hasSoilTypeNo; }
    // Numbers the soils first, first + 1, ... in the order of the file. Only for a
    // catalogue without a SoilTypeNo column. A number beyond the largest
    // SoilTypeNo is refused (the error names the catalogue).
    void renumberFrom(qint64 first);
    // Refuses soils that are not numbered first, first + 1, ... without a gap,
    // naming the line of the first soil out of step: the program takes a
    // soil's place in its list for its number.
    void requireNumbersFrom(qint64 first) const;
    // The line of the file on which the soil `soilTypeNo` is defined.
    int lineOf(int soilTypeNo) const;
    // An error (TrickleBuildErrors::Catalogue) about the soil's line:
    // "<file> line <n>: <what>".
    UlvexError lineError(int soilTypeNo, const QString &what) const;

private:
    std::vector<solver::SoilParams> m_soils;
    std::vector<int> m_lines; // the line of each soil, in the order of m_soils
    QString m_sourceName;
    bool m_hasSoilTypeNo = true;
};
