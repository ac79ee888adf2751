// What bars account for: every slice that touches the window is drawn, or stands below one that is,
// or is counted there; on its row, at its depth, in its series; whole bars, whatever a filter
// leaves of their time. On random slices, for any window, number of bins, rows, expansion and
// filter, against a reckoning without shortcuts.
#include "agreement/random_slices.h"
#include "support/random_seed.h"
#include "support/table_text.h"

#include <gtest/gtest.h>

#include <fmt/format.h>
#include <map>
#include <sstream>
#include <tuple>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::ITableTree;

struct BarRequest : SliceRequest {
    explicit BarRequest(std::mt19937& random)
        : SliceRequest(random), tasks(pick(random, 0, 1) == 1) {
        expansions = std::min(expansions, 1);
    }

    bool tasks;  // nested bars with names
};

struct Bar {
    u64_t start = 0;
    u64_t end = 0;
    int attr = 0;
    int series = 0;
    std::size_t depth = 0;
};
// Bars that share a place: their depth, series and bin.
using Group = std::vector<Bar>;

// The bin in which a bar lies as a whole, tried one by one; -1 for none.
int binOf(const Bar& bar, const BarRequest& request) {
    const u64_t width = (request.end - request.start + 1) / request.bins;
    for (unsigned bin = 0; bin < request.bins; ++bin) {
        const u64_t first = request.start + bin * width;
        const bool isLast = bin + 1 == request.bins;
        if (bar.start >= first && (isLast || bar.end < first + width)) return static_cast<int>(bin);
    }
    return -1;
}

// Depth of each bar of a row, told by the one that it lies in: that is the bar before it, or what
// that one lies in, and so on, the first that lasts beyond its start.
void nest(std::vector<Bar>& bars) {
    std::vector<std::size_t> outer(bars.size());  // counted from 1, 0 for none
    for (std::size_t i = 0; i < bars.size(); ++i) {
        std::size_t place = i;
        while (place != 0 && bars[i].start >= bars[place - 1].end)
            place = outer[place - 1];
        outer[i] = place;
        bars[i].depth = place == 0 ? 0 : bars[place - 1].depth + 1;
    }
}

// What a row should show, in order. Slices that refer to nothing are not drawn.
std::vector<Group> groupsOf(const std::vector<Instance>& slices,
                            std::size_t row,
                            const BarRequest& request) {
    std::vector<Bar> bars;
    for (const Instance& slice : slices) {
        const auto rows = RandomSlices::rowsOf(request, slice);
        if (slice.attr < 0 || std::count(rows.begin(), rows.end(), row) == 0) continue;
        const int series = request.expansions > 0 ? slice.attr - 1 : 0;
        bars.push_back({slice.start, slice.end, slice.attr, series, 0});
    }
    if (request.tasks) nest(bars);
    std::vector<Group> groups;
    std::map<std::tuple<std::size_t, int, int>, std::size_t> narrow;
    for (const Bar& bar : bars) {
        if (bar.end < request.start || bar.start > request.end) continue;
        const int bin = binOf(bar, request);
        const auto place = narrow.emplace(std::tuple(bar.depth, bar.series, bin), groups.size());
        if (bin < 0 || place.second)
            groups.push_back({bar});
        else
            groups[place.first->second].push_back(bar);
    }
    return groups;
}

// As the lines of a table: whatever stands in no group is nowhere.
std::string expectedText(const std::vector<Group>& groups, const BarRequest& request) {
    std::ostringstream text;
    const auto add = [&](const Bar& bar, std::size_t further) {
        text << bar.start << ' ' << bar.end << ' ' << bar.attr << ' ' << further << ' '
             << bar.series << ' ' << bar.depth << ' '
             << (request.tasks ? "a" + std::to_string(bar.attr) : "''") << '\n';
    };
    for (const Group& group : groups) {
        add(group.front(), group.size() - 1);
        for (std::size_t i = 1; i < group.size() && i <= 4; ++i) {
            text << "> ";
            add(group[i], 0);
        }
    }
    return text.str();
}

// The lines of a table without their head, one blank between the cells, ">" before nested ones.
std::string foundText(const sptr_t<ITableTree>& tree) {
    if (tree.is_null()) return "";
    std::istringstream lines(tableText(tree));
    std::string line;
    std::string text;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        if (line.front() == ' ') text += "> ";
        std::istringstream words(line);
        for (std::string word; words >> word;)
            text += word + ' ';
        text.back() = '\n';
    }
    return text;
}

TEST(IntervalAccounts, EveryInstanceOfTheWindowIsDrawnOrCounted) {
    std::mt19937 random(randomSeed());
    for (int round = 0; round < 6; ++round) {
        RandomSlices slices(random, 60 << (round % 3));
        for (int i = 0; i < 60; ++i) {
            if (i >= 30 && i % 10 == 0) slices.filter(random);
            const BarRequest request(random);
            SlicePane& pane = slices.pane(request);
            const auto param = pane.request(request.start, request.end, request.bins);
            std::vector<sptr_t<ITableTree>> trees;
            ASSERT_TRUE(request.tasks ? pane.provider->getTaskData(param, trees, nullptr)
                                      : pane.provider->getIntervalData(param, trees, nullptr));
            const bool hasBins = request.bins <= request.end - request.start + 1;
            for (std::size_t row = 0; row < trees.size(); ++row) {
                const auto groups =
                    hasBins ? groupsOf(slices.instances(), row, request) : std::vector<Group>();
                ASSERT_EQ(foundText(trees[row]), expectedText(groups, request))
                    << "row " << row << ", round " << round << ", " << i;
            }
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
