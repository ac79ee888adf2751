#pragma once

#include "store/record_sorter.h"
#include "store/result_writer.h"

#include <string>
#include <vector>

namespace lanefeed_runtime {

class Connection;

// Trace time to ticks of the result.
struct TickScale {
    std::int64_t origin = 0;    // trace time of tick 0
    std::int64_t lastTime = 0;  // last tick of the trace, as trace time

    std::int64_t tick(std::int64_t time) const { return time - origin; }
};

// Last tick of a half-open span; kToEnd stays.
std::int64_t lastTimeOf(std::int64_t begin, std::int64_t end);

// Rows of one instance table on their way into the file: collected in any order, written in the
// order of their start.
class InstanceSink {
public:
    enum class Outcome { done, cancelled, failed, sortFailed };

    InstanceSink(const TableDef& def, const std::string& directory);

    const TableDef& def() const { return m_def; }
    void add(const InstanceRow& row);
    std::uint64_t size() const { return m_sorter.size(); }
    std::size_t bytesInMemory() const { return m_sorter.bytesInMemory(); }
    // Its rows tell where they come from.
    bool hasSource() const { return m_hasSource; }
    bool spill() { return m_sorter.spill(); }
    // Makes the table with its rows.
    Outcome write(Connection& connection, const TickScale& scale, relay2::IProgress* progress);

private:
    const TableDef& m_def;
    bool m_hasValue;
    bool m_hasSource;
    std::vector<std::size_t> m_fields;  // of the cells, as numbers
    std::vector<std::int64_t> m_cells;
    RecordSorter m_sorter;
};

}  // namespace lanefeed_runtime
