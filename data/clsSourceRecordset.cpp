#include "data/clsSourceRecordset.h"

#include "data/DataErrors.h"
#include "base/UlvexError.h"

#include <QFileInfo>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>

namespace {

// SQLite's result code for a file that is not a database (SQLITE_NOTADB).
const char *const kNotADatabaseCode = "26";

UlvexError providerError(const QString &path, const QString &sql, const QSqlError &error)
{
    const QString text = error.databaseText().isEmpty() ? error.text() : error.databaseText();
    if (error.nativeErrorCode() == QLatin1String(kNotADatabaseCode))
        return UlvexError(DataErrors::NotADatabase,
                          QStringLiteral("The file %1 is not a database (%2)").arg(path, text));
    return UlvexError(DataErrors::QueryFailed,
                      QStringLiteral("Query on database %1 failed: %2 [SQL: %3]")
                          .arg(path, text, sql));
}

} // namespace

clsSourceRecordset::clsSourceRecordset(const QString &connection, const QString &path,
                                       const QString &sql)
    : m_connection(connection), m_path(path), m_sql(sql)
{
}

clsSourceRecordset::~clsSourceRecordset()
{
    Close();
    CloseConnection();
}

void clsSourceRecordset::start(bool readOnly)
{
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
        m_connected = true;
        db.setDatabaseName(m_path);
        if (readOnly)
            db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        if (!db.open())
            throw UlvexError(DataErrors::DatabaseOpen,
                             QStringLiteral("Cannot open database %1: %2")
                                 .arg(m_path, db.lastError().text()));

        m_query = std::make_unique<QSqlQuery>(db);
        m_query->setForwardOnly(true);
        if (!m_query->exec(m_sql))
            throw providerError(m_path, m_sql, m_query->lastError());

        const QSqlRecord record = m_query->record();
        for (int i = 0; i < record.count(); ++i) {
            const QSqlField f = record.field(i);
            clsRecordset::Field field;
            field.Name = f.name();
            field.Type = f.metaType().id();
            field.DefinedSize = f.length();
            field.Table = f.tableName();
            if (!field.Table.isEmpty()) {
                // The driver's table description knows the key columns the
                // database numbers itself.
                const QSqlField described = db.record(field.Table).field(field.Name);
                field.AutoIncrement = described.isAutoValue();
            }
            m_fields.append(field);
        }
    }
    MoveNext();
    m_empty = m_eof;
}

QVariant clsSourceRecordset::value(int index) const
{
    if (!m_query || m_eof)
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("No current row in the query on %1 [SQL: %2]")
                             .arg(m_path, m_sql));
    if (index < 0 || index >= m_fields.size())
        throw UlvexError(DataErrors::UnknownField,
                         QStringLiteral("No field number %1 in the query on %2 [SQL: %3]")
                             .arg(index)
                             .arg(m_path, m_sql));
    return m_query->value(index);
}

void clsSourceRecordset::MoveNext()
{
    if (!m_query)
        throw UlvexError(DataErrors::RecordsetClosed,
                         QStringLiteral("The query on %1 is closed [SQL: %2]").arg(m_path, m_sql));
    if (m_query->next()) {
        m_eof = false;
        return;
    }
    m_eof = true;
    if (m_query->lastError().isValid())
        throw providerError(m_path, m_sql, m_query->lastError());
}

void clsSourceRecordset::Close()
{
    if (m_query) {
        m_query->finish();
        m_query.reset();
    }
    m_eof = true;
}

void clsSourceRecordset::CloseConnection()
{
    Close();
    if (!m_connected)
        return;
    {
        QSqlDatabase db = QSqlDatabase::database(m_connection, false);
        if (db.isOpen())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connection);
    m_connected = false;
}

QSqlDatabase clsSourceRecordset::database() const
{
    return QSqlDatabase::database(m_connection, false);
}
