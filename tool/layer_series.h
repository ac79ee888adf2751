#pragma once

#include "series.h"
#include "time_range.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_tool {

class AreaView;
class Session;
struct ViewOptions;

// How a layer was served.
struct ServeStats {
    std::string served;  // "store": read from the timeline database of the result
    double milliseconds = 0;
    std::uint64_t storeReads = 0;  // bucketed queries that the store ran
    std::uint64_t instances = 0;   // instances that those looked at
    std::uint64_t cells = 0;       // cells of the answer that have data
    std::uint64_t leftOut = 0;     // instances that the answer does not account for
};

// The over-time answer of one layer.
struct LayerSeries {
    int area = 0;
    int layer = 0;  // from 0, as in the viewpoint
    std::string name;
    std::string unit;  // "percent", "count", "value" or "ticks"
    TickSpan span;
    int bins = 0;
    std::vector<std::vector<Series>> rows;  // by row id
    ServeStats stats;

    // Width of every bucket; the last one reaches to the end of the span.
    std::uint64_t binTicks() const {
        return (span.end - span.start) / static_cast<std::uint64_t>(bins);
    }
    std::uint64_t bucketStart(int bucket) const {
        return span.start + static_cast<std::uint64_t>(bucket) * binTicks();
    }
    std::uint64_t bucketEnd(int bucket) const {
        return bucket + 1 == bins ? span.end : bucketStart(bucket + 1);
    }
};

// The layers that the options ask for: over-time layers that the result can serve. Layers of other
// kinds are left out, which stderr tells; asked for by number they are a failure.
std::vector<LayerSeries> readLayers(Session& session, AreaView& area, const ViewOptions& options);

}  // namespace lanefeed_tool
