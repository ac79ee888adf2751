// What a layer draws. The kind of the query decides, in a fixed order of kinds, since one query may
// be of several; the data type left in the source steers every later read. Tested by
// tests/viewpoint/golden_test.cpp and parser_test.cpp.

#include "viewpointparser.h"

#include "common/names.h"
#include "common/parsereport.h"
#include "common/queryattribute.h"
#include "common/querysource.h"
#include "common/valuekind.h"

#include <facekit_1_x/conversions.h>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::ICountQuery;
using dataface_1::IDataQuery;
using dataface_1::IDerivedQuery;
using dataface_1::IInfoQuery;
using dataface_1::IInstanceCountQuery;
using dataface_1::IQuery;
using dataface_1::ITimeQuery;
using dataface_1::IVectorQuery;
using platkit_2_18::generic::varg_list;
using DrawBy = TLViewpointParser::DrawBy;

// Resolution of a derived value that doesn't say its own.
constexpr double kDerivedResolutionMs = 100.0;

// Display attributes, in the order in which they are read once the query is known.
constexpr void (TLViewpointParser::*kDisplayReaders[])(DrawBy&) = {
    &TLViewpointParser::getDisplayFormat,   &TLViewpointParser::getDisplayColor,
    &TLViewpointParser::getFilterColor,     &TLViewpointParser::getDecimationColor,
    &TLViewpointParser::getIconType,        &TLViewpointParser::getLineStyle,
    &TLViewpointParser::getLineWidth,       &TLViewpointParser::getOverTimeBinMult,
    &TLViewpointParser::getSamplePointTime,
};

// The display colour at half its brightness, unless one was given that could be read.
void defaultDecimationColor(DrawBy& drawBy) {
    if (drawBy.hasDecimationColor || !drawBy.hasDisplayColor) return;
    const auto half = [](unsigned char part) { return static_cast<unsigned char>(part >> 1U); };
    const TLViewpointParser::TLColor& color = drawBy.displayColor;
    drawBy.decimationColor = {half(color.red), half(color.green), half(color.blue), color.alpha};
    drawBy.hasDecimationColor = true;
}

// The first kind that the query is of. False when it is of none.
bool resolveByKind(TLViewpointParser& parser, const sptr_t<IQuery>& query, DrawBy& drawBy) {
    if (const auto info = IInfoQuery::cast(query)) {
        parser.resolveDrawByInfoQuery(info, drawBy);
    } else if (const auto time = ITimeQuery::cast(query)) {
        parser.resolveDrawByTimeQuery(time, drawBy);
    } else if (const auto count = ICountQuery::cast(query)) {
        parser.resolveDrawByCountQuery(count, drawBy);
    } else if (const auto instanceCount = IInstanceCountQuery::cast(query)) {
        parser.resolveDrawByInstCountQuery(instanceCount, drawBy);
    } else if (const auto derived = IDerivedQuery::cast(query)) {
        drawBy.ds.m_dataType = DicerDataSource::dsDerived;
        drawBy.ds.m_derivedQuery = derived;
        drawBy.ds.m_resolutionMs = kDerivedResolutionMs;
    } else if (const auto pair = IVectorQuery::cast(query)) {
        if (pair->getCount() == 2) parser.resolveLifetimeQuery(pair, drawBy);
    } else if (const auto data = IDataQuery::cast(query)) {
        parser.resolveDrawByDataQuery(data, drawBy);
    } else {
        return false;
    }
    return true;
}

// What time, count and instance count queries have in common.
void resolveSeries(TLViewpointParser& parser,
                   const sptr_t<IDataQuery>& query,
                   DicerDataSource::DataType type,
                   DrawBy& drawBy) {
    drawBy.ds.m_dataType = type;
    drawBy.ds.set("", query->getInstanceTable(), "", "");
    drawBy.displayName = parser.getString(query->getName(), varg_list());
    parser.getMinMax(query.get(), drawBy);
    parser.resolveDrawByExpansionQuery(query, drawBy);
}

template <class Query>
void readMinMax(TLViewpointParser& parser, const Query& query, DicerDataSource& ds) {
    if (const auto min = query.getMinExpression()) ds.m_min = parser.evaluateExpression(min);
    if (const auto max = query.getMaxExpression()) ds.m_max = parser.evaluateExpression(max);
}

void noteMissingTables(
    ParseLogger* logger, int area, int layer, const std::string& text, const DicerDataSource& ds) {
    if (ds.m_dataType == DicerDataSource::dsInfo && ds.m_path.empty()) {
        noteLayer(logger, area, layer,
                  text + " resolved to unexpected attribute table: (empty string)");
    }
    if (ds.m_dataType != DicerDataSource::dsNone && ds.m_dataType != DicerDataSource::dsDerived &&
        ds.m_table.empty()) {
        noteLayer(logger, area, layer,
                  text + " resolved to unexpected instance table: (empty string)");
    }
}

bool isSet(const sptr_t<IQuery>& query, const char* name) {
    const basekit2::variant_t value = queryAttribute(query.get(), name);
    return isFlag(value) && value.get<bool>();
}

}  // namespace

