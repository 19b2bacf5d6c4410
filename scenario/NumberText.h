#pragma once

#include <sstream>
#include <string>

namespace scenario {

// A number as the scenario's messages show it: as short as it reads (0.2,
// 1e-05), the way the user would have written it in the file.
inline std::string numberText(double v)
{
    std::ostringstream s;
    s << v;
    return s.str();
}

} // namespace scenario
