#pragma once

#include <dataface_1/query_kinds.h>
#include <storelink1/timeline_query.h>

#include <string>

namespace lanefeed_runtime {

// Where the totals of a grid column come from.
struct ColumnSource {
    storelink1::ITimelineQuery::QueryType type = storelink1::ITimelineQuery::qtTime;
    storelink1::ITimelineQuery::ObjectType objectType = storelink1::ITimelineQuery::otInterval;
    int samplePoint = 0;  // of point objects: 1 start, 2 end, 0 the store's own choice
    std::string table;
    std::string grouping;  // name of a grouper

    // Ticks and numbers of instances; sums of counts may be fractions.
    bool isWhole() const { return type != storelink1::ITimelineQuery::qtCount; }
};

// Of a query on instances, or a list of one such: times and counts, and the number of the instances
// for one that only tells which they are. False for other kinds.
bool columnSource(const basekit2::sptr_t<dataface_1::IQuery>& query, ColumnSource& source);

}  // namespace lanefeed_runtime
