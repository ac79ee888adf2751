// Walks in time order: groupers of all kinds, their cursors, what is held, and many readers.

#include "timeline/timeline_database.h"

#include "store/result_facts.h"
#include "timeline/random_instances.h"
#include "timeline/time_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

using basekit2::make_iterator;
using basekit2::sptr_t;
using basekit2::u64_t;
using lanefeed_test::ColumnReader;
using lanefeed_test::Instance;
using storelink1::ITimelineDatabase;
using storelink1::ITimelineGrouper;
using storelink1::ITimelineInstanceRecord;
using storelink1::timeline_grouper_type_t;
using Cursor = storelink1::ITimelineIterator<ITimelineInstanceRecord>;

const char* const kTable = "slice_data";
const char* const kThread = "dd_band::dd_thread";
const char* const kAttr = "slice_data::attr";

struct Fixture {
    explicit Fixture(const std::vector<Instance>& instances) {
        lanefeed_test::fillReader(*reader, instances);
        database = lanefeed_runtime::openTimelineDatabase(
            reader, std::make_shared<lanefeed_runtime::ResultFacts>());
    }
    sptr_t<ITimelineGrouper> grouper(timeline_grouper_type_t kind,
                                     const std::vector<std::string>& names,
                                     const std::vector<int>& ids,
                                     int level = -1) const {
        sptr_t<ITimelineGrouper> out;
        err = database->getGrouper(out, kind, kTable, make_iterator(names), make_iterator(ids), 0,
                                   level);
        return out;
    }

    std::shared_ptr<ColumnReader> reader = std::make_shared<ColumnReader>();
    sptr_t<ITimelineDatabase> database;
    mutable basekit2::error_code_t err;
};

std::vector<ITimelineInstanceRecord> walk(const sptr_t<ITimelineGrouper>& grouper) {
    std::vector<ITimelineInstanceRecord> records;
    sptr_t<Cursor> cursor;
    grouper->seek(0, cursor);
    for (; cursor->valid(); cursor->next())
        records.push_back(*cursor->current());
    return records;
}

std::vector<Instance> someInstances(unsigned seed, int count = 60) {
    std::mt19937 random(seed);
    return lanefeed_test::randomInstances(random, count, 5, 3, 200);
}

TEST(TimelineDatabase, GroupersGiveTheInstancesOfTheirIdsInOrder) {
    const std::vector<Instance> instances = someInstances(3);
    const Fixture fixture(instances);
    for (int thread = 0; thread <= 2; ++thread)
        for (int attr = -1; attr <= 3; ++attr) {
            std::vector<Instance> expected;
            for (const Instance& instance : instances)
                if (instance.band / 2 == thread && instance.attr == attr)
                    expected.push_back(instance);
            const auto grouper =
                fixture.grouper(storelink1::tgIntervals, {kThread, kAttr}, {thread, attr});
            ASSERT_EQ(grouper.is_null(), expected.empty());
            if (expected.empty()) {
                EXPECT_EQ(fixture.err.value(), basekit2::error_code_t::noResult);
                continue;
            }
            const auto records = walk(grouper);
            ASSERT_EQ(records.size(), expected.size());
            for (std::size_t i = 0; i < records.size(); ++i) {
                EXPECT_EQ(records[i].start, expected[i].start);
                EXPECT_EQ(records[i].end, expected[i].end);
                EXPECT_EQ(static_cast<int>(records[i].attr), attr);
                EXPECT_EQ(static_cast<int>(records[i].attr2), thread);
                EXPECT_EQ(records[i].index, static_cast<basekit2::s64_t>(i));
            }
        }
}

TEST(TimelineDatabase, CursorsStepBothWaysAndEndForGood) {
    const Fixture fixture(someInstances(4));
    const auto grouper = fixture.grouper(storelink1::tgIntervals, {kThread}, {1});
    const auto records = walk(grouper);
    ASSERT_GT(records.size(), 3U);
    for (u64_t tick = 0; tick < 220; ++tick) {
        std::size_t first = 0;
        while (first < records.size() && records[first].start < tick)
            ++first;
        sptr_t<Cursor> cursor;
        ASSERT_TRUE(is_success(grouper->seek(tick, cursor)));
        ASSERT_EQ(cursor->valid(), first < records.size());
        if (first == records.size()) continue;
        EXPECT_EQ(cursor->current()->index, static_cast<basekit2::s64_t>(first));
        cursor->previous();
        ASSERT_EQ(cursor->valid(), first > 0);
        if (!cursor->valid()) continue;
        EXPECT_EQ(cursor->current()->start, records[first - 1].start);
    }
    sptr_t<Cursor> cursor;
    ASSERT_TRUE(is_success(grouper->getLast(cursor)));
    EXPECT_EQ(cursor->current()->index + 1, static_cast<basekit2::s64_t>(records.size()));
    cursor->next();
    EXPECT_FALSE(cursor->valid());
    cursor->previous();
    EXPECT_FALSE(cursor->valid());
    EXPECT_EQ(cursor->current(), nullptr);
}

