#pragma once

#include <QColor>
#include <cstdint>

// Colours are stored and exchanged as 32-bit colour values with red in the low
// byte (value = R + 256 G + 65536 B), as the settings file holds them. The
// defaults 0 to 7 are such values and stay exactly as they are.
namespace ColorRef {

QColor toQColor(std::int32_t value);
std::int32_t fromQColor(const QColor &color);
constexpr std::int32_t rgb(int r, int g, int b) { return r + 256 * g + 65536 * b; }

} // namespace ColorRef
