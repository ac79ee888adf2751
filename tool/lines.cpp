// Lines out of transition tables. A request is for one row, where the lines arrive. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "lines.h"

#include "area_view.h"
#include "failure.h"

#include <fmt/format.h>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using dataface_1::ITableRow;
using lanefeed_1::IDicerProvider;

}  // namespace

LayerLines::LayerLines(Session& session,
                       AreaView& area,
                       const ChosenLayer& layer,
                       const LayerWindow& window)
    : m_names(area.provider(), layer.info->drawBy.ds), m_forest(area.rows().size()) {
    if (window.bins > kMostBins) {
        throw Failure(exitUsage, fmt::format("--bins {}: lines are drawn in {} buckets at most; "
                                             "ask for fewer, or for a narrower --time",
                                             window.bins, kMostBins));
    }
    const auto ask = [&](IDicerProvider& provider, lanefeed_1::QueryParam& param) {
        for (const RowInfo& row : area.rows()) {
            param.rowLevel = row.id;
            if (!provider.getTransitionData(param, m_forest[static_cast<std::size_t>(row.id)]))
                return false;
        }
        return true;
    };
    if (!serve(session, area, layer, window, m_stats, ask)) m_forest.clear();
    for (const auto& table : m_forest)
        m_names.readFor(table);
}

std::vector<Line> LayerLines::row(int id) {
    const auto position = static_cast<std::size_t>(id);
    if (position >= m_forest.size() || m_forest[position].is_null()) return {};
    return readRows(NamedCells(m_forest[position]), m_forest[position]->getRows(nullptr));
}

std::vector<Line> LayerLines::readRows(const NamedCells& cells, Rows rows) {
    std::vector<Line> lines;
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> row = rows.current();
        const auto number = [&](const std::string& column) {
            return static_cast<int>(cells.number(*row, column, -1));
        };
        Line line;
        line.start = cells.tick(*row, IDicerProvider::startTime);
        line.end = cells.tick(*row, IDicerProvider::endTime);
        line.attr = number(IDicerProvider::dbAttrIdx);
        line.name = m_names.of(line.attr);
        line.startRow = number(IDicerProvider::startRow);
        line.endRow = number(IDicerProvider::endRow);
        line.count = static_cast<std::uint32_t>(cells.tick(*row, IDicerProvider::duplicateCount));
        Rows duplicates;
        if (row->getChildren(duplicates, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess)
            line.duplicates = readRows(cells, std::move(duplicates));
        // Those have the count of theirs.
        for (Line& duplicate : line.duplicates)
            duplicate.count = 0;
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace lanefeed_tool
