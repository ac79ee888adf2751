// Rows in levels against flat rows on imported traces: what a grid says of a process is what its
// threads add up to, in the totals of the table of rows and in each bucket of a series, and each
// thread is the one of the flat rows, to the tick.
#include "agreement/viewpoint_result.h"
#include "series.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace lanefeed_test {
namespace {

using Buckets = std::vector<double>;  // 0 where there is no data

constexpr int kBins = 9;

const std::string kLayers =
    "<layer type='Overtime'><drawBy query='busyTime'/></layer>"
    "<layer type='Overtime'><drawBy query='sliceCount'/></layer></rowSet></area>";
const std::string kViewpoint =
    "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>" + kLayers +
    "<area><rowSet><rowBy query='processAndThread'/>" + kLayers + "</viewpoint>";

// Of the rows of an area; percentages of the width are ticks again.
std::vector<Buckets> bucketsOf(ViewpointResult& result, lanefeed_tool::AreaView& area, int layer) {
    const auto width = static_cast<double>(area.time().duration / kBins);
    std::vector<Buckets> rows;
    for (const auto& table : result.ask(area, layer, kBins, false)) {
        rows.emplace_back(kBins);
        for (const auto& series : lanefeed_tool::readSeries(table, kBins, false))
            for (std::size_t bin = 0; bin < kBins; ++bin)
                if (const double value = series.values[bin]; !std::isnan(value))
                    rows.back()[bin] = std::round(layer == 0 ? value * width / 100 : value);
    }
    return rows;
}

void expectTotals(const char* trace) {
    SCOPED_TRACE(trace);
    const TempDirectory folder;
    ViewpointResult result(importedTrace(folder, trace), kViewpoint);
    lanefeed_tool::AreaView threads(result.session(), 0);
    lanefeed_tool::AreaView levels(result.session(), 1);
    const CapturedLog log;
    for (int layer = 0; layer < 2; ++layer) {
        std::map<int, Buckets> flat;
        for (const Buckets& buckets : bucketsOf(result, threads, layer))
            flat[threads.rows().at(flat.size()).dbIndex] = buckets;
        const std::vector<Buckets> buckets = bucketsOf(result, levels, layer);
        ASSERT_EQ(buckets.size(), levels.rows().size());
        const auto total = [&](const lanefeed_tool::RowInfo& row) {
            const basekit2::variant_t& value = row.values.at(static_cast<std::size_t>(layer));
            return value.is_null() ? 0 : value.get<double>();
        };
        double all = 0;
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            const auto& row = levels.rows()[i];
            if (row.parent >= 0) {
                EXPECT_EQ(buckets[i], flat.at(row.dbIndex)) << "thread " << row.name;
                flat.erase(row.dbIndex);
                continue;
            }
            double below = 0;
            Buckets sum(kBins);
            for (const auto& child : levels.rows()) {
                if (child.parent != row.id) continue;
                below += total(child);
                for (std::size_t bin = 0; bin < kBins; ++bin)
                    sum[bin] += buckets[static_cast<std::size_t>(child.id)][bin];
            }
            all += below;
            EXPECT_EQ(total(row), below) << row.name;
            EXPECT_EQ(buckets[i], sum) << row.name;
        }
        EXPECT_TRUE(flat.empty());
        EXPECT_GT(all, 0);
    }
    EXPECT_TRUE(log.empty());
}

TEST(GridTotals, AreThoseOfFlatRows) {
    for (const char* trace :
         {"fuchsia_trace.json.gz", "bazel-profile-with_queuing.json.gz",
          "speedscope-edge/multiprocess.json", "catapult-small/simple_trace.json"})
        expectTotals(trace);
}

}  // namespace
}  // namespace lanefeed_test
