#pragma once

#include <QStringList>

#include <string>
#include <vector>

// The scenario model's problems (std::string, it has no Qt) as the tests
// compare and print them.
inline QStringList problemTexts(const std::vector<std::string> &problems)
{
    QStringList out;
    for (const auto &s : problems)
        out << QString::fromStdString(s);
    return out;
}
