// An over-time request as a bucketed query of the store: its source, kind and object type, its
// groupings and expansions, the timeline database that it runs on; and the way of the answer back
// into dense series. Shared by the reads level by level and the building of master tables. Also the
// expansions of those requests that read record by record. Tested by
// tests/provider/timelinequery_test.cpp, the latter by tests/provider/expansions_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/queryattribute.h"
#include "common/seriesname.h"
#include "common/valuekind.h"
#include "expansionhelper.h"

#include <facekit_1_x/conversions.h>
#include <platkit_2_18/strings.h>

#include <cmath>
#include <mutex>

namespace lanefeed_1 {

namespace {

using storelink1::ITimelineQuery;

// The source's own query as one on instances; null for other kinds.
basekit2::sptr_t<dataface_1::IDataQuery> dataQueryOf(const DicerDataSource& dds) {
    return dataface_1::IDataQuery::cast(dds.m_defaultQuery);
}

std::string groupingOf(const dataface_1::IDataQuery* query) {
    if (query == nullptr) return {};
    return query->isGlobalGrouping() ? names::kGlobalGrouper : query->getGrouping();
}

bool addExpansion(ITimelineQuery& query, const DicerDataSource::ExtraArgs& extra) {
    const basekit2::variant_t hides = queryAttribute(extra.query.get(), names::kHideZeroData);
    const bool hideZero = isNumber(hides) && hides.get<double>() != 0;
    facekit_1_x::SortInfo sortInfo;
    facekit_1_x::getSortFlags(extra.query, sortInfo);
    if (query.addExpansion(extra.table, extra.path, extra.attr, extra.values, hideZero,
                           sortInfo.name, !sortInfo.descending))
        return true;
    // Values that do not exist are no fault of the configuration.
    if (extra.values.empty()) {
        const std::string text =
            "Failed to add expansion: " + facekit_1_x::toXmlString(extra.query);
        LF_ALERT(text.c_str());
    }
    return false;
}

// Sparse values to one per bucket; none at all stay none.
void copyValues(const storelink1::OverTimeDataSeries& src,
                std::size_t binCount,
                std::vector<double>& values) {
    if (src.empty()) return;
    if (values.size() < binCount) values.resize(binCount, std::nan(""));
    for (const auto& [bucket, value] : src)
        if (bucket >= 0 && static_cast<std::size_t>(bucket) < binCount)
            values[static_cast<std::size_t>(bucket)] = value;
}

}  // namespace

bool DbiProviderImpl::createOverTimeQuery(const QueryParam& param,
                                          const QueryPath& rowByPath,
                                          basekit2::sptr_t<ITimelineQuery>& query,
                                          bool& isTimeData,
                                          bool& allowCollapse) {
    const DicerDataSource& dds = *param.dds;
    isTimeData = dds.m_dataType == DicerDataSource::dsTime;
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    query = db->createTimelineQuery();
    if (!LF_CHECK(query)) return false;
    const auto dataQuery = dataQueryOf(dds);
    allowCollapse = !dataQuery.is_null() &&
                    flagAttribute(dataQuery.get(), names::kAllowCollapse, LF_HERE, true);

    for (const auto& rowBy : rowByPath)
        query->addRowBy(getPath(rowBy), getPathSuffix(rowBy));
    ITimelineQuery::QueryType queryType = ITimelineQuery::qtTime;
    getQueryType(param, queryType);
    query->setSource(queryType, dds.m_table, getAttrPath(&dds), groupingOf(dataQuery.get()));
    query->setTimelineDatabase(getTimelineDb(dds.m_table));
    query->setFourthFlag(param.keepZeroValues);
    for (const DicerDataSource::ExtraArgs& extra : dds.m_extras) {
        if (dataface_1::IInfoQuery::cast(extra.query).is_null()) continue;
        if (!addExpansion(*query, extra)) return false;
    }
    const std::string required =
        textAttribute(dds.m_defaultQuery.get(), names::kRequiredFilter, LF_HERE);
    if (!required.empty() && !param.ignoreRequiredFilter) query->setRequiredFilter(required);

    ITimelineQuery::ObjectType objectType = ITimelineQuery::otInterval;
    if (!getObjectType(param, objectType)) return false;
    query->setObjectType(objectType);
    const bool samplesOneEnd = param.samplePoint == TLViewpointParser::markerStart ||
                               param.samplePoint == TLViewpointParser::markerEnd;
    if (objectType == ITimelineQuery::otPoint && samplesOneEnd)
        query->setSamplePoint(param.samplePoint);
    return true;
}

bool DbiProviderImpl::getQueryType(const QueryParam& param, ITimelineQuery::QueryType& type) {
    if (param.countOverTime) {
        type = ITimelineQuery::qtCountOverTime;
        return true;
    }
    switch (param.dds->m_dataType) {
    case DicerDataSource::dsCount: type = ITimelineQuery::qtCount; break;
    case DicerDataSource::dsInstanceCount: type = ITimelineQuery::qtInstanceCount; break;
    case DicerDataSource::dsInfo: type = ITimelineQuery::qtAttribute; break;
    default: type = ITimelineQuery::qtTime; break;
    }
    return true;
}

bool DbiProviderImpl::getObjectType(const QueryParam& param, ITimelineQuery::ObjectType& type) {
    if (param.objectType != 0) {
        type = static_cast<ITimelineQuery::ObjectType>(param.objectType);
        return true;
    }
    const DicerDataSource& dds = *param.dds;
    const basekit2::variant_t own = queryAttribute(dds.m_vectorQuery.get(), names::kObjectType);
    std::string text;
    if (isText(own)) {
        text = own.get<std::string>();
    } else {
        if (!LF_CHECK_AS(dds.m_defaultQuery, "param.dds->m_defaultQuery")) return false;
        text = textAttribute(dds.m_defaultQuery.get(), names::kObjectType, LF_HERE);
    }
    const std::string derived =
        textAttribute(dds.m_derivedQuery.get(), names::kObjectType, LF_HERE);
    text = platkit_2_18::strings::lower_case(derived.empty() ? text : derived);
    if (text == "interval" || text == "point") {
        type = text == "point" ? ITimelineQuery::otPoint : ITimelineQuery::otInterval;
        return true;
    }
    // Times and attributes belong to spans, counts to points.
    ITimelineQuery::QueryType queryType = ITimelineQuery::qtTime;
    getQueryType(param, queryType);
    const bool ofSpans =
        queryType == ITimelineQuery::qtTime || queryType == ITimelineQuery::qtAttribute;
    type = ofSpans ? ITimelineQuery::otInterval : ITimelineQuery::otPoint;
    return true;
}

basekit2::sptr_t<storelink1::ITimelineDatabase> DbiProviderImpl::getTimelineDb(
    const std::string& table) {
    if (!LF_CHECK(m_result)) return {};
    const auto db = getDb(m_result);
    if (!LF_CHECK(db)) return {};
    const auto filterRegistry = db->getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return {};
    if (!filterRegistry->hasFilter(names::kGlobalFilter) ||
        !filterRegistry->isFilterApplicable(names::kGlobalFilter, table))
        return db->getTimelineDatabase();
    // Held across the call, so that two requests never build it twice.
    const std::lock_guard<tbb::spin_mutex> guard(m_filteredDbLock);
    if (m_filteredDb.is_null()) m_filteredDb = db->getFilteredTimelineDatabase();
    return m_filteredDb;
}

bool DbiProviderImpl::applyExpansionHelper(
    const DicerDataSource* ds,
    const basekit2::sptr_t<storelink1::IQuery>& query,
    ExpansionHelper& expansionHelper,
    std::vector<storelink1::OverTimeDataSeriesMetadata>* metadata) {
    for (const DicerDataSource::ExtraArgs& extra : ds->m_extras) {
        if (dataface_1::IInfoQuery::cast(extra.query).is_null()) continue;
        const bool ret =
            expansionHelper.addExpansion(extra.table, extra.path, extra.attr, extra.values);
        if (!LF_CHECK(ret)) return false;
    }
    const dataface_1::IQuery* source = ds->m_defaultQuery.get();
    expansionHelper.setDefaultSeriesName(source != nullptr ? source->getName() : std::string());
    const bool ret = expansionHelper.applyExpansions(query);
    if (!LF_CHECK(ret)) return false;
    if (metadata != nullptr) expansionHelper.getEmptySeries(*metadata);
    return true;
}

void DbiProviderImpl::copyOvertimeData(
    const QueryParam& param,
    const DicerDataSource* ds,
    double scale,
    const storelink1::OverTimeData& src,
    OverTimeData& dst,
    const std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata) {
    dst.dbIndexes = src.key;
    copyOvertimeData(param, ds, scale, src.series, dst, metadata);
}

void DbiProviderImpl::copyOvertimeData(
    const QueryParam& param,
    const DicerDataSource* ds,
    double scale,
    const std::vector<storelink1::OverTimeDataSeries>& src,
    OverTimeData& dst,
    const std::vector<storelink1::OverTimeDataSeriesMetadata>& metadata) {
    dst.seriesSet.reserve(dst.seriesSet.size() + src.size());
    for (std::size_t i = 0; i < src.size(); ++i) {
        OverTimeDataSeries series;
        if (i < metadata.size()) {
            series.nameParts = metadata[i].nameParts;
            series.idParts = metadata[i].idParts;
            series.name = seriesName(series.nameParts);
        }
        copyValues(src[i], param.binCount, series.values);
        series.ds = *ds;
        if (scale != 0)
            for (double& value : series.values)
                value *= scale;
        dst.seriesSet.push_back(std::move(series));
    }
}

}  // namespace lanefeed_1
