#include "shell/ProgramTextFile.h"

#include "base/ProgramFolder.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace ProgramTextFile {

bool read(const QString &name, QString *text)
{
    const QString path = ProgramFolder::file(name);
    if (!QFileInfo(path).isFile())
        return false;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    QByteArray bytes = f.readAll();
    f.close();

    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString decoded = utf8.decode(bytes);
    if (utf8.hasError())
        decoded = QString::fromLatin1(bytes);
    decoded.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    decoded.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (text)
        *text = decoded;
    return true;
}

} // namespace ProgramTextFile
