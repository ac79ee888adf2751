#include "agreement/viewpoint_result.h"

#include "agreement/series_cells.h"
#include "session/open_result.h"
#include "session/shipped_viewpoints.h"
#include "support/captured_log.h"
#include "support/table_text.h"
#include "texts.h"

#include <basekit2/variant_bag.h>

#include <fmt/format.h>

namespace lanefeed_test {

using basekit2::sptr_t;
using dataface_1::ITableTree;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

namespace {

using Rows = std::vector<sptr_t<dataface_1::ITableRow>>;

void expectSilence(const CapturedLog& log) {
    for (const std::string& line : log.lines())
        ADD_FAILURE() << line;
}

std::string example(const std::string& name) {
    return LANEFEED_SOURCE_DIR "/examples/viewpoints/" + name;
}

// Of bars, markers and lines.
std::string cell(dataface_1::ITableRow& row,
                 const sptr_t<ITableTree>& table,
                 const std::string& column) {
    basekit2::variant_t value;
    row.getContent(columnNamed(table, column), dataface_1::ccValue, value);
    return std::to_string(value.get<int>());
}

bool isBarLike(const TLViewpointParser::LayerInfo& layer) {
    using Viewpoint = TLViewpointParser;
    return layer.type == Viewpoint::RowInterval || layer.type == Viewpoint::RowIntervalNested ||
           layer.type == Viewpoint::EventMarker || layer.type == Viewpoint::Transition;
}

// Buckets that follow each other with one value are written once.
std::string seriesText(const sptr_t<ITableTree>& table) {
    std::string text;
    const std::vector<SeriesCell> cells = cellsOf(table);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::size_t first = i;
        while (i + 1 < cells.size() && cells[i + 1].series == cells[first].series &&
               cells[i + 1].bin == cells[i].bin + 1 && cells[i + 1].value == cells[first].value)
            ++i;
        if (first == 0 || cells[first - 1].series != cells[first].series)
            text += (first == 0 ? "" : "; ") + cells[first].series;
        text += fmt::format(first == i ? " {0}={2}" : " {0}-{1}={2}", cells[first].bin,
                            cells[i].bin, cells[first].value);
    }
    return text;
}

}  // namespace

std::string ViewpointResult::HostParser::getString(
    const std::string& key, const platkit_2_18::generic::varg_list& /*args*/) {
    return lanefeed_1::getString(key);
}

ViewpointResult::ViewpointResult(const std::string& file) {
    lanefeed_runtime::OpenOptions options;
    options.queryFiles = {example("categories.queries.xml"), example("wakeups.queries.xml")};
    lanefeed_runtime::OpenOutcome outcome;
    m_result = lanefeed_runtime::openResult(file, options, outcome);
    EXPECT_TRUE(outcome.isOpened()) << outcome.text;
    EXPECT_TRUE(dataface_1::lookup(m_result, m_library));
}

void ViewpointResult::show(const std::string& viewpoint) {
    basekit2::variant_bag_t bag;
    std::string error;
    if (viewpoint.front() == '<')
        EXPECT_TRUE(is_success(load_variant_bag_from_string2(bag, viewpoint, "viewpoint")));
    else if (viewpoint.find(".xml") != std::string::npos)
        EXPECT_TRUE(is_success(load_variant_bag2(bag, example(viewpoint), "viewpoint")));
    else
        EXPECT_TRUE(lanefeed_runtime::readViewpoint(
            lanefeed_runtime::shippedViewpointText(viewpoint), bag, error))
            << error;
    m_parser = HostParser();  // one parser takes one ruler
    m_provider = nullptr;
    const CapturedLog log;
    const auto logger = basekit2::make_object<lanefeed_1::ParseLogger>();
    m_parser.parseViewpoint(bag, m_library, nullptr, m_result, logger);
    EXPECT_FALSE(logger->hasMessages()) << viewpoint;
    logger->printMessages();
    expectSilence(log);
}

sptr_t<ITableTree> ViewpointResult::rows(std::size_t area) {
    if (!m_provider.is_null() && area == m_area) return m_rows;
    m_area = area;
    m_rows = nullptr;
    m_provider = IDicerProvider::create(m_result);
    m_provider->setResult(static_cast<int>(area) + 1, m_result, &rowSet(area), "test", 0);
    if (!rowSet(area).rowBys.empty()) m_provider->getRowSummary(m_rows, -1, true, true);
    return m_rows;
}