void TLViewpointParser::resolveDrawByQuery(int area, int /*rowSet*/, int layer, DrawBy& drawBy) {
    const std::string text = "<drawBy> " + printVariantBag(drawBy.bag, false);
    const auto query = resolveElement(m_library, drawBy.bag, m_messenger);
    if (query.is_null()) {
        reportLayer(m_logger.get(), area, layer,
                    text + "resolved to a NULL query. Layer won't be created", LF_HERE);
        return;
    }
    drawBy.ds.m_vectorQuery = query;
    if (query->getCount() > 1) {
        reportLayer(m_logger.get(), area, layer,
                    text + "resolves to multiple queries. Only the first query will be used.",
                    LF_HERE);
    }
    const sptr_t<IQuery> defaultQuery = query->getDefaultQuery();
    if (defaultQuery.is_null()) {
        reportLayer(m_logger.get(), area, layer,
                    text + " resolves to a NULL default query. Layer won't be created", LF_HERE);
        return;
    }
    drawBy.ds.m_defaultQuery = defaultQuery;
    for (const auto read : kDisplayReaders)
        (this->*read)(drawBy);
    defaultDecimationColor(drawBy);
    if (!resolveByKind(*this, defaultQuery, drawBy)) {
        reportLayer(m_logger.get(), area, layer,
                    text + "did not resolve to a valid query. Layer won't be created", LF_HERE);
    }
    getOvertimeResolution(drawBy);
    getOvertimeTimeScale(drawBy);
    noteMissingTables(m_logger.get(), area, layer, text, drawBy.ds);
}

void TLViewpointParser::resolveDrawByInfoQuery(sptr_t<IInfoQuery> query, DrawBy& drawBy) {
    drawBy.ds.m_dataType = DicerDataSource::dsInfo;
    setSource(drawBy.ds, *query);
    drawBy.displayName = getString(query->getName(), varg_list());
    getMinMax(query.get(), drawBy);
    resolveDrawByExpansionQuery(query, drawBy);
}

// A plain data query has neither a display name nor an expansion.
void TLViewpointParser::resolveDrawByDataQuery(sptr_t<IDataQuery> query, DrawBy& drawBy) {
    drawBy.ds.m_dataType = DicerDataSource::dsData;
    drawBy.ds.set("", query->getInstanceTable(), "", "");
    getMinMax(query.get(), drawBy);
}

void TLViewpointParser::resolveDrawByTimeQuery(sptr_t<ITimeQuery> query, DrawBy& drawBy) {
    resolveSeries(*this, query, DicerDataSource::dsTime, drawBy);
}

void TLViewpointParser::resolveDrawByCountQuery(sptr_t<ICountQuery> query, DrawBy& drawBy) {
    resolveSeries(*this, query, DicerDataSource::dsCount, drawBy);
}

void TLViewpointParser::resolveDrawByInstCountQuery(sptr_t<IInstanceCountQuery> query,
                                                    DrawBy& drawBy) {
    resolveSeries(*this, query, DicerDataSource::dsInstanceCount, drawBy);
}

// One extra per link of the chain, in its order; a link that is no attribute query is passed over.
void TLViewpointParser::resolveDrawByExpansionQuery(const sptr_t<IQuery>& query, DrawBy& drawBy) {
    const sptr_t<IQuery> expansion = query->getExpansionQuery();
    if (expansion.is_null()) return;
    if (const auto info = IInfoQuery::cast(expansion)) {
        std::vector<std::string> values;
        for (auto it = info->getValues(0); !it.at_end(); it.next())
            values.push_back(facekit_1_x::variantToString(it.current()));
        drawBy.ds.addExtra(expansion, info->getAttributeTable(), info->getInstanceTable(),
                           info->getAttributeName(), values, "");
    }
    if (expansion->getExpansionQuery()) resolveDrawByExpansionQuery(expansion, drawBy);
}

bool TLViewpointParser::resolveLifetimeQuery(sptr_t<IVectorQuery> query, DrawBy& drawBy) {
    const auto it = query->getQueries();
    if (!LF_CHECK_AS(basekit2::iterator_util::get_item_count(it) == 2,
                     "bk2::iterator_util::get_item_count(it) == 2",
                     "Not enough items in the lifetime vector query!"))
        return false;
    const sptr_t<IQuery> start = it.current();
    it.next();
    const sptr_t<IQuery> end = it.current();
    if (!LF_CHECK_AS(start && end, "it.current()")) return false;
    drawBy.isLifetime = isSet(start, names::kLifetimeStart) && isSet(end, names::kLifetimeEnd);
    drawBy.displayName = getString(query->getName(), varg_list());
    return drawBy.isLifetime;
}

void TLViewpointParser::getMinMax(const IDataQuery* query, DrawBy& drawBy) {
    readMinMax(*this, *query, drawBy.ds);
}

void TLViewpointParser::getMinMax(const IInfoQuery* query, DrawBy& drawBy) {
    readMinMax(*this, *query, drawBy.ds);
}

// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
double TLViewpointParser::evaluateExpression(sptr_t<dataface_1::IExpression> expression) {
    basekit2::variant_t value;
    if (!expression->evaluate(value, m_result) || !isNumber(value)) return 0.0;
    return value.get<double>();
}

}  // namespace lanefeed_1
