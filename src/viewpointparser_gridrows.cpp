// Rows of a grid. A grouping of the grid offers several rows, of which it picks one for a layer; a
// row of its own is a group of one. What the parser reads of the groupings becomes records, up to
// the first grouping that cannot be read; what the layers draw becomes the columns of the grid.
// Tested by tests/viewpoint/parser_test.cpp.

#include "viewpointparser.h"

#include "common/check.h"
#include "common/names.h"
#include "common/queryattribute.h"
#include "common/querysource.h"
#include "common/valuekind.h"

#include <algorithm>
#include <optional>

namespace lanefeed_1 {

namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
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

error_code_t unexpected(const char* text, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Expected.Situation, text, __FILE__, line);
}

// Appends the members of a list in a grouping, all of which must be attribute queries.
error_code_t appendMembers(const IVectorQuery& vectorQuery, std::vector<sptr_t<IInfoQuery>>& rows) {
    for (auto it = vectorQuery.getQueries(); !it.at_end(); it.next()) {
        const auto subInfoQuery = IInfoQuery::cast(it.current());
        if (!LF_CHECK(subInfoQuery)) return unexpected("rowBy is not valid", __LINE__);
        rows.push_back(subInfoQuery);
    }
    return error_code_t::success;
}

// The alternatives of a grouping, those of its lists among them.
error_code_t collectRows(const IVectorQuery& grouping, std::vector<sptr_t<IInfoQuery>>& rows) {
    for (auto it = grouping.getQueries(); !it.at_end(); it.next()) {
        const sptr_t<IQuery> member = it.current();
        if (const auto info = IInfoQuery::cast(member)) {
            rows.push_back(info);
            continue;
        }
        const auto vectorQuery = IVectorQuery::cast(member);
        if (!LF_CHECK(vectorQuery))
            return unexpected("rowBy is not a valid info or vector query", __LINE__);
        error_code_t err = appendMembers(*vectorQuery, rows);
        if (!err.succeeded()) return err;
    }
    return rows.empty() ? unexpected("Empty rowBy in gridQuery", __LINE__) : error_code_t();
}

RowBy gridRow(TLViewpointParser& parser, const sptr_t<IInfoQuery>& info) {
    RowBy row;
    row.valid = true;  // providers take no other rows
    row.displayName = parser.getString("%Running_wait_state", platkit_2_18::generic::varg_list());
    setSource(row.ds, *info);
    row.ds.m_defaultQuery = info;
    const basekit2::variant_t color = queryAttribute(info.get(), names::kGraphColor);
    if (isText(color))
        row.hasColor =
            parser.colorFromString(color.get<std::string>(), names::kGraphColor, row.color);
    return row;
}

// A query that counts the instances an attribute query is about. The texts go in unescaped.
std::string instanceCountElement(const IInfoQuery& info) {
    return "<?xml version='1.0' encoding='UTF-8'?>\n<instanceCountQuery id=\"" + info.getId() +
           "\" displayName=\"" + info.getName() + "\"><dbPath>" + info.getInstanceTable() +
           "::" + info.getAttributeTable() + "</dbPath></instanceCountQuery>";
}

// Null, reported, when the element cannot be read or the library refuses it.
sptr_t<IQuery> instanceCountOf(const IInfoQuery& info, dataface_1::IQueryLibrary* library) {
    basekit2::variant_bag_t bag;
    const auto err = basekit2::load_variant_bag_from_string2(bag, instanceCountElement(info),
                                                             "instanceCountQuery");
    if (!LF_CHECK_AS(basekit2::is_success(err), "bk2::is_success(err)")) return {};
    sptr_t<IQuery> query;
    const bool bRet = library != nullptr && library->createQuery(bag, query, nullptr);
    return LF_CHECK(bRet) ? query : sptr_t<IQuery>();
}

}  // namespace

error_code_t TLViewpointParser::resolveRowByFromGridQueryParser(RowSet& rowSet) {
    if (!rowSet.gridQuery.is_null()) {
        for (auto it = rowSet.gridQuery->getGroupings(); !it.at_end(); it.next()) {
            const sptr_t<IVectorQuery> currentGrouping = it.current();
            if (!LF_CHECK(currentGrouping)) return unexpected("Null rowBy query", __LINE__);
            std::vector<sptr_t<IInfoQuery>> rows;
            error_code_t err = collectRows(*currentGrouping, rows);
            if (!err.succeeded()) return err;
            for (std::size_t i = 0; i < rows.size(); ++i) {
                rowSet.rowBys.push_back(gridRow(*this, rows[i]));
                rowSet.rowBys.back().continuesGroup = i != 0;
            }
        }
    }
    rowSet.hasRowBySelection = false;
    return error_code_t::success;
}

// An attribute cannot stand in a column: the number of the instances that have it stands for it.
// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
void TLViewpointParser::setColumnByFromLayers(RowSet& rowSet) {
    if (rowSet.gridQuery.is_null()) return;
    sptr_t<IVectorQuery> columns;
    for (const LayerInfo& layer : rowSet.layers) {
        const sptr_t<IQuery>& drawn = layer.drawBy.ds.m_defaultQuery;
        if (layer.drawBy.isLifetime || drawn.is_null()) continue;
        const auto info = IInfoQuery::cast(drawn);
        const sptr_t<IQuery> column = info.is_null() ? drawn : instanceCountOf(*info, m_library);
        if (!column.is_null()) columns = IVectorQuery::pushBack(columns, column);
    }
    rowSet.gridQuery->setColumnBy(columns);
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
