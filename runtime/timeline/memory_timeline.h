#pragma once

#include "store/instance_reader.h"
#include "store/result_facts.h"
#include "timeline/instance_tables.h"
#include "timeline/kept_time.h"
#include "timeline/timeline_database.h"

#include <storelink1/timeline_database.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// The timeline database of this runtime, with what its own queries ask of it beyond the interface.
// All operations are thread safe.
class MemoryTimeline : public storelink1::ITimelineDatabase {
public:
    MemoryTimeline(std::shared_ptr<InstanceReader> reader,
                   std::shared_ptr<const ResultFacts> facts);
    // What one more filter leaves of another one.
    MemoryTimeline(const MemoryTimeline& wider, const NamedFilter& filter);

    basekit2::error_code_t getGrouper(basekit2::sptr_t<storelink1::ITimelineGrouper>& out,
                                      storelink1::timeline_grouper_type_t kind,
                                      const std::string& instanceTable,
                                      const basekit2::generic_iterator_t<std::string>& names,
                                      const basekit2::generic_iterator_t<int>& ids,
                                      int reserved,
                                      int level) override;
    // What was filled, and for intervals also what groupers were asked for.
    basekit2::generic_iterator_t<basekit2::generic_iterator_t<std::string>> getGroupings(
        storelink1::timeline_grouper_type_t kind, const std::string& instanceTable) override;
    basekit2::error_code_t fill(storelink1::timeline_grouper_type_t kind,
                                const std::string& instanceTable,
                                const basekit2::generic_iterator_t<std::string>& names,
                                relay2::IProgress* progress) override;

    // What one more filter leaves of this, and this one where it is empty. One object for each
    // state of "global"; so also for the few other names that were used last.
    basekit2::sptr_t<MemoryTimeline> narrowed(const std::string& name, const NamedFilter& filter);
    // Read when it is asked for the first time; a table that does not exist fails then.
    std::shared_ptr<InstanceTable> instances(const std::string& instanceTable) {
        return m_tables->table(instanceTable);
    }
    // The ticks that count in buckets: all but those in pauses and those that filters cut out.
    const KeptTime& counted() const { return m_counted; }
    InstanceReader& reader() const { return *m_reader; }
    const ResultFacts& facts() const { return *m_facts; }
    // Statistics, from any thread.
    void countReads(const TimelineReads& reads);
    TimelineReads reads() const;

private:
    using Names = std::vector<std::string>;
    using Held = std::pair<storelink1::timeline_grouper_type_t, std::string>;
    struct Narrowed {
        NamedFilter filter;
        unsigned lastUse = 0;
        basekit2::sptr_t<MemoryTimeline> timeline;
    };

    void forgetUnused();  // with m_mutex held
    void hold(storelink1::timeline_grouper_type_t kind,
              const std::string& instanceTable,
              const Names& names);

    const std::shared_ptr<InstanceReader> m_reader;
    const std::shared_ptr<const ResultFacts> m_facts;
    const std::vector<NamedFilter> m_filters;
    const std::shared_ptr<const KeptTime> m_kept;  // by the filters
    const KeptTime m_counted;
    const std::shared_ptr<InstanceTables> m_tables;
    std::atomic<basekit2::u64_t> m_queries{0};
    std::atomic<basekit2::u64_t> m_instancesRead{0};
    std::atomic<basekit2::u64_t> m_leftOut{0};
    std::mutex m_mutex;  // guards what follows, never held during a read
    std::map<Held, std::set<Names>> m_held;
    std::map<std::string, Narrowed> m_narrowed;  // by name of the filter
    unsigned m_uses = 0;                         // of these
};

}  // namespace lanefeed_runtime