TEST(TimelineDatabase, SplitLevelsAreThoseOfTheBandAndSumUpToAllOfThem) {
    const std::vector<Instance> instances = someInstances(5);
    const Fixture fixture(instances);
    const auto all = walk(fixture.grouper(storelink1::tgSplitIntervals, {"dd_band"}, {3}));
    std::size_t pieces = 0;
    int level = 0;
    for (;; ++level) {
        const auto grouper = fixture.grouper(storelink1::tgSplitIntervals, {"dd_band"}, {3}, level);
        if (!is_success(fixture.err)) break;
        u64_t behind = 0;
        for (const ITimelineInstanceRecord& piece : walk(grouper)) {
            EXPECT_GE(piece.start, behind) << "pieces of a level don't overlap";
            behind = piece.end + 1;
            ++pieces;
            const auto open = lanefeed_test::covering(instances, 3, piece.start);
            ASSERT_GT(static_cast<int>(open.size()), level);
            const int place = open[open.size() - 1 - static_cast<std::size_t>(level)];
            EXPECT_EQ(static_cast<int>(piece.attr),
                      instances[static_cast<std::size_t>(place)].attr);
        }
    }
    EXPECT_GT(level, 1);
    EXPECT_EQ(pieces, all.size());
}

// Tick by tick: what is drawn with cuts is what is drawn without them, where time is kept.
TEST(TimelineDatabase, NothingIsDrawnInTimeThatAFilterCutsOut) {
    const std::vector<lanefeed_test::TimeRange> cuts = {
        {1, 20, true}, {60, 75, true}, {160, 300, true}};
    const auto isKept = [&](u64_t tick) {
        return std::none_of(cuts.begin(), cuts.end(),
                            [&](const auto& cut) { return cut.start <= tick && tick < cut.end; });
    };
    Fixture fixture(someInstances(9));
    for (const auto kind : {storelink1::tgIntervals, storelink1::tgSplitIntervals})
        for (int level = -1; level < 3; ++level) {
            using Drawn = std::multiset<std::pair<u64_t, unsigned>>;
            const auto draw = [&](Drawn& drawn) {
                u64_t last = 0;
                basekit2::s64_t index = 0;
                for (const auto& record : walk(fixture.grouper(kind, {kThread}, {1}, level))) {
                    EXPECT_GE(record.start, last) << "in order";
                    EXPECT_EQ(record.index, index++);
                    last = record.start;
                    for (u64_t tick = record.start; tick <= record.end; ++tick)
                        drawn.insert({tick, record.attr});
                }
            };
            Drawn expected;
            Drawn whole;
            draw(whole);
            for (const auto& cell : whole)
                if (isKept(cell.first)) expected.insert(cell);
            const auto unfiltered = fixture.database;
            fixture.database = lanefeed_runtime::filteredTimelineDatabase(
                unfiltered, "global", [&](const std::string&) {
                    return lanefeed_runtime::NamedFilter{{}, lanefeed_test::timeFilter(cuts)};
                });
            Drawn found;
            draw(found);
            fixture.database = unfiltered;
            EXPECT_FALSE(found.empty());
            EXPECT_EQ(found, expected) << "level " << level;
        }
}

