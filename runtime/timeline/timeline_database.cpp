// The timeline database in memory.
//
// Finds the table, then the grouping, then the segment of a row; the tables read and keep what they
// are asked for. Kinds of counts and times need nothing beyond the grouping, so they are only noted
// as held. Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/timeline_database.h"

#include "store/filter_time.h"
#include "timeline/grouper.h"
#include "timeline/memory_timeline.h"

#include <limits>
#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using storelink1::time_interval_t;
using storelink1::timeline_grouper_type_t;

namespace {

constexpr int kAllLevels = -1;
constexpr const char* kGlobalFilter = "global";
// Each may hold whole tables.
constexpr std::size_t kMostNarrowed = 4;

// The iterator is walked from where it stands and left at its start again.
template <class T>
std::vector<T> collect(const generic_iterator_t<T>& items) {
    std::vector<T> all;
    for (items.reset(); !items.at_end(); items.next())
        all.push_back(items.current());
    items.reset();
    return all;
}

error_code_t invalidArgument(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, expression, __FILE__, line);
}

using Filters = std::vector<NamedFilter>;

Filters appended(Filters filters, const NamedFilter& filter) {
    filters.push_back(filter);
    return filters;
}

std::vector<time_interval_t> cutsOf(const Filters& filters) {
    time_interval_t allTime;
    allTime.end = std::numeric_limits<basekit2::u64_t>::max();
    std::vector<time_interval_t> cuts;
    for (const NamedFilter& filter : filters) {
        const TickSpans outside = timeBetween(keptTime(filter.time), allTime);
        cuts.insert(cuts.end(), outside.begin(), outside.end());
    }
    return cuts;
}

// Pauses are kept with their last tick.
std::vector<time_interval_t> withPauses(std::vector<time_interval_t> cuts,
                                        const ResultFacts& facts) {
    for (time_interval_t pause : facts.pauses) {
        ++pause.end;
        cuts.push_back(pause);
    }
    return cuts;
}

}  // namespace

MemoryTimeline::MemoryTimeline(std::shared_ptr<InstanceReader> reader,
                               std::shared_ptr<const ResultFacts> facts)
    : m_reader(std::move(reader)),
      m_facts(std::move(facts)),
      m_kept(std::make_shared<const KeptTime>()),
      m_counted(withPauses({}, *m_facts)),
      m_tables(std::make_shared<InstanceTables>(m_reader, m_filters, m_kept)) {}

// Attributes are tested by the store; a filter on time alone is applied to what is in memory.
MemoryTimeline::MemoryTimeline(const MemoryTimeline& wider, const NamedFilter& filter)
    : m_reader(wider.m_reader),
      m_facts(wider.m_facts),
      m_filters(appended(wider.m_filters, filter)),
      m_kept(std::make_shared<const KeptTime>(cutsOf(m_filters))),
      m_counted(withPauses(m_kept->excluded(), *m_facts)),
      m_tables(filter.query.is_null()
                   ? std::make_shared<InstanceTables>(
                         makeTouchingReader(wider.m_tables, m_kept), Filters(), m_kept)
                   : std::make_shared<InstanceTables>(m_reader, m_filters, m_kept)) {}

sptr_t<MemoryTimeline> MemoryTimeline::narrowed(const std::string& name,
                                                const NamedFilter& filter) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (filter.isEmpty()) {
        m_narrowed.erase(name);
        return sptr_t<MemoryTimeline>(this);
    }
    Narrowed& kept = m_narrowed[name];
    const bool isSame = kept.filter.query == filter.query && kept.filter.time == filter.time;
    if (kept.timeline.is_null() || !isSame) {
        kept.timeline = basekit2::make_object<MemoryTimeline>(*this, filter);
        kept.filter = filter;
    }
    kept.lastUse = ++m_uses;
    sptr_t<MemoryTimeline> out = kept.timeline;
    if (m_narrowed.size() > kMostNarrowed) forgetUnused();
    return out;
}

// Names of filters come and go, and nobody tells when one is not used any more.
void MemoryTimeline::forgetUnused() {
    auto oldest = m_narrowed.end();
    for (auto it = m_narrowed.begin(); it != m_narrowed.end(); ++it) {
        const bool isOlder =
            oldest == m_narrowed.end() || it->second.lastUse < oldest->second.lastUse;
        if (it->first != kGlobalFilter && isOlder) oldest = it;
    }
    if (oldest != m_narrowed.end()) m_narrowed.erase(oldest);
}

