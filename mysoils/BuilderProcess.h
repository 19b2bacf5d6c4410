#pragma once

#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

// Runs the database builder (trickle-build) as a separate process, so that the
// program itself never simulates and stays responsive while the builder
// computes. It reads the builder's progress lines as they come
// ("[k/N] case: ... elapsed M:SS, about M:SS left") and reports them, and it
// can stop the builder: the builder then removes its temporary file itself,
// so that the database it was to replace is left as it was.
class BuilderProcess : public QObject
{
    Q_OBJECT
public:
    explicit BuilderProcess(QObject *parent = nullptr);
    // A builder still running is stopped.
    ~BuilderProcess() override;

    // The builder beside the program: trickle-build in the program folder.
    static QString defaultProgram();

    // Starts the builder with these arguments. `program` empty: the default.
    void start(const QStringList &arguments, const QString &program = QString());
    bool isRunning() const;

    // Stops the builder (SIGTERM, which it answers by removing its temporary
    // file; after a grace time it is killed). finished() follows with
    // ok false and cancelled() true.
    void cancel();
    // Stops the builder and waits until it has ended (the program is
    // closing); finished() has been emitted when it returns.
    void stopAndWait();
    bool cancelled() const { return m_cancelled; }

    int casesDone() const { return m_done; }
    int casesTotal() const { return m_total; }
    // Every line the builder wrote to its standard error, so far.
    const QStringList &lines() const { return m_lines; }

    // Reads one progress line; false when the line is none. Public so that the
    // format is checked on its own.
    static bool parseProgress(const QString &line, int *done, int *total, QString *elapsed,
                              QString *left);

signals:
    void started();
    void progress(int done, int total, const QString &elapsed, const QString &left);
    // The builder waits for another program that writes the same database
    // (another Ulvex, or the command line): `holder` says which.
    void waiting(const QString &holder);
    // ok: the builder wrote its database. message: what it said last (its own
    // error text on failure), or why it could not run.
    void finished(bool ok, const QString &message);

private:
    void readLines();
    void onFinished(int exitCode, QProcess::ExitStatus status);
    void onError(QProcess::ProcessError error);
    QString failureText() const;

    QProcess m_process;
    QByteArray m_pending;
    QStringList m_lines;
    int m_done = 0;
    int m_total = 0;
    bool m_cancelled = false;
    bool m_reported = false;
};
