// Records go to memory or to a temporary file of this very process, so they are plain copies of
// their fields. Tested by tests/importers/time_order_test.cpp.
#include "trace_event_json/event_record.h"

#include <cstring>

namespace lanefeed_importers {
namespace {

template <class Value>
void put(std::string& bytes, const Value& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

template <class Value>
void take(std::string_view& bytes, Value& value) {
    std::memcpy(&value, bytes.data(), sizeof(value));
    bytes.remove_prefix(sizeof(value));
}

}  // namespace

void packRecord(const EventRecord& record, std::string& bytes) {
    bytes.clear();
    put(bytes, record.phase);
    put(bytes, record.thread);
    put(bytes, record.name);
    put(bytes, record.category);
    if (record.phase == 'X') put(bytes, record.end);
    if (EventRecord::hasKey(record.phase)) {
        put(bytes, static_cast<std::uint32_t>(record.key.size()));
        bytes.append(record.key);
    }
    if (record.phase == 'C') {
        put(bytes, static_cast<std::uint32_t>(record.values.size()));
        for (const CounterValue& value : record.values) {
            put(bytes, value.series);
            put(bytes, value.value);
        }
    }
    bytes.append(record.args);
}

void unpackRecord(std::string_view bytes, EventRecord& record) {
    take(bytes, record.phase);
    take(bytes, record.thread);
    take(bytes, record.name);
    take(bytes, record.category);
    if (record.phase == 'X') take(bytes, record.end);
    if (EventRecord::hasKey(record.phase)) {
        std::uint32_t length = 0;
        take(bytes, length);
        record.key = bytes.substr(0, length);
        bytes.remove_prefix(length);
    }
    if (record.phase == 'C') {
        std::uint32_t count = 0;
        take(bytes, count);
        record.values.resize(count);
        for (CounterValue& value : record.values) {
            take(bytes, value.series);
            take(bytes, value.value);
        }
    }
    record.args = bytes;
}

}  // namespace lanefeed_importers
