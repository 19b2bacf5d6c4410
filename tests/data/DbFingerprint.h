#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QString>

// Size, modification time and content hash of a file, to show that a read left
// it exactly as it was.
struct DbFingerprint
{
    bool exists = false;
    qint64 size = -1;
    QDateTime modified;
    QByteArray hash;

    static DbFingerprint of(const QString &path)
    {
        DbFingerprint f;
        QFileInfo info(path);
        f.exists = info.exists();
        if (!f.exists)
            return f;
        f.size = info.size();
        f.modified = info.lastModified();
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            f.hash = QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
        return f;
    }

    bool operator==(const DbFingerprint &o) const
    {
        return exists == o.exists && size == o.size && modified == o.modified && hash == o.hash;
    }
};
