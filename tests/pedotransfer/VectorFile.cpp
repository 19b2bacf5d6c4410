#include "VectorFile.h"

#include <QFile>
#include <QTest>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

QString VectorFile::folder()
{
    return QStringLiteral(ULVEX_ROSETTA_VECTORS);
}

QString VectorFile::modelFile(int code, const QString &what)
{
    return QStringLiteral("rose3_mod%1_%2.txt").arg(code).arg(what);
}

void VectorFile::addModelRows()
{
    QTest::addColumn<int>("code");
    for (int code = 2; code <= 5; ++code)
        QTest::addRow("model %d", code) << code;
}

VectorFile::Rows VectorFile::read(const QString &fileName)
{
    QFile file(folder() + QLatin1Char('/') + fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw std::runtime_error("cannot read " + file.fileName().toStdString());
    Rows rows;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.isEmpty())
            continue;
        std::vector<double> row;
        for (const QByteArray &token : line.split(' ')) {
            char *end = nullptr;
            errno = 0;
            const double v = std::strtod(token.constData(), &end);
            if (end != token.constData() + token.size() || errno == ERANGE)
                throw std::runtime_error("not a number in " + fileName.toStdString() + ": "
                                         + token.toStdString());
            row.push_back(v);
        }
        rows.push_back(row);
    }
    return rows;
}
