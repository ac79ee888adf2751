// Rows in groups, and the rows that a layer is shown on. A grouping of a grid offers several rows,
// of which the grid picks one for a layer; a row of its own is a group of one. Tested by
// tests/viewpoint/gridrows_test.cpp.

#include "viewpointparser.h"

#include <algorithm>
#include <optional>

namespace lanefeed_1 {

namespace {

using LayerInfo = TLViewpointParser::LayerInfo;
using RowBy = TLViewpointParser::RowBy;
using RowSet = TLViewpointParser::RowSet;

// What the grid picks for a layer out of a group of several.
std::optional<RowBy> pickRow(const LayerInfo& layer,
                             const RowSet& rowSet,
                             const std::vector<RowBy>& group,
                             int level) {
    const auto query = rowSet.gridQuery->getRowByForLevel(layer.drawBy.ds.m_vectorQuery, level);
    if (query.is_null()) return std::nullopt;
    const auto found = std::find_if(group.begin(), group.end(), [&query](const RowBy& row) {
        return row.ds.m_defaultQuery == query;
    });
    return found == group.end() ? std::nullopt : std::optional<RowBy>(*found);
}

}  // namespace

// A grid can be created and asked, but its groupings do not become rows.
basekit2::error_code_t TLViewpointParser::resolveRowByFromGridQueryParser(RowSet& rowSet) {
    rowSet.hasRowBySelection = false;
    if (rowSet.gridQuery.is_null() || rowSet.gridQuery->getGroupings().at_end())
        return basekit2::error_code_t::success;
    return basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                         "rows of a gridQuery are not supported", __FILE__,
                                         __LINE__);
}

void TLViewpointParser::setColumnByFromLayers(RowSet& rowSet) {
    if (rowSet.gridQuery) rowSet.gridQuery->setColumnBy(nullptr);
}

std::vector<std::vector<RowBy>> TLViewpointParser::getAllRowbys(const RowSet& rowSet) {
    std::vector<std::vector<RowBy>> groups;
    for (const RowBy& row : rowSet.rowBys) {
        if (groups.empty() || !row.continuesGroup) groups.emplace_back();
        groups.back().push_back(row);
    }
    return groups;
}

std::vector<RowBy> TLViewpointParser::getAllLayerRowBy(const LayerInfo& layer,
                                                       const RowSet& rowSet) {
    std::vector<RowBy> rows;
    int level = 0;
    for (const std::vector<RowBy>& group : getAllRowbys(rowSet)) {
        if (group.size() == 1 || layer.drawBy.isLifetime || rowSet.gridQuery.is_null()) {
            rows.push_back(group.front());
        } else if (auto row = pickRow(layer, rowSet, group, level)) {
            rows.push_back(*row);
        }
        ++level;
    }
    return rows;
}

RowBy TLViewpointParser::getLayerRowBy(const LayerInfo& layer, const RowSet& rowSet, int level) {
    if (rowSet.rowBys.empty()) return {};
    // A single row, and any row for a lifetime layer, holds at every level.
    if (rowSet.rowBys.size() == 1 || layer.drawBy.isLifetime) return rowSet.rowBys.front();
    const std::vector<std::vector<RowBy>> groups = getAllRowbys(rowSet);
    if (level < 0 || level >= static_cast<int>(groups.size())) return {};
    const std::vector<RowBy>& group = groups[static_cast<std::size_t>(level)];
    if (group.size() == 1) return group.front();
    if (rowSet.gridQuery.is_null()) return {};
    return pickRow(layer, rowSet, group, level).value_or(RowBy());
}

}  // namespace lanefeed_1
