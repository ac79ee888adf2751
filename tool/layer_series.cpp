// Requests for series, of curves and of counts, as a timeline pane makes them: one per layer.
// Tested by tests/tool/series_facts_test.cpp and layer_verbs_test.cpp.

#include "layer_series.h"

#include "area_view.h"
#include "session.h"
#include "verbs.h"

#include <array>
#include <cmath>
#include <idicerprovider.h>

namespace lanefeed_tool {

namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

// What the unit kinds of queries are called.
std::string unitOfKind(int kind) {
    constexpr std::array<const char*, 4> kNames{"value", "percent", "count", "value"};
    return kind >= 0 && static_cast<std::size_t>(kind) < kNames.size()
               ? kNames[static_cast<std::size_t>(kind)]
               : "value";
}

// Time and counts are summed; a derived value is computed from them, an attribute is read as it is.
IDicerProvider::overtime_type_t routeOf(const LayerInfo& layer) {
    if (layer.type == TLViewpointParser::CountOverTime) return IDicerProvider::otCount;
    if (layer.type == TLViewpointParser::InstanceCountOverTime)
        return IDicerProvider::otInstanceCount;
    switch (layer.drawBy.ds.m_dataType) {
    case DicerDataSource::dsDerived: return IDicerProvider::otDerived;
    case DicerDataSource::dsInfo: return IDicerProvider::otAttribute;
    default: return IDicerProvider::otTime;
    }
}

// A percentage of the bucket width as the ticks that it was made from.
void toTicks(LayerSeries& layer) {
    const auto width = static_cast<double>(layer.title.window.binTicks());
    for (auto& row : layer.rows) {
        for (Series& series : row) {
            for (double& value : series.values)
                value = std::round(value * width / 100.0);
        }
    }
    layer.title.unit = "ticks";
}

std::uint64_t filledCells(const LayerSeries& layer) {
    std::uint64_t cells = 0;
    for (const auto& row : layer.rows) {
        for (const Series& series : row) {
            for (const double value : series.values)
                cells += std::isnan(value) ? 0 : 1;
        }
    }
    return cells;
}

LayerSeries read(Session& session,
                 AreaView& area,
                 const ViewOptions& options,
                 const ChosenLayer& layer,
                 const LayerWindow& window) {
    LayerSeries answer;
    answer.title = {kindOf(*layer.info),    options.area,        layer.index,
                    layerName(*layer.info), unitOf(*layer.info), window};
    answer.rows.resize(area.rows().size());
    Forest forest = requestSeries(session, area, layer, window, answer.stats);
    for (std::size_t row = 0; row < forest.size() && row < answer.rows.size(); ++row) {
        answer.rows[row] = readSeries(forest[row], window.bins, keepsZeros(*layer.info));
        forest[row] = nullptr;  // the tables of many rows by many series are large
    }
    answer.stats.cells = filledCells(answer);
    // Other percentages are no share of time.
    if (options.ticks && layer.info->drawBy.ds.m_dataType == DicerDataSource::dsTime &&
        answer.title.unit == "percent")
        toTicks(answer);
    return answer;
}

}  // namespace

std::string unitOf(const LayerInfo& layer) {
    const DicerDataSource& source = layer.drawBy.ds;
    if (kindOf(layer) == LayerKind::counts) return "count";
    if (source.m_timeScaleMs > 0) return "value";
    switch (source.m_dataType) {
    case DicerDataSource::dsDerived: return unitOfKind(source.m_derivedQuery->getUnitKind());
    case DicerDataSource::dsTime: return "percent";
    case DicerDataSource::dsCount:
    case DicerDataSource::dsInstanceCount: return "count";
    default: return "value";
    }
}

bool keepsZeros(const LayerInfo& layer) {
    return unitOf(layer) == "value" || layer.drawBy.ds.m_dataType == DicerDataSource::dsDerived;
}

Forest requestSeries(Session& session,
                     AreaView& area,
                     const ChosenLayer& layer,
                     const LayerWindow& window,
                     ServeStats& stats) {
    Forest forest;
    const auto ask = [&](IDicerProvider& provider, lanefeed_1::QueryParam& param) {
        param.keepZeroValues = keepsZeros(*layer.info);
        return provider.getOverTimeData(param, routeOf(*layer.info), forest);
    };
    // False also means that nothing lies in the span.
    if (!serve(session, area, layer, window, stats, ask)) forest.clear();
    return forest;
}

std::vector<LayerSeries> readLayers(Session& session,
                                    AreaView& area,
                                    const ViewOptions& options,
                                    LayerKind kind) {
    const LayerWindow window = askedWindow(session, area, options);
    requireRoomForSeries(window, area);
    std::vector<LayerSeries> answers;
    for (const ChosenLayer& layer : chooseLayers(session, area, options, {kind}))
        answers.push_back(read(session, area, options, layer, window));
    return answers;
}

}  // namespace lanefeed_tool
