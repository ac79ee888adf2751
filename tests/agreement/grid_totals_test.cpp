// Rows in levels against flat rows on imported traces: what a grid says of a process is what its
// threads add up to, in the totals of the table of rows and in each bucket of a series, and each
// thread is the one of the flat rows, to the tick.
#include "idicerprovider.h"
#include "importer.h"
#include "session/open_result.h"
#include "support/captured_log.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "viewpointparser.h"

#include <basekit2/variant_bag.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

constexpr const char* kLayers =
    "<layer type='Overtime'><drawBy query='busyTime'/></layer>"
    "<layer type='Overtime'><drawBy query='sliceCount'/></layer>";
constexpr unsigned kBins = 9;

// One number for each bucket; 0 where there is no data.
using Series = std::vector<double>;

// An area with its rows.
struct View {
    View(const sptr_t<dataface_1::IInputData>& result, TLViewpointParser::RowSet& rows)
        : rowSet(rows), provider(IDicerProvider::create(result)) {
        provider->setResult(1, result, &rowSet, "test", 0);
        EXPECT_TRUE(provider->getRowSummary(table, -1, true, true));
    }

    // Of each row, over the whole result but for ticks that the buckets do not divide.
    std::vector<Series> series(std::size_t layer) const {
        lanefeed_1::QueryParam param;
        param.dds = &rowSet.layers.at(layer).drawBy.ds;
        param.rowByDS = &rowSet.rowBys.at(0).ds;
        const basekit2::u64_t width = (provider->getDuration() + 1) / kBins;
        param.endTime = width * kBins;
        param.binCount = kBins;
        std::vector<sptr_t<ITableTree>> forest;
        provider->getOverTimeData(param, IDicerProvider::otTime, forest);
        std::vector<Series> all;
        for (const sptr_t<ITableTree>& tree : forest) {
            all.emplace_back(kBins, 0.0);
            if (tree.is_null()) continue;
            const auto columns = allColumns(tree);
            for (const sptr_t<ITableRow>& row : allRows(tree)) {
                basekit2::variant_t bucket;
                basekit2::variant_t value;
                row->getContent(columns.at(0), dataface_1::ccValue, bucket);
                if (!row->getContent(columns.at(1), dataface_1::ccValue, value)) continue;
                // Percentages of the width are ticks again.
                const double number = value.get<double>();
                all.back().at(bucket.get<std::size_t>()) =
                    std::round(layer == 0 ? number * static_cast<double>(width) / 100 : number);
            }
        }
        return all;
    }

    TLViewpointParser::RowSet& rowSet;
    sptr_t<IDicerProvider> provider;
    sptr_t<ITableTree> table;
};

int idOf(ITableRow& row) {
    basekit2::variant_t id;
    row.getContent(nullptr, dataface_1::ccId, id);
    return id.get<int>();
}

void add(Series& sum, const Series& series) {
    sum.resize(series.size());
    for (std::size_t i = 0; i < series.size(); ++i)
        sum[i] += series[i];
}

class GridTotals : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        lanefeed_importers::ImportRequest request;
        request.source = std::string(LANEFEED_TEST_DATA "/") + GetParam();
        request.target = m_directory.file("t.lft");
        const auto imported = lanefeed_importers::importTrace(request);
        ASSERT_FALSE(imported.error.failed()) << imported.error.text;
        lanefeed_runtime::OpenOutcome outcome;
        m_result = lanefeed_runtime::openResult(request.target, {}, outcome);
        ASSERT_TRUE(outcome.isOpened()) << outcome.text;
        ASSERT_TRUE(dataface_1::lookup(m_result, m_library));
        basekit2::variant_bag_t bag;
        ASSERT_TRUE(is_success(load_variant_bag_from_string2(
            bag,
            "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>" +
                std::string(kLayers) +
                "</rowSet></area><area><rowSet><rowBy query='processAndThread'/>" + kLayers +
                "</rowSet></area></viewpoint>",
            "viewpoint")));
        m_parser.parseViewpoint(bag, m_library, nullptr, m_result,
                                basekit2::make_object<lanefeed_1::ParseLogger>());
        ASSERT_EQ(m_parser.m_areas.size(), 2U);
    }

    TempDirectory m_directory;
    sptr_t<dataface_1::IInputData> m_result;
    sptr_t<dataface_1::IQueryLibrary> m_library;
    TLViewpointParser m_parser;
};

TEST_P(GridTotals, AreThoseOfFlatRows) {
    const CapturedLog log;
    const View flat(m_result, m_parser.m_areas[0].rowSets.at(0));
    const View levels(m_result, m_parser.m_areas[1].rowSets.at(0));
    for (std::size_t layer = 0; layer < 2; ++layer) {
        std::map<int, Series> ofThread;
        const auto flatSeries = flat.series(layer);
        const auto flatRows = allRows(flat.table);
        ASSERT_EQ(flatSeries.size(), flatRows.size());
        for (std::size_t i = 0; i < flatRows.size(); ++i)
            ofThread[idOf(*flatRows[i])] = flatSeries[i];

        const auto series = levels.series(layer);
        const auto rows = allRows(levels.table);
        ASSERT_EQ(series.size(), rows.size());
        const auto column = allColumns(levels.table).at(1 + layer);
        std::map<ITableRow*, Series> below;
        std::map<ITableRow*, double> totalBelow;
        std::size_t threads = 0;
        const auto total = [&](ITableRow& row) {
            basekit2::variant_t cell;
            return row.getContent(column, dataface_1::ccValue, cell) ? cell.get<double>() : 0;
        };
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const sptr_t<ITableRow> parent = rows[i]->getParent();
            if (parent.is_null()) continue;
            ++threads;
            EXPECT_EQ(series[i], ofThread.at(idOf(*rows[i]))) << "thread " << idOf(*rows[i]);
            add(below[parent.get()], series[i]);
            totalBelow[parent.get()] += total(*rows[i]);
        }
        EXPECT_EQ(threads, flatRows.size());
        double all = 0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (!rows[i]->getParent().is_null()) continue;
            EXPECT_EQ(series[i], below[rows[i].get()]) << "process " << idOf(*rows[i]);
            EXPECT_EQ(total(*rows[i]), totalBelow[rows[i].get()]) << "process " << idOf(*rows[i]);
            all += total(*rows[i]);
        }
        EXPECT_GT(all, 0);
    }
    for (const CapturedLog::Entry& entry : log.entries())
        ADD_FAILURE() << entry.text;
}

INSTANTIATE_TEST_SUITE_P(Traces,
                         GridTotals,
                         testing::Values("fuchsia_trace.json.gz",
                                         "bazel-profile-with_queuing.json.gz",
                                         "speedscope-edge/multiprocess.json",
                                         "catapult-small/simple_trace.json"));

}  // namespace
}  // namespace lanefeed_test
