// Counts of a result against a plain count: bin by bin, which instances cover it. On random
// instances, for any window, number of bins, rows, expansions and kind of count.
#include "support/random_seed.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"
#include "timeline/random_instances.h"

#include <dataface_1/query_kinds.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;

constexpr int kBands = 4;
constexpr int kSpan = 400;
constexpr char kMergedCount[] = R"(<queryLibrary>
  <instanceCountQuery id="mergedCount" displayName="Merged">
    <dbPath>slice_data</dbPath>
    <displayAttributes timelineMergeDataMode="true"/>
  </instanceCountQuery>
</queryLibrary>)";

std::string categoryOf(const Instance& instance) {
    return "c" + std::to_string((instance.start + instance.end) % 2);
}
std::string nameOf(const Instance& instance) {
    return "a" + std::to_string(std::abs(instance.attr));
}

// Times of the pane are those of the instances less 1. Every band has one at 0, so that rows are in
// order of the bands; two processes take them in turn.
std::vector<Instance> makeTrace(std::mt19937& random, std::string& text) {
    std::vector<Instance> instances = randomInstances(random, 120, kBands, 3, kSpan);
    for (int band = kBands; band > 0; --band)
        instances.insert(instances.begin(), {1, 1, band, 1, 5});
    for (const Instance& instance : instances) {
        const std::string band = std::to_string(instance.band);
        text += "process p" + std::to_string(instance.band % 2) + "\nthread t" + band + " " +
                std::to_string(instance.start - 1) + ".." + std::to_string(instance.end) + " " +
                nameOf(instance) + "*" + std::to_string(instance.count) + "@" +
                categoryOf(instance) + "\n";
    }
    sortAsWritten(instances);
    return instances;
}

// Rows of a pane: threads, processes, or processes with their threads below them.
enum class Rows { threads, processes, both };

struct Request {
    Rows rows = Rows::threads;
    bool merged = false;
    bool ofInstances = false;
    int expansions = 0;          // 0 none, 1 by name, 2 by category too
    std::set<std::string> kept;  // names; empty: all
    int samplePoint = 0;         // 0: an interval object
    u64_t start = 0;
    u64_t end = 0;
    u64_t bins = 1;
};

using Cells = std::map<std::string, basekit2::s64_t>;  // "row series bin", without zeros

std::string cellName(std::size_t row, const std::string& series, u64_t bin) {
    return std::to_string(row) + " " + series + " " + std::to_string(bin);
}

// Of fine bins, the largest of each ten.
Cells folded(const Cells& fine) {
    Cells cells;
    for (const auto& [name, value] : fine) {
        const auto at = name.rfind(' ') + 1;
        basekit2::s64_t& cell =
            cells[name.substr(0, at) + std::to_string(std::stoull(name.substr(at)) / 10)];
        cell = std::max(cell, value);
    }
    return cells;
}

struct Answer {
    bool isServed = false;
    std::set<std::size_t> rows;  // that an instance belongs to
    Cells cells;
};

// The instances as the request sees them: ticks of the pane, those that it wants.
struct Seen {
    u64_t first = 0;
    u64_t last = 0;
    std::size_t row = 0;
    std::string series;
    basekit2::s64_t value = 1;
};

// Ids of the rows of a band, counted from 0; of both levels the process comes before its threads.
std::vector<std::size_t> rowsOf(Rows rows, std::size_t band) {
    const std::size_t process = band % 2;
    if (rows == Rows::threads) return {band};
    if (rows == Rows::processes) return {process};
    return {3 * process, 3 * process + 1 + band / 2};
}

std::vector<Seen> seenBy(const Request& request, const std::vector<Instance>& instances) {
    std::vector<Seen> all;
    for (const Instance& instance : instances) {
        Seen seen;
        seen.first = (request.samplePoint == 2 ? instance.end : instance.start) - 1;
        seen.last = (request.samplePoint == 1 ? instance.start : instance.end) - 1;
        if (seen.last < request.start || seen.first > request.end) continue;
        if (!request.kept.empty() && request.kept.count(nameOf(instance)) == 0) continue;
        if (request.expansions > 0) seen.series = nameOf(instance);
        if (request.expansions > 1) seen.series += ":" + categoryOf(instance);
        if (!request.ofInstances) seen.value = instance.count;
        for (const std::size_t row :
             rowsOf(request.rows, static_cast<std::size_t>(instance.band) - 1)) {
            seen.row = row;
            all.push_back(seen);
        }
    }
    return all;
}

Answer countPlainly(const std::vector<Instance>& instances, const Request& request) {
    Answer answer;
    u64_t bins = request.bins * (request.ofInstances ? 10 : 1);
    if (request.end - request.start < bins) bins = request.bins;
    const u64_t width = (request.end - request.start) / bins;
    if (width == 0) return answer;
    std::map<std::string, u64_t> lastEnds;
    for (const Seen& seen : seenBy(request, instances)) {
        const auto before = lastEnds.emplace(cellName(seen.row, seen.series, 0), ~0ULL).first;
        const u64_t begin = std::max(seen.first, request.start);
        for (u64_t bin = 0; bin < bins; ++bin) {
            const u64_t low = request.start + bin * width;
            if (seen.first >= low + width || seen.last < low) continue;
            const bool isShared = begin >= low && before->second >= low && before->second < begin;
            if (request.merged || !isShared)
                answer.cells[cellName(seen.row, seen.series, bin)] += seen.value;
        }
        before->second = std::min(seen.last, request.end);
        answer.rows.insert(seen.row);
    }
    answer.isServed = !answer.rows.empty();
    if (bins != request.bins) answer.cells = folded(answer.cells);
    for (auto it = answer.cells.begin(); it != answer.cells.end();)
        it = it->second == 0 ? answer.cells.erase(it) : std::next(it);
    return answer;
}

