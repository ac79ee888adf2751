#pragma once

#include "common/open_slices.h"
#include "common/slice_order.h"
#include "common/text_table.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
}

namespace lanefeed_importers {

class TaskRows;

// What programs themselves write into the trace: slices of threads, slices across the threads of a
// process, curves and points.
class MarkRows {
public:
    MarkRows(TaskRows& tasks, lanefeed_runtime::ResultWriter& writer);

    void begin(std::uint32_t task, std::int64_t time, std::string_view name);
    // Without name: of the innermost begin.
    void end(std::uint32_t task, std::int64_t time, std::string_view name);
    // `text` is kept as arguments, unless it is empty.
    void point(std::uint32_t task, std::int64_t time, std::string_view name, std::string_view text);
    void asyncBegin(int tgid, std::int64_t time, std::string_view name, std::string_view cookie);
    void asyncEnd(int tgid, std::int64_t time, std::string_view name, std::string_view cookie);
    void counter(int tgid, std::int64_t time, std::string_view name, double value);
    // Samples last to the end of the trace; begins without end are left out.
    void finish();

    // Facts.
    std::uint64_t completeSlices() const { return m_slices; }
    std::uint64_t orphanEnds() const { return m_orphanEnds; }
    std::uint64_t unclosedBegins() const { return m_open.openCount() + m_open.abandoned(); }
    std::uint64_t points() const { return m_points; }
    std::uint64_t asyncPairs() const { return m_asyncPairs; }
    std::uint64_t orphanAsyncEnds() const { return m_orphanAsyncEnds; }
    std::uint64_t unclosedAsync() const;
    std::size_t counterTracks() const { return m_counters.size(); }
    std::uint64_t counterSamples() const { return m_samples; }
    // Left out because they would end before they begin.
    std::uint64_t backwardSpans() const { return m_backward; }
    bool any() const { return m_slices + m_points + m_asyncPairs + m_samples > 0; }

private:
    // A sample whose value holds until the next one comes.
    struct Counter {
        int row = -1;
        int band = -1;
        std::int64_t since = 0;
        double value = 0;
    };

    void addSample(const Counter& counter, std::int64_t end);
    int nameRow(std::uint32_t name);
    const std::string& asyncKey(int tgid, std::string_view name, std::string_view cookie);

    TaskRows& m_tasks;
    lanefeed_runtime::ResultWriter& m_writer;
    TextTable m_names;
    OpenSlices m_open;
    SliceOrder m_order;
    OpenSlice m_closed;
    std::vector<int> m_nameRows;  // by name; -1 as long as nobody asked
    std::unordered_map<std::string, std::vector<std::int64_t>> m_openAsync;  // times
    std::unordered_map<std::string, Counter> m_counters;
    std::string m_key;
    std::uint64_t m_slices = 0;
    std::uint64_t m_orphanEnds = 0;
    std::uint64_t m_points = 0;
    std::uint64_t m_asyncPairs = 0;
    std::uint64_t m_orphanAsyncEnds = 0;
    std::uint64_t m_samples = 0;
    std::uint64_t m_backward = 0;
};

}  // namespace lanefeed_importers
