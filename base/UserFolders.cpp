#include "base/UserFolders.h"

#include "base/ProgramFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const char *const SettingsName = "Quillon.ini";

std::optional<bool> &writableOverride()
{
    static std::optional<bool> value;
    return value;
}

bool writableFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && info.isWritable();
}

// Copies the installation's settings into the user's file, whole or not at
// all: the copy is written beside its final name and renamed over it.
bool seed(const QString &from, const QString &to)
{
    QFile source(from);
    if (!source.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = source.readAll();
    if (source.error() != QFileDevice::NoError)
        return false;
    QSaveFile target(to);
    if (!target.open(QIODevice::WriteOnly))
        return false;
    if (target.write(bytes) != bytes.size() || !target.flush()
        || target.error() != QFileDevice::NoError) {
        target.cancelWriting();
        return false;
    }
    return target.commit();
}

} // namespace

namespace UserFolders {

bool programFolderWritable()
{
    if (writableOverride())
        return *writableOverride();
    return writableFolder(ProgramFolder::path());
}

void setProgramFolderWritableOverride(std::optional<bool> writable)
{
    writableOverride() = writable;
}

QString configFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/ulvex");
}

QString dataFolder()
{
    QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (base.isEmpty())
        base = QDir::homePath() + QStringLiteral("/.local/share");
    return base + QStringLiteral("/ulvex");
}

QString userDatabase()
{
    return dataFolder() + QStringLiteral("/trickle.db");
}

QString settingsFile()
{
    const QString shipped = ProgramFolder::file(QLatin1String(SettingsName));
    if (programFolderWritable())
        return shipped;
    const QString folder = configFolder();
    const QString own = folder + QLatin1Char('/') + QLatin1String(SettingsName);
    if (QFileInfo::exists(own))
        return own;
    // First use: the folder is made so that the file can be written, and the
    // file starts from the installation's settings when there are any.
    const bool made = QDir().mkpath(folder);
    if (!QFileInfo(shipped).isFile())
        return own;
    if (made && seed(shipped, own))
        return own;
    return shipped;
}

QString exportFolder()
{
    const QString data = ProgramFolder::file(QStringLiteral("data"));
    if (programFolderWritable() && writableFolder(data))
        return data;
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (!documents.isEmpty() && QFileInfo(documents).isDir())
        return documents;
    return QDir::homePath();
}

} // namespace UserFolders
