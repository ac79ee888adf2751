// Rows in levels against flat rows on imported traces: what a grid says of a process is what its
// threads add up to, in the totals of the table of rows and in each bucket of a series, and each
// thread is the one of the flat rows, to the tick.
#include "agreement/imported_trace.h"
#include "agreement/series_cells.h"
#include "agreement/viewpoint_result.h"
#include "support/captured_log.h"
#include "support/table_text.h"

#include <cmath>
#include <map>

namespace lanefeed_test {
namespace {

using dataface_1::ITableRow;

constexpr unsigned kBins = 9;

const std::string kLayers =
    "<layer type='Overtime'><drawBy query='busyTime'/></layer>"
    "<layer type='Overtime'><drawBy query='sliceCount'/></layer></rowSet></area>";
const std::string kViewpoint =
    "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>" + kLayers +
    "<area><rowSet><rowBy query='processAndThread'/>" + kLayers + "</viewpoint>";

struct Row {
    int id = -1;
    std::size_t parent = kNone;  // its place
    double total = 0;
    std::vector<double> buckets = std::vector<double>(kBins);  // 0 where there is no data

    static constexpr std::size_t kNone = ~std::size_t{0};
};

// Rows of an area, in buckets over the whole result but for ticks that they do not divide.
std::vector<Row> rowsOf(ViewpointResult& result, std::size_t area, std::size_t layer) {
    const auto table = result.rows(area);
    const basekit2::u64_t width = (result.duration() + 1) / kBins;
    const auto forest = result.ask(area, layer, kBins, width * kBins);
    const auto tableRows = allRows(table);
    EXPECT_EQ(forest.size(), tableRows.size());
    std::vector<Row> rows;
    std::map<ITableRow*, std::size_t> places;
    for (const auto& tableRow : tableRows) {
        Row row;
        basekit2::variant_t id;
        basekit2::variant_t total;
        if (tableRow->getContent(nullptr, dataface_1::ccId, id)) row.id = id.get<int>();
        if (tableRow->getContent(allColumns(table).at(1 + layer), dataface_1::ccValue, total))
            row.total = total.get<double>();
        // Percentages of the width are ticks again.
        for (const SeriesCell& cell : cellsOf(forest.at(rows.size())))
            row.buckets.at(cell.bin) =
                std::round(layer == 0 ? cell.value * static_cast<double>(width) / 100 : cell.value);
        if (!tableRow->getParent().is_null()) row.parent = places.at(tableRow->getParent().get());
        places[tableRow.get()] = rows.size();
        rows.push_back(row);
    }
    return rows;
}

class GridTotals : public testing::TestWithParam<const char*> {};

TEST_P(GridTotals, AreThoseOfFlatRows) {
    const TempDirectory folder;
    ViewpointResult result(importedTrace(folder, GetParam()));
    result.show(kViewpoint);
    const CapturedLog log;
    for (std::size_t layer = 0; layer < 2; ++layer) {
        std::map<int, std::vector<double>> flat;
        for (const Row& row : rowsOf(result, 0, layer))
            flat[row.id] = row.buckets;
        const std::vector<Row> rows = rowsOf(result, 1, layer);
        std::vector<Row> below(rows.size());
        double total = 0;
        for (const Row& row : rows) {
            if (row.parent == Row::kNone) continue;
            EXPECT_EQ(row.buckets, flat.at(row.id)) << "thread " << row.id;
            flat.erase(row.id);
            Row& process = below[row.parent];
            process.total += row.total;
            for (unsigned i = 0; i < kBins; ++i)
                process.buckets[i] += row.buckets[i];
            total += row.total;
        }
        EXPECT_TRUE(flat.empty());
        EXPECT_GT(total, 0);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].parent != Row::kNone) continue;
            EXPECT_EQ(rows[i].total, below[i].total) << "process " << rows[i].id;
            EXPECT_EQ(rows[i].buckets, below[i].buckets) << "process " << rows[i].id;
        }
    }
    EXPECT_TRUE(log.empty());
}

INSTANTIATE_TEST_SUITE_P(Traces,
                         GridTotals,
                         testing::Values("fuchsia_trace.json.gz",
                                         "bazel-profile-with_queuing.json.gz",
                                         "speedscope-edge/multiprocess.json",
                                         "catapult-small/simple_trace.json"));

}  // namespace
}  // namespace lanefeed_test
