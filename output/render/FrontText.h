#pragma once

#include <QString>

// The fronts of one selection as text, hour by hour, with the radius of the
// wet spot on the surface (the ponded disc around a surface emitter) where the
// database holds it: for the command-line renderer's --text and for anyone
// who wants the numbers behind a graph. Comma-separated, "." as decimal
// separator, lengths in metres, at most 15 significant digits:
//
//   # Ulvex fronts: Loam, 2 L/h, dry (-10 m suction), surface emitter, hours 1 to 24
//   Time (h),r (m),z (m),Pond radius (m)
//   1,0.1029,0.0761,0.0312
//
// A buried emitter's lines hold r, zplus and zminus; it has no wet spot. A
// database built before pond radii were stored gives the surface lines
// without that column, and says so.
class FrontText
{
public:
    struct Selection
    {
        int soil = 1;          // SoilTypeNo
        int flow = 1;          // FlowRateNo (position in the flow list)
        int hours = 24;        // hours 1 to this
        double initialHead = -10; // m: -3 wet, -6 moist, -10 dry
        bool buried = false;
    };

    // What the text holds: the number of hours with a front, and the
    // selection in words ("Loam, 2 L/h, dry, surface emitter").
    struct Found
    {
        int rows = 0;
        QString selection;
    };

    // Reads the rows from the database at `path` (read-only). Throws UlvexError
    // (naming the file) when it cannot be read.
    static QString text(const QString &path, const Selection &selection, Found *found = nullptr);
};
