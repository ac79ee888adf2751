// From the query of a column to what the store is asked. Kind of object and sample point are read
// from the display attributes as a layer reads them, so that the total of a column is what a layer
// of the same query shows over the whole result. Tested by tests/agreement/grid_test.cpp.
#include "column_source.h"

#include <platkit_2_18/strings.h>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using dataface_1::IDataQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using storelink1::ITimelineQuery;

constexpr const char* kGlobalGrouper = "global_data_grouper";

std::string attribute(const IQuery& query, const char* name) {
    basekit2::variant_t value;
    query.getAttribute(name, value);
    return platkit_2_18::strings::lower_case(value.get<std::string>());
}

ITimelineQuery::QueryType typeOf(const sptr_t<IQuery>& query) {
    if (!dataface_1::ITimeQuery::cast(query).is_null()) return ITimelineQuery::qtTime;
    if (!dataface_1::ICountQuery::cast(query).is_null()) return ITimelineQuery::qtCount;
    return ITimelineQuery::qtInstanceCount;
}

ITimelineQuery::ObjectType objectTypeOf(const IQuery& query, ITimelineQuery::QueryType type) {
    const std::string text = attribute(query, "timelineObjectType");
    if (text == "point") return ITimelineQuery::otPoint;
    if (text == "interval" || type == ITimelineQuery::qtTime) return ITimelineQuery::otInterval;
    return ITimelineQuery::otPoint;
}

int samplePointOf(const IQuery& query) {
    const std::string text = attribute(query, "marker");
    if (text == "start") return 1;
    return text == "end" ? 2 : 0;
}

}  // namespace

bool columnSource(const sptr_t<IQuery>& query, ColumnSource& source) {
    const auto list = IVectorQuery::cast(query);
    if (!list.is_null())
        return list->getCount() == 1 && columnSource(list->getDefaultQuery(), source);
    const auto data = IDataQuery::cast(query);
    if (data.is_null()) return false;
    source.type = typeOf(query);
    source.objectType = objectTypeOf(*query, source.type);
    if (source.objectType == ITimelineQuery::otPoint) source.samplePoint = samplePointOf(*query);
    source.table = data->getInstanceTable();
    source.grouping = data->isGlobalGrouping() ? kGlobalGrouper : data->getGrouping();
    return true;
}

}  // namespace lanefeed_runtime
