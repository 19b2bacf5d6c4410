#pragma once

#include "data/DataErrors.h"
#include "base/UlvexError.h"

#include <QString>
#include <QWidget>

// The child control `name` of a simulation window, of type T. The data layers
// read and fill the window's controls by name, so a missing one (or no window
// at all) is an error worth its own number rather than a null pointer.
template <typename T>
T *windowControl(QWidget *window, const char *name)
{
    T *found = window ? window->findChild<T *>(QString::fromLatin1(name)) : nullptr;
    if (found == nullptr)
        throw UlvexError(DataErrors::ControlMissing,
                         QStringLiteral("The window %1 has no control %2")
                             .arg(window ? window->objectName() : QStringLiteral("(none)"),
                                  QString::fromLatin1(name)));
    return found;
}
