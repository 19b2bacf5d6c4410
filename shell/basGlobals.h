#pragma once

#include "shell/SimWindowCollection.h"
#include "shell/basHook.h"

#include <QPointer>
#include <QString>
#include <QWidget>

// The few values the windows of the program share. They live for the whole run
// and are used only on the user-interface thread, so no locking is needed.
namespace basGlobals {

// Text returned by the last shell operation (a new window's caption, or the
// status of a graph update or soil choice). Kept for diagnostics; never shown.
extern QString strLastResult;

// Every open simulation window, keyed by caption.
SimWindowCollection &colSimWindows();

// Running number of simulation windows created in this run: set to 0 at
// start-up and only ever incremented, so window numbers are never reused.
extern qint16 intSimCount;

// Mouse-hook state: the installed hook (null when none), the graph surface over
// which the mouse was last seen, and the flag the hook raises when the mouse is
// over anything else.
extern QPointer<MouseHookFilter> lngMouseHook;
extern QPointer<QWidget> lngGraphHwnd;
extern bool blnMouseLeft;

// The last mouse event the hook saw: position, target and kind.
struct MouseHookRecord
{
    int x = 0;
    int y = 0;
    QWidget *hwnd = nullptr;
    int eventType = 0;
};
extern MouseHookRecord udtMouseHook;

} // namespace basGlobals
