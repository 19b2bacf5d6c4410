#pragma once

#include "base/UlvexError.h"

#include <QString>
#include <functional>

struct sqlite3;
struct sqlite3_stmt;

// Reading a database that the builder only looks at: the base of a build and
// the parts of a merge. Such a file is opened read-only and read inside one
// read transaction, so that everything read belongs to one state of the file.
namespace SqliteRead {

// Opens `path` read-only and begins a read transaction. Whatever is wrong is
// raised as error(what), `what` saying it of the file: "does not exist", "is
// a folder, not a database", "is not an SQLite database"...
sqlite3 *open(const QString &path, const std::function<UlvexError(const QString &what)> &error);

// Ends the read transaction and closes the database.
void close(sqlite3 *db);

// Runs `sql` and calls `each` for every row; false (with `error` set to
// SQLite's code) when SQLite refuses.
bool forEachRow(sqlite3 *db, const QString &sql, const std::function<void(sqlite3_stmt *)> &each, int &error);

QString columnText(sqlite3_stmt *stmt, int column);

} // namespace SqliteRead
