#pragma once

#include <storelink1/timeline_database.h>
#include <storelink1/timeline_query.h>

#include <functional>
#include <memory>
#include <string>
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

// What bucketed queries have looked at in a database so far, for statistics.
struct TimelineReads {
    basekit2::u64_t queries = 0;
    basekit2::u64_t instances = 0;  // that touch the windows asked for
    basekit2::u64_t leftOut = 0;    // of the groups that no row stands for, in window or not
};

// All zero for a database that was not made above.
TimelineReads timelineReads(const basekit2::sptr_t<storelink1::ITimelineDatabase>& database);

// What a named filter does to the time of a result. A timeline database knows nothing of filters on
// attributes: `timeOnly` false says that there is such a part.
struct TimeFilterEffect {
    // Cut out: half open, in absolute ticks, in any order.
    std::vector<storelink1::time_interval_t> cuts;
    bool timeOnly = true;
};

// Effect of a filter at the moment of the call, by name; none for a name that is not registered.
using TimeFilterLookup = std::function<TimeFilterEffect(const std::string& name)>;

// A new query for bucketed series. `unfiltered`, made above, answers as long as no other database
// is set, and what "global" cuts out then counts as left out. A required filter that has a part
// beside time makes the query fail rather than answer what was not asked; so does any without
// `filters`, which may be empty.
basekit2::sptr_t<storelink1::ITimelineQuery> makeTimelineQuery(
    const basekit2::sptr_t<storelink1::ITimelineDatabase>& unfiltered,
    TimeFilterLookup filters = {});

}  // namespace lanefeed_runtime
