// lanefeed overtime and lanefeed counts: the series of an area's layers, row by row. One request
// per layer through the provider; the answer is kept as plain series and printed. Tested by
// tests/tool/series_facts_test.cpp and layer_verbs_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "instance_census.h"
#include "layer_series.h"
#include "series_print.h"
#include "session.h"
#include "stats_print.h"
#include "verbs.h"

namespace lanefeed_tool {

namespace {

// The instances of counts are counted anew, since their requests don't tell.
std::vector<LayerStats> statsOf(Session& session,
                                AreaView& area,
                                const std::vector<LayerSeries>& layers) {
    std::vector<LayerStats> all;
    for (const LayerSeries& layer : layers) {
        LayerStats stats;
        stats.title = layer.title;
        stats.serve = layer.stats;
        const LayerInfo& info = area.rowSet()->layers[static_cast<std::size_t>(layer.title.layer)];
        if (layer.title.kind == LayerKind::counts)
            stats.census = takeCensus(session, area, info, layer.title.window);
        all.push_back(stats);
    }
    return all;
}

int runSeries(const ViewOptions& options, LayerKind kind) {
    Session session(options);
    session.readViewpoint();
    AreaView area(session, options.area);
    session.noteEmpty();
    const std::vector<LayerSeries> layers = readLayers(session, area, options, kind);
    session.requireWholeReads();
    printSeries(area, layers, options.format);
    if (options.stats) printStats(statsOf(session, area, layers));
    return exitOk;
}

}  // namespace

int runOvertime(const ViewOptions& options) {
    return runSeries(options, LayerKind::series);
}

int runCounts(const ViewOptions& options) {
    return runSeries(options, LayerKind::counts);
}

}  // namespace lanefeed_tool
