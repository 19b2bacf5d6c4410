#include "mysoils/ComputationProgress.h"

#include "mysoils/SoilComputation.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

namespace {

QString minutesAndSeconds(qint64 milliseconds)
{
    const qint64 s = std::max<qint64>(0, (milliseconds + 500) / 1000);
    return QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

ComputationProgress::ComputationProgress(SoilComputation *computation, QWidget *parent)
    : QWidget(parent), m_computation(computation)
{
    setObjectName(QStringLiteral("ComputationProgress"));
    lblWhat = new QLabel(this);
    lblWhat->setObjectName(QStringLiteral("lblWhat"));
    prgCases = new QProgressBar(this);
    prgCases->setObjectName(QStringLiteral("prgCases"));
    prgCases->setAccessibleName(QStringLiteral("Cases done"));
    prgCases->setMaximumWidth(160);
    prgCases->setTextVisible(false);
    cmdCancel = new QToolButton(this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setText(QStringLiteral("Cancel"));
    cmdCancel->setToolTip(QStringLiteral("Stop computing; your soils stay as they were"));
    cmdCancel->setAccessibleDescription(cmdCancel->toolTip());

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(lblWhat, 1);
    row->addWidget(prgCases);
    row->addWidget(cmdCancel);

    connect(cmdCancel, &QToolButton::clicked, this, &ComputationProgress::cmdCancel_Click);
    connect(computation, &SoilComputation::started, this, &ComputationProgress::begin);
    connect(computation, &SoilComputation::progress, this, &ComputationProgress::showProgress);
    connect(computation, &SoilComputation::waiting, this, [this](const QString &holder) {
        m_cases = QStringLiteral("waiting until %1 has finished writing your soils").arg(holder);
        tick();
    });
    connect(computation, &SoilComputation::finished, this, &ComputationProgress::end);
    m_ticker.setInterval(1000);
    connect(&m_ticker, &QTimer::timeout, this, &ComputationProgress::tick);
    if (computation->isRunning())
        begin();
    else
        hide();
}

void ComputationProgress::begin()
{
    m_cases = QStringLiteral("starting");
    m_left.clear();
    prgCases->setRange(0, 0); // busy until the first case tells how many there are
    cmdCancel->setEnabled(true);
    m_clock.start();
    m_ticker.start();
    tick();
    show();
}

void ComputationProgress::showProgress(int done, int total, const QString &left)
{
    prgCases->setRange(0, total);
    prgCases->setValue(done);
    m_cases = QStringLiteral("%1 of %2 cases done").arg(done).arg(total);
    m_left = left;
    tick();
}

void ComputationProgress::tick()
{
    QString text = QStringLiteral("%1: %2, %3 so far").arg(m_computation->job().title, m_cases,
                                                   minutesAndSeconds(m_clock.elapsed()));
    if (!m_left.isEmpty())
        text += QStringLiteral(", about %1 left").arg(m_left);
    lblWhat->setText(text);
    prgCases->setAccessibleDescription(text);
}

void ComputationProgress::cmdCancel_Click()
{
    if (!m_computation->isRunning())
        return;
    cmdCancel->setEnabled(false);
    m_cases = QStringLiteral("stopping");
    tick();
    m_computation->cancel();
}

void ComputationProgress::end()
{
    m_ticker.stop();
    hide();
}
