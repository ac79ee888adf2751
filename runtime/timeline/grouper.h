#pragma once

#include "timeline/grouped_instances.h"
#include "timeline/instance_table.h"

#include <storelink1/timeline_database.h>

#include <memory>
#include <vector>

namespace lanefeed_runtime {

// What a grouper and its cursors read: one segment of a grouping. Immutable.
struct GrouperData {
    std::shared_ptr<const InstanceTable> table;
    std::shared_ptr<const GroupedInstances> instances;
    // Place in the table of each entry of `instances`, where these are pieces; else null.
    std::shared_ptr<const std::vector<basekit2::u32_t>> positions;
    GroupedInstances::Segment segment;
};

// The instances of one row. Everything is in memory when it is made, so opening is cheap.
basekit2::sptr_t<storelink1::ITimelineGrouper> makeGrouper(GrouperData data);

}  // namespace lanefeed_runtime
