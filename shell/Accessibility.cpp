#include "shell/Accessibility.h"

#include <QWidget>

namespace Accessibility {

void describe(QWidget *w, const QString &caption, const QString &tip)
{
    QString name = caption;
    name.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    name.remove(QLatin1Char('&'));
    name.replace(QStringLiteral("\x01"), QStringLiteral("&"));
    w->setAccessibleName(name);
    if (!tip.isEmpty()) {
        w->setToolTip(tip);
        w->setAccessibleDescription(tip);
    }
}

} // namespace Accessibility
