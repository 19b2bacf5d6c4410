#pragma once

// Helpers shared by the trickle-build tests: reading a built database through
// Qt's SQLite driver (as the program does), comparing files, running programs.

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <sys/types.h>

// Opens `path` read-only for the lifetime of the object.
class ToolDb
{
public:
    explicit ToolDb(const QString &path)
    {
        static std::atomic<int> counter{0};
        m_name = QStringLiteral("tooltest%1").arg(counter++);
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        m_ok = db.open();
    }
    ~ToolDb()
    {
        {
            QSqlDatabase db = QSqlDatabase::database(m_name, false);
            db.close();
        }
        QSqlDatabase::removeDatabase(m_name);
    }
    bool ok() const { return m_ok; }
    QSqlDatabase db() const { return QSqlDatabase::database(m_name, false); }

    // Runs `sql`; every row as a list of values.
    QList<QVariantList> rows(const QString &sql) const
    {
        QList<QVariantList> out;
        QSqlQuery q(db());
        if (!q.exec(sql)) {
            qWarning("query failed: %s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
            return out;
        }
        while (q.next()) {
            QVariantList row;
            for (int i = 0; i < q.record().count(); ++i)
                row << q.value(i);
            out << row;
        }
        return out;
    }
    QVariant value(const QString &sql) const
    {
        const auto r = rows(sql);
        return r.isEmpty() || r.first().isEmpty() ? QVariant() : r.first().first();
    }
    QStringList tables() const
    {
        QStringList t;
        for (const auto &r : rows(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")))
            t << r.first().toString();
        return t;
    }
    // "name TYPE" for every column, in the table's order.
    QStringList columns(const QString &table) const
    {
        QStringList c;
        for (const auto &r : rows(QStringLiteral("PRAGMA table_info(\"%1\")").arg(table)))
            c << r.at(1).toString() + QLatin1Char(' ') + r.at(2).toString();
        return c;
    }
    QString buildInfo(const QString &key) const
    {
        return value(QStringLiteral("SELECT value FROM BuildInfo WHERE key = '%1'").arg(key)).toString();
    }
    // Every row of `table` (those matching `where` when given), in the order of all its columns.
    QList<QVariantList> allRows(const QString &table, const QString &where = QString()) const
    {
        QStringList order;
        for (int i = 1; i <= columns(table).size(); ++i)
            order << QString::number(i);
        return rows(QStringLiteral("SELECT * FROM \"%1\"%2 ORDER BY %3")
                        .arg(table, where.isEmpty() ? QString() : QStringLiteral(" WHERE ") + where, order.join(QLatin1Char(','))));
    }

private:
    QString m_name;
    bool m_ok = false;
};

// Runs the statements on the database `path`, writing (to spoil a database on
// purpose); true when every one succeeded.
inline bool execSql(const QString &path, const QStringList &statements)
{
    static std::atomic<int> counter{0};
    const QString name = QStringLiteral("toolwrite%1").arg(counter++);
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        ok = db.open();
        for (const QString &sql : statements) {
            QSqlQuery q(db);
            if (ok && !q.exec(sql)) {
                qWarning("statement failed: %s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
                ok = false;
            }
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return ok;
}

inline QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

// Replaces the file's contents; true only when every byte was written.
inline bool writeFileBytes(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

inline QStringList expectedTables()
{
    QStringList t = {"BuildInfo", "BuriedData", "BuriedData-c", "BuriedData-c3", "BuriedData-c6", "CaseInfo", "FlowRateData",
                     "PondData", "SoilTypeData", "SurfaceData", "SurfaceData-c", "SurfaceData-c3", "SurfaceData-c6", "TimeData"};
    t.sort();
    return t;
}

// What a program run by a test did.
struct ProgramRun
{
    int exitCode = -1;
    QProcess::ExitStatus status = QProcess::CrashExit;
    QString out;
    QString err;

    bool succeeded() const { return status == QProcess::NormalExit && exitCode == 0; }
};

// Runs `program` to its end (killed after `timeoutMs`, which err then says).
inline ProgramRun runProgram(const QString &program, const QStringList &args, int timeoutMs = 50000,
                             const QString &workingDirectory = QString(),
                             const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess p;
    p.setWorkingDirectory(workingDirectory);
    p.setProcessEnvironment(environment);
    p.start(program, args);
    ProgramRun r;
    if (!p.waitForFinished(timeoutMs)) {
        p.kill();
        p.waitForFinished();
        r.err = QStringLiteral("%1 did not finish in time (or did not start): %2").arg(program, p.errorString());
        return r;
    }
    r.exitCode = p.exitCode();
    r.status = p.exitStatus();
    r.out = QString::fromLocal8Bit(p.readAllStandardOutput());
    r.err = QString::fromLocal8Bit(p.readAllStandardError());
    return r;
}

inline QStringList folderEntries(const QString &dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

// A catalogue at `path` holding the soils of the given numbers of the catalogue
// `from` (whose first column is SoilTypeNo), in the order of that catalogue,
// without the SoilTypeNo column: a full build numbers them 1, 2, ..., a build
// on a base after the base's last soil, as the numbers must run without gaps.
inline bool writeCatalogueSoils(const QString &from, const QString &path, const QList<int> &soils)
{
    QByteArray out;
    bool header = false;
    for (const QByteArray &line : fileBytes(from).split('\n')) {
        if (line.startsWith('#') || line.trimmed().isEmpty())
            continue;
        const int comma = line.indexOf(',');
        if (!header || soils.contains(line.left(comma).toInt()))
            out += line.mid(comma + 1) + '\n';
        header = true;
    }
    return writeFileBytes(path, out);
}

// The data rows of a test run once per signal that stops a build: the column
// "sig", SIGINT and SIGTERM.
inline void addSignalRows()
{
    QTest::addColumn<int>("sig");
    QTest::newRow("SIGINT") << int(SIGINT);
    QTest::newRow("SIGTERM") << int(SIGTERM);
}

// Starts `program`, waits until it has its temporary file beside the output
// `dir`/`outName` (it is computing then), checks that nothing but that file,
// SQLite's journal beside it and the output's lock has appeared, stops the
// program with `sig` and checks that the folder holds again what it held
// before.
inline void stopWhileComputing(const QString &program, const QStringList &args, const QString &dir, const QString &outName, int sig)
{
    const QStringList before = folderEntries(dir);
    const QString prefix = QLatin1Char('.') + outName + QLatin1Char('.');
    auto added = [&]() {
        QStringList e = folderEntries(dir);
        for (const QString &b : before)
            e.removeAll(b);
        return e;
    };
    QProcess p;
    p.start(program, args);
    QVERIFY(p.waitForStarted());
    const QString lock = outName + QStringLiteral(".lock");
    QElapsedTimer t;
    t.start();
    while (!added().join(QLatin1Char(' ')).contains(QStringLiteral(".part")) && t.elapsed() < 10000)
        QTest::qWait(20);
    // Only the temporary file (and SQLite's journal beside it) and the lock,
    // never the output name.
    const QStringList during = added();
    QVERIFY2(!during.isEmpty(), "the build wrote nothing beside its output within 10 s");
    QVERIFY2(during.first().endsWith(QStringLiteral(".part")), qPrintable(during.join(QLatin1Char(' '))));
    QVERIFY2(during.contains(lock), qPrintable(during.join(QLatin1Char(' '))));
    for (const QString &e : during)
        QVERIFY2(e.startsWith(prefix) || e == lock, qPrintable(e));
    QTest::qWait(300);
    QCOMPARE(p.state(), QProcess::Running);
    QCOMPARE(::kill(pid_t(p.processId()), sig), 0);
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitStatus(), QProcess::CrashExit); // ended by the signal, as a user expects
    QCOMPARE(folderEntries(dir), before);
}