ViewpointResult::Forest ViewpointResult::ask(std::size_t area,
                                             std::size_t index,
                                             unsigned bins,
                                             basekit2::u64_t end) {
    const sptr_t<ITableTree> table = rows(area);
    const LayerInfo& layer = rowSet(area).layers.at(index);
    m_provider->cacheTooltipData(&layer.tooltipBy.ds);
    lanefeed_1::QueryParam param;
    param.dds = &layer.drawBy.ds;
    const TLViewpointParser::RowBy row = m_parser.getLayerRowBy(layer, rowSet(area), 0);
    if (!table.is_null()) param.rowByDS = &row.ds;
    if (layer.colorBy.m_defaultQuery) param.colorByDS = &layer.colorBy;
    param.endTime = end > 0 ? end : m_provider->getDuration() + 1;
    param.binCount = bins;
    const auto& levels = layer.drawBy.ds.m_rowByLevels;
    param.applicableRowLevels.insert(levels.begin(), levels.end());
    Forest forest;
    const CapturedLog log;
    if (layer.type == TLViewpointParser::Transition)
        forest.resize(table.is_null() ? 0 : allRows(table).size());
    if (!serve(layer, param, forest)) forest.clear();
    expectSilence(log);
    return forest;
}

bool ViewpointResult::serve(const LayerInfo& layer, lanefeed_1::QueryParam& param, Forest& forest) {
    const int kind = layer.drawBy.ds.m_dataType;
    switch (layer.type) {
    case TLViewpointParser::RowIntervalNested:
        return m_provider->getTaskData(param, forest, nullptr);
    case TLViewpointParser::RowInterval:
    case TLViewpointParser::EventMarker: return m_provider->getIntervalData(param, forest, nullptr);
    case TLViewpointParser::Transition:  // the lines that arrive on each row
        for (param.rowLevel = 0; param.rowLevel < static_cast<int>(forest.size()); ++param.rowLevel)
            if (!m_provider->getTransitionData(param,
                                               forest[static_cast<std::size_t>(param.rowLevel)]))
                return false;
        return true;
    case TLViewpointParser::InstanceCountOverTime:
        return m_provider->getOverTimeData(param, IDicerProvider::otInstanceCount, forest);
    case TLViewpointParser::CountOverTime:
        return m_provider->getOverTimeData(param, IDicerProvider::otCount, forest);
    default:
        return m_provider->getOverTimeData(
            param,
            kind == DicerDataSource::dsDerived ? IDicerProvider::otDerived
            : kind == DicerDataSource::dsInfo  ? IDicerProvider::otAttribute
                                               : IDicerProvider::otTime,
            forest);
    }
}

std::string ViewpointResult::barsText(const LayerInfo& layer, const sptr_t<ITableTree>& table) {
    std::string text;
    for (const auto& row : table.is_null() ? Rows() : allRows(table)) {
        text += fmt::format("{}{}..{}", text.empty() ? "" : " ",
                            cell(*row, table, IDicerProvider::startTime),
                            cell(*row, table, IDicerProvider::endTime));
        auto items = m_provider->getTooltips(
            &layer.tooltipBy.ds, std::stoi(cell(*row, table, IDicerProvider::dbAttrIdx)));
        EXPECT_FALSE(items.at_end()) << layer.displayName << " has no tooltip";
        for (std::string before = " "; !items.at_end(); items.next(), before = "/")
            text += before + items.current()->getValue().get<std::string>();
    }
    return text;
}

std::string ViewpointResult::text(std::size_t area, std::size_t index, unsigned bins) {
    const LayerInfo& layer = rowSet(area).layers.at(index);
    rows(area);
    if (!m_parser.isApplicable(layer, m_provider.get())) return "not shown";
    std::vector<std::string> rows;
    for (const sptr_t<ITableTree>& table : ask(area, index, bins))
        rows.push_back(isBarLike(layer) ? barsText(layer, table) : seriesText(table));
    return fmt::format("{}", fmt::join(rows, " | "));
}

}  // namespace lanefeed_test
