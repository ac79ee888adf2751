#pragma once

#include "common/trace_time.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_importers {

struct CounterValue {
    std::uint32_t series = 0;
    double value = 0;
};

// An event as it waits for its turn in time: names are numbers, and only what its phase needs is
// there.
struct EventRecord {
    char phase = 0;
    std::uint32_t thread = 0;
    std::uint32_t name = 0;
    std::uint32_t category = 0;
    TraceTime end;                     // X
    std::string_view key;              // async events and flows: what belongs together
    std::vector<CounterValue> values;  // C
    std::string_view args;

    static bool hasKey(char phase) {
        return std::string_view("bneSTpFstf").find(phase) != std::string_view::npos;
    }
};

// Into `bytes`, which is emptied first.
void packRecord(const EventRecord& record, std::string& bytes);
// The texts of the record are those of `bytes`.
void unpackRecord(std::string_view bytes, EventRecord& record);

}  // namespace lanefeed_importers
