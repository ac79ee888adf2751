// Walks in time order: groupers of all kinds, their cursors, what is held, and many readers.

#include "timeline/timeline_database.h"

#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "support/filter_words.h"
#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <tuple>

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
                EXPECT_TRUE(record.start == instance.start && record.end == instance.end);
                EXPECT_TRUE(int(record.attr) == attr && int(record.attr2) == thread);
                EXPECT_EQ(record.index, static_cast<basekit2::s64_t>(count++));
            }
            EXPECT_EQ(records.size(), count);
            EXPECT_EQ(is_success(m_err), count > 0);
        }
}

// Each piece, with and without time that a filter cuts out: pieces end where time is cut and, when
// they are split, where their level changes, and nowhere else.
TEST_F(TimelineDatabaseTest, DrawsEachLevelOfNestingWhereTimeIsKept) {
    using Pieces = std::multiset<std::tuple<u64_t, u64_t, int>>;  // ticks and attribute
    const auto drawn = [&](timeline_grouper_type_t kind, int level) {
        Pieces out;
        u64_t last = 0;
        basekit2::s64_t index = 0;
        for (const auto& record : walk(grouper(kind, {kThread}, {1}, level))) {
            EXPECT_TRUE(record.start >= last && record.index == index++) << "in order";
            last = record.start;
            out.insert({record.start, record.end, static_cast<int>(record.attr)});
        }
        return out;
    };
    const auto whole = m_database;
    const auto levelAt = [&](int instance, u64_t tick) {
        const bool isCut = tick < 20 || (tick >= 60 && tick < 75) || tick >= 160;
        const Instance& own = m_instances[static_cast<std::size_t>(instance)];
        if (tick > own.end || (isCut && m_database != whole)) return -1;
        const auto open = lanefeed_test::covering(m_instances, own.band, tick);
        return static_cast<int>(open.end() - std::find(open.begin(), open.end(), instance)) - 1;
    };
    const auto expected = [&](bool isSplit, int level) {
        Pieces out;
        for (std::size_t i = 0; i < m_instances.size(); ++i) {
            const Instance& own = m_instances[i];
            u64_t from = own.start;
            int current = -1;  // no piece
            for (u64_t tick = own.start; own.band / 2 == 1 && tick <= own.end + 1; ++tick) {
                int next = levelAt(static_cast<int>(i), tick);
                if (!isSplit) next = std::min(next, 0);
                if (next == current) continue;
                if (current >= 0 && (level < 0 || level == current))
                    out.insert({from, tick - 1, own.attr});
                from = tick;
                current = next;
            }
        }
        return out;
    };
    setFilter(*m_filters, "global", "@-1..20 @-60..75 @-160..300");
    for (const auto& database : {whole, under("global")}) {
        m_database = database;
        EXPECT_EQ(drawn(storelink1::tgIntervals, -1), expected(false, -1));
        for (int level = -1; level < 4; ++level)
            EXPECT_EQ(drawn(storelink1::tgSplitIntervals, level), expected(true, level)) << level;
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
        grouper->seek(tick, cursor);
        ASSERT_EQ(cursor->valid(), first < records.size());
        if (first == records.size()) continue;
        EXPECT_EQ(cursor->current()->index, static_cast<basekit2::s64_t>(first));
        cursor->previous();
        ASSERT_EQ(cursor->valid(), first > 0);
        if (!cursor->valid()) continue;
        EXPECT_EQ(cursor->current()->start, records[first - 1].start);
    }
    grouper->getLast(cursor);
    EXPECT_EQ(cursor->current()->index + 1, static_cast<basekit2::s64_t>(records.size()));
    cursor->next();
    EXPECT_FALSE(cursor->valid());
    cursor->previous();
    EXPECT_EQ(cursor->current(), nullptr);
}

TEST_F(TimelineDatabaseTest, IsOneObjectForEachStateOfGlobalHoweverManyOtherFiltersThereAre) {
    setFilter(*m_filters, "global", "@1..50");
    const auto first = under("global");
    for (int i = 0; i < 20; ++i) {
        const std::string name = "filter" + std::to_string(i);
        setFilter(*m_filters, name, "@1..20");
        EXPECT_EQ(under(name), under(name));
        EXPECT_EQ(under("global"), first);
    }
    setFilter(*m_filters, "global", "@1..50");
    EXPECT_NE(under("global"), first);
}

TEST_F(TimelineDatabaseTest, HoldsWhatWasFilledAndReadsItOnce) {
    const Names names = {kThread, "slice_data::attr"};
    for (const auto kind : {storelink1::tgCounts, storelink1::tgTimes, storelink1::tgIntervals,
                            storelink1::tgSplitIntervals}) {
        EXPECT_TRUE(m_database->getGroupings(kind, kTable).at_end());
        EXPECT_TRUE(is_success(m_database->fill(kind, kTable, make_iterator(names), nullptr)));
        const auto held = m_database->getGroupings(kind, kTable);
        EXPECT_EQ(basekit2::iterator_util::get_item_count(held.current()), 2);
        EXPECT_EQ(basekit2::iterator_util::get_item_count(held), 1);
    }
    EXPECT_EQ(m_reader->reads, 1);
}

TEST_F(TimelineDatabaseTest, FailuresAreAnswersAndNothingIsHeld) {
    const auto fails = [&](timeline_grouper_type_t kind, const Names& names, std::vector<int> ids) {
        return grouper(kind, names, ids).is_null() && !m_err.succeeded();
    };
    EXPECT_TRUE(fails(storelink1::tgIntervals, {"no::path"}, {1}));
    EXPECT_TRUE(fails(storelink1::tgIntervals, {kThread}, {1, 2}));
    EXPECT_TRUE(fails(storelink1::tgCounts, {kThread}, {1}));
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
        sptr_t<ITimelineGrouper> grouper;
        m_database->getGrouper(grouper, kind, kTable, make_iterator(Names{kThread}),
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
