#include "base/BuildTemporary.h"

#include <QRegularExpression>

QString BuildTemporary::templateFor(const QString &outName)
{
    return QStringLiteral(".%1.XXXXXX.part").arg(outName);
}

bool BuildTemporary::isTemporaryOf(const QString &outName, const QString &fileName)
{
    const QString prefix = QStringLiteral(".") + outName + QLatin1Char('.');
    if (!fileName.startsWith(prefix))
        return false;
    static const QRegularExpression rest(QRegularExpression::anchoredPattern(QStringLiteral("[A-Za-z0-9]{6}\\.part(-journal)?")));
    return rest.match(QStringView(fileName).mid(prefix.size())).hasMatch();
}
