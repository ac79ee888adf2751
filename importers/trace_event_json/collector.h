#pragma once

#include "importer.h"
#include "trace_event_json/collected_trace.h"
#include "trace_event_json/event.h"
#include "trace_event_json/event_record.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace lanefeed_importers {

// First pass: understands each event by itself and puts it into the sorter.
class Collector : public EventSink {
public:
    explicit Collector(const ImportOptions& options);

    bool onEvent(const TraceEvent& event) override;
    void onOtherEntry() override;
    void onRestart() override;

    CollectedTrace& trace() { return *m_trace; }

private:
    bool timedEvent(const TraceEvent& event, char phase);
    bool readTime(const TraceEvent& event, TraceTime& time);
    bool fillRecord(const TraceEvent& event, const TraceTime& time);
    void fillDuration(const TraceEvent& event, const TraceTime& time);
    void fillKey(const TraceEvent& event);
    bool fillCounter(const TraceEvent& event);
    void addValue(std::uint32_t series, double value);
    void keepArgs(const TraceEvent& event);
    void metadata(const TraceEvent& event);
    bool applyMetadata(const TraceEvent& event, std::string_view what);
    void systemEntry(const TraceEvent& event);

    const ImportOptions& m_options;
    std::unique_ptr<CollectedTrace> m_trace;
    std::unordered_map<std::string, std::uint32_t> m_seriesIds;
    EventRecord m_record;
    std::vector<std::size_t> m_places;  // by series, of its value in the last record that had it
    std::string m_key;
    std::string m_cleanArgs;
    std::string m_bytes;
};

}  // namespace lanefeed_importers
