#include "mysoils/MySoils.h"

#include "base/UserFolders.h"
#include "settings/IniFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

namespace {

const char *const NoticeSection = "Notices";
const char *const NoticeKey = "ShippedDatabaseTold";

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
    return {QStringLiteral("--soils"), catalogue, QStringLiteral("--base"), base(),
            QStringLiteral("--out"), UserDatabase::userPath(), QStringLiteral("--force")};
}

QStringList MySoils::removeArguments(int number)
{
    const QList<UserDatabase::Soil> soils = userSoils();
    if (soils.size() <= 1)
        return {};
    const QString user = UserDatabase::userPath();
    return {QStringLiteral("--base"), user, QStringLiteral("--drop-soil"), QString::number(number),
            QStringLiteral("--out"), user, QStringLiteral("--force")};
}

bool MySoils::removeLast(QString *why)
{
    QFile file(UserDatabase::userPath());
    if (!file.exists() || file.remove())
        return true;
    if (why)
        *why = QStringLiteral("%1 cannot be deleted: %2").arg(file.fileName(), file.errorString());
    return false;
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
