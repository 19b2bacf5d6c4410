#pragma once

#include "data/UserDatabase.h"
#include "mysoils/SoilEntry.h"

#include <QList>
#include <QString>
#include <QStringList>

// What "My Soils" asks of the database builder, free of any window: which
// database a new soil is added to, the builder's arguments for adding,
// removing and recomputing the user's soils, and the soil catalogues handed
// to it. The builder writes the user's database; the program only reads it.
class MySoils
{
public:
    // The database new soils are added to: the user's when it can be read,
    // else the shipped one.
    static QString base();

    // The user's own soils, as the user's database holds them.
    static QList<UserDatabase::Soil> userSoils();

    // The class averages offered as starting points: the shipped soils, shown
    // with alpha in 1/cm and Ks in cm/day.
    static QList<SoilEntry> startingPoints();
    // The names a new soil may not take: every soil of base().
    static QStringList takenNames();

    // The builder's arguments that add the soils of `catalogue` to the
    // user's database, or to the shipped one when the user has none yet.
    static QStringList addArguments(const QString &catalogue);
    // The arguments that write the user's database without the soil `name`.
    // Empty when it is the user's last soil: the user's database then simply
    // goes (see removeLast).
    static QStringList removeArguments(const QString &name);
    // Deletes the user's database (its last soil removed), holding the lock
    // the builder holds while it writes that file. False, with the reason,
    // when it cannot be deleted.
    static bool removeLast(QString *why);

    // The lock file of the user's database, held by whoever writes it.
    static QString lockPath();
    // Removes what a builder or a program stopped outright (killed, power
    // lost) left in the user's data folder: the builder's temporary
    // databases and journals of the user's database, and soil catalogues the
    // program wrote for it. Only while nobody holds the user's database's
    // lock, so nothing in use is touched; never other files. Returns the
    // files removed.
    static QStringList removeLeftovers();
    // The arguments that compute the user's soils afresh on the shipped
    // database, from `catalogue` (see userCatalogue).
    static QStringList recomputeArguments(const QString &catalogue);

    // A catalogue of the user's soils as the user's database holds them.
    static QString userCatalogue();

    // Writes a catalogue to a new file in the user's data folder, beside the
    // database it goes into; returns its path, or "" with the reason.
    static QString writeCatalogue(const QString &text, QString *why);

    // Whether the user was already told that this shipped database (named by
    // its build date) is newer than the one the user's soils were computed
    // on: the program says so once for each shipped database. A small file in
    // the user's configuration folder, mysoils.ini, keeps the answer.
    static bool toldAboutShipped(const QString &shippedBuildDate);
    static void rememberToldAboutShipped(const QString &shippedBuildDate);
};
