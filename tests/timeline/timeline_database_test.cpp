// Walks in time order: groupers of all kinds, their cursors, what is held, and many readers.

#include "timeline/timeline_database.h"

#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "support/filter_words.h"
#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace {

using basekit2::make_iterator;
using basekit2::sptr_t;
using basekit2::u64_t;
using lanefeed_test::ColumnReader;
using lanefeed_test::Instance;
using lanefeed_test::setFilter;
using storelink1::ITimelineDatabase;
using storelink1::ITimelineGrouper;
using storelink1::ITimelineInstanceRecord;
using storelink1::timeline_grouper_type_t;
using Cursor = storelink1::ITimelineIterator<ITimelineInstanceRecord>;
using Names = std::vector<std::string>;

const char* const kTable = "slice_data";
const char* const kThread = "dd_band::dd_thread";

std::vector<ITimelineInstanceRecord> walk(const sptr_t<ITimelineGrouper>& grouper) {
    std::vector<ITimelineInstanceRecord> records;
    sptr_t<Cursor> cursor;
    if (grouper.is_null()) return records;
    for (grouper->seek(0, cursor); cursor->valid(); cursor->next())
        records.push_back(*cursor->current());
    return records;
}

class TimelineDatabaseTest : public testing::Test {
protected:
    TimelineDatabaseTest() {
        std::mt19937 random(3);
        m_instances = lanefeed_test::randomInstances(random, 100, 5, 3, 200);
        lanefeed_test::fillReader(*m_reader, m_instances);
        m_database = lanefeed_runtime::openTimelineDatabase(
            m_reader, std::make_shared<lanefeed_runtime::ResultFacts>());
    }

    sptr_t<ITimelineGrouper> grouper(timeline_grouper_type_t kind,
                                     const Names& names,
                                     const std::vector<int>& ids,
                                     int level = -1) {
        sptr_t<ITimelineGrouper> out;
        m_err = m_database->getGrouper(out, kind, kTable, make_iterator(names), make_iterator(ids),
                                       0, level);
        return out;
    }

    // The database as it is under a filter.
    sptr_t<ITimelineDatabase> under(const std::string& name) {
        return lanefeed_runtime::filteredTimelineDatabase(
            m_database, name,
            [this](const std::string& asked) { return m_filters->filter(asked); });
    }

    std::vector<Instance> m_instances;
    std::shared_ptr<ColumnReader> m_reader = std::make_shared<ColumnReader>();
    sptr_t<lanefeed_runtime::FilterRegistry> m_filters =
        basekit2::make_object<lanefeed_runtime::FilterRegistry>();
    sptr_t<ITimelineDatabase> m_database;
    basekit2::error_code_t m_err;
};

TEST_F(TimelineDatabaseTest, GroupersGiveTheInstancesOfTheirIdsInOrder) {
    for (int thread = 0; thread <= 2; ++thread)
        for (int attr = -1; attr <= 3; ++attr) {
            const auto records = walk(
                grouper(storelink1::tgIntervals, {kThread, "slice_data::attr"}, {thread, attr}));
            std::size_t count = 0;
            for (const Instance& instance : m_instances) {
                if (instance.band / 2 != thread || instance.attr != attr) continue;
                ASSERT_LT(count, records.size());
                const ITimelineInstanceRecord& record = records[count];
                EXPECT_EQ(std::make_pair(record.start, record.end),
                          std::make_pair(instance.start, instance.end));
                EXPECT_EQ(std::make_pair(int(record.attr), int(record.attr2)),
                          std::make_pair(attr, thread));
                EXPECT_EQ(record.index, static_cast<basekit2::s64_t>(count++));
            }
            EXPECT_EQ(records.size(), count);
            EXPECT_EQ(is_success(m_err), count > 0);
        }
}

// Tick by tick, with and without time that a filter cuts out.
TEST_F(TimelineDatabaseTest, DrawsEachLevelOfNestingWhereTimeIsKept) {
    using Drawn = std::multiset<std::pair<u64_t, int>>;  // tick and attribute
    const auto drawn = [&](timeline_grouper_type_t kind, int level) {
        Drawn out;
        u64_t last = 0;
        basekit2::s64_t index = 0;
        for (const auto& record : walk(grouper(kind, {kThread}, {1}, level))) {
            EXPECT_GE(record.start, last) << "in order";
            EXPECT_EQ(record.index, index++);
            last = record.start;
            for (u64_t tick = record.start; tick <= record.end; ++tick)
                out.insert({tick, static_cast<int>(record.attr)});
        }
        return out;
    };
    const auto whole = m_database;
    setFilter(*m_filters, "global", "@-1..20 @-60..75 @-160..300");
    for (const auto& database : {whole, under("global")})
        for (int level = -1; level < 4; ++level) {
            m_database = database;
            Drawn expected;
            for (u64_t tick = 1; tick <= 200; ++tick) {
                const bool isCut = tick < 20 || (tick >= 60 && tick < 75) || tick >= 160;
                if (isCut && database != whole) continue;
                for (const int band : {2, 3}) {
                    auto open = lanefeed_test::covering(m_instances, band, tick);
                    std::reverse(open.begin(), open.end());
                    for (std::size_t depth = 0; depth < open.size(); ++depth)
                        if (level < 0 || level == static_cast<int>(depth))
                            expected.insert(
                                {tick, m_instances[static_cast<std::size_t>(open[depth])].attr});
                }
            }
            EXPECT_FALSE(expected.empty());
            EXPECT_EQ(drawn(storelink1::tgSplitIntervals, level), expected) << level;
            if (level >= 0) continue;
            EXPECT_EQ(drawn(storelink1::tgIntervals, level), expected);
        }
}

