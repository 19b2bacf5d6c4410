#include "tests/common/TestDatabase.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <cmath>
#include <functional>
#include <stdexcept>

namespace {

const char *const kSoilNames[] = {"Sand", "Loamy Sand", "Sandy Loam", "Loam", "Silt",
                                  "Silt Loam", "Clay Loam", "Silty Clay", "Clay"};
const char *const kTextures[] = {"coarse", "coarse", "moderately coarse", "medium", "medium",
                                 "medium", "moderately fine", "fine", "fine"};

QString bracket(const QString &name) { return QLatin1Char('[') + name + QLatin1Char(']'); }

void run(QSqlQuery &query, const QString &sql)
{
    if (!query.exec(sql))
        throw std::runtime_error(("TestDatabase: " + sql + ": " + query.lastError().text())
                                     .toStdString());
}

// Opens the file for writing on a connection of its own, runs `use` on it and
// closes and removes the connection again, also when `use` throws.
void withDatabase(const QString &path, const std::function<void(QSqlDatabase &)> &use)
{
    const QString connection = QStringLiteral("testdb-") + QUuid::createUuid().toString();
    std::exception_ptr failure;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        db.setDatabaseName(path);
        if (!db.open())
            failure = std::make_exception_ptr(
                std::runtime_error(("TestDatabase: " + db.lastError().text()).toStdString()));
        else
            try {
                use(db);
            } catch (...) {
                failure = std::current_exception();
            }
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);
    if (failure)
        std::rethrow_exception(failure);
}

bool isBuried(const QString &table) { return table.startsWith(QLatin1String("Buried")); }

} // namespace

QStringList TestDatabase::frontTables()
{
    return {"SurfaceData-c3", "SurfaceData-c6", "SurfaceData-c", "BuriedData-c3",
            "BuriedData-c6",  "BuriedData-c",   "SurfaceData",   "BuriedData"};
}

QStringList TestDatabase::frontColumns(const QString &table)
{
    if (table == QLatin1String("SurfaceData"))
        return {"ID", "SoilType", "FlowRate", "Time", "z", "r"};
    if (table == QLatin1String("BuriedData"))
        return {"ID", "SoilType", "FlowRate", "Time", "r", "zplus", "zminus"};
    if (!frontTables().contains(table))
        return {};
    if (isBuried(table))
        return {"SoilType", "FlowRate", "Time", "r", "zplus", "zminus"};
    return {"SoilType", "FlowRate", "Time", "r", "z"};
}

double TestDatabase::frontValue(const QString &table, const QString &column, int soil,
                                int flow, int time)
{
    const int tableCode = int(frontTables().indexOf(table));
    const int columnCode = int(QStringList{"r", "z", "zplus", "zminus"}.indexOf(column));
    if (tableCode < 0 || columnCode < 0)
        return -1.0;
    const int code = time * 10000 + soil * 1000 + flow * 100 + tableCode * 10 + columnCode;
    return code / 1e6;
}

QString TestDatabase::soilName(int soil)
{
    return (soil >= 1 && soil <= 9) ? QString::fromLatin1(kSoilNames[soil - 1])
                                    : QStringLiteral("Soil %1").arg(soil);
}

QString TestDatabase::soilTexture(int soil)
{
    return (soil >= 1 && soil <= 9) ? QString::fromLatin1(kTextures[soil - 1]) : QString();
}

QString TestDatabase::soilClassification(int soil)
{
    return QStringLiteral("Class %1 (%2)").arg(soil).arg(soilTexture(soil));
}

double TestDatabase::flowRate(int flow)
{
    return 0.5 * std::pow(2.0, flow - 1);
}

void TestDatabase::addBuildInfo(const QString &path, const QMap<QString, QString> &entries)
{
    withDatabase(path, [&entries](QSqlDatabase &db) {
        QSqlQuery q(db);
        run(q, QStringLiteral("CREATE TABLE IF NOT EXISTS BuildInfo (key TEXT PRIMARY KEY, value TEXT)"));
        for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
            q.prepare(QStringLiteral("INSERT OR REPLACE INTO BuildInfo (key, value) VALUES (?, ?)"));
            q.addBindValue(it.key());
            q.addBindValue(it.value());
            if (!q.exec())
                throw std::runtime_error(("TestDatabase: " + q.lastError().text()).toStdString());
        }
    });
}

QString TestDatabase::create(const QString &folder)
{
    return create(folder, Options());
}

