// Curves for terminals. Tested by tests/tool/texts_test.cpp.

#include "curve.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace lanefeed_tool {

namespace {

constexpr std::array<const char*, 8> kBlocks{
    {"\u2581", "\u2582", "\u2583", "\u2584", "\u2585", "\u2586", "\u2587", "\u2588"}};

// Largest value of a run of buckets, NaN when none has data. A short peak must not vanish.
double peak(const std::vector<double>& values, std::size_t first, std::size_t last) {
    double highest = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = first; i < last; ++i) {
        if (!std::isnan(values[i]) && !(values[i] <= highest)) highest = values[i];
    }
    return highest;
}

const char* block(double value, double top) {
    if (std::isnan(value)) return " ";
    if (top <= 0) return kBlocks.front();
    const double share = std::clamp(value / top, 0.0, 1.0);
    return kBlocks[static_cast<std::size_t>(std::lround(share * (kBlocks.size() - 1)))];
}

}  // namespace

std::string drawCurve(const std::vector<double>& values, int width, double top) {
    const std::size_t columns =
        std::min(values.size(), static_cast<std::size_t>(std::max(width, 0)));
    std::string out;
    for (std::size_t column = 0; column < columns; ++column) {
        const std::size_t first = column * values.size() / columns;
        const std::size_t last = (column + 1) * values.size() / columns;
        out += block(peak(values, first, last), top);
    }
    return out;
}

}  // namespace lanefeed_tool
