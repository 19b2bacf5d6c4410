#include "data/clsRecordset.h"

#include "data/DataErrors.h"
#include "base/UlvexError.h"

namespace {

QString describe(const clsRecordset &rs)
{
    return rs.Source().isEmpty() ? QStringLiteral("record set")
                                 : QStringLiteral("record set of \"%1\"").arg(rs.Source());
}

// A filter value either parsed as a number (a double QVariant) or kept as text.
QVariant parseFilterValue(const QString &text, bool *ok)
{
    *ok = true;
    if (text.size() >= 2 && text.startsWith(QLatin1Char('\'')) && text.endsWith(QLatin1Char('\'')))
        return QVariant(text.mid(1, text.size() - 2).replace(QStringLiteral("''"),
                                                              QStringLiteral("'")));
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (isNumber)
        return QVariant(number);
    *ok = false;
    return {};
}

bool matches(const QVariant &cell, const QVariant &wanted)
{
    if (cell.isNull() || !cell.isValid())
        return false;
    if (wanted.typeId() == QMetaType::Double) {
        bool ok = false;
        const double value = cell.toDouble(&ok);
        return ok && value == wanted.toDouble();
    }
    return cell.toString() == wanted.toString();
}

} // namespace

void clsRecordset::appendField(const Field &field)
{
    if (m_open)
        throw UlvexError(DataErrors::RecordsetOpen,
                         QStringLiteral("Cannot append field %1: the %2 is open")
                             .arg(field.Name, describe(*this)));
    m_fields.append(field);
    for (auto &row : m_rows)
        row.append(QVariant());
}

void clsRecordset::appendField(const QString &name, int type, int definedSize)
{
    Field f;
    f.Name = name;
    f.Type = type;
    f.DefinedSize = definedSize;
    appendField(f);
}

const clsRecordset::Field &clsRecordset::field(int index) const
{
    checkFieldIndex(index);
    return m_fields.at(index);
}

int clsRecordset::fieldIndex(const QString &name) const
{
    for (int i = 0; i < m_fields.size(); ++i)
        if (m_fields.at(i).Name.compare(name, Qt::CaseInsensitive) == 0)
            return i;
    return -1;
}

void clsRecordset::Open()
{
    m_open = true;
    m_editing = false;
    rebuildView();
}

void clsRecordset::Close()
{
    m_open = false;
    m_editing = false;
    m_pos = -1;
}

bool clsRecordset::isBOF() const
{
    return !m_open || m_view.isEmpty() || m_pos < 0;
}

bool clsRecordset::isEOF() const
{
    return !m_open || m_view.isEmpty() || m_pos >= m_view.size();
}

void clsRecordset::MoveFirst()
{
    requireOpen("MoveFirst");
    if (m_view.isEmpty())
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("MoveFirst: the %1 holds no rows").arg(describe(*this)));
    m_pos = 0;
}

void clsRecordset::MoveLast()
{
    requireOpen("MoveLast");
    if (m_view.isEmpty())
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("MoveLast: the %1 holds no rows").arg(describe(*this)));
    m_pos = int(m_view.size()) - 1;
}

void clsRecordset::MoveNext()
{
    requireOpen("MoveNext");
    if (isEOF())
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("MoveNext: the %1 is at its end (EOF)").arg(describe(*this)));
    ++m_pos;
}

void clsRecordset::MovePrevious()
{
    requireOpen("MovePrevious");
    if (isBOF())
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("MovePrevious: the %1 is at its start (BOF)")
                             .arg(describe(*this)));
    --m_pos;
}

int clsRecordset::RecordCount() const
{
    return m_open ? int(m_view.size()) : 0;
}

