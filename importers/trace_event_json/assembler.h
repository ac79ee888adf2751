#pragma once

#include "common/activity.h"
#include "common/open_slices.h"
#include "common/slice_order.h"
#include "common/track_rows.h"
#include "trace_event_json/collected_trace.h"
#include "trace_event_json/event_record.h"

#include <cstdint>
#include <store/result_writer.h>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lanefeed_importers {

// Second pass: takes the events in order of time, joins begins with ends, samples with the next
// ones and points of flows, and writes instances.
class Assembler {
public:
    Assembler(CollectedTrace& trace, lanefeed_runtime::ResultWriter& writer);

    void event(const TraceTime& time, const EventRecord& record);
    // What is still open when the trace ends.
    void finish();

    const Activity& activity() const { return m_activity; }

private:
    // The track of a process that bears that name.
    struct Track {
        std::uint32_t process = 0;
        std::uint32_t name = 0;
    };
    struct OpenAsync {
        OpenSlice slice;
        Track track;
    };
    // A sample whose value holds until the next one comes.
    struct Sample {
        std::int64_t time = 0;
        double value = 0;
        bool present = false;
    };
    struct FlowPoint {
        std::int64_t time = 0;
        std::uint32_t thread = 0;
        bool leads = false;  // the last s has an arrow
    };

    void sliceEnd(const EventRecord& record);
    void mark(const EventRecord& record, int band);
    void asyncBegin(const TraceTime& time, const EventRecord& record);
    void asyncEnd(const EventRecord& record);
    void asyncMark(const EventRecord& record);
    void flow(const EventRecord& record);
    void closeFlow(const FlowPoint& point);
    void counter(const EventRecord& record);
    void addSample(std::uint32_t series, const Sample& sample, std::int64_t end);
    lanefeed_runtime::InstanceRow sliceRow(int band,
                                           std::int64_t end,
                                           const OpenSlice& slice,
                                           std::string_view endArgs);

    Track trackOf(const EventRecord& record) const;
    int trackBand(const Track& track);
    int nameRow(lanefeed_runtime::TableId table, std::vector<int>& rows, std::uint32_t name);
    int categoryRow(std::uint32_t category);
    std::int64_t argsRow(std::string_view args);
    void addSeriesRows();
    static OpenSlice openSlice(const TraceTime& time, const EventRecord& record);

    CollectedTrace& m_trace;
    lanefeed_runtime::ResultWriter& m_writer;
    TrackRows m_rows;
    Activity m_activity;
    OpenSlices m_openSlices;
    SliceOrder m_order;
    std::unordered_map<std::string, std::vector<OpenAsync>> m_openAsync;
    std::unordered_map<std::string, FlowPoint> m_flows;
    std::vector<Sample> m_samples;                  // by series
    std::vector<std::pair<int, int>> m_seriesRows;  // row and band, by series
    std::vector<int> m_taskRows;                    // by name; -1 as long as nobody asked
    std::vector<int> m_markerRows;
    std::vector<int> m_flowRows;
    std::vector<int> m_categoryRows;
    std::string m_key;
    OpenSlice m_closed;
    std::int64_t m_now = 0;
};

}  // namespace lanefeed_importers
