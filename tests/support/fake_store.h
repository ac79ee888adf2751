#pragma once

#include <dataface_1/input_data.h>
#include <storelink1/database.h>

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// Fakes of the store for tests that look at calls, failures and cancels; agreement of numbers is
// tested on the real one. Every fake writes down what it is asked.

// What a timeline query was asked: "source" (type, table, path, grouping), "rowBy" and "expansion"
// (each ends with a blank), "objectType", "samplePoint", "filter", "fourthFlag", "span" as
// "START..END/BINS" in pane ticks.
using TimelineCall = std::map<std::string, std::string>;

struct TimelineAnswer {
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    bool refusesExpansions = false;
};

// A table of the store by rows of named cells, and one out of text: a line of names of columns,
// then one per row; whole numbers are numbers, "-" is a cell of null, as
// are those that a row lacks.
using FakeTable = std::vector<std::map<std::string, basekit2::variant_t>>;
FakeTable tableOf(const std::string& text);

class FakeDatabase : public storelink1::IDatabase {
public:
    using TimelineDatabase = basekit2::sptr_t<storelink1::ITimelineDatabase>;

    basekit2::sptr_t<storelink1::IQuery> createQuery(const std::string& table, int mode) override;
    basekit2::sptr_t<storelink1::ITimelineQuery> createTimelineQuery() override;
    basekit2::sptr_t<storelink1::IAttributeDataRetriever> createAttributeRetriever(
        const std::string& table, bool cache) override;
    bool getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end, int /*reserved*/) override {
        start = firstTick;
        end = lastTick;
        return true;
    }
    basekit2::u64_t getTicksPerSecond() override { return 1000000; }
    basekit2::sptr_t<storelink1::IFilterRegistry> getFilterRegistry() override { return filters; }
    bool getBandKind(const std::string& band, int& kind) override {
        if (bandKinds.count(band) == 0) return false;
        kind = bandKinds[band];
        return true;
    }
    bool isTableExist(const std::string& table) override { return tables.count(table) != 0; }
    TimelineDatabase getTimelineDatabase() override { return {}; }
    TimelineDatabase getFilteredTimelineDatabase() override { return {}; }
    basekit2::generic_iterator_t<storelink1::time_interval_t> getPausedIntervals() override {
        ++pauseReads;
        return basekit2::make_iterator(pauses);
    }
    void clearCaches() override {}
    void lockQueries() override { ++locks; }
    void unlockQueries() override { --locks; }

    basekit2::u64_t firstTick = 1000;
    basekit2::u64_t lastTick = 1999;
    std::map<std::string, FakeTable> tables;
    std::map<std::string, int> bandKinds;
    basekit2::sptr_t<storelink1::IFilterRegistry> filters;
    std::vector<storelink1::time_interval_t> pauses;
    std::vector<storelink1::time_interval_t> filterSpans;
    std::vector<TimelineCall> calls;  // of timeline queries that were run
    // Answer of the nth run; the last stands for all that follow.
    std::vector<TimelineAnswer> answers;
    // Record queries that were run: table, "filtered" where useFilters was called, columns,
    // conditions, filters, orders and key columns, in the order of the calls.
    std::vector<std::string> reads;
    // What retrievers give, by path and row id, and those that were made.
    std::map<std::string, std::map<int, basekit2::variant_t>> attributeValues;
    std::vector<std::string> retrievers;
    std::set<std::string> brokenTables;  // whose reads fail
    int pauseReads = 0;
    std::atomic<int> locks{0};  // that are held
};

// The input: any set of interfaces, each of which may be missing.
class FakeInput : public dataface_1::IInputData {
public:
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        const auto found = offered.find(type);
        return found != offered.end() ? found->second : IInputData::adapt_to_pointer(type);
    }
    template <class T>
    void offer(const basekit2::sptr_t<T>& object) {
        offered[basekit2::type_id_t<T>::id()] = basekit2::notype_ptr_t(object.get());
    }

    template <class T>
    void withdraw() {
        offered.erase(basekit2::type_id_t<T>::id());
    }

    std::map<unsigned int, basekit2::notype_ptr_t> offered;
};

class FakePerfDatabase : public storelink1::IPerfDatabase {
public:
    explicit FakePerfDatabase(basekit2::sptr_t<storelink1::IDatabase> db)
        : database(std::move(db)) {}
    basekit2::sptr_t<storelink1::IDatabase> getDatabase(
        const basekit2::sptr_t<dataface_1::IInputData>& /*input*/) override {
        return database;
    }

    basekit2::sptr_t<storelink1::IDatabase> database;
};

}  // namespace lanefeed_test
