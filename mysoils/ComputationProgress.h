#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QToolButton;
class SoilComputation;

// A soil being computed, shown in a line: what is computed, the cases done of
// all with a bar, the time spent and the builder's estimate of the time left,
// and a Cancel that stops the builder and leaves every database as it was.
// It sits in the frame's status bar and in "My Soils", and shows itself only
// while a computation runs; nothing around it waits for the builder.
class ComputationProgress : public QWidget
{
    Q_OBJECT
public:
    explicit ComputationProgress(SoilComputation *computation, QWidget *parent = nullptr);

    // Cancel: stops the builder.
    void cmdCancel_Click();

private:
    void begin();
    void showProgress(int done, int total, const QString &left);
    void tick();
    void end();

    SoilComputation *m_computation = nullptr;
    QString m_cases;
    QString m_left;
    QElapsedTimer m_clock;
    QTimer m_ticker;
    QLabel *lblWhat = nullptr;
    QProgressBar *prgCases = nullptr;
    QToolButton *cmdCancel = nullptr;
};
