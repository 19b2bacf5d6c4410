#include "data/clsDataLayer.h"

#include "data/DataErrors.h"
#include "data/basSafeRoutines.h"
#include "base/UlvexError.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

QString clsDataLayer::sfDatasetLoad(const QString &name, const QString &sql)
{
    std::unique_ptr<clsSourceRecordset> source;
    QString result = m_connection.sfDatasetLoad(sql, source);
    if (!result.isEmpty())
        return result;

    // The source and its connection are closed whatever happens while the rows
    // are copied.
    struct Closer
    {
        clsSourceRecordset *rs;
        ~Closer()
        {
            rs->Close();
            rs->CloseConnection();
        }
    } closer{source.get()};

    result = sfDatasetCreate(name, sql, *source);
    if (!result.isEmpty())
        return result;

    clsRecordset &target = *m_datasets.value(name);
    if (!(source->isBOF() && source->isEOF())) {
        const int count = int(source->fields().size());
        while (!source->isEOF()) {
            target.AddNew();
            for (int i = 0; i < count; ++i)
                target.setValue(i, source->value(i));
            source->MoveNext();
        }
        target.Update();
        target.MoveFirst();
    }
    return QString();
}

QString clsDataLayer::sfDatasetCreate(const QString &name, const QString &sql,
                                      const QList<clsRecordset::Field> &fields)
{
    if (m_datasets.contains(name))
        return basSafeRoutines::SafeErrorMessage(
            "sfDatasetCreate", DataErrors::RecordsetOpen,
            QStringLiteral("Dataset already exists: ") + name);
    auto rs = std::make_shared<clsRecordset>();
    rs->setSource(sql);
    for (const clsRecordset::Field &f : fields)
        rs->appendField(f);
    rs->Open();
    m_datasets.insert(name, rs);
    return QString();
}

QString clsDataLayer::sfDatasetCreate(const QString &name, const QString &sql,
                                      const clsSourceRecordset &source)
{
    return sfDatasetCreate(name, sql, source.fields());
}

QString clsDataLayer::sfDatasetDelete(const QString &name)
{
    const auto it = m_datasets.find(name);
    if (it == m_datasets.end())
        return QString();
    const QString sql = it.value() ? it.value()->Source() : QString();
    m_datasets.erase(it);
    return sql;
}

QString clsDataLayer::sfDatasetSave(const QString &name)
{
    const auto it = m_datasets.constFind(name);
    if (it == m_datasets.constEnd() || !it.value() || !it.value()->isOpen())
        return basSafeRoutines::SafeErrorMessage("sfDatasetSave", DataErrors::RecordsetClosed,
                                                 QStringLiteral("No open dataset ") + name);
    clsRecordset &data = *it.value();

    std::unique_ptr<clsSourceRecordset> target;
    QString result = m_connection.sfDatasetSave(data.Source(), target);
    if (!result.isEmpty())
        return result;
    struct Closer
    {
        clsSourceRecordset *rs;
        ~Closer() { rs->CloseConnection(); }
    } closer{target.get()};
    target->Close(); // only its field description is needed

    // The rows go into the one table the dataset's columns come from.
    QString table;
    QStringList columns, marks;
    QList<int> taken;
    for (const clsRecordset::Field &f : target->fields()) {
        if (f.AutoIncrement)
            continue;
        const int index = data.fieldIndex(f.Name);
        if (index < 0 || f.Table.isEmpty())
            continue;
        if (!table.isEmpty() && f.Table != table)
            return basSafeRoutines::SafeErrorMessage(
                "sfDatasetSave", DataErrors::SaveFailed,
                QStringLiteral("Dataset %1 draws on more than one table").arg(name));
        table = f.Table;
        columns << QLatin1Char('[') + f.Name + QLatin1Char(']');
        marks << QStringLiteral("?");
        taken << index;
    }
    if (table.isEmpty())
        return basSafeRoutines::SafeErrorMessage(
            "sfDatasetSave", DataErrors::SaveFailed,
            QStringLiteral("Dataset %1 has no columns of a table to write").arg(name));

    QSqlDatabase db = target->database();
    const QString insert = QStringLiteral("INSERT INTO [%1] (%2) VALUES (%3)")
                               .arg(table, columns.join(QStringLiteral(", ")),
                                    marks.join(QStringLiteral(", ")));
    auto fail = [&](const QSqlError &error) {
        db.rollback();
        return UlvexError(DataErrors::SaveFailed,
                          QStringLiteral("Writing dataset %1 into table %2 of %3 failed: %4")
                              .arg(name, table, target->path(), error.text()));
    };
    db.transaction();
    {
        QSqlQuery query(db);
        if (!query.prepare(insert))
            throw fail(query.lastError());
        const QVector<QVector<QVariant>> rows = data.GetRows();
        const int rowCount = rows.isEmpty() ? 0 : int(rows.first().size());
        for (int r = 0; r < rowCount; ++r) {
            for (int i = 0; i < taken.size(); ++i)
                query.bindValue(i, rows.at(taken.at(i)).at(r));
            if (!query.exec())
                throw fail(query.lastError());
        }
    }
    if (!db.commit())
        throw fail(db.lastError());
    return QString();
}
