#include "graph/ColorRef.h"

namespace ColorRef {

QColor toQColor(std::int32_t value)
{
    const auto v = static_cast<std::uint32_t>(value);
    return QColor(int(v & 0xFFu), int((v >> 8) & 0xFFu), int((v >> 16) & 0xFFu));
}

std::int32_t fromQColor(const QColor &color)
{
    return rgb(color.red(), color.green(), color.blue());
}

} // namespace ColorRef
