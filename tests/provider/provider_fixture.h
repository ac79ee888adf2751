#pragma once

#include "dbiproviderimpl.h"
#include "messages/message_catalogs.h"
#include "rowsummarytabletree.h"
#include "support/cancel_at_poll.h"
#include "support/captured_log.h"
#include "support/environment_guard.h"
#include "support/fake_filters.h"
#include "support/fake_queries.h"
#include "support/fake_store.h"
#include "timelinedbproviderimpl.h"

#include <settingstore2/message_catalogs.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lanefeed_test {

// A provider whose protected operations can be called, with rows put in by the test.
template <class Provider>
class Probe : public Provider {
public:
    using Provider::addRowByDS;
    using Provider::applyExpansionHelper;
    using Provider::bandToObject;
    using Provider::getAttrOverTimeData;
    using Provider::getHatchesForObject;
    using Provider::getObjectType;
    using Provider::getRowDbIndexByUniqueId;
    using Provider::getRowLevel;
    using Provider::isGroupingByBand;
    using Provider::m_rowCount;
    using Provider::m_rowSummaryTable;
    using Provider::ticksInMs;

    // The read of a store, by a name of its own.
    bool read(const lanefeed_1::QueryParam& param, std::vector<lanefeed_1::OverTimeData>& data) {
        return lanefeed_1::DbiProviderImpl::getOverTimeData(param, data);
    }
};

using Strings = std::vector<std::string>;
using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;

// Catalogs of texts for the length of a scope.
class Catalogs {
public:
    explicit Catalogs(const std::vector<std::string_view>& documents) {
        Strings errors;
        settingstore2::setMessageCatalogSource(lanefeed_runtime::readCatalogs(documents, errors));
    }
    ~Catalogs() { settingstore2::setMessageCatalogSource(m_before); }
    Catalogs(const Catalogs&) = delete;
    Catalogs& operator=(const Catalogs&) = delete;

private:
    const basekit2::sptr_t<settingstore2::IMessageCatalogSource> m_before =
        settingstore2::getMessageCatalogSource();
};

// A provider over fakes: a result of 1000 ticks that begins at the absolute tick 1000.
class ProviderTest : public testing::Test {
protected:
    using DbiProbe = Probe<lanefeed_1::DbiProviderImpl>;

    ProviderTest();
    // Binds to a row set; null for an area of one row.
    void bind(lanefeed_1::TLViewpointParser::RowSet* rowSet = nullptr);
    // Binds to rows by the table "dd_thread" with these row ids.
    void bindRows(const std::vector<int>& ids);
    // A request on a time source of "slice_data".
    lanefeed_1::QueryParam request(basekit2::u64_t start = 0,
                                   basekit2::u64_t end = 1000,
                                   basekit2::u32_t bins = 10) const;
    static basekit2::sptr_t<dataface_1::IQuery> timeQuery(QueryFacts facts = {});
    static lanefeed_1::TLViewpointParser::RowBy rowBy(const QueryFacts& facts, bool joins = false);
    // What the store answers: series of these names, and records by the ids of their row, with the
    // value of each series in bucket 0.
    static TimelineAnswer answerOf(
        const Strings& names,
        const std::vector<std::pair<std::vector<int>, std::vector<double>>>& records);
    // Rows and values of bucket 0: "0:[a 1 b -] 1:[]"; "-" is a series without data.
    static std::string dataText(const std::vector<lanefeed_1::OverTimeData>& data);
    // The call gives nothing and tells this.
    void expectFailure(const std::string& text, const std::function<bool()>& call);
    // Asks again with a cancel at each poll of a whole answer, which are as many at least: each
    // ends without an answer and without a message.
    void expectQuietCancels(int polls, const std::function<bool()>& call);
    // Names of the files that the call dumps while the environment asks for them.
    static Strings dumpsOf(const std::function<void()>& call);

    basekit2::sptr_t<FakeDatabase> m_db;
    basekit2::sptr_t<FakeInput> m_input;
    basekit2::sptr_t<FakeLibrary> m_library;
    basekit2::sptr_t<FakeRegistry> m_registry;
    basekit2::sptr_t<CancelAtPoll> m_progress;
    basekit2::sptr_t<DbiProbe> m_provider;
    lanefeed_1::DicerDataSource m_source;
    lanefeed_1::DicerDataSource m_rowBySource;
    CapturedLog m_log;
};

}  // namespace lanefeed_test
