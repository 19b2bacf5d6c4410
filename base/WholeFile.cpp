#include "base/WholeFile.h"

#include <QSaveFile>

bool WholeFile::commit(QSaveFile &file, QString *why)
{
    const qint64 written = file.pos();
    if (file.flush() && file.size() == written && file.commit())
        return true;
    if (why) {
        const qint64 onDisk = file.size();
        *why = onDisk < written ? QStringLiteral("there is no room for its %1 bytes").arg(written)
                                : file.errorString();
    }
    file.cancelWriting();
    return false;
}
