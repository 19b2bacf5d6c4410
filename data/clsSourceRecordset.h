#pragma once

#include "data/clsRecordset.h"

#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QVariant>

#include <memory>

class QSqlQuery;

// A record set that is still connected to the database: the open result of one
// query on its own, uniquely named connection. The dataset layer reads its
// fields and rows once, front to back, then closes it and its connection at
// once. It is made only by clsDataConLayer.
class clsSourceRecordset
{
public:
    ~clsSourceRecordset();
    clsSourceRecordset(const clsSourceRecordset &) = delete;
    clsSourceRecordset &operator=(const clsSourceRecordset &) = delete;

    const QList<clsRecordset::Field> &fields() const { return m_fields; }
    bool isOpen() const { return m_query != nullptr; }
    // Forward only: BOF and EOF are both set when the query gave no row.
    bool isBOF() const { return m_empty; }
    bool isEOF() const { return m_eof; }
    QVariant value(int index) const;
    // Throws UlvexError (DataErrors::QueryFailed) when the database fails
    // while stepping.
    void MoveNext();

    // Closes the record set, then (separately) the connection; the destructor
    // does both when the caller has not.
    void Close();
    void CloseConnection();

    QString path() const { return m_path; }
    QString sql() const { return m_sql; }
    QString connectionName() const { return m_connection; }
    // The open connection (for writing a dataset back on the save path).
    QSqlDatabase database() const;

private:
    friend class clsDataConLayer;
    clsSourceRecordset(const QString &connection, const QString &path, const QString &sql);
    void start(bool readOnly); // opens connection and query; throws UlvexError

    QString m_connection;
    QString m_path;
    QString m_sql;
    QList<clsRecordset::Field> m_fields;
    std::unique_ptr<QSqlQuery> m_query;
    bool m_connected = false;
    bool m_empty = true;
    bool m_eof = true;
};
