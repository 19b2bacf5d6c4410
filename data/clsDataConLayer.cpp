#include "data/clsDataConLayer.h"

#include "data/DataErrors.h"
#include "data/UserDatabase.h"
#include "base/UlvexError.h"

#include <QAtomicInteger>
#include <QFileInfo>
#include <QSqlDatabase>

namespace {

QString uniqueConnectionName()
{
    static QAtomicInteger<quint64> counter;
    return QStringLiteral("ulvex-data-%1").arg(++counter);
}

} // namespace

namespace {
QString &databaseOverride()
{
    static QString path;
    return path;
}
} // namespace

QString clsDataConLayer::databasePath()
{
    if (!databaseOverride().isEmpty())
        return databaseOverride();
    return UserDatabase::activePath();
}

void clsDataConLayer::setDatabaseOverride(const QString &path)
{
    databaseOverride() = path;
}

QString clsDataConLayer::sfDatasetLoad(const QString &sql, std::unique_ptr<clsSourceRecordset> &rs)
{
    rs = open(databasePath(), sql, true);
    return QString();
}

QString clsDataConLayer::sfDatasetSave(const QString &sql, std::unique_ptr<clsSourceRecordset> &rs)
{
    rs = open(savePath(), sql, false);
    return QString();
}

std::unique_ptr<clsSourceRecordset> clsDataConLayer::open(const QString &path, const QString &sql,
                                                          bool readOnly)
{
    if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QSQLITE")))
        throw UlvexError(DataErrors::DriverMissing,
                         QStringLiteral("The SQLite driver is not available to open %1").arg(path));
    // SQLite creates a missing file when it may write; the read path is
    // read-only anyway, but neither path may ever leave an empty database.
    const QFileInfo info(path);
    if (!info.exists())
        throw UlvexError(DataErrors::DatabaseMissing,
                         QStringLiteral("Database file not found: %1").arg(info.absoluteFilePath()));
    if (!info.isFile())
        throw UlvexError(DataErrors::DatabaseOpen,
                         QStringLiteral("Cannot open database %1: not a file")
                             .arg(info.absoluteFilePath()));

    std::unique_ptr<clsSourceRecordset> rs(
        new clsSourceRecordset(uniqueConnectionName(), path, sql));
    rs->start(readOnly); // on a throw the destructor closes and removes the connection
    return rs;
}
