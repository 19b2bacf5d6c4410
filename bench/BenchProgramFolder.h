#pragma once

#include "tests/common/TestDatabase.h"

#include <QDir>
#include <QFile>
#include <QString>

// Fills a temporary program folder for a benchmark of the whole program: the
// shipped database when the source tree has one, else the small test database.
inline void fillBenchProgramFolder(const QString &folder)
{
    const QString shipped = QStringLiteral(ULVEX_SHIPPED_DB);
    if (QFile::exists(shipped))
        QFile::copy(shipped, QDir(folder).filePath(QStringLiteral("trickle.db")));
    else
        TestDatabase::create(folder);
}
