#include "tests/common/TestFiles.h"

#include <QFile>

QByteArray readAll(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray("<unreadable>");
    return f.readAll();
}

bool writeAll(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

QStringList sectionLines(const QByteArray &file, const QString &section)
{
    QStringList lines;
    bool inside = false;
    for (const QByteArray &raw : file.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.startsWith('[')) {
            inside = line.compare("[" + section + "]", Qt::CaseInsensitive) == 0;
            continue;
        }
        if (inside && !line.isEmpty())
            lines << line;
    }
    return lines;
}
