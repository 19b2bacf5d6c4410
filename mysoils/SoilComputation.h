#pragma once

#include "mysoils/SoilEntry.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

class BuilderProcess;

// The one computation of the user's soils that may run at a time: adding a
// soil, removing one, or computing them all again. It runs the database
// builder as a process of its own, so the program stays usable meanwhile;
// a second computation is refused while one runs, since both would write the
// user's database. It remembers what was asked (the soil as typed, for an
// addition) so that a failed or stopped addition can be offered again.
class SoilComputation : public QObject
{
    Q_OBJECT
public:
    enum class Kind { Add, Remove, Recompute };

    struct Job
    {
        Kind kind = Kind::Add;
        QString title;                  // "Computing Sand B", shown while it runs
        QStringList arguments;          // the builder's
        std::optional<SoilEntry> soil;  // the soil added, as typed
        QString catalogue;              // a catalogue file removed when the job ends
    };

    explicit SoilComputation(QObject *parent = nullptr);
    ~SoilComputation() override;

    // Where the builder is (tests may point elsewhere; empty: beside the program).
    void setProgram(const QString &program) { m_program = program; }

    // Starts the job; false (and the job's catalogue removed) when another
    // one runs.
    bool start(const Job &job);
    bool isRunning() const;
    // The job running, or the last one.
    const Job &job() const { return m_job; }
    BuilderProcess *builder() const { return m_builder; }

    // Stops the builder; finished() follows with cancelled true.
    void cancel();
    // Stops the builder and waits until it has cleaned up and ended (the
    // program is closing); finished() has been emitted when it returns.
    void stopAndWait();

    // The text a person reads when the job failed: what went wrong, the value
    // likely at fault and what to try; the builder's own lines are kept for
    // the details.
    struct Failure
    {
        QString summary;
        QString details;
    };
    Failure failure(const QString &builderMessage) const;

signals:
    void started();
    void progress(int done, int total, const QString &left);
    void waiting(const QString &holder);
    void finished(bool ok, bool cancelled, const QString &message);

private:
    void onFinished(bool ok, const QString &message);

    BuilderProcess *m_builder = nullptr;
    QString m_program;
    Job m_job;
};
