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

    // The name of one of the files of a texture model: "rose3_mod3_mean.txt"
    // for model 3 and "mean".
    static QString modelFile(int code, const QString &what);
    // The rows of a data-driven test over the four texture models: a column
    // "code" (2 to 5) and a row "model <code>" for each.
    static void addModelRows();
};
