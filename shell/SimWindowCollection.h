#pragma once

#include <QList>
#include <QPointer>
#include <QString>

class frmMain;

// The open simulation windows, keyed by caption and kept in the order they were
// added: printing and export walk them in this order. A caption can stand only
// once (captions carry a number that is never reused).
class SimWindowCollection
{
public:
    // Adds the window under its caption; false (and nothing added) when the
    // caption is already present.
    bool Add(const QString &caption, frmMain *window);
    // Removes the window with this caption; false when there is none.
    bool Remove(const QString &caption);
    frmMain *Item(const QString &caption) const;
    frmMain *at(int index) const;
    int Count() const;
    QStringList captions() const;
    void clear();

private:
    struct Entry
    {
        QString caption;
        QPointer<frmMain> window;
    };
    int indexOf(const QString &caption) const;
    QList<Entry> m_entries;
};