void clsRecordset::setFilter(const QString &filter)
{
    requireOpen("Filter");
    const QString text = filter.trimmed();
    if (text.isEmpty()) {
        m_filter.clear();
        m_filterField = -1;
        m_filterValue = QVariant();
        rebuildView();
        return;
    }
    const int eq = int(text.indexOf(QLatin1Char('=')));
    QString name = eq > 0 ? text.left(eq).trimmed() : QString();
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']')))
        name = name.mid(1, name.size() - 2);
    bool ok = false;
    const QVariant wanted = eq > 0 ? parseFilterValue(text.mid(eq + 1).trimmed(), &ok) : QVariant();
    if (name.isEmpty() || !ok)
        throw UlvexError(DataErrors::BadFilter,
                         QStringLiteral("Filter \"%1\" on the %2 is not of the form Field =value")
                             .arg(filter, describe(*this)));
    const int index = fieldIndex(name);
    if (index < 0)
        throw UlvexError(DataErrors::BadFilter,
                         QStringLiteral("Filter \"%1\": the %2 has no field %3")
                             .arg(filter, describe(*this), name));
    m_filter = filter;
    m_filterField = index;
    m_filterValue = wanted;
    rebuildView();
}

QVariant clsRecordset::value(const QString &fieldName) const
{
    return m_rows.at(currentRowIndex("read")).at(resolveField(fieldName));
}

QVariant clsRecordset::value(int index) const
{
    checkFieldIndex(index);
    return m_rows.at(currentRowIndex("read")).at(index);
}

void clsRecordset::setValue(const QString &fieldName, const QVariant &value)
{
    const int index = resolveField(fieldName);
    m_rows[currentRowIndex("write")][index] = value;
}

void clsRecordset::setValue(int index, const QVariant &value)
{
    checkFieldIndex(index);
    m_rows[currentRowIndex("write")][index] = value;
}

void clsRecordset::AddNew()
{
    requireOpen("AddNew");
    m_rows.append(QVector<QVariant>(m_fields.size()));
    m_view.append(int(m_rows.size()) - 1);
    m_pos = int(m_view.size()) - 1;
    m_editing = true;
}

void clsRecordset::Update()
{
    requireOpen("Update");
    m_editing = false;
}

QVector<QVector<QVariant>> clsRecordset::GetRows() const
{
    QVector<QVector<QVariant>> table(m_fields.size());
    if (!m_open)
        return table;
    for (int c = 0; c < m_fields.size(); ++c) {
        table[c].reserve(m_view.size());
        for (int row : m_view)
            table[c].append(m_rows.at(row).at(c));
    }
    return table;
}

void clsRecordset::requireOpen(const char *operation) const
{
    if (!m_open)
        throw UlvexError(DataErrors::RecordsetClosed,
                         QStringLiteral("%1: the %2 is closed")
                             .arg(QLatin1String(operation), describe(*this)));
}

int clsRecordset::currentRowIndex(const char *operation) const
{
    requireOpen(operation);
    if (isBOF() || isEOF())
        throw UlvexError(DataErrors::NoCurrentRow,
                         QStringLiteral("Cannot %1 a field: the %2 has no current row (%3)")
                             .arg(QLatin1String(operation), describe(*this),
                                  isEOF() ? QStringLiteral("EOF") : QStringLiteral("BOF")));
    return m_view.at(m_pos);
}

int clsRecordset::resolveField(const QString &fieldName) const
{
    const int index = fieldIndex(fieldName);
    if (index < 0)
        throw UlvexError(DataErrors::UnknownField,
                         QStringLiteral("The %1 has no field %2").arg(describe(*this), fieldName));
    return index;
}

void clsRecordset::checkFieldIndex(int index) const
{
    if (index < 0 || index >= m_fields.size())
        throw UlvexError(DataErrors::UnknownField,
                         QStringLiteral("The %1 has no field number %2")
                             .arg(describe(*this))
                             .arg(index));
}

void clsRecordset::rebuildView()
{
    m_view.clear();
    for (int i = 0; i < m_rows.size(); ++i)
        if (m_filterField < 0 || matches(m_rows.at(i).at(m_filterField), m_filterValue))
            m_view.append(i);
    m_pos = m_view.isEmpty() ? -1 : 0;
}
