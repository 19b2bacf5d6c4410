#include "mysoils/SoilComputation.h"

#include "mysoils/BuilderProcess.h"
#include "mysoils/SoilAdvice.h"

#include <QFile>

SoilComputation::SoilComputation(QObject *parent) : QObject(parent)
{
    m_builder = new BuilderProcess(this);
    connect(m_builder, &BuilderProcess::started, this, &SoilComputation::started);
    connect(m_builder, &BuilderProcess::progress, this,
            [this](int done, int total, const QString &, const QString &left) {
                emit progress(done, total, left);
            });
    connect(m_builder, &BuilderProcess::waiting, this, &SoilComputation::waiting);
    connect(m_builder, &BuilderProcess::finished, this, &SoilComputation::onFinished);
}

SoilComputation::~SoilComputation()
{
    // The builder is stopped by its own destructor; the catalogue goes here.
    if (!m_job.catalogue.isEmpty())
        QFile::remove(m_job.catalogue);
}

bool SoilComputation::start(const Job &job)
{
    if (isRunning()) {
        if (!job.catalogue.isEmpty() && job.catalogue != m_job.catalogue)
            QFile::remove(job.catalogue);
        return false;
    }
    m_job = job;
    m_builder->start(job.arguments, m_program);
    return true;
}

bool SoilComputation::isRunning() const
{
    return m_builder->isRunning();
}

void SoilComputation::cancel()
{
    m_builder->cancel();
}

void SoilComputation::stopAndWait()
{
    m_builder->stopAndWait();
}

void SoilComputation::onFinished(bool ok, const QString &message)
{
    if (!m_job.catalogue.isEmpty()) {
        QFile::remove(m_job.catalogue);
        m_job.catalogue.clear();
    }
    emit finished(ok, m_builder->cancelled(), message);
}

SoilComputation::Failure SoilComputation::failure(const QString &builderMessage) const
{
    Failure f;
    f.summary = SoilAdvice::explain(builderMessage, m_job.soil);
    f.details = m_builder->lines().join(QLatin1Char('\n'));
    if (f.details.isEmpty())
        f.details = builderMessage;
    return f;
}
