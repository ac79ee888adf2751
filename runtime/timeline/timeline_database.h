#pragma once

#include "store/filter_parts.h"

#include <storelink1/timeline_database.h>
#include <storelink1/timeline_query.h>

#include <functional>
#include <memory>
#include <string>

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

// A filter as it stands at the moment of the call, by name; empty where there is none. From any
// thread.
using TimelineFilterLookup = std::function<NamedFilter(const std::string& name)>;

// What one more filter leaves of a database made above: the same object as long as the filter
// stays as it is, and the database itself where there is no filter of that name.
basekit2::sptr_t<storelink1::ITimelineDatabase> filteredTimelineDatabase(
    const basekit2::sptr_t<storelink1::ITimelineDatabase>& database,
    const std::string& name,
    const TimelineFilterLookup& filters);

// A new query for bucketed series. As long as no other database is set, `unfiltered`, made above,
// answers with "global" in force. A required filter comes on top of what a database has in force;
// filters are looked up when the query runs.
basekit2::sptr_t<storelink1::ITimelineQuery> makeTimelineQuery(
    const basekit2::sptr_t<storelink1::ITimelineDatabase>& unfiltered,
    TimelineFilterLookup filters = {});

}  // namespace lanefeed_runtime
