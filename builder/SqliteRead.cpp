#include "builder/SqliteRead.h"

#include <QFileInfo>

#include <sqlite3.h>

namespace SqliteRead {

sqlite3 *open(const QString &path, const std::function<UlvexError(const QString &what)> &error)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw error(QStringLiteral("does not exist"));
    if (info.isDir())
        throw error(QStringLiteral("is a folder, not a database"));
    if (!info.isFile())
        throw error(QStringLiteral("is not a regular file"));
    if (!info.isReadable())
        throw error(QStringLiteral("cannot be read (no permission)"));

    sqlite3 *db = nullptr;
    const QByteArray native = path.toUtf8();
    if (sqlite3_open_v2(native.constData(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        const QString msg = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QStringLiteral("out of memory");
        sqlite3_close(db);
        throw error(QStringLiteral("cannot be opened: %1").arg(msg));
    }
    auto fail = [&](const QString &what) {
        const UlvexError e = error(what);
        close(db);
        return e;
    };
    // One read transaction from the first look to the last.
    if (sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK)
        throw fail(QStringLiteral("cannot be read: %1").arg(QString::fromUtf8(sqlite3_errmsg(db))));
    int code = SQLITE_OK;
    if (!forEachRow(db, QStringLiteral("SELECT count(*) FROM sqlite_master"), [](sqlite3_stmt *) {}, code)) {
        if (code == SQLITE_NOTADB)
            throw fail(QStringLiteral("is not an SQLite database"));
        throw fail(QStringLiteral("cannot be read: %1").arg(QString::fromUtf8(sqlite3_errmsg(db))));
    }
    return db;
}

void close(sqlite3 *db)
{
    if (db) {
        sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }
}

bool forEachRow(sqlite3 *db, const QString &sql, const std::function<void(sqlite3_stmt *)> &each, int &error)
{
    sqlite3_stmt *stmt = nullptr;
    const QByteArray utf8 = sql.toUtf8();
    error = sqlite3_prepare_v2(db, utf8.constData(), -1, &stmt, nullptr);
    if (error == SQLITE_OK) {
        while ((error = sqlite3_step(stmt)) == SQLITE_ROW)
            each(stmt);
        if (error == SQLITE_DONE)
            error = SQLITE_OK;
    }
    sqlite3_finalize(stmt);
    return error == SQLITE_OK;
}

QString columnText(sqlite3_stmt *stmt, int column)
{
    return QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(stmt, column)));
}

} // namespace SqliteRead
