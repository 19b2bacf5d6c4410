#include "data/UserDatabase.h"

#include "base/ProgramFolder.h"
#include "base/UserFolders.h"

#include <QAtomicInteger>
#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include <functional>

#include <sys/stat.h>

namespace {

QString &chosen()
{
    static QString path;
    return path;
}

// Runs `use` on a read-only connection of its own to the file, and removes the
// connection afterwards. The file must exist: opening never creates one.
// Returns the error text, empty on success.
QString withDatabase(const QString &path, const std::function<QString(QSqlDatabase &)> &use)
{
    static QAtomicInteger<quint64> counter;
    const QString name = QStringLiteral("ulvex-user-%1").arg(++counter);
    QString result;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        if (!db.open())
            result = db.lastError().text();
        else
            result = use(db);
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return result;
}

// The tables and columns the program reads.
struct Needed
{
    const char *table;
    QStringList columns;
};

const QList<Needed> &needed()
{
    static const QList<Needed> list = {
        {"SoilTypeData", {"SoilTypeNo", "Name", "Texture", "Clay (%)", "Soil Classification"}},
        {"FlowRateData", {"FlowRateNo", "FlowRate"}},
        {"TimeData", {"ID", "Time"}},
        {"SurfaceData-c3", {"SoilType", "FlowRate", "Time", "r", "z"}},
        {"SurfaceData-c6", {"SoilType", "FlowRate", "Time", "r", "z"}},
        {"SurfaceData-c", {"SoilType", "FlowRate", "Time", "r", "z"}},
        {"BuriedData-c3", {"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"}},
        {"BuriedData-c6", {"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"}},
        {"BuriedData-c", {"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"}},
        {"SurfaceData", {"SoilType", "FlowRate", "Time", "z", "r"}},
        {"BuriedData", {"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"}},
    };
    return list;
}

// A column's value of the current row, or an invalid value when the table
// has no such column (an older database may lack the parameters).
QVariant column(const QSqlQuery &q, const char *name)
{
    const int index = q.record().indexOf(QLatin1String(name));
    return index < 0 ? QVariant() : q.value(index);
}

double number(const QSqlQuery &q, const char *name)
{
    return column(q, name).toDouble();
}

} // namespace

QString UserDatabase::shippedPath()
{
    return ProgramFolder::file(QStringLiteral("trickle.db"));
}

QString UserDatabase::userPath()
{
    return UserFolders::userDatabase();
}

QString UserDatabase::problem(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("The database %1 does not exist").arg(path);
    if (!info.isFile() || !info.isReadable())
        return QStringLiteral("The database %1 cannot be read").arg(path);
    const QString error = withDatabase(path, [&path](QSqlDatabase &db) -> QString {
        for (const Needed &n : needed()) {
            QSqlQuery q(db);
            const QString table = QString::fromLatin1(n.table);
            if (!q.exec(QStringLiteral("Select * from [%1] Limit 1").arg(table)))
                return QStringLiteral("The database %1 cannot be used: %2")
                    .arg(path, q.lastError().databaseText().isEmpty() ? q.lastError().text()
                                                                        : q.lastError().databaseText());
            const QSqlRecord record = q.record();
            for (const QString &column : n.columns)
                if (record.indexOf(column) < 0)
                    return QStringLiteral("The database %1 cannot be used: the table %2 has no column %3")
                        .arg(path, table, column);
        }
        QSqlQuery soils(db);
        if (!soils.exec(QStringLiteral("Select count(*) from SoilTypeData")) || !soils.next()
            || soils.value(0).toInt() < 1)
            return QStringLiteral("The database %1 holds no soils").arg(path);
        // One part of a build shared out over several machines has every table
        // but only its share of the cases: the other soils and flow rates would
        // show no fronts at all.
        QSqlQuery shard(db);
        if (shard.exec(QStringLiteral("Select value from BuildInfo where key = 'shard'")) && shard.next())
            return QStringLiteral("The database %1 is only one part (shard %2) of a database built on several machines; "
                                  "its parts are joined with trickle-build --merge")
                .arg(path, shard.value(0).toString());
        return QString();
    });
    if (!error.isEmpty() && !error.startsWith(QLatin1String("The database")))
        return QStringLiteral("The database %1 cannot be opened: %2").arg(path, error);
    return error;
}

