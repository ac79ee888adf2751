#pragma once

#include <cstdint>
#include <string>

namespace lanefeed_runtime {

// What every writer of an instance table keeps to and every reader relies on: an instance has a
// start and an end, doesn't end before it starts, nor starts before the one above it. The engine
// reads a file with other numbers all the same, so whoever reads whole tables asks here, record by
// record, and takes the file for damaged.
class InstanceCheck {
public:
    static constexpr std::int64_t kNoTick = -1;

    bool holds(std::int64_t start, std::int64_t end) {
        if (start < m_least || end < start) return false;
        m_least = start;
        return true;
    }

    static std::string reason(const std::string& table) {
        return "an instance of " + table +
               " has no time, ends before it starts or stands out of order";
    }

private:
    std::int64_t m_least = 0;
};

}  // namespace lanefeed_runtime
