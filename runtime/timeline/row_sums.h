#pragma once

#include "timeline/buckets.h"
#include "timeline/kept_time.h"
#include "timeline/memory_timeline.h"
#include "timeline/series_plan.h"

#include <storelink1/timeline_query.h>

#include <memory>
#include <vector>

namespace lanefeed_runtime {

// What is summed up, over which window. Everything is held elsewhere and outlives the sums.
struct SumRequest {
    storelink1::ITimelineQuery::QueryType type = storelink1::ITimelineQuery::qtTime;
    storelink1::ITimelineQuery::ObjectType objectType = storelink1::ITimelineQuery::otInterval;
    bool sampleAtEnd = false;  // of point objects
    bool keepZeros = false;
    const Buckets& buckets;
    const KeptTime& kept;
    const InstanceTable& table;
    const GroupedInstances& instances;
    const SeriesPlan& plan;
    const std::vector<double>* numbers = nullptr;  // by place in the table; null: the counts
};

// Sums of one row after the other. The definitions stand in docs/STORE.md.
class RowSums {
public:
    virtual ~RowSums() = default;
    // Adds a segment to the row in the making. Overlap is resolved within a segment; segments add
    // up.
    virtual void add(const GroupedInstances::Segment& segment) = 0;
    // Hands the row over and starts the next one: one entry per series of the plan, whose total is
    // added to `totals`. False for a row without data, which leaves `out` alone.
    virtual bool take(std::vector<storelink1::OverTimeDataSeries>& out,
                      std::vector<double>& totals) = 0;
    // Instances that were looked at, over all rows.
    basekit2::u64_t visited() const { return m_visited; }

protected:
    RowSums() = default;
    RowSums(const RowSums&) = default;
    RowSums& operator=(const RowSums&) = default;

    basekit2::u64_t m_visited = 0;
};

// Null for a type that does not exist.
std::unique_ptr<RowSums> makeRowSums(const SumRequest& request);

}  // namespace lanefeed_runtime
