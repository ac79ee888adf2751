#pragma once

#include "store/attribute_retriever.h"
#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "store/store_session.h"
#include "timeline/timeline_database.h"

#include <storelink1/database.h>

#include <memory>
#include <string>

namespace lanefeed_runtime {

class InstanceReader;

// The database of an open result: the relational face, attribute values, facts, and the timeline
// face. Gives itself as the database of its result.
class ResultDatabase : public storelink1::IDatabase, public storelink1::IPerfDatabase {
public:
    ResultDatabase(std::shared_ptr<StoreSession> session,
                   std::shared_ptr<const ResultFacts> facts,
                   std::shared_ptr<InstanceReader> instances,
                   basekit2::sptr_t<FilterRegistry> filters);

    unsigned int get_type() const override;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;

    basekit2::sptr_t<storelink1::IDatabase> getDatabase(
        const basekit2::sptr_t<dataface_1::IInputData>& input) override;

    basekit2::sptr_t<storelink1::IQuery> createQuery(const std::string& table, int mode) override;
    basekit2::sptr_t<storelink1::ITimelineQuery> createTimelineQuery() override;
    basekit2::sptr_t<storelink1::IAttributeDataRetriever> createAttributeRetriever(
        const std::string& table, bool cache) override;
    bool getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end, int reserved) override;
    basekit2::u64_t getTicksPerSecond() override;
    basekit2::sptr_t<storelink1::IFilterRegistry> getFilterRegistry() override;
    bool getBandKind(const std::string& band, int& kind) override;
    bool isTableExist(const std::string& table) override;
    basekit2::sptr_t<storelink1::ITimelineDatabase> getTimelineDatabase() override;
    basekit2::sptr_t<storelink1::ITimelineDatabase> getFilteredTimelineDatabase() override;
    basekit2::generic_iterator_t<storelink1::time_interval_t> getPausedIntervals() override;
    void clearCaches() override;
    void lockQueries() override { m_session->mutex.lock(); }
    void unlockQueries() override { m_session->mutex.unlock(); }

private:
    std::shared_ptr<StoreSession> m_session;
    std::shared_ptr<const ResultFacts> m_facts;
    std::shared_ptr<InstanceReader> m_instances;
    basekit2::sptr_t<FilterRegistry> m_filters;
    AttributeCache m_attributes;  // under the lock of the session
    const TimelineFilterLookup m_lookup;
    const basekit2::sptr_t<storelink1::ITimelineDatabase> m_timeline;
};

}  // namespace lanefeed_runtime
