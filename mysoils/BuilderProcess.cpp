#include "mysoils/BuilderProcess.h"

#include "base/ProgramFolder.h"

#include <QRegularExpression>
#include <QTimer>

#include <csignal>
#include <sys/prctl.h>

namespace {

// How long a stopped builder may take to clean up before it is killed.
const int GraceMilliseconds = 10000;

} // namespace

BuilderProcess::BuilderProcess(QObject *parent) : QObject(parent)
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    // Should the program itself end, the builder ends too (and removes its
    // temporary file) instead of finishing a database nobody waits for.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    connect(&m_process, &QProcess::started, this, &BuilderProcess::started);
    connect(&m_process, &QProcess::readyReadStandardError, this, &BuilderProcess::readLines);
    connect(&m_process, &QProcess::finished, this, &BuilderProcess::onFinished);
    connect(&m_process, &QProcess::errorOccurred, this, &BuilderProcess::onError);
}

BuilderProcess::~BuilderProcess()
{
    if (isRunning()) {
        m_process.blockSignals(true);
        m_process.terminate();
        if (!m_process.waitForFinished(GraceMilliseconds)) {
            m_process.kill();
            m_process.waitForFinished(1000);
        }
    }
}

QString BuilderProcess::defaultProgram()
{
    return ProgramFolder::file(QStringLiteral("trickle-build"));
}

void BuilderProcess::start(const QStringList &arguments, const QString &program)
{
    m_pending.clear();
    m_lines.clear();
    m_done = 0;
    m_total = 0;
    m_cancelled = false;
    m_reported = false;
    m_process.start(program.isEmpty() ? defaultProgram() : program, arguments);
}

bool BuilderProcess::isRunning() const
{
    return m_process.state() != QProcess::NotRunning;
}

void BuilderProcess::cancel()
{
    if (!isRunning())
        return;
    m_cancelled = true;
    m_process.terminate();
    QTimer::singleShot(GraceMilliseconds, this, [this] {
        if (isRunning())
            m_process.kill();
    });
}

void BuilderProcess::stopAndWait()
{
    if (!isRunning())
        return;
    m_cancelled = true;
    m_process.terminate();
    if (!m_process.waitForFinished(GraceMilliseconds)) {
        m_process.kill();
        m_process.waitForFinished(1000);
    }
}

bool BuilderProcess::parseProgress(const QString &line, int *done, int *total, QString *elapsed,
                                   QString *left)
{
    static const QRegularExpression counted(QStringLiteral("^\\[\\s*(\\d+)/(\\d+)\\]"));
    static const QRegularExpression timed(
        QStringLiteral("elapsed ([0-9:]+), about ([0-9:]+) left"));
    const QRegularExpressionMatch m = counted.match(line);
    if (!m.hasMatch())
        return false;
    *done = m.captured(1).toInt();
    *total = m.captured(2).toInt();
    const QRegularExpressionMatch t = timed.match(line);
    *elapsed = t.hasMatch() ? t.captured(1) : QString();
    *left = t.hasMatch() ? t.captured(2) : QString();
    return true;
}

void BuilderProcess::readLines()
{
    m_pending += m_process.readAllStandardError();
    for (;;) {
        const qsizetype end = m_pending.indexOf('\n');
        if (end < 0)
            break;
        const QString line = QString::fromLocal8Bit(m_pending.left(end)).trimmed();
        m_pending.remove(0, end + 1);
        if (line.isEmpty())
            continue;
        m_lines << line;
        QString elapsed, left;
        static const QRegularExpression waitingFor(QStringLiteral("^trickle-build: waiting for .*: it is locked by (.*)$"));
        if (parseProgress(line, &m_done, &m_total, &elapsed, &left))
            emit progress(m_done, m_total, elapsed, left);
        else if (const QRegularExpressionMatch m = waitingFor.match(line); m.hasMatch())
            emit waiting(m.captured(1));
    }
}

QString BuilderProcess::failureText() const
{
    // The builder's own words: its last line naming itself, which is its
    // error; else its last line of all.
    for (qsizetype i = m_lines.size() - 1; i >= 0; --i)
        if (m_lines.at(i).startsWith(QLatin1String("trickle-build:")))
            return m_lines.at(i);
    return m_lines.isEmpty() ? QString() : m_lines.last();
}

void BuilderProcess::onFinished(int exitCode, QProcess::ExitStatus status)
{
    if (m_reported)
        return;
    m_reported = true;
    m_pending += '\n';
    readLines();
    if (m_cancelled) {
        emit finished(false, QStringLiteral("Stopped: nothing was changed."));
        return;
    }
    const bool ok = status == QProcess::NormalExit && exitCode == 0;
    QString message = failureText();
    if (!ok && status != QProcess::NormalExit)
        message = QStringLiteral("The database builder %1 stopped unexpectedly%2")
                      .arg(m_process.program(),
                           message.isEmpty() ? QString() : QStringLiteral(": ") + message);
    else if (!ok && message.isEmpty())
        message = QStringLiteral("The database builder %1 failed (exit status %2)")
                      .arg(m_process.program())
                      .arg(exitCode);
    emit finished(ok, message);
}

void BuilderProcess::onError(QProcess::ProcessError error)
{
    // A builder that could not start never finishes: report it here.
    if (error != QProcess::FailedToStart || m_reported)
        return;
    m_reported = true;
    emit finished(false, QStringLiteral("The database builder %1 cannot be started: %2")
                             .arg(m_process.program(), m_process.errorString()));
}
