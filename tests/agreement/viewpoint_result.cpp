#include "agreement/viewpoint_result.h"

#include "bars.h"
#include "importer.h"
#include "layer_source.h"
#include "lines.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fstream>

namespace lanefeed_test {

using namespace lanefeed_tool;  // NOLINT(google-build-using-namespace)

namespace {

std::string example(const std::string& name) {
    return LANEFEED_SOURCE_DIR "/examples/viewpoints/" + name;
}

ViewOptions optionsOf(const std::string& file, const std::string& viewpoint) {
    ViewOptions options;
    options.result = file;
    options.viewpoint =
        viewpoint.find(".xml") != std::string::npos ? example(viewpoint) : viewpoint;
    options.queries = {example("categories.queries.xml"), example("wakeups.queries.xml")};
    options.strict = true;
    return options;
}

// Buckets that follow each other with one value are written once; a series without any is left out.
std::string seriesText(const std::vector<Series>& all) {
    std::string text;
    for (const Series& series : all) {
        std::string cells;
        for (std::size_t i = 0; i < series.values.size(); ++i) {
            const std::size_t first = i;
            if (std::isnan(series.values[i])) continue;
            while (i + 1 < series.values.size() && series.values[i + 1] == series.values[first])
                ++i;
            cells += fmt::format(first == i ? " {0}={2}" : " {0}-{1}={2}", first, i,
                                 series.values[first]);
        }
        if (!cells.empty()) text += (text.empty() ? "" : ", ") + series.name + cells;
    }
    return text;
}

std::string tooltipText(AreaView& area, const LayerInfo& layer, int attr) {
    std::string text;
    auto items = area.provider().getTooltips(&layer.tooltipBy.ds, attr);
    EXPECT_FALSE(items.at_end()) << layer.displayName << " has no tooltip";
    for (; !items.at_end(); items.next())
        text += (text.empty() ? "" : "/") + items.current()->getValue().get<std::string>();
    return text;
}

// Of bars or lines, with those that they stand for.
template <class Drawn>
std::string drawnText(AreaView& area, const LayerInfo& layer, const std::vector<Drawn>& drawn) {
    std::vector<std::string> texts;
    for (const Drawn& one : drawn) {
        texts.push_back(
            fmt::format("{}..{} {}", one.start, one.end, tooltipText(area, layer, one.attr)));
        if (!one.others().empty()) texts.push_back(drawnText(area, layer, one.others()));
    }
    return fmt::format("{}", fmt::join(texts, " "));
}

}  // namespace

std::string importedTrace(const TempDirectory& folder, const std::string& trace) {
    lanefeed_importers::ImportRequest request;
    request.source = LANEFEED_TEST_DATA "/" + trace;
    request.target = folder.file("t.lft");
    const auto outcome = lanefeed_importers::importTrace(request);
    EXPECT_FALSE(outcome.error.failed()) << outcome.error.text;
    return request.target;
}

ViewpointResult::ViewpointResult(const std::string& file, const std::string& viewpoint)
    : m_options(optionsOf(file, viewpoint)), m_session(m_options) {
    const TempDirectory folder;
    if (viewpoint.front() == '<') {
        m_options.viewpoint = folder.file("viewpoint.xml");
        std::ofstream(m_options.viewpoint) << viewpoint;
    }
    m_session.readViewpoint();
}

ViewpointResult::RowSet& ViewpointResult::rowSet(int area) {
    return m_session.viewpoint().m_areas.at(static_cast<std::size_t>(area)).rowSets.at(0);
}

Forest ViewpointResult::ask(AreaView& area, int layer, int bins, bool whole) {
    LayerWindow window{{0, area.time().duration}, bins};
    if (!whole) window.span.end = window.binTicks() * static_cast<std::uint64_t>(bins);
    ServeStats stats;
    return requestSeries(m_session, area, {layer, &layerOf(area, layer, "")}, window, stats);
}

std::string ViewpointResult::text(int area, int index, int bins) {
    const CapturedLog log;
    AreaView view(m_session, area);
    const LayerInfo& layer = layerOf(view, index, "");
    if (!m_session.viewpoint().isApplicable(layer, &view.provider())) return "not shown";
    view.provider().cacheTooltipData(&layer.tooltipBy.ds);
    const LayerWindow window{{0, view.time().duration}, bins};
    std::vector<std::string> rows;
    const auto addDrawn = [&](auto&& drawn) {
        for (const RowInfo& row : view.rows())
            rows.push_back(drawnText(view, layer, drawn.row(row.id)));
    };
    const LayerKind kind = kindOf(layer);
    if (kind == LayerKind::transitions)
        addDrawn(LayerLines(m_session, view, {index, &layer}, window));
    else if (kind == LayerKind::intervals || kind == LayerKind::tasks)
        addDrawn(LayerBars(m_session, view, {index, &layer}, window));
    else
        for (const auto& table : ask(view, index, bins))
            rows.push_back(seriesText(readSeries(table, bins, keepsZeros(layer))));
    for (const std::string& line : log.lines())
        ADD_FAILURE() << line;
    std::replace(rows.begin(), rows.end(), std::string(), std::string("-"));
    return fmt::format("{}", fmt::join(rows, " & "));
}

}  // namespace lanefeed_test
