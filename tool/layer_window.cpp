// Window and buckets of a request, the same for every verb. Tested by tests/tool/errors_test.cpp
// and layer_verbs_test.cpp.

#include "layer_window.h"

#include "area_view.h"
#include "asked_span.h"
#include "failure.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>
#include <optional>

namespace lanefeed_tool {

namespace {

constexpr std::uint64_t kDefaultBins = 100;
// Buckets of all rows; a series of one row takes up to 370 bytes for each, 1.9 GB in all.
constexpr std::uint64_t kMostCells = 5'000'000;

int binsOf(const std::optional<long long>& asked, const TickSpan& span) {
    const std::uint64_t ticks = span.end - span.start;
    if (!asked) return static_cast<int>(std::min(kDefaultBins, ticks));
    const long long bins = *asked;
    if (bins < 1 || static_cast<std::uint64_t>(bins) > ticks) {
        throw Failure(
            exitUsage,
            fmt::format("--bins {}: ask for 1 to {} buckets, as many as the span has ticks", bins,
                        ticks));
    }
    if (bins > std::numeric_limits<int>::max()) {
        throw Failure(exitUsage, fmt::format("--bins {}: ask for 1 to {} buckets", bins,
                                             std::numeric_limits<int>::max()));
    }
    return static_cast<int>(bins);
}

}  // namespace

LayerWindow askedWindow(const Session& session, const AreaView& area, const ViewOptions& options) {
    LayerWindow window;
    window.span = askedSpan(session, area, options.time);
    window.bins = binsOf(options.bins, window.span);
    return window;
}

void requireRoomForSeries(const LayerWindow& window, const AreaView& area) {
    const std::uint64_t rows = std::max<std::size_t>(area.rows().size(), 1);
    const auto bins = static_cast<std::uint64_t>(window.bins);
    if (bins <= kDefaultBins || bins <= kMostCells / rows) return;
    throw Failure(exitUsage,
                  fmt::format("--bins {}: series of {} rows may have 1 to {} buckets, more would "
                              "not stay within memory; ask for fewer, or for a narrower --time",
                              bins, rows, std::max(kMostCells / rows, kDefaultBins)));
}

lanefeed_1::QueryParam requestFor(const LayerInfo& layer,
                                  const AreaView& area,
                                  const LayerWindow& window) {
    lanefeed_1::QueryParam param;
    param.dds = &layer.drawBy.ds;
    param.rowByDS = isOnRows(layer) ? area.rowSource(layer) : nullptr;
    param.colorByDS = &layer.colorBy;
    param.hatchByDS = &layer.hatchBy.ds;
    param.startTime = window.span.start;
    param.endTime = window.span.end;
    param.binCount = static_cast<basekit2::u32_t>(window.bins);
    param.samplePoint = layer.drawBy.samplePoint;
    param.applicableRowLevels.insert(layer.drawBy.ds.m_rowByLevels.begin(),
                                     layer.drawBy.ds.m_rowByLevels.end());
    return param;
}

}  // namespace lanefeed_tool