void MemoryTimeline::hold(timeline_grouper_type_t kind,
                          const std::string& instanceTable,
                          const Names& names) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_held[{kind, instanceTable}].insert(names);
}

error_code_t MemoryTimeline::getGrouper(sptr_t<storelink1::ITimelineGrouper>& out,
                                        timeline_grouper_type_t kind,
                                        const std::string& instanceTable,
                                        const generic_iterator_t<std::string>& names,
                                        const generic_iterator_t<int>& ids,
                                        int,
                                        int level) {
    out.reset();
    const Names paths = collect(names);
    std::vector<int> key = collect(ids);
    if (paths.size() != key.size()) return invalidArgument("paths.size() == key.size()", __LINE__);
    const std::shared_ptr<InstanceTable> table = instances(instanceTable);
    GrouperData data;
    data.table = table;
    error_code_t err;
    const bool isSplit = kind == storelink1::tgSplitIntervals;
    if (kind == storelink1::tgIntervals && m_kept->keepsAll()) {
        err = table->grouped(paths, data.instances, nullptr);
    } else if (kind == storelink1::tgIntervals || isSplit) {
        std::shared_ptr<const InstanceTable::Pieces> pieces;
        err = isSplit ? table->split(paths, pieces, nullptr)
                      : table->stretches(paths, pieces, nullptr);
        if (basekit2::is_success(err)) {
            const bool byLevel = isSplit && level != kAllLevels;
            data.instances = {pieces, byLevel ? &pieces->byLevel : &pieces->all};
            data.positions = {pieces, &pieces->positions};
            if (byLevel) key.push_back(level);
        }
    } else {
        return invalidArgument("kind", __LINE__);
    }
    if (!basekit2::is_success(err)) return err;
    hold(kind, instanceTable, paths);
    const GroupedInstances::Segment* segment = data.instances->find(key);
    if (segment == nullptr) return error_code_t::noResult;
    data.segment = *segment;
    out = makeGrouper(std::move(data));
    return error_code_t::success;
}

generic_iterator_t<generic_iterator_t<std::string>> MemoryTimeline::getGroupings(
    timeline_grouper_type_t kind, const std::string& instanceTable) {
    std::vector<generic_iterator_t<std::string>> groupings;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto held = m_held.find({kind, instanceTable});
    if (held != m_held.end())
        for (const Names& names : held->second)
            groupings.push_back(basekit2::make_iterator(names));
    return basekit2::make_iterator(std::move(groupings));
}

error_code_t MemoryTimeline::fill(timeline_grouper_type_t kind,
                                  const std::string& instanceTable,
                                  const generic_iterator_t<std::string>& names,
                                  relay2::IProgress* progress) {
    const Names paths = collect(names);
    const std::shared_ptr<InstanceTable> table = instances(instanceTable);
    error_code_t err;
    std::shared_ptr<const InstanceTable::Pieces> pieces;
    if (kind == storelink1::tgSplitIntervals) {
        err = table->split(paths, pieces, progress);
    } else if (kind == storelink1::tgIntervals && !m_kept->keepsAll()) {
        err = table->stretches(paths, pieces, progress);
    } else {
        std::shared_ptr<const GroupedInstances> grouped;
        err = table->grouped(paths, grouped, progress);
    }
    if (basekit2::is_success(err)) hold(kind, instanceTable, paths);
    return err;
}

void MemoryTimeline::countReads(const TimelineReads& reads) {
    m_queries += reads.queries;
    m_instancesRead += reads.instances;
    m_leftOut += reads.leftOut;
}

TimelineReads MemoryTimeline::reads() const {
    return {m_queries, m_instancesRead, m_leftOut};
}

TimelineReads timelineReads(const sptr_t<storelink1::ITimelineDatabase>& database) {
    const auto* timeline = dynamic_cast<const MemoryTimeline*>(database.get());
    return timeline != nullptr ? timeline->reads() : TimelineReads();
}

sptr_t<storelink1::ITimelineDatabase> openTimelineDatabase(
    const std::shared_ptr<InstanceReader>& reader,
    const std::shared_ptr<const ResultFacts>& facts) {
    return basekit2::make_object<MemoryTimeline>(reader, facts);
}

sptr_t<storelink1::ITimelineDatabase> filteredTimelineDatabase(
    const sptr_t<storelink1::ITimelineDatabase>& database,
    const std::string& name,
    const TimelineFilterLookup& filters) {
    auto* timeline = dynamic_cast<MemoryTimeline*>(database.get());
    if (timeline == nullptr || !filters) return database;
    return timeline->narrowed(name, filters(name));
}

}  // namespace lanefeed_runtime
