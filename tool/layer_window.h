#pragma once

#include "layer_choice.h"
#include "time_range.h"

#include <cstdint>
#include <queryparam.h>

namespace lanefeed_tool {

class AreaView;
class Session;
struct ViewOptions;

// The window of a request and its buckets, in pane ticks; half open.
struct LayerWindow {
    TickSpan span;
    int bins = 1;

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

// The window that --time and --bins ask for. Throws a usage failure for more buckets than ticks,
// for which no request has an answer.
LayerWindow askedWindow(const Session& session, const AreaView& area, const ViewOptions& options);

// Throws a usage failure for more buckets than memory holds of series on all rows of an area. Bars
// and lines take memory by what is drawn.
void requireRoomForSeries(const LayerWindow& window, const AreaView& area);

// A request for a layer over a window. It points into the layer and the area, which outlive it.
lanefeed_1::QueryParam requestFor(const LayerInfo& layer,
                                  const AreaView& area,
                                  const LayerWindow& window);

}  // namespace lanefeed_tool
