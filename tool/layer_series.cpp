// Over-time requests as a timeline pane makes them: one per layer.

#include "layer_series.h"

#include "area_view.h"
#include "asked_span.h"
#include "failure.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <fmt/format.h>
#include <iostream>
#include <limits>
#include <optional>
#include <queryparam.h>
#include <session/open_result.h>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;
using LayerInfo = TLViewpointParser::LayerInfo;

constexpr std::uint64_t kDefaultBins = 100;

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
        throw Failure(exitUsage, fmt::format("--bins {}: more than {} buckets can't be asked for",
                                             bins, std::numeric_limits<int>::max()));
    }
    return static_cast<int>(bins);
}

std::string layerName(const LayerInfo& layer) {
    if (!layer.displayName.empty()) return lanefeed_1::getString(layer.displayName);
    if (!layer.drawBy.displayName.empty()) return lanefeed_1::getString(layer.drawBy.displayName);
    const sptr_t<dataface_1::IQuery>& query = layer.drawBy.ds.m_defaultQuery;
    return query.is_null() ? std::string("unnamed") : lanefeed_1::getString(query->getName());
}

// What the unit kinds of queries are called.
std::string unitOfKind(int kind) {
    constexpr std::array<const char*, 4> kNames{"value", "percent", "count", "value"};
    return kind >= 0 && static_cast<std::size_t>(kind) < kNames.size()
               ? kNames[static_cast<std::size_t>(kind)]
               : "value";
}

std::string unitOf(const DicerDataSource& source) {
    if (source.m_timeScaleMs > 0) return "value";
    switch (source.m_dataType) {
    case DicerDataSource::dsDerived: return unitOfKind(source.m_derivedQuery->getUnitKind());
    case DicerDataSource::dsTime: return "percent";
    case DicerDataSource::dsCount:
    case DicerDataSource::dsInstanceCount: return "count";
    default: return "value";
    }
}

// Time and counts are summed; a derived value is computed from them, an attribute is read as it is.
IDicerProvider::overtime_type_t routeOf(const DicerDataSource& source) {
    switch (source.m_dataType) {
    case DicerDataSource::dsDerived: return IDicerProvider::otDerived;
    case DicerDataSource::dsInfo: return IDicerProvider::otAttribute;
    default: return IDicerProvider::otTime;
    }
}

// A percentage of the bucket width as the ticks that it was made from.
void toTicks(LayerSeries& layer) {
    const auto width = static_cast<double>(layer.binTicks());
    for (auto& row : layer.rows) {
        for (Series& series : row) {
            for (double& value : series.values)
                value = std::round(value * width / 100.0);
        }
    }
    layer.unit = "ticks";
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

class LayerReader {
public:
    LayerReader(Session& session, AreaView& area, const ViewOptions& options)
        : m_session(session),
          m_area(area),
          m_options(options),
          m_span(askedSpan(session, area, options.time)),
          m_bins(binsOf(options.bins, m_span)) {}

    // Empty when the layer can be served, else why not.
    std::string refusal(const LayerInfo& layer) const {
        if (layer.type != TLViewpointParser::Overtime) return "draws no over-time series";
        if (layer.drawBy.ds.m_defaultQuery.is_null() && layer.drawBy.ds.m_derivedQuery.is_null()) {
            return "names no query that is known; see 'lanefeed viewpoint'";
        }
        if (!m_session.viewpoint().isApplicable(layer, &m_area.provider())) {
            return "needs data that the result does not hold";
        }
        return {};
    }

    LayerSeries read(const LayerInfo& layer, int index) {
        LayerSeries answer;
        answer.area = m_options.area;
        answer.layer = index;
        answer.name = layerName(layer);
        answer.unit = unitOf(layer.drawBy.ds);
        answer.span = m_span;
        answer.bins = m_bins;
        answer.rows.resize(m_area.rows().size());
        request(layer, answer);
        answer.stats.cells = filledCells(answer);
        // Other percentages are no share of time.
        if (m_options.ticks && layer.drawBy.ds.m_dataType == DicerDataSource::dsTime &&
            answer.unit == "percent")
            toTicks(answer);
        return answer;
    }

private:
    void request(const LayerInfo& layer, LayerSeries& answer) {
        // Filters leave no row; there is nothing to ask for.
        if (m_area.isFilteredOut()) return;
        // Where a value is no sum, 0 is one like any other.
        const bool keepZeros =
            answer.unit == "value" || layer.drawBy.ds.m_dataType == DicerDataSource::dsDerived;
        lanefeed_1::QueryParam param;
        param.dds = &layer.drawBy.ds;
        param.rowByDS = m_area.rowSource();
        param.startTime = m_span.start;
        param.endTime = m_span.end;
        param.binCount = static_cast<basekit2::u32_t>(m_bins);
        param.keepZeroValues = keepZeros;
        param.applicableRowLevels.insert(layer.drawBy.ds.m_rowByLevels.begin(),
                                         layer.drawBy.ds.m_rowByLevels.end());

        const lanefeed_runtime::ReadCounts before = lanefeed_runtime::readCounts(m_session.input());
        const auto begin = std::chrono::steady_clock::now();
        std::vector<sptr_t<dataface_1::ITableTree>> forest;
        // False also means that nothing lies in the span.
        const bool served =
            m_area.provider().getOverTimeData(param, routeOf(layer.drawBy.ds), forest);
        for (std::size_t row = 0; served && row < forest.size() && row < answer.rows.size(); ++row)
            answer.rows[row] = readSeries(forest[row], m_bins, keepZeros);
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - begin;
        const lanefeed_runtime::ReadCounts after = lanefeed_runtime::readCounts(m_session.input());
        answer.stats.milliseconds = taken.count();
        answer.stats.served = "store";
        answer.stats.storeReads = after.queries - before.queries;
        answer.stats.instances = after.instances - before.instances;
        answer.stats.leftOut = after.leftOut - before.leftOut;
    }

    Session& m_session;
    AreaView& m_area;
    const ViewOptions& m_options;
    TickSpan m_span;
    int m_bins;
};

}  // namespace

std::vector<LayerSeries> readLayers(Session& session, AreaView& area, const ViewOptions& options) {
    std::vector<LayerSeries> answers;
    LayerReader reader(session, area, options);
    static const std::vector<LayerInfo> kNone;
    const std::vector<LayerInfo>& layers = area.rowSet() != nullptr ? area.rowSet()->layers : kNone;
    if (options.layer >= static_cast<int>(layers.size())) {
        throw Failure(
            exitUsage,
            fmt::format("--layer {}: area {} of {} has {} layers, counted from 0", options.layer,
                        options.area, session.viewpointName(), layers.size()));
    }
    for (int i = 0; i < static_cast<int>(layers.size()); ++i) {
        if (options.layer >= 0 && options.layer != i) continue;
        const LayerInfo& layer = layers[static_cast<std::size_t>(i)];
        const std::string refusal = reader.refusal(layer);
        if (refusal.empty()) {
            answers.push_back(reader.read(layer, i));
            continue;
        }
        const std::string text = fmt::format("layer {} ({}) {}", i, layerName(layer), refusal);
        if (options.layer >= 0)
            throw Failure(exitUsage, "--layer " + std::to_string(i) + ": " + text);
        std::cerr << "lanefeed: note: " << text << "; left out\n";
    }
    return answers;
}

}  // namespace lanefeed_tool
