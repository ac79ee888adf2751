// Bars out of interval tables, cell by cell, as a timeline pane reads them. Tables stay as the
// provider gave them; a row is turned into bars when it is asked for, so that a large answer stands
// in memory once. Tested by tests/tool/layer_verbs_test.cpp.

#include "bars.h"

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using basekit2::u32_t;
using basekit2::variant_t;
using dataface_1::ITableRow;
using lanefeed_1::IDicerProvider;

std::optional<u32_t> colorOf(ITableRow& row) {
    variant_t value;
    if (!row.getContent(nullptr, dataface_1::ccStyle, value) || value.is_null()) return {};
    return value.get<u32_t>();
}

}  // namespace

std::vector<RowInfo> barRows(const AreaView& area, const LayerInfo& layer) {
    RowInfo all;
    all.id = -1;
    all.name = "all rows";
    if (!isOnRows(layer)) return {all};
    std::vector<RowInfo> rows;
    for (const int position : area.order())
        rows.push_back(area.rows()[static_cast<std::size_t>(position)]);
    return rows;
}

LayerBars::LayerBars(Session& session,
                     AreaView& area,
                     const ChosenLayer& layer,
                     const LayerWindow& window)
    : m_names(area.provider(), layer.info->drawBy.ds) {
    const bool isNested = kindOf(*layer.info) == LayerKind::tasks;
    const auto ask = [&](IDicerProvider& provider, lanefeed_1::QueryParam& param) {
        // The end of these requests is the last tick of the window, and its buckets are as wide
        // as those of the others then.
        --param.endTime;
        return isNested ? provider.getTaskData(param, m_forest, nullptr)
                        : provider.getIntervalData(param, m_forest, nullptr);
    };
    if (!serve(session, area, layer, window, m_stats, ask)) m_forest.clear();
    // Tables of nested ones hold their names.
    for (const auto& table : m_forest)
        if (!isNested) m_names.readFor(table);
}

std::vector<Bar> LayerBars::row(int id) {
    const auto position = static_cast<std::size_t>(id);
    if (position >= m_forest.size() || m_forest[position].is_null()) return {};
    return readRows(NamedCells(m_forest[position]), m_forest[position]->getRows(nullptr));
}

std::vector<Bar> LayerBars::readRows(const NamedCells& cells, Rows rows) {
    std::vector<Bar> bars;
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> row = rows.current();
        Bar bar;
        bar.start = cells.tick(*row, IDicerProvider::startTime);
        bar.end = cells.tick(*row, IDicerProvider::endTime) + 1;
        bar.attr = static_cast<int>(cells.number(*row, IDicerProvider::dbAttrIdx, -1));
        bar.count = static_cast<u32_t>(cells.number(*row, IDicerProvider::duplicateCount, 0));
        bar.series = cells.tick(*row, IDicerProvider::seriesIdx);
        bar.depth = static_cast<int>(cells.number(*row, IDicerProvider::depth, 0));
        bar.name = cells.text(*row, IDicerProvider::name);
        if (bar.name.empty()) bar.name = m_names.of(bar.attr);
        bar.color = colorOf(*row);
        Rows children;
        if (row->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess)
            bar.children = readRows(cells, std::move(children));
        bars.push_back(std::move(bar));
    }
    return bars;
}

}  // namespace lanefeed_tool
