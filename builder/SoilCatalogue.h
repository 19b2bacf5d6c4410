#pragma once

#include "builder/CaseSpec.h"

#include <QString>
#include <vector>

// The soil catalogue read by trickle-build: a comma-separated text file with one
// soil a line. Lines starting with '#' and empty lines are comments. The first
// other line is the header; it names the columns and states the units of the
// hydraulic parameters in brackets, e.g. "alpha (1/cm)" or "Ks (cm/day)". The
// catalogue converts every value to SI (alpha in 1/m, Ks in m/s) so the rest of
// the builder never sees other units.
//
// Every problem is reported as an UlvexError (TrickleBuildErrors::Catalogue)
// whose text names the file and the line number and says what is wrong.
class SoilCatalogue
{
public:
    static SoilCatalogue fromFile(const QString &path);
    static SoilCatalogue fromText(const QString &text, const QString &sourceName);

    // Soils in ascending SoilTypeNo.
    const std::vector<builder::SoilParams> &soils() const { return m_soils; }
    const builder::SoilParams *find(int soilTypeNo) const;
    QString sourceName() const { return m_sourceName; }

private:
    std::vector<builder::SoilParams> m_soils;
    QString m_sourceName;
};
