#include "base/ProgramFolder.h"

#include <QCoreApplication>
#include <QDir>

namespace {
QString &overrideFolder()
{
    static QString folder;
    return folder;
}
} // namespace

namespace ProgramFolder {

QString path()
{
    if (!overrideFolder().isEmpty())
        return overrideFolder();
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    return QDir::currentPath();
}

QString file(const QString &name)
{
    return path() + QLatin1Char('/') + name;
}

void setOverride(const QString &folder)
{
    QString f = folder;
    while (f.size() > 1 && f.endsWith(QLatin1Char('/')))
        f.chop(1);
    overrideFolder() = f;
}

} // namespace ProgramFolder
