#pragma once

// Error numbers of trickle-build, carried by UlvexError so that the tool and its
// tests can tell the kinds of failure apart.
namespace TrickleBuildErrors {

enum : int {
    Catalogue = 3001,     // the soil catalogue cannot be read or has a bad line
    Usage = 3002,         // a bad option value
    OutputExists = 3003,  // the output exists and --force was not given
    Database = 3004,      // SQLite refused something while writing
    CaseFailed = 3005,    // a simulation failed or a front reached the domain's edge
    FileSystem = 3006,    // temporary file or rename failed
    Base = 3007,          // the database to build on (--base) is missing, not a database or lacks a table
    Merge = 3008,         // --merge: a part is missing, given twice, of another build, incomplete or no part at all
};

} // namespace TrickleBuildErrors
