#pragma once

#include <QMdiSubWindow>
#include <QSize>

// The frame's window around one simulation window. The simulation window has
// a smallest size at which its choices and its graph are whole; this outer
// window never becomes smaller than that plus its own title bar and border,
// whatever makes it smaller: Tile, Cascade, a drag of its border, a maximize in
// a small frame. A minimized or shaded window is a title bar only and drops
// the limit until it is restored.
class SimSubWindow : public QMdiSubWindow
{
    Q_OBJECT
public:
    explicit SimSubWindow(QWidget *parent = nullptr);

    // The smallest size of this window in its normal state: the content's
    // minimum with the title bar and border around it.
    QSize normalMinimumSize() const;

    // Applies the limit for the window's present state. Called when the
    // content's minimum changes (it is set as the content loads) and on every
    // change of state.
    void keepContentWhole();

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    bool m_adjusting = false;
};
