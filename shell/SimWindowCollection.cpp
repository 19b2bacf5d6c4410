#include "shell/SimWindowCollection.h"

#include "simulation/frmMain.h"

bool SimWindowCollection::Add(const QString &caption, frmMain *window)
{
    if (indexOf(caption) >= 0)
        return false;
    m_entries.append({caption, window});
    return true;
}

bool SimWindowCollection::Remove(const QString &caption)
{
    const int i = indexOf(caption);
    if (i < 0)
        return false;
    m_entries.removeAt(i);
    return true;
}

frmMain *SimWindowCollection::Item(const QString &caption) const
{
    const int i = indexOf(caption);
    return i < 0 ? nullptr : m_entries.at(i).window.data();
}

frmMain *SimWindowCollection::at(int index) const
{
    if (index < 0 || index >= m_entries.size())
        return nullptr;
    return m_entries.at(index).window.data();
}

int SimWindowCollection::Count() const
{
    return int(m_entries.size());
}

QStringList SimWindowCollection::captions() const
{
    QStringList list;
    for (const Entry &e : m_entries)
        list << e.caption;
    return list;
}

void SimWindowCollection::clear()
{
    m_entries.clear();
}

int SimWindowCollection::indexOf(const QString &caption) const
{
    for (int i = 0; i < m_entries.size(); ++i)
        if (m_entries.at(i).caption == caption)
            return int(i);
    return -1;
}
