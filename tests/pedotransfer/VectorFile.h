#pragma once

#include <QString>

#include <vector>

// A test vector file: one record a line, numbers separated by spaces, "nan"
// for a missing value. Read with strtod, which takes "nan" and rounds
// correctly, so the expected values are the exact doubles written.
class VectorFile
{
public:
    using Rows = std::vector<std::vector<double>>;

    // The rows of a file in the vector folder; throws std::runtime_error when
    // the file cannot be read or holds something that is not a number.
    static Rows read(const QString &fileName);
    static QString folder();
};
