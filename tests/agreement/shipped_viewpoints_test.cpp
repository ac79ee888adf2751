// The shipped viewpoints, and the example of the documentation, on a small result: the parser finds
// nothing to say, every layer can be shown, and the series are those that the trace was written
// with.
#include "agreement/viewpoint_result.h"
#include "idicerprovider.h"
#include "support/captured_log.h"
#include "support/fake_queries.h"
#include "support/table_text.h"

#include <map>
#include <sstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

const char* const kTrace = R"(
    process app
    thread main  0..50 outer@ui  10..20 inner@io  60..70 inner@io
    thread worker  20..100 job@gc
    track upload  3..9 part  5..40 part
    counter load  0=5  50=7.5
    counter free  0=1
    marker main 5 tick)";

class ShippedViewpoints : public ::testing::Test, protected ViewpointResult {
protected:
    ShippedViewpoints() : ViewpointResult(kTrace) {}

    // A layer over the whole trace: one tree for each row, in `rows`. The answer is what went
    // wrong, empty for nothing.
    std::string ask(std::size_t area,
                    std::size_t layer,
                    basekit2::u32_t bins,
                    sptr_t<dataface_1::ITableTree>& rows,
                    std::vector<sptr_t<dataface_1::ITableTree>>& forest) {
        TLViewpointParser::RowSet& rowSet = m_parser.m_areas.at(area).rowSets.at(0);
        const sptr_t<IDicerProvider> provider = IDicerProvider::create(m_result);
        provider->setResult(static_cast<int>(area) + 1, m_result, &rowSet, "shipped", 0);
        if (!provider->getRowSummary(rows, -1, true, true)) return "no rows";
        if (!m_parser.isApplicable(rowSet.layers.at(layer), provider.get()))
            return "not applicable";
        const DicerDataSource source = rowSet.layers[layer].drawBy.ds;
        lanefeed_1::QueryParam param;
        param.dds = &source;
        param.rowByDS = &rowSet.rowBys.at(0).ds;
        param.endTime = provider->getDuration() + 1;
        param.binCount = bins;
        const auto route =
            source.m_dataType == DicerDataSource::dsDerived ? IDicerProvider::otDerived
            : source.m_dataType == DicerDataSource::dsInfo  ? IDicerProvider::otAttribute
                                                            : IDicerProvider::otTime;
        return provider->getOverTimeData(param, route, forest) ? "" : "no data";
    }

    // Each row, then each series with its filled buckets.
    std::string series(std::size_t area, std::size_t layer, basekit2::u32_t bins = 10) {
        sptr_t<dataface_1::ITableTree> rows;
        std::vector<sptr_t<dataface_1::ITableTree>> forest;
        std::string text = ask(area, layer, bins, rows, forest);
        if (!text.empty()) return text;
        const std::vector<sptr_t<dataface_1::ITableRow>> all = allRows(rows);
        for (std::size_t i = 0; i < forest.size(); ++i)
            text += nameOf(rows, all.at(i)) + "\n" + seriesText(forest[i]);
        return text;
    }

    // The innermost columns of an expansion, by what their queries stand for.
    static std::string seriesText(const sptr_t<dataface_1::ITableTree>& tree) {
        std::string text;
        const auto columns = allColumns(tree);
        for (const sptr_t<dataface_1::IColumnInfo>& column : columns) {
            basekit2::generic_iterator_t<sptr_t<dataface_1::IColumnInfo>> children;
            column->getChildren(children, nullptr, false);
            if (column == columns.front() || !children.at_end()) continue;
            text += "  " + columnName(column) + ":";
            for (const sptr_t<dataface_1::ITableRow>& row : allRows(tree))
                if (cell(row, column) != "0")
                    text += " " + cell(row, columns.front()) + "=" + cell(row, column);
            text += "\n";
        }
        return text;
    }

    static std::string columnName(const sptr_t<dataface_1::IColumnInfo>& column) {
        const auto vector = dataface_1::IVectorQuery::cast(column->getQuery());
        const auto info = dataface_1::IInfoQuery::cast(vector->getDefaultQuery());
        if (info.is_null() || info->getValues(1).at_end())
            return lanefeed_1::getString(vector->getDefaultQuery()->getName());
        return info->getValues(1).current().get<std::string>();
    }

