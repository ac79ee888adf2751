#pragma once

#include <string>
#include <vector>

namespace lanefeed_1 {

// Name of a series out of its expansion values, outermost first: "a:b".
inline std::string seriesName(const std::vector<std::string>& parts) {
    std::string name;
    for (std::size_t i = 0; i < parts.size(); ++i)
        name += (i == 0 ? "" : ":") + parts[i];
    return name;
}

}  // namespace lanefeed_1
