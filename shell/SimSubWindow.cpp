#include "shell/SimSubWindow.h"

#include <QEvent>

SimSubWindow::SimSubWindow(QWidget *parent) : QMdiSubWindow(parent) {}

QSize SimSubWindow::normalMinimumSize() const
{
    const QWidget *content = widget();
    if (content == nullptr)
        return QSize();
    // The window keeps its title bar and border in its contents margins (none
    // when maximized, where the title moves into the frame's menu bar), so the
    // figure holds for any style and font.
    const QSize inner = content->minimumSize().expandedTo(content->minimumSizeHint());
    const QMargins margins = contentsMargins();
    return QSize(inner.width() + margins.left() + margins.right(),
                 inner.height() + margins.top() + margins.bottom());
}

void SimSubWindow::keepContentWhole()
{
    if (m_adjusting)
        return;
    m_adjusting = true;
    if (isMinimized() || isShaded()) {
        // A title bar only: the content is hidden and takes no room.
        setMinimumSize(0, 0);
    } else {
        const QSize minimum = normalMinimumSize();
        setMinimumSize(minimum);
        if (width() < minimum.width() || height() < minimum.height())
            resize(size().expandedTo(minimum));
    }
    m_adjusting = false;
}

bool SimSubWindow::event(QEvent *event)
{
    const bool result = QMdiSubWindow::event(event);
    // The content's minimum is set as it loads; its layout then asks this
    // window to lay it out again.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Show
        || event->type() == QEvent::ContentsRectChange)
        keepContentWhole();
    return result;
}

void SimSubWindow::changeEvent(QEvent *event)
{
    QMdiSubWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange || event->type() == QEvent::StyleChange)
        keepContentWhole();
}
