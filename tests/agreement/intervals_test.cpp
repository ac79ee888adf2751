// What bars account for: every instance that touches the window is drawn, or stands below one that
// is, or is counted there; on its row, at its depth, in its series. On random instances that nest,
// cross and touch, for any window and number of bins.
#include "store/result_writer.h"
#include "support/random_seed.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using lanefeed_runtime::TableId;

constexpr int kBands = 6;
constexpr int kNames = 4;
constexpr int kSpan = 300;

// An instance as it is expected, or as it is found in a table.
struct Bar {
    u64_t start = 0;
    u64_t end = 0;
    int attr = 0;
    int further = 0;
    unsigned series = 0;
    int depth = 0;
    std::string name;

    auto identity() const { return std::make_tuple(start, end, attr, name); }
};
using Place = std::tuple<std::size_t, int, unsigned>;  // row, depth, series
using Bars = std::map<Place, std::vector<Bar>>;

// The instances as slices: one thread for each band, two processes in turn, one tick of the pane
// for each of theirs but the first. Without an attribute they refer to nothing.
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
        EXPECT_EQ(writer->named(TableId::task, "name " + std::to_string(i)), i);
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

struct Request {
    bool byProcess = false;
    bool expanded = false;
    bool tasks = false;
    u64_t start = 0;
    u64_t end = 0;
    unsigned bins = 1;
};

// The bin in which an instance lies as a whole, looked up one by one; -1 for none.
int binOf(const Bar& bar, const Request& request) {
    const u64_t width = (request.end - request.start + 1) / request.bins;
    for (unsigned bin = 0; bin < request.bins; ++bin) {
        const u64_t first = request.start + bin * width;
        const bool isLast = bin + 1 == request.bins;
        if (bar.start >= first && (isLast || bar.end < first + width)) return static_cast<int>(bin);
    }
    return -1;
}

// All instances that touch the window. The instance that another lies in is the one before it, or
// what that one lies in, and so on: the first that lasts beyond its start.
Bars expected(const std::vector<Instance>& instances, const Request& request) {
    struct Open {
        u64_t end;
        int depth;
        int outer;
    };
    std::map<std::size_t, std::vector<Open>> rows;
    Bars bars;
    for (const Instance& instance : instances) {
        if (instance.attr < 0) continue;
        const auto thread = static_cast<std::size_t>(instance.band) - 1;
        const std::size_t row = request.byProcess ? thread % 2 : thread;
        Bar bar;
        bar.start = instance.start - 1;
        bar.end = instance.end - 1;
        bar.attr = instance.attr;
        bar.series = request.expanded ? static_cast<unsigned>(instance.attr) - 1 : 0;
        if (request.tasks) {
            std::vector<Open>& open = rows[row];
            int outer = static_cast<int>(open.size()) - 1;
            while (outer >= 0 && bar.start >= open[static_cast<std::size_t>(outer)].end)
                outer = open[static_cast<std::size_t>(outer)].outer;
            bar.depth = outer < 0 ? 0 : open[static_cast<std::size_t>(outer)].depth + 1;
            bar.name = "name " + std::to_string(instance.attr);
            open.push_back({bar.end, bar.depth, outer});
        }
        if (bar.end >= request.start && bar.start <= request.end)
            bars[{row, bar.depth, bar.series}].push_back(bar);
    }
    return bars;
}

Bar barOf(const sptr_t<ITableTree>& tree, const sptr_t<ITableRow>& row) {
    const auto columns = allColumns(tree);
    const auto cell = [&](std::size_t column) {
        basekit2::variant_t value;
        EXPECT_TRUE(row->getContent(columns.at(column), dataface_1::ccValue, value));
        return value;
    };
    return {cell(0).get<u64_t>(),      cell(1).get<u64_t>(),    cell(2).get<int>(),
            cell(3).get<int>(),        cell(4).get<unsigned>(), cell(5).get<int>(),
            cell(6).get<std::string>()};
}

// Compares what one row, depth and series shows with what there is.
class Account {
public:
    Account(const std::vector<Bar>& bars, const Request& request) : m_request(request) {
        for (const Bar& bar : bars)
            m_left.insert(bar.identity());
    }

    void take(const Bar& top, const std::vector<Bar>& children) {
        draw(top);
        m_accounted += 1 + static_cast<std::size_t>(top.further);
        const int bin = binOf(top, m_request);
        if (bin < 0) {
            EXPECT_EQ(top.further, 0) << "wide";
        } else {
            EXPECT_TRUE(m_bins.insert(bin).second) << "second row of bin " << bin;
        }
        EXPECT_EQ(children.size(), std::min<std::size_t>(4, static_cast<std::size_t>(top.further)));
        for (const Bar& child : children) {
            draw(child);
            EXPECT_EQ(binOf(child, m_request), bin);
            EXPECT_EQ(child.further, 0);
        }
    }

    // All that is not drawn is counted, and lies in a bin.
    void close(std::size_t all) const {
        EXPECT_EQ(m_accounted, all);
        for (const auto& identity : m_left) {
            Bar bar;
            bar.start = std::get<0>(identity);
            bar.end = std::get<1>(identity);
            EXPECT_GE(binOf(bar, m_request), 0) << bar.start << ".." << bar.end << " is not drawn";
        }
    }

private:
    void draw(const Bar& bar) {
        const auto found = m_left.find(bar.identity());
        if (found == m_left.end())
            ADD_FAILURE() << bar.start << ".." << bar.end << " is not there, or drawn twice";
        else
            m_left.erase(found);
    }

    const Request& m_request;
    std::multiset<decltype(Bar().identity())> m_left;
    std::set<int> m_bins;
    std::size_t m_accounted = 0;
};

void compare(const std::vector<sptr_t<ITableTree>>& trees,
             const Bars& wanted,
             const Request& request) {
    std::map<Place, Account> accounts;
    for (const auto& [place, bars] : wanted)
        accounts.try_emplace(place, bars, request);
    for (std::size_t row = 0; row < trees.size(); ++row) {
        if (trees[row].is_null()) continue;
        for (auto it = trees[row]->getRows(nullptr); !it.at_end(); it.next()) {
            const Bar top = barOf(trees[row], it.current());
            basekit2::generic_iterator_t<sptr_t<ITableRow>> below;
            it.current()->getChildren(below, nullptr, false);
            std::vector<Bar> children;
            for (; !below.at_end(); below.next()) {
                children.push_back(barOf(trees[row], below.current()));
                EXPECT_EQ(children.back().depth, top.depth);
                EXPECT_EQ(children.back().series, top.series);
            }
            const auto account = accounts.find({row, top.depth, top.series});
            ASSERT_NE(account, accounts.end()) << "nothing lies there";
            account->second.take(top, children);
        }
    }
    for (const auto& [place, account] : accounts)
        account.close(wanted.at(place).size());
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
        const auto instances = randomInstances(random, 60 << (round % 3), kBands, kNames, kSpan);
        const std::string file = folder.file(std::to_string(round) + ".lft");
        writeSlices(file, instances);
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
            Bars wanted = expected(instances, request);
            if (request.end - request.start + 1 < request.bins) wanted.clear();
            compare(trees, wanted, request);
            ASSERT_FALSE(testing::Test::HasFailure())
                << "round " << round << ", " << request.start << ".." << request.end << " in "
                << request.bins << (request.byProcess ? " by process" : " by thread")
                << (request.expanded ? " expanded" : "") << (request.tasks ? " as tasks" : "");
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
