#pragma once

#include <basekit2/variant.h>

#include <vector>

namespace lanefeed_runtime {

// Numbers the distinct combinations of ids that stand side by side in several columns.
struct Combinations {
    std::vector<basekit2::u32_t> of;     // number of the combination of each instance
    std::vector<std::vector<int>> keys;  // the ids of each combination, in ascending order
};

// Columns of one length, `count`. Without columns there is one combination without ids.
Combinations combine(const std::vector<const std::vector<int>*>& columns, std::size_t count);

}  // namespace lanefeed_runtime
