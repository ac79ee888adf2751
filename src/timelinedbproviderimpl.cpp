// The usual provider: its life, and over-time requests of sources that stand for several queries at
// once. Tested by tests/provider/timelinequery_test.cpp.

#include "timelinedbproviderimpl.h"

#include "rowsummarytabletree.h"

#include <basekit2/environment.h>

namespace lanefeed_1 {

TimelineDbProviderImpl::TimelineDbProviderImpl()
    : m_useLevelDb(!basekit2::get_environ_value("LANEFEED_LEVELDB").empty()) {}

TimelineDbProviderImpl::~TimelineDbProviderImpl() = default;

bool TimelineDbProviderImpl::getOverTimeData(const QueryParam& param,
                                             overtime_type_t type,
                                             Forest& forest) {
    const DicerDataSource* dds = param.dds;
    if (dds == nullptr || dds->m_vectorQuery.is_null() || dds->m_vectorQuery->getCount() < 2)
        return BaseProviderImpl::getOverTimeData(param, type, forest);
    for (auto queries = dds->m_vectorQuery->getQueries(); !queries.at_end(); queries.next()) {
        DicerDataSource source = *dds;
        source.m_defaultQuery = queries.current();
        source.m_derivedQuery = dataface_1::IDerivedQuery::cast(source.m_defaultQuery);
        QueryParam copy = param;
        copy.dds = &source;
        Forest current;
        // A query without an answer is left out.
        if (BaseProviderImpl::getOverTimeData(copy, type, current)) mergeForest(forest, current);
    }
    return true;
}

}  // namespace lanefeed_1