TEST_F(TimelineDatabaseTest, CursorsStepBothWaysAndEndForGood) {
    const auto grouper = this->grouper(storelink1::tgIntervals, {kThread}, {1});
    const auto records = walk(grouper);
    sptr_t<Cursor> cursor;
    for (u64_t tick = 0; tick < 220; ++tick) {
        std::size_t first = 0;
        while (first < records.size() && records[first].start < tick)
            ++first;
        ASSERT_TRUE(is_success(grouper->seek(tick, cursor)));
        ASSERT_EQ(cursor->valid(), first < records.size());
        if (first == records.size()) continue;
        EXPECT_EQ(cursor->current()->index, static_cast<basekit2::s64_t>(first));
        cursor->previous();
        ASSERT_EQ(cursor->valid(), first > 0);
        if (!cursor->valid()) continue;
        EXPECT_EQ(cursor->current()->start, records[first - 1].start);
    }
    ASSERT_TRUE(is_success(grouper->getLast(cursor)));
    EXPECT_EQ(cursor->current()->index + 1, static_cast<basekit2::s64_t>(records.size()));
    cursor->next();
    EXPECT_FALSE(cursor->valid());
    cursor->previous();
    EXPECT_FALSE(cursor->valid());
    EXPECT_EQ(cursor->current(), nullptr);
}

TEST_F(TimelineDatabaseTest, IsOneObjectForEachStateOfGlobalHoweverManyOtherFiltersThereAre) {
    EXPECT_EQ(under("global"), m_database);
    setFilter(*m_filters, "global", "@1..50");
    const auto first = under("global");
    EXPECT_NE(first, m_database);
    for (int i = 0; i < 20; ++i) {
        const std::string name = "filter" + std::to_string(i);
        setFilter(*m_filters, name, "@1..20");
        const auto other = under(name);
        EXPECT_EQ(under(name), other);
        EXPECT_EQ(under("global"), first);
    }
    setFilter(*m_filters, "global", "@1..50");
    EXPECT_NE(under("global"), first);
    setFilter(*m_filters, "global", "");
    EXPECT_EQ(under("global"), m_database);
}

TEST_F(TimelineDatabaseTest, HoldsWhatWasFilledAndReadsItOnce) {
    EXPECT_TRUE(m_database->getGroupings(storelink1::tgTimes, kTable).at_end());
    const Names names = {kThread, "slice_data::attr"};
    for (int i = 0; i < 3; ++i)
        for (const auto kind : {storelink1::tgCounts, storelink1::tgTimes, storelink1::tgIntervals,
                                storelink1::tgSplitIntervals})
            EXPECT_TRUE(is_success(m_database->fill(kind, kTable, make_iterator(names), nullptr)));
    EXPECT_EQ(m_reader->reads, 1);
    const auto held = m_database->getGroupings(storelink1::tgTimes, kTable);
    ASSERT_FALSE(held.at_end());
    EXPECT_EQ(basekit2::iterator_util::get_item_count(held.current()), 2);
    EXPECT_EQ(basekit2::iterator_util::get_item_count(held), 1);
    EXPECT_TRUE(m_database->getGroupings(storelink1::tgTimes, "other_data").at_end());
}

TEST_F(TimelineDatabaseTest, FailuresAreAnswersAndNothingIsHeld) {
    const auto fails = [&](timeline_grouper_type_t kind, const Names& names, std::vector<int> ids) {
        return grouper(kind, names, ids).is_null() && !m_err.succeeded();
    };
    EXPECT_TRUE(fails(storelink1::tgIntervals, {"no::path"}, {1}));
    EXPECT_TRUE(fails(storelink1::tgIntervals, {kThread}, {1, 2}));
    EXPECT_TRUE(fails(storelink1::tgCounts, {kThread}, {1}));
    grouper(storelink1::tgIntervals, {kThread}, {99});
    EXPECT_EQ(m_err.value(), basekit2::error_code_t::noResult);
    const Names names = {kThread};
    EXPECT_FALSE(
        m_database->fill(storelink1::tgIntervals, "no_table", make_iterator(names), nullptr)
            .succeeded());
    EXPECT_TRUE(m_database->getGroupings(storelink1::tgIntervals, "no_table").at_end());
    EXPECT_THROW(storelink1::TimelineGrouperGuard(sptr_t<ITimelineGrouper>()),
                 const storelink1::error::code_t*);
}

TEST_F(TimelineDatabaseTest, RowTasksReadAtOnce) {
    std::vector<std::size_t> counts(8, 0);
    std::vector<std::thread> tasks;
    const auto count = [this](std::size_t task) {
        const auto kind = task < 4 ? storelink1::tgIntervals : storelink1::tgSplitIntervals;
        const Names names = {kThread};
        sptr_t<ITimelineGrouper> grouper;
        m_database->getGrouper(grouper, kind, kTable, make_iterator(names),
                               make_iterator(std::vector<int>{1}), 0, -1);
        const storelink1::TimelineGrouperGuard guard(grouper);
        return walk(grouper).size();
    };
    for (std::size_t task = 0; task < counts.size(); ++task)
        tasks.emplace_back([&, task] { counts[task] = count(task); });
    for (std::thread& task : tasks)
        task.join();
    EXPECT_EQ(m_reader->reads, 1);
    for (std::size_t task = 0; task < counts.size(); ++task)
        EXPECT_EQ(counts[task], count(task));
}

}  // namespace