    static std::string cell(const sptr_t<dataface_1::ITableRow>& row,
                            const sptr_t<dataface_1::IColumnInfo>& column) {
        basekit2::variant_t value;
        basekit2::variant_t text;
        if (!row->getContent(column, dataface_1::ccValue, value)) return "0";
        basekit2::print_variant(value, text, false);
        return text.get<std::string>();
    }

    static std::string nameOf(const sptr_t<dataface_1::ITableTree>& rows,
                              const sptr_t<dataface_1::ITableRow>& row) {
        basekit2::variant_t name;
        row->getContent(columnNamed(rows, "name"), dataface_1::ccValue, name);
        return name.get<std::string>();
    }
};

TEST_F(ShippedViewpoints, ParseWithoutAWord) {
    const CapturedLog log;
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames()) {
        parseShipped(name);
        EXPECT_FALSE(m_logger->hasMessages()) << name;
        m_logger->printMessages();
    }
    for (const CapturedLog::Entry& entry : log.entries())
        ADD_FAILURE() << entry.text;
}

TEST_F(ShippedViewpoints, LayersShowWhatTheTraceHolds) {
    parseShipped("trace_events");
    EXPECT_TRUE(m_parser.m_hasRuler);
    ASSERT_EQ(m_parser.m_areas.size(), 4U);
    EXPECT_EQ(m_parser.m_areas[0].rowSets[0].displayName, "Threads");
    EXPECT_EQ(m_parser.m_areas[0].rowSets[0].layers[0].drawBy.displayName, "Busy time");
    EXPECT_EQ(series(0, 0),
              "app / main\n  Busy time: 0=100 1=100 2=100 3=100 4=100 6=100\n"
              "app / worker\n  Busy time: 2=100 3=100 4=100 5=100 6=100 7=100 8=100 9=100\n");
    // The innermost slice takes the time; the largest total comes first.
    EXPECT_EQ(series(0, 1),
              "app / main\n  job:\n  outer: 0=100 2=100 3=100 4=100\n  inner: 1=100 6=100\n"
              "app / worker\n  job: 2=100 3=100 4=100 5=100 6=100 7=100 8=100 9=100\n"
              "  outer:\n  inner:\n");
    EXPECT_EQ(series(0, 2),
              "app / main\n  Slices: 0=1 1=2 2=1 3=1 4=1 6=1\n"
              "app / worker\n  Slices: 2=1 3=1 4=1 5=1 6=1 7=1 8=1 9=1\n");
    // In two buckets: 60 ticks of main's slices, 20 of them inner ones.
    EXPECT_EQ(series(0, 3, 2),
              "app / main\n  gc:\n  ui: 0=80\n  io: 0=20 1=100\n"
              "app / worker\n  gc: 0=100 1=100\n  ui:\n  io:\n");
    EXPECT_EQ(series(1, 0),
              "app / load\n"
              "  Value: 0=5 1=5 2=5 3=5 4=5 5=7.5 6=7.5 7=7.5 8=7.5 9=7.5\n"
              "app / free\n  Value: 0=1 1=1 2=1 3=1 4=1 5=1 6=1 7=1 8=1 9=1\n");
    // The counters of a process on one row: their mean.
    EXPECT_EQ(series(3, 0),
              "app\n  Value: 0=3 1=3 2=3 3=3 4=3 5=4.25 6=4.25 7=4.25 8=4.25 9=4.25\n");
    EXPECT_EQ(series(2, 0), "app / upload\n  Time with operations: 0=70 1=100 2=100 3=100\n");
    EXPECT_EQ(series(2, 1), "app / upload\n  Operations: 0=2 1=1 2=1 3=1\n");
}

TEST_F(ShippedViewpoints, ProcessesHaveTheirThreadsWithDataBelowThem) {
    parseShipped("processes");
    EXPECT_EQ(series(0, 0),
              "app\n  Busy time: 0=100 1=100 2=200 3=200 4=200 5=100 6=200 7=100 8=100 9=100\n"
              "main\n  Busy time: 0=100 1=100 2=100 3=100 4=100 6=100\n"
              "worker\n  Busy time: 2=100 3=100 4=100 5=100 6=100 7=100 8=100 9=100\n");
}

