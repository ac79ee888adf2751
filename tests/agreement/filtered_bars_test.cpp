// Bars under a filter. Those of the relational face are whole and keep their true ticks, those of
// the filtered timeline database are the stretches of kept time: clipped by what the filter keeps,
// the ones are the others. On random slices that nest, cross and touch.
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"
#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using storelink1::time_interval_t;

constexpr int kThreads = 4;
constexpr int kSpan = 300;

// Thread from 0, first and last absolute tick, attribute.
using Shown = std::multiset<std::tuple<int, u64_t, u64_t, int>>;

std::string randomTrace(std::mt19937& random) {
    std::string text = "marker t0 0 start " + std::to_string(kSpan) + " end\n";
    for (int thread = 0; thread < kThreads; ++thread) {
        text += "thread t" + std::to_string(thread);
        for (const Instance& instance : randomInstances(random, 60, 1, 4, kSpan))
            text += " " + std::to_string(instance.start - 1) + ".." + std::to_string(instance.end) +
                    " " + static_cast<char>('a' + std::abs(instance.attr));
        text += "\n";
    }
    return text;
}

struct FilteredBars {
    explicit FilteredBars(const std::string& file) : pane(file) {
        pane.database()->getTimeRange(first, last, 0);
    }

    std::vector<time_interval_t> kept() const {
        std::vector<time_interval_t> spans;
        const auto query = pane.database()->createTimelineQuery();
        for (auto it = query->getFilterIntervals(true); !it.at_end(); it.next())
            spans.push_back(it.current());
        return spans;
    }

    // All bars of one bin for each tick, in which nothing needs to be counted only.
    Shown bars() const {
        const auto param =
            pane.request(0, last - first, static_cast<basekit2::u32_t>(last - first + 1));
        std::vector<sptr_t<dataface_1::ITableTree>> trees;
        EXPECT_TRUE(pane.provider->getTaskData(param, trees, nullptr));
        Shown shown;
        for (std::size_t row = 0; row < trees.size(); ++row) {
            if (trees[row].is_null()) continue;
            const auto columns = allColumns(trees[row]);
            for (const auto& bar : allRows(trees[row])) {
                const auto cell = [&](std::size_t column) {
                    basekit2::variant_t value;
                    bar->getContent(columns.at(column), dataface_1::ccValue, value);
                    return value;
                };
                EXPECT_LE(cell(3).get<int>(), 4) << "not all are drawn";
                shown.insert({static_cast<int>(row), first + cell(0).get<u64_t>(),
                              first + cell(1).get<u64_t>(), cell(2).get<int>()});
            }
        }
        return shown;
    }

    static Shown clipped(const Shown& bars, const std::vector<time_interval_t>& spans) {
        Shown shown;
        for (const auto& [thread, start, end, attr] : bars)
            for (const time_interval_t& span : spans)
                if (start < span.end && end >= span.start)
                    shown.insert(
                        {thread, std::max(start, span.start), std::min(end, span.end - 1), attr});
        return shown;
    }

    Shown stretches() const {
        const auto timeline = pane.database()->getFilteredTimelineDatabase();
        const std::vector<std::string> names = {"dd_band::dd_thread"};
        Shown shown;
        for (int thread = 0; thread < kThreads; ++thread) {
            sptr_t<storelink1::ITimelineGrouper> grouper;
            timeline->getGrouper(grouper, storelink1::tgIntervals, "slice_data",
                                 basekit2::make_iterator(names),
                                 basekit2::make_iterator(std::vector<int>{thread + 1}), 0, -1);
            if (grouper.is_null()) continue;
            sptr_t<storelink1::ITimelineIterator<storelink1::ITimelineInstanceRecord>> cursor;
            grouper->seek(0, cursor);
            for (; cursor->valid(); cursor->next()) {
                const auto& record = *cursor->current();
                shown.insert({thread, record.start, record.end, static_cast<int>(record.attr)});
            }
        }
        return shown;
    }

    SlicePane pane;
    u64_t first = 0;
    u64_t last = 0;
};

void keepTime(const SlicePane& pane) {
    const auto builder = pane.filters->createTimeFilterBuilder();
    builder->addRange(40, 160, false);
    builder->addRange(200, 260, false);
    builder->addRange(90, 93, true);
    pane.filters->setTimeFilter("global", builder->build());
}

void leaveOutAName(const SlicePane& pane) {
    const auto builder = pane.filters->createQueryFilterBuilder();
    builder->addCondition(pane.query("sliceName"), true, "b");
    pane.filters->setQueryFilter("global", builder->build());
}

TEST(FilteredBars, AreThoseOfTheTimelineWhenClippedToKeptTime) {
    for (unsigned seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const TempDirectory folder;
        writeTraceText(folder.file("r.lft"), randomTrace(random));
        FilteredBars on(folder.file("r.lft"));
        const Shown all = on.bars();
        ASSERT_EQ(all.size(), std::size_t{60} * kThreads);
        Shown before = all;
        for (const auto& change : {keepTime, leaveOutAName}) {
            change(on.pane);
            on.pane.provider->filterChanged("global");
            const Shown whole = on.bars();
            // Whole bars, fewer than before, and all of them touch what is kept.
            EXPECT_LT(whole.size(), before.size());
            EXPECT_TRUE(std::includes(all.begin(), all.end(), whole.begin(), whole.end()));
            const Shown pieces = FilteredBars::clipped(whole, on.kept());
            EXPECT_GE(pieces.size(), whole.size());
            EXPECT_EQ(pieces, on.stretches());
            before = whole;
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