QString TestDatabase::create(const QString &folder, const Options &options)
{
    if (options.soils < 1 || options.soils > 9 || options.flows < 1 || options.flows > 9
        || options.hours < 1 || options.hours > 99)
        throw std::runtime_error("TestDatabase: soils and flows 1..9, hours 1..99");

    const QString path = QDir(folder).filePath(QStringLiteral("trickle.db"));
    if (QFile::exists(path) && !QFile::remove(path))
        throw std::runtime_error(("TestDatabase: cannot replace " + path).toStdString());

    withDatabase(path, [&](QSqlDatabase &db) {
        QSqlQuery q(db);
        db.transaction();

        auto wanted = [&](const QString &table) { return !options.omitTables.contains(table); };
        auto columns = [&](const QString &table, const QStringList &all) {
            QStringList kept;
            for (const QString &c : all)
                if (!options.omitColumns.value(table).contains(c))
                    kept << c;
            return kept;
        };
        auto typeOf = [](const QString &table, const QString &column) {
            if (table == QLatin1String("FlowRateData") && column == QLatin1String("FlowRate"))
                return QStringLiteral("REAL"); // litres per hour, not a position
            if (column == QLatin1String("ID"))
                return QStringLiteral("INTEGER PRIMARY KEY AUTOINCREMENT");
            if (column == QLatin1String("SoilType") || column == QLatin1String("FlowRate")
                || column == QLatin1String("Time") || column == QLatin1String("SoilTypeNo")
                || column == QLatin1String("FlowRateNo"))
                return QStringLiteral("INTEGER");
            if (column == QLatin1String("Name") || column == QLatin1String("Texture")
                || column == QLatin1String("Soil Classification"))
                return QStringLiteral("TEXT");
            return QStringLiteral("REAL");
        };
        auto createTable = [&](const QString &table, const QStringList &cols) {
            QStringList defs;
            for (const QString &c : cols)
                defs << bracket(c) + QLatin1Char(' ') + typeOf(table, c);
            run(q, "CREATE TABLE " + bracket(table) + " (" + defs.join(", ") + ")");
        };
        auto insert = [&](const QString &table, const QStringList &cols,
                          const QVariantList &values) {
            QStringList names, marks;
            for (const QString &c : cols) {
                names << bracket(c);
                marks << QStringLiteral("?");
            }
            q.prepare("INSERT INTO " + bracket(table) + " (" + names.join(", ") + ") VALUES ("
                      + marks.join(", ") + ")");
            for (const QVariant &v : values)
                q.addBindValue(v);
            if (!q.exec())
                throw std::runtime_error(("TestDatabase: " + q.lastError().text()).toStdString());
        };

        if (wanted("SoilTypeData")) {
            const QStringList all{"SoilTypeNo", "Name", "Texture", "Clay (%)",
                                  "Soil Classification", "Ks (m/h)"};
            const QStringList cols = columns("SoilTypeData", all);
            createTable("SoilTypeData", cols);
            for (int s = options.soils; s >= 1; --s) {
                const QVariantList values{s, soilName(s), soilTexture(s), 10 * s,
                                          soilClassification(s), s / 100.0};
                QVariantList kept;
                for (int i = 0; i < all.size(); ++i)
                    if (cols.contains(all[i]))
                        kept << values[i];
                insert("SoilTypeData", cols, kept);
            }
        }
        if (wanted("FlowRateData")) {
            const QStringList all{"FlowRateNo", "FlowRate"};
            const QStringList cols = columns("FlowRateData", all);
            createTable("FlowRateData", cols);
            for (int f = options.flows; f >= 1; --f) {
                QVariantList kept;
                if (cols.contains("FlowRateNo"))
                    kept << f;
                if (cols.contains("FlowRate"))
                    kept << flowRate(f);
                insert("FlowRateData", cols, kept);
            }
        }
        if (wanted("TimeData")) {
            const QStringList all{"ID", "Time"};
            const QStringList cols = columns("TimeData", all);
            createTable("TimeData", cols);
            for (int h = options.hours; h >= 1; --h) {
                QVariantList kept;
                if (cols.contains("ID"))
                    kept << h;
                if (cols.contains("Time"))
                    kept << h;
                insert("TimeData", cols, kept);
            }
        }
        for (const QString &table : frontTables()) {
            if (!wanted(table))
                continue;
            const QStringList cols = columns(table, frontColumns(table));
            createTable(table, cols);
            QStringList insertCols = cols;
            insertCols.removeAll(QStringLiteral("ID")); // numbered by the database
            for (int h = options.hours; h >= 1; --h)
                for (int s = 1; s <= options.soils; ++s)
                    for (int f = 1; f <= options.flows; ++f) {
                        QVariantList values;
                        for (const QString &c : insertCols) {
                            if (c == QLatin1String("SoilType"))
                                values << s;
                            else if (c == QLatin1String("FlowRate"))
                                values << f;
                            else if (c == QLatin1String("Time"))
                                values << h;
                            else
                                values << frontValue(table, c, s, f, h);
                        }
                        insert(table, insertCols, values);
                    }
        }
        // The wet spot of the surface emitter: one row for every soil, flow
        // position, initial head and hour.
        if (wanted("PondData")) {
            const QStringList cols{"SoilType", "FlowRate", "InitialHead", "Time", "PondRadius"};
            run(q, QStringLiteral("CREATE TABLE PondData (SoilType INTEGER, FlowRate INTEGER, InitialHead REAL, "
                                  "Time INTEGER, PondRadius REAL)"));
            for (int h = options.hours; h >= 1; --h)
                for (int s = 1; s <= options.soils; ++s)
                    for (int f = 1; f <= options.flows; ++f)
                        for (double head : {-3.0, -6.0, -10.0})
                            insert("PondData", cols, {s, f, head, h, pondRadius(s, f, head, h)});
        }
        if (!db.commit())
            throw std::runtime_error(("TestDatabase: " + db.lastError().text()).toStdString());
        q.finish();
    });
    return path;
}

double TestDatabase::pondRadius(int soil, int flow, double initialHead, int time)
{
    // Different for every key, at least 1 cm, growing with time.
    return 0.01 + time / 1000.0 + soil / 1e5 + flow / 1e6 + (-initialHead) / 1e8;
}

QString TestDatabase::createNotADatabase(const QString &folder)
{
    const QString path = QDir(folder).filePath(QStringLiteral("trickle.db"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw std::runtime_error(("TestDatabase: cannot write " + path).toStdString());
    QByteArray text;
    for (int i = 0; i < 64; ++i)
        text += "This is a plain text file and not a database at all.\n";
    file.write(text);
    return path;
}
