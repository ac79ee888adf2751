#pragma once

#include <basekit2/variant.h>

#include <array>

namespace lanefeed_1 {

// One line between two rows, with the first of those that fall on the same cell of the grid of
// bins. Pane ticks.
struct Transition {
    struct Duplicate {
        basekit2::u64_t start = 0;
        basekit2::u64_t end = 0;
        int attr = 0;
    };
    static constexpr std::size_t kKeptDuplicates = 4;

    basekit2::u64_t start = 0;  // at the source row
    basekit2::u64_t end = 0;    // at the target row
    int attr = 0;               // database index of the instance's attribute
    int index = 0;              // position in the answer
    int startRow = 0;           // row ids
    int endRow = 0;
    basekit2::s16_t startBin = 0;  // rounded down to a multiple of 3
    basekit2::s16_t endBin = 0;
    basekit2::u32_t duplicateCount = 0;  // goes on counting when no more are kept
    std::array<Duplicate, kKeptDuplicates> duplicates;
};

}  // namespace lanefeed_1
