#pragma once

#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// Which simulation database the program reads, and what the user's own soils
// are. The program folder's trickle.db is the shipped database; the user's
// database (UserFolders::userDatabase) is the shipped one plus the soils the
// user added, written by the database builder alone. When the user's
// database exists and can be read, the program reads it instead of the
// shipped one, read-only and with the same SQL; when it cannot be read, the
// shipped one is read and the problem is told once.
class UserDatabase
{
public:
    // One of the user's own soils, as the database holds it (SI units).
    struct Soil
    {
        int number = 0;
        QString name;
        QString texture;
        std::optional<double> clayPercent; // none when not given
        QString classification;
        double thetaR = 0, thetaS = 0;
        double alpha = 0; // 1/m
        double n = 0;
        double ks = 0;    // m/s
        QString added;    // when it was added (the build date that computed it)
    };

    static QString shippedPath(); // the program folder's trickle.db
    static QString userPath();    // the user's database

    // Empty when the file is a database with every table and column the
    // program reads; else what is wrong, naming the file.
    static QString problem(const QString &path);

    // Decides which database the program reads from now on: the user's when
    // it exists and can be read, else the shipped one. Returns the user
    // database's problem (empty when there is none, or no user database).
    static QString choose();
    // The database chosen (the shipped one until choose() is called).
    static QString activePath();
    // Forgets the choice: the shipped database is read (tests).
    static void reset();
    // Which file the program reads and which version of it: the path with
    // the file's identity, size and time of change. It differs whenever the
    // database was chosen afresh or written anew (by this program, another
    // instance or the command line), so that a window can tell that the
    // soils it knows by number may have moved.
    static QString activeVersion();

    // The BuildInfo of a database (key -> value); empty when it cannot be read.
    static QMap<QString, QString> buildInfo(const QString &path);
    // The soils a database holds beyond those of the database it was built
    // from: the user's own soils, in number order. Empty when none or unreadable.
    static QList<Soil> addedSoils(const QString &path);
    // Every soil name of a database (for telling a new name from the taken ones).
    static QStringList soilNames(const QString &path);
    // Every soil of a database with its parameters, in number order.
    static QList<Soil> soils(const QString &path);

    // True when the shipped database was built after the one the user's soils
    // were added to (their BuildInfo dates: build_date of the shipped one,
    // origin_build_date of the user's).
    static bool shippedIsNewer();
};
