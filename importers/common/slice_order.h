#pragma once

#include <cstdint>
#include <store/result_writer.h>
#include <vector>

namespace lanefeed_importers {

// Puts the slices of threads into a result as they close. Slices of the same ticks close from the
// innermost outwards, but the result has what begins later behind; so they wait for each other.
class SliceOrder {
public:
    explicit SliceOrder(lanefeed_runtime::ResultWriter& writer) : m_writer(writer) {}

    void add(std::uint32_t thread, const lanefeed_runtime::InstanceRow& row);
    // Those that still wait.
    void finish();

private:
    void letGo(std::vector<lanefeed_runtime::InstanceRow>& rows);

    lanefeed_runtime::ResultWriter& m_writer;
    std::vector<std::vector<lanefeed_runtime::InstanceRow>> m_held;  // by thread
};

}  // namespace lanefeed_importers