QString UserDatabase::choose()
{
    const QString user = userPath();
    if (!QFileInfo::exists(user)) {
        chosen() = shippedPath();
        return QString();
    }
    const QString trouble = problem(user);
    chosen() = trouble.isEmpty() ? user : shippedPath();
    return trouble;
}

QString UserDatabase::activePath()
{
    return chosen().isEmpty() ? shippedPath() : chosen();
}

void UserDatabase::reset()
{
    chosen().clear();
}

QString UserDatabase::activeVersion()
{
    const QString path = activePath();
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return path;
    // The builder writes a new file and renames it over the old one: a new
    // inode, whatever the size and the clock say.
    return QStringLiteral("%1|%2|%3|%4.%5")
        .arg(path)
        .arg(qulonglong(st.st_ino))
        .arg(qlonglong(st.st_size))
        .arg(qlonglong(st.st_mtim.tv_sec))
        .arg(qlonglong(st.st_mtim.tv_nsec));
}

QMap<QString, QString> UserDatabase::buildInfo(const QString &path)
{
    QMap<QString, QString> info;
    if (!QFileInfo(path).isFile())
        return info;
    withDatabase(path, [&info](QSqlDatabase &db) {
        QSqlQuery q(db);
        if (q.exec(QStringLiteral("Select key, value from BuildInfo")))
            while (q.next())
                info.insert(q.value(0).toString(), q.value(1).toString());
        return QString();
    });
    return info;
}

QList<UserDatabase::Soil> UserDatabase::soils(const QString &path)
{
    QList<Soil> list;
    if (!QFileInfo(path).isFile())
        return list;
    withDatabase(path, [&list](QSqlDatabase &db) {
        QSqlQuery q(db);
        if (!q.exec(QStringLiteral("Select * from SoilTypeData Order by SoilTypeNo")))
            return q.lastError().text();
        while (q.next()) {
            Soil s;
            s.number = q.value(QStringLiteral("SoilTypeNo")).toInt();
            s.name = q.value(QStringLiteral("Name")).toString();
            s.texture = column(q, "Texture").toString();
            const QVariant clay = column(q, "Clay (%)");
            if (!clay.isNull() && !clay.toString().isEmpty())
                s.clayPercent = clay.toDouble();
            s.classification = column(q, "Soil Classification").toString();
            s.thetaR = number(q, "theta_r (m3/m3)");
            s.thetaS = number(q, "theta_s (m3/m3)");
            s.alpha = number(q, "alpha (1/m)");
            s.n = number(q, "n (-)");
            s.ks = number(q, "Ks (m/s)");
            list.append(s);
        }
        return QString();
    });
    return list;
}

QStringList UserDatabase::soilNames(const QString &path)
{
    QStringList names;
    for (const Soil &s : soils(path))
        names << s.name;
    return names;
}

QList<UserDatabase::Soil> UserDatabase::addedSoils(const QString &path)
{
    const QMap<QString, QString> info = buildInfo(path);
    QList<Soil> added;
    for (Soil s : soils(path)) {
        const auto it = info.constFind(QStringLiteral("added_soil_%1").arg(s.number));
        if (it == info.constEnd())
            continue;
        s.added = it.value();
        added.append(s);
    }
    return added;
}

bool UserDatabase::shippedIsNewer()
{
    if (!QFileInfo::exists(userPath()))
        return false;
    const QString shipped = buildInfo(shippedPath()).value(QStringLiteral("build_date"));
    const QMap<QString, QString> user = buildInfo(userPath());
    const QString origin = user.value(QStringLiteral("origin_build_date"),
                                      user.value(QStringLiteral("base_build_date")));
    // ISO 8601 dates in UTC order as text.
    return !shipped.isEmpty() && !origin.isEmpty() && shipped > origin;
}
