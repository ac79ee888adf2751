// Combinations of ids over parallel columns, numbered in the order of their ids.
//
// Column after column, (combination so far, id) becomes a new number; runs of equal pairs, which
// are the rule, skip the hash. Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/combinations.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <unordered_map>

namespace lanefeed_runtime {

using basekit2::u32_t;
using basekit2::u64_t;

namespace {

// Splits every combination by the ids of one more column.
void refine(Combinations& result, const std::vector<int>& ids) {
    std::unordered_map<u64_t, u32_t> numbers;
    std::vector<std::vector<int>> keys;
    u64_t lastPair = ~u64_t{0};
    u32_t lastNumber = 0;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const u64_t pair = u64_t{result.of[i]} << 32 | static_cast<u32_t>(ids[i]);
        if (pair != lastPair || keys.empty()) {
            const auto found = numbers.try_emplace(pair, static_cast<u32_t>(keys.size()));
            if (found.second) {
                keys.push_back(result.keys[result.of[i]]);
                keys.back().push_back(ids[i]);
            }
            lastPair = pair;
            lastNumber = found.first->second;
        }
        result.of[i] = lastNumber;
    }
    result.keys = std::move(keys);
}

void sortByKey(Combinations& result) {
    std::vector<u32_t> order(result.keys.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(),
              [&](u32_t a, u32_t b) { return result.keys[a] < result.keys[b]; });
    std::vector<u32_t> numberOf(order.size());
    std::vector<std::vector<int>> keys(order.size());
    for (u32_t i = 0; i < order.size(); ++i) {
        numberOf[order[i]] = i;
        keys[i] = std::move(result.keys[order[i]]);
    }
    result.keys = std::move(keys);
    for (u32_t& number : result.of)
        number = numberOf[number];
}

}  // namespace

Combinations combine(const std::vector<const std::vector<int>*>& columns, std::size_t count) {
    Combinations result;
    result.of.assign(count, 0);
    result.keys.resize(1);
    for (const std::vector<int>* ids : columns)
        refine(result, *ids);
    sortByKey(result);
    return result;
}

}  // namespace lanefeed_runtime
