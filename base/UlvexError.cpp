#include "base/UlvexError.h"

UlvexError::UlvexError(int number, const QString &description)
    : std::runtime_error(description.toStdString()), m_number(number), m_description(description)
{
}