// The values that a column and those around it are restricted to.
std::string seriesOf(const sptr_t<IColumnInfo>& column) {
    const auto vector = dataface_1::IVectorQuery::cast(column->getQuery());
    const auto info = dataface_1::IInfoQuery::cast(vector->getDefaultQuery());
    if (info.is_null() || info->getValues(1).at_end()) return "";
    const std::string outer = seriesOf(column->getParent());
    return outer + (outer.empty() ? "" : ":") + info->getValues(1).current().get<std::string>();
}

void readTree(std::size_t row, const sptr_t<ITableTree>& tree, Cells& cells) {
    const auto columns = allColumns(tree);
    for (const auto& tableRow : allRows(tree)) {
        basekit2::variant_t bin;
        ASSERT_TRUE(tableRow->getContent(columns.front(), dataface_1::ccValue, bin));
        bool isAny = false;
        for (std::size_t i = 1; i < columns.size(); ++i) {
            basekit2::generic_iterator_t<sptr_t<IColumnInfo>> children;
            columns[i]->getChildren(children, nullptr, false);
            basekit2::variant_t value;
            ASSERT_TRUE(tableRow->getContent(columns[i], dataface_1::ccValue, value));
            isAny = isAny || value.get<basekit2::s64_t>() > 0;
            if (!children.at_end() || value.get<basekit2::s64_t>() == 0) continue;
            const std::string name = cellName(row, seriesOf(columns[i]), bin.get<u64_t>());
            ASSERT_TRUE(cells.emplace(name, value.get<basekit2::s64_t>()).second) << name;
        }
        ASSERT_TRUE(isAny) << "a row of zeros";
    }
}

Answer ask(SlicePane& pane, const Request& request) {
    pane.slices.m_defaultQuery = pane.query(request.merged ? "mergedCount" : "sliceCount");
    pane.slices.m_extras.clear();
    if (request.expansions > 0)
        pane.expandBy("sliceName", {request.kept.begin(), request.kept.end()});
    if (request.expansions > 1) pane.expandBy("sliceCategory");
    auto param =
        pane.request(request.start, request.end, static_cast<basekit2::u32_t>(request.bins));
    param.samplePoint = request.samplePoint;
    param.objectType = request.samplePoint > 0 ? 1 : 2;
    std::vector<sptr_t<ITableTree>> forest;
    Answer answer;
    answer.isServed = static_cast<IDicerProvider&>(*pane.provider)
                          .getOverTimeData(param,
                                           request.ofInstances ? IDicerProvider::otInstanceCount
                                                               : IDicerProvider::otCount,
                                           forest);
    for (std::size_t row = 0; row < forest.size(); ++row) {
        if (forest[row].is_null()) continue;
        answer.rows.insert(row);
        readTree(row, forest[row], answer.cells);
    }
    return answer;
}

Request randomRequest(std::mt19937& random) {
    Request request;
    request.rows = static_cast<Rows>(pick(random, 0, 2));
    request.merged = pick(random, 0, 1) == 1;
    request.ofInstances = pick(random, 0, 1) == 1;
    request.expansions = pick(random, 0, 2);
    if (request.expansions > 0 && pick(random, 0, 1) == 1)
        request.kept = {"a" + std::to_string(pick(random, 1, 3)), "a1"};
    request.samplePoint = pick(random, 0, 2);
    request.start = static_cast<u64_t>(pick(random, 0, kSpan));
    request.end = request.start + static_cast<u64_t>(pick(random, 1, kSpan));
    request.bins = static_cast<u64_t>(pick(random, 1, 60));
    return request;
}

TEST(CountAgreement, WithAPlainCountOfRandomInstances) {
    std::mt19937 random(randomSeed());
    const TempDirectory folder;
    std::ofstream(folder.file("merged.queries.xml")) << kMergedCount;
    for (int round = 0; round < 3; ++round) {
        std::string text;
        const auto instances = makeTrace(random, text);
        const std::string file = folder.file(std::to_string(round) + ".lft");
        writeTraceText(file, text);
        const std::string definitions = folder.file("merged.queries.xml");
        SlicePane panes[] = {
            SlicePane(file, SlicePane::kByThread, definitions),
            SlicePane(file, "<rowBy useGridQuery='false' query='process'/>", definitions),
            SlicePane(file, "<gridQuery><rowBy query='processAndThread'/></gridQuery>",
                      definitions)};
        for (int i = 0; i < 100; ++i) {
            const Request request = randomRequest(random);
            const Answer answer = ask(panes[static_cast<int>(request.rows)], request);
            const Answer wanted = countPlainly(instances, request);
            EXPECT_EQ(answer.isServed, wanted.isServed);
            EXPECT_EQ(answer.rows, wanted.rows);
            EXPECT_EQ(answer.cells, wanted.cells);
            ASSERT_FALSE(testing::Test::HasFailure())
                << "round " << round << ", " << request.start << ".." << request.end << " in "
                << request.bins << ", expansions " << request.expansions << ", sample point "
                << request.samplePoint << ", rows " << static_cast<int>(request.rows)
                << (request.ofInstances ? ", instances" : "") << (request.merged ? " merged" : "");
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
