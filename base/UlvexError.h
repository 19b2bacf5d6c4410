#pragma once

#include <QString>
#include <stdexcept>

// The one error type of the program. Database (provider) failures are raised as
// an UlvexError carrying a number and a description; they pass through the data
// layers untouched and are caught by the window whose handler asked, which shows
// them in a message box titled "Ulvex". They never cross the Qt event loop.
class UlvexError : public std::runtime_error
{
public:
    UlvexError(int number, const QString &description);

    int number() const { return m_number; }
    const QString &description() const { return m_description; }

private:
    int m_number;
    QString m_description;
};
