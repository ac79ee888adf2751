// What bars account for: every instance that touches the window is drawn, or stands below one that
// is, or is counted there; on its row, at its depth, in its series. On random instances that nest,
// cross and touch, for any window and number of bins, against a reckoning without shortcuts.
#include "store/result_writer.h"
#include "support/random_seed.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <tuple>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::ITableTree;
using lanefeed_runtime::TableId;

constexpr int kBands = 6;
constexpr int kNames = 4;
constexpr int kSpan = 300;

struct Request {
    bool byProcess = false;
    bool expanded = false;
    bool tasks = false;
    u64_t start = 0;
    u64_t end = 0;
    unsigned bins = 1;
};

struct Bar {
    u64_t start = 0;
    u64_t end = 0;
    int attr = 0;
    unsigned series = 0;
    std::size_t depth = 0;
};
// Bars that share a place: their depth, series and bin.
using Group = std::vector<Bar>;

// The instances as slices: one thread for each band, two processes in turn. Without an attribute
// they refer to nothing.
void writeSlices(const std::string& file, const std::vector<Instance>& instances) {
    lanefeed_runtime::StoreError error;
    lanefeed_runtime::WriterOptions options;
    options.target = file;
    const auto writer = lanefeed_runtime::ResultWriter::create(options, error);
    ASSERT_NE(writer, nullptr) << error.text;
    std::vector<int> bands;
    for (int i = 0; i < kBands; ++i) {
        const std::string number = std::to_string(i);
        const int process = writer->named(TableId::process, std::to_string(i % 2));
        const int thread =
            writer->attribute(TableId::thread, number, {{"name", number}, {"dd_process", process}});
        bands.push_back(writer->band(TableId::thread, thread));
    }
    for (int i = 1; i <= kNames; ++i)
        ASSERT_EQ(writer->named(TableId::task, "name" + std::to_string(i)), i);
    writer->cover(1);
    for (const Instance& instance : instances) {
        lanefeed_runtime::InstanceRow row;
        row.begin = static_cast<std::int64_t>(instance.start);
        row.end = static_cast<std::int64_t>(instance.end) + 1;
        row.band = bands.at(static_cast<std::size_t>(instance.band) - 1);
        row.attr = instance.attr;
        ASSERT_TRUE(writer->add(TableId::sliceData, row));
    }
    writer->setFact("ticks_per_second", "1000000000");
    ASSERT_TRUE(writer->finish()) << writer->error().text;
}

// The bin in which a bar lies as a whole, tried one by one; -1 for none.
int binOf(const Bar& bar, const Request& request) {
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

// What the row of some threads should show, in order.
std::vector<Group> groupsOf(const std::vector<Instance>& instances,
                            std::size_t row,
                            const Request& request) {
    std::vector<Bar> bars;
    for (const Instance& instance : instances) {
        const auto thread = static_cast<std::size_t>(instance.band) - 1;
        if (instance.attr < 0 || row != (request.byProcess ? thread % 2 : thread)) continue;
        const unsigned series = request.expanded ? static_cast<unsigned>(instance.attr) - 1 : 0;
        bars.push_back({instance.start - 1, instance.end - 1, instance.attr, series, 0});
    }
    if (request.tasks) nest(bars);
    std::vector<Group> groups;
    std::map<std::tuple<std::size_t, unsigned, int>, std::size_t> narrow;
    for (const Bar& bar : bars) {
        if (bar.end < request.start || bar.start > request.end) continue;
        const int bin = binOf(bar, request);
        const auto known = narrow.find({bar.depth, bar.series, bin});
        if (bin >= 0 && known != narrow.end()) {
            groups[known->second].push_back(bar);
        } else {
            if (bin >= 0) narrow[{bar.depth, bar.series, bin}] = groups.size();
            groups.push_back({bar});
        }
    }
    return groups;
}

// As the lines of a table: whatever stands in no group is nowhere.
std::string expectedText(const std::vector<Group>& groups, const Request& request) {
    std::ostringstream text;
    const auto add = [&](const Bar& bar, std::size_t further) {
        text << bar.start << ' ' << bar.end << ' ' << bar.attr << ' ' << further << ' '
             << bar.series << ' ' << bar.depth << ' '
             << (request.tasks ? "name" + std::to_string(bar.attr) : "''") << '\n';
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

Request randomRequest(std::mt19937& random) {
    Request request;
    request.byProcess = pick(random, 0, 1) == 1;
    request.expanded = pick(random, 0, 1) == 1;
    request.tasks = pick(random, 0, 1) == 1;
    request.start = static_cast<u64_t>(pick(random, 0, kSpan - 1));
    request.end = request.start + static_cast<u64_t>(pick(random, 0, kSpan));
    const int ticks = static_cast<int>(request.end - request.start) + 1;
    request.bins = static_cast<unsigned>(pick(random, 1, pick(random, 0, 1) == 0 ? ticks : 12));
    return request;
}

TEST(IntervalAccounts, EveryInstanceOfTheWindowIsDrawnOrCounted) {
    std::mt19937 random(randomSeed());
    const TempDirectory folder;
    for (int round = 0; round < 6; ++round) {
        auto instances = randomInstances(random, 60 << (round % 3), kBands, kNames, kSpan);
        const std::string file = folder.file(std::to_string(round) + ".lft");
        writeSlices(file, instances);
        sortAsWritten(instances);
        SlicePane byThread(file);
        SlicePane byProcess(file, "<rowBy useGridQuery='false' query='process'/>");
        for (int i = 0; i < 60; ++i) {
            const Request request = randomRequest(random);
            SlicePane& pane = request.byProcess ? byProcess : byThread;
            pane.slices.m_extras.clear();
            if (request.expanded) pane.expandBy("sliceName");
            const auto param = pane.request(request.start, request.end, request.bins);
            std::vector<sptr_t<ITableTree>> trees;
            ASSERT_TRUE(request.tasks ? pane.provider->getTaskData(param, trees, nullptr)
                                      : pane.provider->getIntervalData(param, trees, nullptr));
            const bool hasBins = request.bins <= request.end - request.start + 1;
            for (std::size_t row = 0; row < trees.size(); ++row) {
                const auto groups =
                    hasBins ? groupsOf(instances, row, request) : std::vector<Group>();
                ASSERT_EQ(foundText(trees[row]), expectedText(groups, request))
                    << "row " << row << ", " << request.start << ".." << request.end << " in "
                    << request.bins << (request.byProcess ? " by process" : " by thread")
                    << (request.expanded ? " expanded" : "") << (request.tasks ? " as tasks" : "");
            }
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
