#include "shell/basGlobals.h"

namespace basGlobals {

QString strLastResult;
qint16 intSimCount = 0;
QPointer<MouseHookFilter> lngMouseHook;
QPointer<QWidget> lngGraphHwnd;
bool blnMouseLeft = false;
MouseHookRecord udtMouseHook;

SimWindowCollection &colSimWindows()
{
    // Created on first use.
    static SimWindowCollection collection;
    return collection;
}

} // namespace basGlobals
