// The second pass over the records: bags become queries, queries fill data sources. The order is
// part of what a host may rely on: the ruler, then area by area the rows, the layers and the grid;
// in a layer the draw query, its dive queries, the tooltip, the highlight. Nothing is reset, so a
// second pass adds tooltips and dive queries once more. Tested by
// tests/viewpoint/parser_test.cpp.

#include "viewpointparser.h"

#include "common/names.h"
#include "common/parsereport.h"
#include "common/queryattribute.h"
#include "common/querysource.h"

namespace lanefeed_1 {

namespace {

using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;

constexpr int kRuler = -1;

void resolveLayer(TLViewpointParser& parser,
                  int area,
                  int rowSet,
                  TLViewpointParser::LayerInfo& layer) {
    if (layer.drawBy.valid) {
        parser.resolveDrawByQuery(area, rowSet, layer.id, layer.drawBy);
        // Dive messages of every layer file under area 0.
        if (layer.drawBy.hasDive) parser.resolveDiveByQuery(0, 0, layer.id, layer.drawBy);
    }
    if (layer.tooltipBy.valid)
        parser.resolveTooltipByQuery(area, rowSet, layer.id, layer.tooltipBy);
    if (layer.highlightBy.valid)
        parser.resolveTooltipByQuery(area, rowSet, layer.id, layer.highlightBy);
}

void resolveGrid(TLViewpointParser& parser, int area, TLViewpointParser::RowSet& rowSet) {
    if (rowSet.gridQuery.is_null()) return;
    if (!rowSet.rowBys.empty()) {
        reportArea(parser.m_logger.get(), area,
                   "Both rowBy and gridQuery sections are present in the same rowSet. "
                   "Grid query won't be used",
                   LF_HERE);
        return;
    }
    if (rowSet.columnByFromLayers) parser.setColumnByFromLayers(rowSet);
    const basekit2::error_code_t err = parser.resolveRowByFromGridQueryParser(rowSet);
    if (err.succeeded()) return;
    reportArea(parser.m_logger.get(), area,
               "Failed to get groupings for gridQuery: " + err.as_string(1), LF_HERE);
}

void resolveRowSet(TLViewpointParser& parser, int area, TLViewpointParser::RowSet& rowSet) {
    for (TLViewpointParser::RowBy& rowBy : rowSet.rowBys)
        if (rowBy.valid) parser.resolveRowByQuery(area, rowSet.id, rowBy);
    for (TLViewpointParser::LayerInfo& layer : rowSet.layers)
        resolveLayer(parser, area, rowSet.id, layer);
    resolveGrid(parser, area, rowSet);
}

std::string idOf(const basekit2::sptr_t<IQuery>& query) {
    return query.is_null() ? "NULL" : query->getId();
}

}  // namespace

void TLViewpointParser::resolveQueries() {
    for (LayerInfo& layer : m_rulerLayers)
        resolveLayer(*this, kRuler, 0, layer);
    for (Area& area : m_areas)
        for (RowSet& rowSet : area.rowSets)
            resolveRowSet(*this, area.index, rowSet);
}

void TLViewpointParser::resolveRowByQuery(int area, int /*rowSet*/, RowBy& rowBy) {
    const auto query = resolveElement(m_library, rowBy.bag, m_messenger);
    if (query.is_null()) {
        reportArea(m_logger.get(), area, "Row by query is unknown. Area won't be created", LF_HERE);
        return;
    }
    rowBy.ds.m_vectorQuery = query;
    const auto info = IInfoQuery::cast(query->getDefaultQuery());
    if (info.is_null()) {
        reportArea(m_logger.get(), area,
                   "Row by query must resolve to info query. Area won't be created", LF_HERE);
        return;
    }
    setSource(rowBy.ds, *info);
    rowBy.ds.m_defaultQuery = info;
    if (queryAttribute(info.get(), names::kGraphColor).is_null()) return;
    const std::string color = textAttribute(info.get(), names::kGraphColor, LF_HERE);
    rowBy.hasColor = colorFromString(color, names::kGraphColor, rowBy.color);
}

// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
void TLViewpointParser::resolveTooltipByQuery(int area,
                                              int /*rowSet*/,
                                              int layer,
                                              TooltipBy& tooltipBy) {
    const std::string text = "<tooltipBy> " + printVariantBag(tooltipBy.bag, false);
    const auto query = resolveElement(m_library, tooltipBy.bag, m_messenger);
    if (query.is_null()) {
        reportLayer(m_logger.get(), area, layer, text + " resolved to a NULL query.", LF_HERE);
        return;
    }
    const auto vectorQuery = IVectorQuery::cast(query);
    if (vectorQuery.is_null()) {
        reportLayer(m_logger.get(), area, layer, text + " resolves to a NULL vector query.",
                    LF_HERE);
        return;
    }
    tooltipBy.ds.set("", "", "", "");
    for (auto it = vectorQuery->getQueries(); !it.at_end(); it.next()) {
        const basekit2::sptr_t<IQuery> member = it.current();
        const auto info = IInfoQuery::cast(member);
        if (info.is_null()) {
            noteLayer(m_logger.get(), area, layer,
                      text + " is empty or doesn't resolve to an info query. " +
                          " Query ID: " + idOf(member));
            continue;
        }
        tooltipBy.ds.addExtra(member, info->getAttributeTable(), info->getInstanceTable(),
                              info->getAttributeName(), std::string(), info->getDisplayText());
    }
}

// The element quoted in the messages is that of the draw query.
// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
void TLViewpointParser::resolveDiveByQuery(int area, int /*rowSet*/, int layer, DrawBy& drawBy) {
    const std::string text = "<diveBy> " + printVariantBag(drawBy.bag, false);
    const auto query = resolveElement(m_library, drawBy.diveBag, m_messenger);
    if (query.is_null()) {
        noteLayer(m_logger.get(), area, layer, text + " resolved to a NULL query.");
        return;
    }
    const auto vectorQuery = IVectorQuery::cast(query);
    if (vectorQuery.is_null()) {
        noteLayer(m_logger.get(), area, layer, text + " resolves to a NULL vector query.");
        return;
    }
    for (auto it = vectorQuery->getQueries(); !it.at_end(); it.next()) {
        const auto info = IInfoQuery::cast(it.current());
        if (info.is_null()) {
            noteLayer(m_logger.get(), area, layer,
                      text + " is invalid or doesn't resolve to an info query. Query ID is: " +
                          idOf(it.current()));
            return;
        }
        drawBy.ds.m_infoQueries.push_back(info);
    }
}

}  // namespace lanefeed_1
