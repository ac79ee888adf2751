// The timeline database in memory.
//
// Finds the table, then the grouping, then the segment of a row; the tables read and keep what they
// are asked for. Kinds of counts and times need nothing beyond the grouping, so they are only noted
// as held. Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/timeline_database.h"

#include "timeline/grouper.h"
#include "timeline/memory_timeline.h"

#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using storelink1::timeline_grouper_type_t;

namespace {

constexpr int kAllLevels = -1;

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

}  // namespace

std::shared_ptr<InstanceTable> MemoryTimeline::instances(const std::string& instanceTable) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::shared_ptr<InstanceTable>& kept = m_tables[instanceTable];
    if (kept == nullptr) kept = std::make_shared<InstanceTable>(m_reader, instanceTable);
    return kept;
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
    if (kind == storelink1::tgIntervals) {
        err = table->grouped(paths, data.instances, nullptr);
    } else if (kind == storelink1::tgSplitIntervals) {
        std::shared_ptr<const InstanceTable::Split> split;
        err = table->split(paths, split, nullptr);
        if (basekit2::is_success(err)) {
            data.instances = {split, level == kAllLevels ? &split->all : &split->byLevel};
            data.positions = {split, &split->positions};
        }
        if (level != kAllLevels) key.push_back(level);
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
    if (kind == storelink1::tgSplitIntervals) {
        std::shared_ptr<const InstanceTable::Split> split;
        err = table->split(paths, split, progress);
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

}  // namespace lanefeed_runtime
