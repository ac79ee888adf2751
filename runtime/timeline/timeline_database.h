#pragma once

#include <storelink1/timeline_database.h>
#include <storelink1/timeline_query.h>

#include <functional>
#include <memory>
#include <vector>

// The timeline face of a result, in memory. Tables and groupings are read when they are first asked
// for and kept as long as the database; all its operations are thread safe.
namespace lanefeed_runtime {

class InstanceReader;
struct ResultFacts;

// Instances of a result in time order, held in memory; nothing is read yet. Asked once by the
// database object of the store, which keeps the answer, since it is told apart by address; it must
// not refer back to that object.
basekit2::sptr_t<storelink1::ITimelineDatabase> openTimelineDatabase(
    const std::shared_ptr<InstanceReader>& reader, const std::shared_ptr<const ResultFacts>& facts);

// Spans that the filter "global" cuts out of the time at the moment of the call: half open, in
// absolute ticks, in any order.
using TimeCuts = std::function<std::vector<storelink1::time_interval_t>()>;

// A new query for bucketed series. `unfiltered`, made above, answers as long as no other database
// is set, and the cuts then count as left out; `cuts` may be empty for none.
basekit2::sptr_t<storelink1::ITimelineQuery> makeTimelineQuery(
    const basekit2::sptr_t<storelink1::ITimelineDatabase>& unfiltered, TimeCuts cuts = {});

}  // namespace lanefeed_runtime
