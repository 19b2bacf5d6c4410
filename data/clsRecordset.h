#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>

// The in-memory record set: a copy of a query's rows that is bound to no
// database. It keeps the fields (name, type, defined size) in column order, the
// rows in query order, an open/closed state, the SQL text it was loaded from
// (Source), a cursor with BOF/EOF and a filter of the form "Field =value".
//
// The cursor runs over the rows the filter lets through (all rows without a
// filter). Position -1 is BOF, position count is EOF; an empty view is both.
// Reading or writing a field needs a current row: at BOF or EOF, on a closed
// record set or for an unknown field the access throws UlvexError (numbers in
// DataErrors.h).
class clsRecordset
{
public:
    struct Field
    {
        QString Name;
        int Type = 0;         // QMetaType id of the column as the database reports it
        int DefinedSize = -1; // -1 when the database does not report a size
        QString Table;        // base table of the column, when the database knows it
        bool AutoIncrement = false;
    };

    clsRecordset() = default;

    // Fields: appended while the record set is closed.
    void appendField(const Field &field);
    void appendField(const QString &name, int type, int definedSize = -1);
    int fieldCount() const { return int(m_fields.size()); }
    const Field &field(int index) const;   // throws on a bad index
    const QList<Field> &fields() const { return m_fields; }
    int fieldIndex(const QString &name) const; // -1 if missing (case-insensitive)

    // State.
    void Open();  // cursor on the first row, BOF/EOF when there is none
    void Close(); // rows are kept; reopening shows them again
    bool isOpen() const { return m_open; }
    QString Source() const { return m_source; }
    void setSource(const QString &sql) { m_source = sql; }

    // Cursor over the visible rows. Moves throw on a closed record
    // set; MoveNext at EOF and MovePrevious at BOF throw.
    bool isBOF() const;
    bool isEOF() const;
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    int AbsolutePosition() const { return m_pos; } // 0-based in the view, -1 at BOF
    int RecordCount() const;                         // visible rows (0 when closed)

    // Filter "Field =value": value either a number or a text in apostrophes
    // ('it''s'); a number matches numerically, a text exactly. Setting it puts
    // the cursor on the first matching row (BOF and EOF when none matches); an
    // empty text removes it and puts the cursor on the first row.
    void setFilter(const QString &filter);
    QString Filter() const { return m_filter; }

    // Field access on the current row.
    QVariant value(const QString &fieldName) const;
    QVariant value(int fieldIndex) const;
    void setValue(const QString &fieldName, const QVariant &value);
    void setValue(int fieldIndex, const QVariant &value);

    // Adding rows: AddNew appends an empty row (all fields null) at the end and
    // makes it current; the fields are then set; Update ends the edit.
    void AddNew();
    void Update();
    bool isEditing() const { return m_editing; }

    // All visible rows in one block, indexed [column][row], columns in field
    // order and rows in cursor order; the cursor does not move.
    QVector<QVector<QVariant>> GetRows() const;

private:
    void requireOpen(const char *operation) const;
    int currentRowIndex(const char *operation) const;
    int resolveField(const QString &fieldName) const;
    void checkFieldIndex(int index) const;
    void rebuildView();

    QList<Field> m_fields;
    QVector<QVector<QVariant>> m_rows; // [row][column], query order
    QVector<int> m_view;               // indexes into m_rows the filter lets through
    int m_pos = -1;
    bool m_open = false;
    bool m_editing = false;
    QString m_source;
    QString m_filter;
    int m_filterField = -1;
    QVariant m_filterValue;
};

// The datasets of a dataset layer, keyed by dataset name ("Soil", "Flow",
// "Time", "Simulation").
using DatasetCollection = QMap<QString, std::shared_ptr<clsRecordset>>;
