#include "mysoils/frmBuildProgress.h"

#include "mysoils/BuilderProcess.h"
#include "shell/ResourceImages.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

namespace {

QString minutesAndSeconds(qint64 milliseconds)
{
    const qint64 s = std::max<qint64>(0, (milliseconds + 500) / 1000);
    return QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

frmBuildProgress::frmBuildProgress(const QString &title, const QStringList &arguments,
                                   const QString &program, QWidget *parent)
    : QDialog(parent), m_arguments(arguments), m_program(program)
{
    setObjectName(QStringLiteral("frmBuildProgress"));
    setWindowTitle(title);
    setWindowIcon(ResourceImages::icon(114));
    m_builder = new BuilderProcess(this);

    auto *lblWhat = new QLabel(title, this);
    lblWhat->setObjectName(QStringLiteral("lblWhat"));
    QFont bold = lblWhat->font();
    bold.setBold(true);
    lblWhat->setFont(bold);
    lblCases = new QLabel(QStringLiteral("Starting the database builder..."), this);
    lblCases->setObjectName(QStringLiteral("lblCases"));
    prgCases = new QProgressBar(this);
    prgCases->setObjectName(QStringLiteral("prgCases"));
    prgCases->setRange(0, 0); // busy until the first case tells how many there are
    prgCases->setAccessibleName(QStringLiteral("Cases done"));
    prgCases->setMinimumWidth(360);
    lblTime = new QLabel(QStringLiteral("Elapsed 0:00"), this);
    lblTime->setObjectName(QStringLiteral("lblTime"));
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setToolTip(QStringLiteral("Stop computing; nothing is changed"));
    cmdCancel->setAccessibleDescription(cmdCancel->toolTip());

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdCancel);
    auto *main = new QVBoxLayout(this);
    main->addWidget(lblWhat);
    main->addWidget(lblCases);
    main->addWidget(prgCases);
    main->addWidget(lblTime);
    main->addLayout(buttons);

    connect(cmdCancel, &QPushButton::clicked, this, &frmBuildProgress::cmdCancel_Click);
    connect(m_builder, &BuilderProcess::progress, this,
            [this](int done, int total, const QString &, const QString &left) {
                showProgress(done, total, left);
            });
    connect(m_builder, &BuilderProcess::finished, this, &frmBuildProgress::done);
    m_ticker.setInterval(1000);
    connect(&m_ticker, &QTimer::timeout, this, &frmBuildProgress::tick);
}

frmBuildProgress::~frmBuildProgress() = default;

int frmBuildProgress::exec()
{
    m_finished = false;
    m_message.clear();
    m_clock.start();
    m_ticker.start();
    m_builder->start(m_arguments, m_program);
    if (m_finished) // it could not even start
        return m_message.isEmpty() ? QDialog::Accepted : QDialog::Rejected;
    return QDialog::exec();
}

bool frmBuildProgress::cancelled() const
{
    return m_builder->cancelled();
}

void frmBuildProgress::showProgress(int done, int total, const QString &left)
{
    prgCases->setRange(0, total);
    prgCases->setValue(done);
    lblCases->setText(QStringLiteral("%1 of %2 cases done").arg(done).arg(total));
    m_left = left;
    tick();
}

void frmBuildProgress::tick()
{
    QString text = QStringLiteral("Elapsed %1").arg(minutesAndSeconds(m_clock.elapsed()));
    if (!m_left.isEmpty())
        text += QStringLiteral(", about %1 left").arg(m_left);
    lblTime->setText(text);
}

void frmBuildProgress::cmdCancel_Click()
{
    if (m_finished)
        return;
    cmdCancel->setEnabled(false);
    lblCases->setText(QStringLiteral("Stopping..."));
    m_builder->cancel();
}

void frmBuildProgress::reject()
{
    // Escape or the window's close button: the same as Cancel; the dialog
    // closes when the builder has stopped.
    if (!m_finished) {
        cmdCancel_Click();
        return;
    }
    QDialog::reject();
}

void frmBuildProgress::done(bool ok, const QString &message)
{
    m_finished = true;
    m_ticker.stop();
    m_message = ok ? QString() : message;
    if (ok)
        accept();
    else
        QDialog::reject();
}
