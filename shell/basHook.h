#pragma once

#include <QObject>

// Tells the simulation windows when the mouse has left a graph. The graph
// reports movement over itself but nothing when the mouse goes elsewhere, so
// while coordinates are shown an application-wide event filter watches every
// mouse event of the user-interface thread and raises basGlobals::blnMouseLeft
// when one is aimed at anything but the watched graph (basGlobals::lngGraphHwnd).
// The window's 100 ms timer then clears its status bar and removes the hook.
class MouseHookFilter : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

namespace basHook {

// Installs the filter on the application and remembers it in
// basGlobals::lngMouseHook. A second install replaces the first.
void InstallMouseHook();
// Removes the remembered filter. Like the handle it stands for, the global is
// left as it is; removing twice is harmless.
void RemoveMouseHook();

// The hook procedure proper: records the event and raises the flag when its
// target is not the watched graph. Never alters or swallows the event.
void MouseHookProc(QObject *target, QEvent *event);

} // namespace basHook
