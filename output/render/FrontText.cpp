#include "output/render/FrontText.h"

#include "base/UlvexError.h"
#include "data/DataErrors.h"
#include "output/DataFileWriter.h"

#include <QAtomicInteger>
#include <QMap>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

namespace {

// The front table's suffix and the word for an initial head (-3, -6, -10 m).
struct Water
{
    QString suffix, word;
};

Water waterOf(double initialHead)
{
    if (initialHead == -3)
        return {QStringLiteral("-c3"), QStringLiteral("wet")};
    if (initialHead == -6)
        return {QStringLiteral("-c6"), QStringLiteral("moist")};
    return {QStringLiteral("-c"), QStringLiteral("dry")};
}

QString number(const QVariant &v)
{
    return DataFileWriter::formatDouble(v.toDouble());
}

} // namespace

QString FrontText::text(const QString &path, const Selection &sel, Found *found)
{
    static QAtomicInteger<quint64> counter;
    const QString connection = QStringLiteral("ulvex-fronttext-%1").arg(++counter);
    QString out;
    QString failure;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        const auto query = [&db, &failure](const QString &sql, const QVariantList &values) {
            QSqlQuery q(db);
            // A missing table is told by the preparation, in its own words.
            if (!q.prepare(sql)) {
                if (failure.isEmpty())
                    failure = q.lastError().text();
                return q;
            }
            for (const QVariant &v : values)
                q.addBindValue(v);
            if (!q.exec() && failure.isEmpty())
                failure = q.lastError().text();
            return q;
        };
        if (!db.open()) {
            failure = db.lastError().text();
        } else {
            QSqlQuery soil = query(QStringLiteral("Select Name from SoilTypeData Where SoilTypeNo = ?"), {sel.soil});
            const QString soilName = soil.next() ? soil.value(0).toString() : QString::number(sel.soil);
            QSqlQuery flow = query(QStringLiteral("Select FlowRate from FlowRateData Where FlowRateNo = ?"), {sel.flow});
            const QString flowText = flow.next() ? number(flow.value(0)) : QString::number(sel.flow);
            const QString table = (sel.buried ? QStringLiteral("BuriedData") : QStringLiteral("SurfaceData"))
                                  + waterOf(sel.initialHead).suffix;

            // The wet spot, where the database holds it.
            QMap<int, QString> pond;
            bool havePond = false;
            if (!sel.buried && db.tables().contains(QStringLiteral("PondData"))) {
                havePond = true;
                QSqlQuery p = query(QStringLiteral("Select Time, PondRadius from PondData Where SoilType = ? "
                                                   "And FlowRate = ? And InitialHead = ? And Time <= ?"),
                                    {sel.soil, sel.flow, sel.initialHead, sel.hours});
                while (p.next())
                    pond.insert(p.value(0).toInt(), number(p.value(1)));
            }

            out += QStringLiteral("# Ulvex fronts: %1, %2 L/h, %3 (%4 m suction), %5 emitter, hours 1 to %6\n")
                       .arg(soilName, flowText, waterOf(sel.initialHead).word)
                       .arg(-sel.initialHead)
                       .arg(sel.buried ? QStringLiteral("buried") : QStringLiteral("surface"))
                       .arg(sel.hours);
            if (!sel.buried && !havePond)
                out += QStringLiteral("# this database holds no pond radii (built before they were stored)\n");
            out += sel.buried ? QStringLiteral("Time (h),r (m),zplus (m),zminus (m)\n")
                              : havePond ? QStringLiteral("Time (h),r (m),z (m),Pond radius (m)\n")
                                         : QStringLiteral("Time (h),r (m),z (m)\n");
            QSqlQuery rows = query(sel.buried ? QStringLiteral("Select Time, r, zplus, zminus from [%1] Where SoilType = ? "
                                                               "And FlowRate = ? And Time <= ? Order by Time").arg(table)
                                              : QStringLiteral("Select Time, r, z from [%1] Where SoilType = ? "
                                                               "And FlowRate = ? And Time <= ? Order by Time").arg(table),
                                   {sel.soil, sel.flow, sel.hours});
            if (found)
                found->selection = QStringLiteral("%1, %2 L/h, %3, %4 emitter")
                                       .arg(soilName, flowText, waterOf(sel.initialHead).word,
                                            sel.buried ? QStringLiteral("buried") : QStringLiteral("surface"));
            while (rows.next()) {
                if (found)
                    ++found->rows;
                QStringList line{rows.value(0).toString(), number(rows.value(1)), number(rows.value(2))};
                if (sel.buried)
                    line << number(rows.value(3));
                else if (havePond)
                    line << pond.value(rows.value(0).toInt());
                out += line.join(QLatin1Char(',')) + QLatin1Char('\n');
            }
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);
    if (!failure.isEmpty())
        throw UlvexError(DataErrors::QueryFailed,
                         QStringLiteral("Cannot read the fronts from the database %1: %2").arg(path, failure));
    return out;
}
