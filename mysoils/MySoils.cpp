#include "mysoils/MySoils.h"

#include "base/BuildTemporary.h"

#include "base/UserFolders.h"
#include "settings/IniFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTemporaryFile>

namespace {

const char *const NoticeSection = "Notices";
const char *const NoticeKey = "ShippedDatabaseTold";
const int LockWaitMilliseconds = 3000;

// "process 1234 on host, trickle-build"
QString lockHolder(const QLockFile &lock)
{
    qint64 pid = 0;
    QString host, application;
    if (!lock.getLockInfo(&pid, &host, &application))
        return QStringLiteral("its lock is %1").arg(MySoils::lockPath());
    return QStringLiteral("process %1 on %2, %3").arg(pid).arg(host, application);
}

QString noticeFile()
{
    return UserFolders::configFolder() + QStringLiteral("/mysoils.ini");
}

} // namespace

QString MySoils::base()
{
    const QString user = UserDatabase::userPath();
    if (QFileInfo::exists(user) && UserDatabase::problem(user).isEmpty())
        return user;
    return UserDatabase::shippedPath();
}

QList<UserDatabase::Soil> MySoils::userSoils()
{
    return UserDatabase::addedSoils(UserDatabase::userPath());
}

QList<SoilEntry> MySoils::startingPoints()
{
    QList<SoilEntry> list;
    for (const UserDatabase::Soil &s : UserDatabase::soils(UserDatabase::shippedPath()))
        list << SoilEntry::fromSi(s.name, s.texture, s.clayPercent, s.classification, s.thetaR,
                                  s.thetaS, s.alpha, s.n, s.ks, SoilEntry::AlphaUnit::PerCentimetre,
                                  SoilEntry::KsUnit::CentimetrePerDay);
    return list;
}

QStringList MySoils::takenNames()
{
    return UserDatabase::soilNames(base());
}

QStringList MySoils::addArguments(const QString &catalogue)
{
    // The base is chosen by the builder once it holds the lock of the user's
    // database: that database when it exists (whatever another Ulvex or the
    // command line wrote meanwhile), else the shipped one.
    return {QStringLiteral("--soils"), catalogue, QStringLiteral("--base-if-missing"), UserDatabase::shippedPath(),
            QStringLiteral("--out"), UserDatabase::userPath(), QStringLiteral("--force")};
}

QStringList MySoils::removeArguments(const QString &name)
{
    const QList<UserDatabase::Soil> soils = userSoils();
    if (soils.size() <= 1)
        return {};
    // By name: the number may have moved by the time the builder holds the lock.
    const QString user = UserDatabase::userPath();
    return {QStringLiteral("--base"), user, QStringLiteral("--drop-soil-named"), name,
            QStringLiteral("--out"), user, QStringLiteral("--force")};
}

bool MySoils::removeLast(QString *why)
{
    QFile file(UserDatabase::userPath());
    if (!file.exists())
        return true;
    // A builder writing the file (another Ulvex, or the command line) holds
    // this lock; its result would otherwise bring the soil back.
    QLockFile lock(lockPath());
    lock.setStaleLockTime(0); // a build may take long: only a dead holder's lock is stale
    if (!lock.tryLock(LockWaitMilliseconds)) {
        if (why)
            *why = QStringLiteral("%1 is being written by another program (%2); try again when it is done.")
                       .arg(file.fileName(), lockHolder(lock));
        return false;
    }
    if (file.remove())
        return true;
    if (why)
        *why = QStringLiteral("%1 cannot be deleted: %2").arg(file.fileName(), file.errorString());
    return false;
}

QString MySoils::lockPath()
{
    return UserDatabase::userPath() + QStringLiteral(".lock");
}

QStringList MySoils::removeLeftovers()
{
    QLockFile lock(lockPath());
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0))
        return {};
    const QFileInfo user(UserDatabase::userPath());
    // The builder's temporary database beside its output and its journal
    // (BuildTemporary); and the catalogues written by writeCatalogue().
    // A catalogue is written just before its builder starts (and takes the
    // lock): only an old one is surely left over.
    const QRegularExpression catalogue(QStringLiteral("^added-soils-[A-Za-z0-9]{6}\\.csv$"));
    const QDateTime oldEnough = QDateTime::currentDateTime().addSecs(-3600);
    QStringList removed;
    const QDir folder = user.dir();
    for (const QFileInfo &f : folder.entryInfoList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot)) {
        const bool leftover = BuildTemporary::isTemporaryOf(user.fileName(), f.fileName())
                              || (catalogue.match(f.fileName()).hasMatch() && f.lastModified() < oldEnough);
        if (leftover && QFile::remove(f.filePath()))
            removed << f.filePath();
    }
    return removed;
}

QStringList MySoils::recomputeArguments(const QString &catalogue)
{
    return {QStringLiteral("--soils"), catalogue, QStringLiteral("--base"), UserDatabase::shippedPath(),
            QStringLiteral("--out"), UserDatabase::userPath(), QStringLiteral("--force")};
}

QString MySoils::userCatalogue()
{
    QList<SoilEntry> entries;
    for (const UserDatabase::Soil &s : userSoils())
        entries << SoilEntry::fromSi(s.name, s.texture, s.clayPercent, s.classification, s.thetaR, s.thetaS,
                                     s.alpha, s.n, s.ks, SoilEntry::AlphaUnit::PerMetre,
                                     SoilEntry::KsUnit::MetrePerSecond);
    return SoilEntry::catalogue(entries);
}

QString MySoils::writeCatalogue(const QString &text, QString *why)
{
    const QString folder = UserFolders::dataFolder();
    if (!QDir().mkpath(folder)) {
        if (why)
            *why = QStringLiteral("The folder %1 cannot be made").arg(folder);
        return QString();
    }
    QTemporaryFile file(folder + QStringLiteral("/added-soils-XXXXXX.csv"));
    file.setAutoRemove(false);
    const QByteArray bytes = text.toUtf8();
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush()) {
        if (why)
            *why = QStringLiteral("The soil catalogue %1 cannot be written: %2")
                       .arg(file.fileName(), file.errorString());
        file.remove();
        return QString();
    }
    return file.fileName();
}

bool MySoils::toldAboutShipped(const QString &shippedBuildDate)
{
    const IniFile ini(noticeFile());
    return ini.value(QLatin1String(NoticeSection), QLatin1String(NoticeKey)) == shippedBuildDate;
}

void MySoils::rememberToldAboutShipped(const QString &shippedBuildDate)
{
    QDir().mkpath(UserFolders::configFolder());
    IniFile ini(noticeFile());
    ini.writeString(QLatin1String(NoticeSection), QLatin1String(NoticeKey), shippedBuildDate);
}
