#include "shell/basHook.h"

#include "shell/basGlobals.h"

#include <QApplication>
#include <QMouseEvent>

namespace {

bool isMouseEvent(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::Enter:
    case QEvent::HoverMove:
    case QEvent::Leave:
        return true;
    default:
        return false;
    }
}

// A mouse event the graph did not take travels on to its parents; that is
// still the mouse over the graph, not elsewhere.
bool isOverGraph(QWidget *target, QEvent *event, QWidget *graph)
{
    if (!graph)
        return false;
    if (target == graph)
        return event->type() != QEvent::Leave; // leaving the graph is leaving it
    if (!target->isAncestorOf(graph))
        return false;
    if (auto *me = dynamic_cast<QSinglePointEvent *>(event)) {
        const QPoint local = graph->mapFromGlobal(me->globalPosition().toPoint());
        return graph->rect().contains(local);
    }
    return false;
}

} // namespace

bool MouseHookFilter::eventFilter(QObject *watched, QEvent *event)
{
    basHook::MouseHookProc(watched, event);
    return false;
}

namespace basHook {

void InstallMouseHook()
{
    if (!qApp)
        return;
    auto *hook = new MouseHookFilter(qApp);
    qApp->installEventFilter(hook);
    basGlobals::lngMouseHook = hook;
}

void RemoveMouseHook()
{
    MouseHookFilter *hook = basGlobals::lngMouseHook.data();
    if (!hook || !qApp)
        return;
    qApp->removeEventFilter(hook);
    hook->deleteLater();
    // The handle is not cleared, as with the system hook it replaces; a later
    // remove of the same hook finds the filter already gone from the list.
}

void MouseHookProc(QObject *target, QEvent *event)
{
    if (!target || !event || !isMouseEvent(event->type()) || !target->isWidgetType())
        return;
    auto *widget = static_cast<QWidget *>(target);
    basGlobals::udtMouseHook.hwnd = widget;
    basGlobals::udtMouseHook.eventType = int(event->type());
    if (auto *me = dynamic_cast<QSinglePointEvent *>(event)) {
        const QPoint p = me->globalPosition().toPoint();
        basGlobals::udtMouseHook.x = p.x();
        basGlobals::udtMouseHook.y = p.y();
    }
    if (!isOverGraph(widget, event, basGlobals::lngGraphHwnd))
        basGlobals::blnMouseLeft = true;
}

} // namespace basHook
