// Counts of a result against a plain count: bin by bin, which instances cover it. On random
// slices, for any window, number of bins, rows, expansions, filter and kind of count.
#include "agreement/random_slices.h"
#include "series.h"
#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <tuple>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;

struct CountRequest : SliceRequest {
    explicit CountRequest(std::mt19937& random)
        : SliceRequest(random),
          merged(pick(random, 0, 1) == 1),
          ofInstances(pick(random, 0, 1) == 1),
          samplePoint(pick(random, 0, 2)) {
        if (expansions > 0 && pick(random, 0, 1) == 1)
            names = {"a" + std::to_string(pick(random, 1, 4)), "a1"};
    }

    // The series of a slice; empty for one that is none of the request.
    std::string seriesOf(const Instance& slice) const {
        if (expansions == 0) return merged ? "Merged" : "Slices";
        const std::string name = RandomSlices::nameOf(slice);
        if (name.empty() || (!names.empty() && names.count(name) == 0)) return "";
        return expansions == 1 ? name : name + ":" + RandomSlices::categoryOf(slice);
    }

    bool merged;
    bool ofInstances;
    int samplePoint;              // 0: an interval object, else its start or its end
    std::set<std::string> names;  // that series are made of; empty: all
};

using Cells = std::map<std::tuple<std::size_t, std::string, u64_t>, double>;  // row, series, bin

struct Answer {
    std::set<std::size_t> rows;  // that a slice belongs to
    Cells cells;                 // without zeros
};

// What counts in a bin began before it, or when the slice before it in its series was over or had
// no part in the bin. The peak inside of a bin is the largest of ten fine ones.
Answer countPlainly(const std::vector<Instance>& slices, const CountRequest& request) {
    Answer answer;
    const u64_t span = request.end - request.start;
    const u64_t fold = request.ofInstances && span >= u64_t{10} * request.bins ? 10 : 1;
    const u64_t width = span / (request.bins * fold);
    if (width == 0) return answer;
    Cells fine;
    std::map<std::pair<std::size_t, std::string>, u64_t> lastEnds;
    for (const Instance& slice : slices) {
        const u64_t first = request.samplePoint == 2 ? slice.end : slice.start;
        const u64_t last = request.samplePoint == 1 ? slice.start : slice.end;
        const std::string series = request.seriesOf(slice);
        if (last < request.start || first > request.end || series.empty()) continue;
        const u64_t begin = std::max(first, request.start);
        for (const std::size_t row : RandomSlices::rowsOf(request, slice)) {
            u64_t& before = lastEnds.emplace(std::pair(row, series), ~0ULL).first->second;
            for (u64_t bin = 0; bin < request.bins * fold; ++bin) {
                const u64_t low = request.start + bin * width;
                if (first >= low + width || last < low) continue;
                const bool isShared = begin >= low && before >= low && before < begin;
                if (request.merged || !isShared)
                    fine[{row, series, bin}] +=
                        request.ofInstances ? 1 : static_cast<double>(slice.count);
            }
            before = std::min(last, request.end);
            answer.rows.insert(row);
        }
    }
    for (const auto& [place, value] : fine) {
        if (value == 0) continue;
        double& cell =
            answer.cells[{std::get<0>(place), std::get<1>(place), std::get<2>(place) / fold}];
        cell = std::max(cell, value);
    }
    return answer;
}

Answer ask(RandomSlices& slices, const CountRequest& request) {
    SlicePane& pane = slices.pane(request);
    pane.slices.m_defaultQuery = pane.query(request.merged ? "mergedCount" : "sliceCount");
    if (request.expansions > 0)
        pane.slices.m_extras.front().values = {request.names.begin(), request.names.end()};
    auto param = pane.request(request.start, request.end, request.bins);
    param.samplePoint = request.samplePoint;
    param.objectType = request.samplePoint > 0 ? 1 : 2;
    std::vector<sptr_t<ITableTree>> forest;
    Answer answer;
    const bool isServed = static_cast<IDicerProvider&>(*pane.provider)
                              .getOverTimeData(param,
                                               request.ofInstances ? IDicerProvider::otInstanceCount
                                                                   : IDicerProvider::otCount,
                                               forest);
    for (std::size_t row = 0; row < forest.size(); ++row) {
        if (forest[row].is_null()) continue;
        answer.rows.insert(row);
        for (const auto& series :
             lanefeed_tool::readSeries(forest[row], static_cast<int>(request.bins), false))
            for (u64_t bin = 0; bin < request.bins; ++bin)
                if (const double value = series.values[bin]; !std::isnan(value))
                    answer.cells[{row, series.name, bin}] = value;
    }
    EXPECT_EQ(isServed, !answer.rows.empty());
    return answer;
}

TEST(CountAgreement, WithAPlainCountOfRandomInstances) {
    std::mt19937 random(randomSeed());
    for (int round = 0; round < 3; ++round) {
        RandomSlices slices(random, 120);
        for (int i = 0; i < 100; ++i) {
            if (i >= 50 && i % 10 == 0) slices.filter(random);
            const CountRequest request(random);
            const Answer answer = ask(slices, request);
            const Answer wanted = countPlainly(slices.instances(), request);
            EXPECT_EQ(answer.rows, wanted.rows);
            EXPECT_EQ(answer.cells, wanted.cells);
            ASSERT_FALSE(testing::Test::HasFailure()) << "round " << round << ", " << i;
        }
    }
}

}  // namespace
}  // namespace lanefeed_test