TEST_F(ShippedViewpoints, SharesOfABusyThreadAddUp) {
    parseShipped("trace_events");
    for (const basekit2::u32_t bins : {1U, 3U, 7U, 33U}) {
        std::map<std::string, double> sums;  // by row and bucket
        std::istringstream text(series(0, 3, bins));
        std::string row;
        for (std::string line; std::getline(text, line);) {
            if (line[0] != ' ') row = line;
            for (std::size_t equals = line.find('='); equals != std::string::npos;
                 equals = line.find('=', equals + 1)) {
                const std::size_t blank = line.rfind(' ', equals);
                sums[row + line.substr(blank, equals - blank)] +=
                    std::stod(line.substr(equals + 1));
            }
        }
        EXPECT_GT(sums.size(), bins / 2);
        for (const auto& [place, sum] : sums)
            EXPECT_NEAR(sum, 100, 1e-6) << place << " of " << bins;
    }
}

TEST_F(ShippedViewpoints, AFilterChangesRowsAndSeriesAlikeUntilItIsCleared) {
    parseShipped("trace_events");
    sptr_t<dataface_1::IFilterRegistry> registry;
    ASSERT_TRUE(dataface_1::lookup(m_result, registry));
    const auto allSeries = [&] {
        std::string text;
        for (std::size_t area = 0; area < m_parser.m_areas.size(); ++area)
            for (std::size_t i = 0; i < m_parser.m_areas[area].rowSets[0].layers.size(); ++i)
                text += series(area, i);
        return text;
    };
    const std::string first = allSeries();
    const auto time = registry->createTimeFilterBuilder();
    time->addRange(41, 71, false);
    registry->setTimeFilter("selection", time->build());
    EXPECT_EQ(allSeries(), first) << "not in force yet";
    registry->setTimeFilter("global", time->build());
    EXPECT_EQ(series(0, 0),
              "app / main\n  Busy time: 4=100 6=100\n"
              "app / worker\n  Busy time: 4=100 5=100 6=100\n");
    EXPECT_EQ(series(1, 0),
              "app / load\n  Value: 4=5 5=7.5 6=7.5\napp / free\n  Value: 4=1 5=1 6=1\n");

    QueryFacts thread;
    thread.table = "dd_band";
    thread.path = "dd_thread";
    thread.attr = "name";
    const auto rows = registry->createQueryFilterBuilder();
    rows->addCondition(basekit2::make_object<FakeInfoQuery>(thread), true, "worker");
    registry->setQueryFilter("global", rows->build());
    EXPECT_EQ(series(0, 1), "app / main\n  outer: 4=100\n  inner: 6=100\n");
    registry->clearFilter("global");
    EXPECT_EQ(allSeries(), first);
}

TEST_F(ShippedViewpoints, TheExampleOfTheDocumentationWorks) {
    const CapturedLog log;
    parseExample("categories.xml");
    EXPECT_FALSE(m_logger->hasMessages());
    EXPECT_TRUE(log.empty());
    const TLViewpointParser::RowSet& rowSet = m_parser.m_areas.at(0).rowSets.at(0);
    EXPECT_EQ(rowSet.layers[0].drawBy.displayColor.red, 255);
    EXPECT_EQ(rowSet.layers[1].drawBy.ds.m_max, 200) << "two threads";
    // Two threads of one process add up.
    EXPECT_EQ(series(0, 0),
              "app\n  Busy time: 0=100 1=100 2=200 3=200 4=200 5=100 6=200 7=100 8=100 9=100\n");
    EXPECT_EQ(series(0, 1), "app\n  ui: 0=100 2=100 3=100 4=100\n  io: 1=100 6=100\n");
}

TEST_F(ShippedViewpoints, StylesOfValuesColourTheirSeries) {
    basekit2::variant_bag_t bag;
    const std::string viewpoint =
        "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>"
        "<layer type='Overtime'><drawBy query='timeByCategory'/></layer></rowSet></area>"
        "</viewpoint>";
    ASSERT_TRUE(is_success(load_variant_bag_from_string2(bag, viewpoint, "viewpoint")));
    parse(bag);
    sptr_t<dataface_1::ITableTree> rows;
    std::vector<sptr_t<dataface_1::ITableTree>> forest;
    ASSERT_EQ(ask(0, 0, 10, rows, forest), "");
    std::string colors;
    for (const sptr_t<dataface_1::IColumnInfo>& column : allColumns(forest.at(0))) {
        basekit2::variant_t color;
        if (column->getContent(dataface_1::ccStyle, color))
            colors += columnName(column) + "=" + std::to_string(color.get<basekit2::u32_t>());
    }
    // Blue, green, red, alpha from the top; ui and io have no style.
    EXPECT_EQ(colors, "gc=" + std::to_string(0x2828C6FFU));
}

}  // namespace
}  // namespace lanefeed_test
