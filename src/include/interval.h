#pragma once

#include <basekit2/variant.h>

#include <array>

namespace lanefeed_1 {

// One instance of a row. Absolute ticks, both ends inclusive. Attributes are database ids,
// 0xFFFFFFFF for none.
struct IntervalBase {
    static constexpr basekit2::u32_t noAttribute = 0xFFFFFFFFU;

    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
    basekit2::u32_t attr = noAttribute;  // colour, hatch and name of the row hang on it
    basekit2::u32_t attr2 = 0;           // of a band style; says something only once it was read
    basekit2::u32_t attr3 = noAttribute;
    basekit2::s32_t count = 0;  // further instances that this one stands for
};

// What is drawn for one instance or for several that are too short to be seen apart.
struct Interval : IntervalBase {
    static constexpr std::size_t sampleCount = 4;

    std::array<IntervalBase, sampleCount> samples;  // the first of the short instances folded in
    basekit2::s32_t level = 0;                      // nesting level that the instance was read from
    basekit2::s32_t expansionIndex = 0;  // which combination of expansion values it belongs to
};

}  // namespace lanefeed_1
