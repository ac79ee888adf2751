#pragma once

#include <dataface_1/input_data.h>
#include <storelink1/database.h>

#include <memory>

namespace lanefeed_test {

// Counts the calls on a database and its queries that may fail, and fails one of them.
struct CallFault {
    int failAt = 0;  // counted from 1; 0 none
    int calls = 0;

    bool failsNow() { return ++calls == failAt; }
};

// A database that is another one, but for the call that fails: makers of queries, timeline queries
// and retrievers answer null, columns and conditions 0xFFFF, orders and keys false, execute null
// with the texts "made to fail" and "no SQL", values, ranges and kinds false.
class FaultyDatabase : public storelink1::IDatabase {
public:
    FaultyDatabase(const basekit2::sptr_t<storelink1::IDatabase>& inner,
                   const std::shared_ptr<CallFault>& fault)
        : m_inner(inner), m_fault(fault) {}

    basekit2::sptr_t<storelink1::IQuery> createQuery(const std::string& table, int mode) override;
    basekit2::sptr_t<storelink1::ITimelineQuery> createTimelineQuery() override;
    basekit2::sptr_t<storelink1::IAttributeDataRetriever> createAttributeRetriever(
        const std::string& table, bool cache) override;
    bool getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end, int reserved) override;
    basekit2::u64_t getTicksPerSecond() override { return m_inner->getTicksPerSecond(); }
    basekit2::sptr_t<storelink1::IFilterRegistry> getFilterRegistry() override {
        return m_inner->getFilterRegistry();
    }
    bool getBandKind(const std::string& band, int& kind) override;
    bool isTableExist(const std::string& table) override { return m_inner->isTableExist(table); }
    basekit2::sptr_t<storelink1::ITimelineDatabase> getTimelineDatabase() override {
        return m_inner->getTimelineDatabase();
    }
    basekit2::sptr_t<storelink1::ITimelineDatabase> getFilteredTimelineDatabase() override {
        return m_inner->getFilteredTimelineDatabase();
    }
    basekit2::generic_iterator_t<storelink1::time_interval_t> getPausedIntervals() override {
        return m_inner->getPausedIntervals();
    }
    void clearCaches() override { m_inner->clearCaches(); }
    void lockQueries() override { m_inner->lockQueries(); }
    void unlockQueries() override { m_inner->unlockQueries(); }

private:
    basekit2::sptr_t<storelink1::IDatabase> m_inner;
    std::shared_ptr<CallFault> m_fault;
};

// A result that hands out such a database, and all else as another result does.
class FaultyInput : public dataface_1::IInputData, public storelink1::IPerfDatabase {
public:
    FaultyInput(const basekit2::sptr_t<dataface_1::IInputData>& inner,
                const basekit2::sptr_t<storelink1::IDatabase>& database,
                const std::shared_ptr<CallFault>& fault);

    // One count for both interfaces.
    void add_ref() override = 0;
    void release() override = 0;
    unsigned int get_type() const override;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;
    basekit2::sptr_t<storelink1::IDatabase> getDatabase(
        const basekit2::sptr_t<dataface_1::IInputData>& input) override;

private:
    basekit2::sptr_t<dataface_1::IInputData> m_inner;
    basekit2::sptr_t<storelink1::IDatabase> m_database;
};

}  // namespace lanefeed_test
