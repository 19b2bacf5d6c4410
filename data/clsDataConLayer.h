#pragma once

#include "data/clsSourceRecordset.h"

#include <QString>

#include <memory>

// The connection layer: every query opens its own connection to trickle.db
// (Qt's SQLite driver, one uniquely named connection per query) and hands back
// the open record set; the dataset layer closes both as soon as it has copied
// the rows.
//
// These routines have no guard: a failure to open the file or to run the
// statement is thrown as UlvexError (numbers in DataErrors.h) whose description
// names the database file and carries SQLite's own text, which names the table
// or column. The returned error text is always empty.
class clsDataConLayer
{
public:
    // Reads: the database databasePath(), opened read-only,
    // so a read never changes the file. A missing file is reported and never
    // created.
    QString sfDatasetLoad(const QString &sql, std::unique_ptr<clsSourceRecordset> &rs);

    // The write-back path: the same, but on the folder-less relative name
    // "trickle.db" (resolved against the working directory, unlike the read
    // path) and opened for writing. A missing file is not created either.
    QString sfDatasetSave(const QString &sql, std::unique_ptr<clsSourceRecordset> &rs);

    // The file the read path opens: the database UserDatabase chose (the
    // user's own when there is a usable one, else the program folder's
    // trickle.db), unless a command-line caller named another database file.
    static QString databasePath();
    static void setDatabaseOverride(const QString &path);
    // The name the save path opens.
    static QString savePath() { return QStringLiteral("trickle.db"); }

private:
    std::unique_ptr<clsSourceRecordset> open(const QString &path, const QString &sql,
                                             bool readOnly);
};
