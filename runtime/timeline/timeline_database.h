#pragma once

#include <storelink1/timeline_database.h>
#include <storelink1/timeline_query.h>

#include <memory>

namespace lanefeed_runtime {

class InstanceReader;
struct ResultFacts;

// Instances of a result in time order, held in memory. Asked once by the database object of the
// store, which keeps the answer; it must not refer back to that object.
basekit2::sptr_t<storelink1::ITimelineDatabase> openTimelineDatabase(
    const std::shared_ptr<InstanceReader>& reader, const std::shared_ptr<const ResultFacts>& facts);

// A new query for bucketed series.
basekit2::sptr_t<storelink1::ITimelineQuery> makeTimelineQuery(
    const std::shared_ptr<InstanceReader>& reader, const std::shared_ptr<const ResultFacts>& facts);

}  // namespace lanefeed_runtime
