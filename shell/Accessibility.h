#pragma once

#include <QString>

class QWidget;

namespace Accessibility {

// Gives a control its screen-reader name and description: the name is the
// caption without its access-key marker ("&&" stays a literal "&"), and a
// non-empty tip becomes both the tooltip and the longer description.
void describe(QWidget *w, const QString &caption, const QString &tip);

} // namespace Accessibility
