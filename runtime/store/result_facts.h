#pragma once

#include <basekit2/variant.h>
#include <storelink1/records.h>

#include <string>
#include <utility>
#include <vector>

namespace lanefeed_runtime {

// What a result says of itself. Read once, immutable afterwards. Ticks are absolute.
struct ResultFacts {
    std::string file;
    basekit2::u64_t firstTick = 0;
    basekit2::u64_t lastTick = 0;  // inclusive
    basekit2::u64_t ticksPerSecond = 0;
    // Trace time of tick 0.
    basekit2::s64_t origin = 0;
    // By start, not overlapping; ends are last ticks.
    std::vector<storelink1::time_interval_t> pauses;
    // The table "result", in the order of the file.
    std::vector<std::pair<std::string, std::string>> entries;

    // Empty for an unknown key.
    std::string entry(const std::string& key) const;
};

}  // namespace lanefeed_runtime