TEST(TimelineDatabase, IsOneObjectForEachStateOfGlobalHoweverManyOtherFiltersThereAre) {
    const Fixture fixture(someInstances(10));
    std::map<std::string, lanefeed_runtime::NamedFilter> filters;
    const auto under = [&](const std::string& name) {
        return lanefeed_runtime::filteredTimelineDatabase(
            fixture.database, name, [&](const std::string& asked) { return filters[asked]; });
    };
    EXPECT_EQ(under("global"), fixture.database);
    filters["global"].time = lanefeed_test::timeFilter({{1, 50}});
    const auto first = under("global");
    EXPECT_NE(first, fixture.database);
    for (int i = 0; i < 20; ++i) {
        const std::string name = "filter" + std::to_string(i);
        filters[name].time = lanefeed_test::timeFilter({{1, 20}});
        const auto other = under(name);
        EXPECT_EQ(under(name), other);
        EXPECT_EQ(under("global"), first);
    }
    filters["global"].time = lanefeed_test::timeFilter({{1, 50}});
    const auto second = under("global");
    EXPECT_NE(second, first);
    filters["global"] = {};
    EXPECT_EQ(under("global"), fixture.database);
}

TEST(TimelineDatabase, HoldsWhatWasFilledAndReadsItOnce) {
    const Fixture fixture(someInstances(6));
    ITimelineDatabase& database = *fixture.database;
    EXPECT_TRUE(database.getGroupings(storelink1::tgTimes, kTable).at_end());
    const std::vector<std::string> names = {kThread, kAttr};
    for (int i = 0; i < 3; ++i)
        for (int kind = storelink1::tgCounts; kind <= storelink1::tgSplitIntervals; ++kind)
            EXPECT_TRUE(is_success(database.fill(static_cast<timeline_grouper_type_t>(kind), kTable,
                                                 make_iterator(names), nullptr)));
    EXPECT_EQ(fixture.reader->reads, 1);
    const auto held = database.getGroupings(storelink1::tgTimes, kTable);
    ASSERT_FALSE(held.at_end());
    EXPECT_EQ(basekit2::iterator_util::get_item_count(held.current()), 2);
    EXPECT_EQ(basekit2::iterator_util::get_item_count(held), 1);
    EXPECT_TRUE(database.getGroupings(storelink1::tgTimes, "other_data").at_end());
}

TEST(TimelineDatabase, FailuresAreAnswersAndNothingIsHeld) {
    const Fixture fixture(someInstances(7));
    EXPECT_TRUE(fixture.grouper(storelink1::tgIntervals, {"no::path"}, {1}).is_null());
    EXPECT_FALSE(fixture.err.succeeded());
    EXPECT_TRUE(fixture.grouper(storelink1::tgIntervals, {kThread}, {1, 2}).is_null());
    EXPECT_FALSE(fixture.err.succeeded());
    EXPECT_TRUE(fixture.grouper(storelink1::tgCounts, {kThread}, {1}).is_null());
    EXPECT_FALSE(fixture.err.succeeded());
    const std::vector<std::string> names = {kThread};
    EXPECT_FALSE(
        fixture.database->fill(storelink1::tgIntervals, "no_table", make_iterator(names), nullptr)
            .succeeded());
    EXPECT_TRUE(fixture.database->getGroupings(storelink1::tgIntervals, "no_table").at_end());
    EXPECT_THROW(storelink1::TimelineGrouperGuard(sptr_t<ITimelineGrouper>()),
                 const storelink1::error::code_t*);
}

TEST(TimelineDatabase, RowTasksReadAtOnce) {
    const std::vector<Instance> instances = someInstances(8, 400);
    const Fixture fixture(instances);
    std::vector<std::size_t> counts(8, 0);
    std::vector<std::thread> tasks;
    for (std::size_t task = 0; task < counts.size(); ++task)
        tasks.emplace_back([&, task] {
            const int thread = static_cast<int>(task % 3);
            const auto kind =
                task % 2 == 0 ? storelink1::tgIntervals : storelink1::tgSplitIntervals;
            sptr_t<ITimelineGrouper> grouper;
            const std::vector<std::string> names = {kThread};
            fixture.database->fill(kind, kTable, make_iterator(names), nullptr);
            fixture.database->getGrouper(grouper, kind, kTable, make_iterator(names),
                                         make_iterator(std::vector<int>{thread}), 0, -1);
            const storelink1::TimelineGrouperGuard guard(grouper);
            for (int i = 0; i < 20; ++i)
                counts[task] = walk(grouper).size();
        });
    for (std::thread& task : tasks)
        task.join();
    EXPECT_EQ(fixture.reader->reads, 1);
    EXPECT_EQ(counts[0], counts[6]);  // thread 0, intervals
    EXPECT_EQ(counts[1], counts[7]);  // thread 1, pieces
    EXPECT_GE(counts[3], counts[0]);  // thread 0: pieces against intervals
}

}  // namespace
