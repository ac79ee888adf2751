// Grids on real results: what their sections say, the rows in levels that they give, the filters
// made of those, and that totals in levels are those of flat rows.
#include "session/open_result.h"
#include "session/shipped_viewpoints.h"
#include "support/cancel_at_poll.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/query_library.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;
using slicekit_1_0::IGridQuery;
using slicekit_1_0::IGridViewpointParser;

const char* const kTrace = R"(
    process alpha
    thread main  0..50 outer@ui  10..20 inner@io  60..70 inner@io
    thread worker  20..100 job@gc*7
    thread idle
    alive idle 0..100
    marker main 5 tick
    process beta
    thread main  0..5 outer@ui
    counter load  0=5  50=7.5)";

basekit2::variant_bag_t element(const std::string& xml) {
    basekit2::variant_bag_t bag;
    const auto err = basekit2::load_variant_bag_from_string2(bag, xml, "");
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return bag;
}

class Grids : public ::testing::Test {
protected:
    void open(const std::string& trace) {
        writeTraceText(m_directory.file("t.lft"), trace);
        openFile(m_directory.file("t.lft"));
    }
    void openFile(const std::string& file) {
        lanefeed_runtime::OpenOutcome outcome;
        m_result = lanefeed_runtime::openResult(file, {}, outcome);
        ASSERT_TRUE(outcome.isOpened()) << outcome.text;
        ASSERT_TRUE(dataface_1::lookup(m_result, m_library));
        ASSERT_TRUE(dataface_1::lookup(m_result, m_filters));
    }

    error_code_t parse(const std::string& section) {
        return createGridViewpointParser(element(section), m_grid, m_library.get(), nullptr,
                                         m_result);
    }
    // The rows of the default grouping under the filters; null, with m_error, on failure.
    sptr_t<ITableTree> run(const std::vector<std::string>& filters = {},
                           relay2::IProgress* progress = nullptr) {
        sptr_t<IGridQuery> query;
        m_error = m_grid->createQuery(m_grid->getDefaultVectorQuery(), query);
        if (!is_success(m_error)) return {};
        for (const std::string& filter : filters)
            query->addFilter(filter);
        sptr_t<ITableTree> tree;
        m_error = query->execute(tree, progress, m_grid->getQueryFlags());
        return tree;
    }
    sptr_t<ITableTree> rowsOf(const std::string& section) {
        const error_code_t err = parse(section);
        EXPECT_TRUE(is_success(err)) << err.as_string(1);
        return is_success(err) ? run() : nullptr;
    }

    TempDirectory m_directory;
    sptr_t<dataface_1::IInputData> m_result;
    sptr_t<dataface_1::IQueryLibrary> m_library;
    sptr_t<dataface_1::IFilterRegistry> m_filters;
    sptr_t<IGridViewpointParser> m_grid;
    error_code_t m_error;
};

const char* const kProcesses =
    "<gridQuery><rowBy query='processAndThread'/>"
    "<columnBy query='busyTime, sliceCount, instantCount'/></gridQuery>";

TEST_F(Grids, ListRowsInLevelsWithTotals) {
    open(kTrace);
    const auto table = [&] { return rowsOf(kProcesses); };
    EXPECT_EQ(tableText(table(), {true, false, {}}),
              "#    name    %BusyTime  %SliceCount  %InstantCount\n"
              "1    alpha   140        4            1\n"
              "  1  main    60         3            1\n"
              "  2  worker  80         1            -\n"
              "  3  idle    -          -            -\n"
              "2    beta    5          1            -\n"
              "  4  main    5          1            -\n");
    EXPECT_TRUE(keepsTableContract(table));
}

// Of what a row adds up to, not the sum of what the rows below it have.
TEST_F(Grids, ComputeDerivedColumnsForEachRow) {
    open(kTrace);
    EXPECT_EQ(tableText(rowsOf("<gridQuery><rowBy query='processAndThread'/><columnBy>"
                               "<derivedQuery id='mean'><formula>busyTime / sliceCount</formula>"
                               "<queryRef>busyTime</queryRef><queryRef>sliceCount</queryRef>"
                               "</derivedQuery><queryRef>sliceCount</queryRef></columnBy>"
                               "</gridQuery>")),
              "name      mean  %SliceCount\n"
              "alpha     35    4\n"
              "  main    20    3\n"
              "  worker  80    1\n"
              "  idle    -     -\n"
              "beta      5     1\n"
              "  main    5     1\n");
}

// As in a layer over the whole result: counts alone are hundredfold, unless a time goes with them
// that the result holds.
TEST_F(Grids, ComputePercentagesAsLayersDo) {
    open(kTrace);
    const auto column = [](const std::string& id, const std::string& formula,
                           const std::string& members) {
        return "<derivedQuery id='" + id + "' unit='percent'><formula>" + formula +
               "</formula><queryRef>sliceCount</queryRef>" + members + "</derivedQuery>";
    };
    EXPECT_EQ(tableText(rowsOf(
                  "<gridQuery><rowBy query='process'/><columnBy>" +
                  column("counts", "sliceCount / 2", "") +
                  column("mixed", "sliceCount + 0 * busyTime", "<queryRef>busyTime</queryRef>") +
                  column("partly", "sliceCount + gone",
                         "<timeQuery id='gone'><dbPath>gone_data</dbPath>"
                         "</timeQuery>") +
                  "</columnBy></gridQuery>")),
              "name   counts  mixed  partly\n"
              "alpha  200     4      400\n"
              "beta   50      1      100\n");
}

// Of a grouping with a way over the slices, a layer of slices takes that and all others the bands.
TEST_F(Grids, PickAnAlternativeForALayerAndADefaultGrouping) {
    open(kTrace);
    ASSERT_TRUE(is_success(parse(R"(<rowSet><layer/>
        <rowBy useGridQuery='false' query='thread'/><rowBy query='process'/>
        <rowBy useGridQuery='true' query='thread'/>
        <rowBy default='true'>
          <infoQuery id='bySlices'><dbPath>slice_data::dd_band.dd_thread</dbPath></infoQuery>
          <queryRef>thread</queryRef></rowBy>
        <rowBy/><rowBy query='nobody'/></rowSet>)")));
    EXPECT_EQ(basekit2::iterator_util::get_item_count(m_grid->getGroupings()), 4);
    sptr_t<IVectorQuery> grouping;
    EXPECT_TRUE(is_success(m_grid->getGrouping(0, grouping)));
    EXPECT_EQ(grouping, m_grid->getDefaultVectorQuery());
    EXPECT_TRUE(is_success(m_grid->getGrouping(2, grouping)) && grouping->getCount() == 0);
    EXPECT_TRUE(is_success(m_grid->getGrouping(3, grouping)) && grouping.is_null());
    EXPECT_FALSE(m_grid->getGrouping(4, grouping).succeeded());
    const auto picked = [&](const std::string& id, int level) {
        const auto query = m_grid->getRowByForLevel(m_library->findQuery(id, nullptr), level);
        EXPECT_EQ(query, m_grid->getRowByQuery(m_library->findQuery(id, nullptr), level));
        return query.is_null() ? "none" : query->getId();
    };
    EXPECT_EQ(picked("sliceName", 0) + picked("busyTime", 0), "bySlicesbySlices");
    EXPECT_EQ(picked("instantCount", 0) + picked("busyTime", 1), "threadthread");
    EXPECT_EQ(picked("busyTime", 2) + picked("busyTime", -1) + picked("none", 1), "nonenonenone");
}

TEST_F(Grids, TellWhatASectionGotWrong) {
    open(kTrace);
    const std::pair<const char*, const char*> sections[] = {
        {"<gridQuery><rowby/></gridQuery>",
         "<gridQuery>: unknown element <rowby>; write <rowBy> or <columnBy>"},
        {"<gridQuery><columnBy query='nobody'/></gridQuery>",
         "<gridQuery>: <columnBy> names no query that is known; write ids of queries on instances "
         "in its attribute \"query\""},
        {"<gridQuery><columnBy query='busyTime, sliceName'/></gridQuery>",
         "<gridQuery>: <columnBy>: \"sliceName\" has no total; name a timeQuery, a countQuery, an "
         "instanceCountQuery, a dataQuery or a derivedQuery"},
        {"<requiredData/>",
         "<requiredData>: it has no rowBy; write <rowBy query=\"...\"/> for the "
         "rows that it is about"}};
    for (const auto& [section, text] : sections) {
        EXPECT_EQ(parse(section).expression(), text);
        EXPECT_TRUE(m_grid.is_null());
    }
    const std::pair<const char*, const char*> groupings[] = {
        {"<rowBy/>", "the grouping has no query for its rows"},
        {"<rowBy query='thread, process'/>",
         "the alternatives \"thread\" and \"process\" of a grouping lead to different rows, "
         "dd_thread and dd_process; make a rowBy of each"},
        {"<rowBy query='process, processAndThread'/>",
         "the alternatives \"process\" and \"processAndThread\" of a grouping have different "
         "numbers of levels; give them as many, or make a rowBy of each"},
        {"<rowBy><infoQuery id='typo'><dbPath>dd_band::dd_thraed</dbPath></infoQuery></rowBy>",
         "the rows of \"typo\" cannot be read: dd_band::dd_thraed is no column of the result"}};
    for (const auto& [rowBy, text] : groupings) {
        EXPECT_TRUE(rowsOf("<gridQuery>" + std::string(rowBy) + "</gridQuery>").is_null());
        EXPECT_EQ(m_error.expression(), text);
    }
}

TEST_F(Grids, GiveUpWhenTheyAreCancelled) {
    open(kTrace);
    ASSERT_TRUE(is_success(parse(kProcesses)));
    const auto never = basekit2::make_object<CancelAtPoll>(0);
    EXPECT_FALSE(run().is_null());  // reads the tables, which are kept
    EXPECT_FALSE(run({}, never.get()).is_null());
    for (int poll = 1; poll <= never->polls(); ++poll) {
        const auto progress = basekit2::make_object<CancelAtPoll>(poll);
        EXPECT_TRUE(run({}, progress.get()).is_null()) << poll;
        EXPECT_EQ(m_error.value(), error_code_t::noResult) << poll;
    }
}

// A row is kept by all that stands on its path, and what is kept is cut in rows and totals alike.
TEST_F(Grids, MakeFiltersOfTheirRowsAndKeepToFilters) {
    open(kTrace);
    const auto tree = rowsOf(kProcesses);
    sptr_t<dataface_1::IFilterTableTree> maker;
    ASSERT_TRUE(basekit2::lookup_interface(tree.get(), maker));
    const auto rows = allRows(tree);
    const auto filtered = [&](const std::vector<std::size_t>& places) {
        std::vector<sptr_t<dataface_1::ITableRow>> chosen;
        chosen.reserve(places.size());
        for (const std::size_t place : places)
            chosen.push_back(rows[place]);
        sptr_t<dataface_1::IQueryFilter> filter;
        EXPECT_TRUE(is_success(maker->createFilter(basekit2::make_iterator(chosen), filter)));
        m_filters->setQueryFilter("rows", filter);
        return tableText(run({"rows"}), {false, false, {"name", "%BusyTime"}});
    };
    EXPECT_EQ(filtered({2, 5}),
              "name      %BusyTime\nalpha     80\n  worker  80\nbeta      5\n  main    5\n");
    EXPECT_EQ(filtered({1, 4}),
              "name    %BusyTime\nalpha   60\n  main  60\nbeta    5\n  main  5\n");
    EXPECT_EQ(filtered({}), "name  %BusyTime\n");

    sptr_t<dataface_1::IQueryFilter> none;
    const auto foreign = rowsOf(kProcesses)->getRows(nullptr);
    EXPECT_FALSE(maker->createFilter(foreign, none).succeeded());
    EXPECT_TRUE(none.is_null());

    // Two names hold together, and time is cut to the tick.
    const auto time = m_filters->createTimeFilterBuilder();
    time->addRange(31, 66, false);
    m_filters->setTimeFilter("global", time->build());
    filtered({0});
    EXPECT_EQ(tableText(run({"rows", "global"}), {false, false, {"name", "%BusyTime"}}),
              "name      %BusyTime\n"
              "alpha     60\n"
              "  main    25\n"
              "  worker  35\n"
              "  idle    -\n");
}

TEST_F(Grids, LeaveOutRowsWithoutDataWhereColumnsAreRequired) {
    open(kTrace);
    EXPECT_EQ(tableText(rowsOf("<requiredData><rowBy query='processAndThread'/>"
                               "<columnBy query='instantCount'/></requiredData>")),
              "name    %InstantCount\nalpha   1\n  main  1\n");
    EXPECT_EQ(tableText(rowsOf("<gridQuery><rowBy query='processAndThread'/>"
                               "<columnBy query='instantCount' required='true'/>"
                               "<columnBy query='sliceCount'/></gridQuery>")),
              "name    %InstantCount  %SliceCount\n"
              "alpha   1              3\n"
              "  main  1              3\n");
    // A table that the result does not have gives no totals and, required, no rows.
    EXPECT_EQ(tableText(rowsOf("<gridQuery><rowBy query='process'/><columnBy query='asyncCount'/>"
                               "</gridQuery>")),
              "name   %AsyncCount\nalpha  -\nbeta   -\n");
    EXPECT_EQ(tableText(rowsOf("<requiredData><rowBy query='process'/>"
                               "<columnBy query='asyncCount'/></requiredData>")),
              "name  %AsyncCount\n");
    // Layers give columns only where the section names none.
    ASSERT_TRUE(is_success(parse("<gridQuery><rowBy query='process'/></gridQuery>")));
    const auto ofLayers =
        IVectorQuery::pushBack(nullptr, m_library->findQuery("sliceCount", nullptr));
    m_grid->setColumnBy(ofLayers);
    EXPECT_EQ(tableText(run()), "name   %SliceCount\nalpha  4\nbeta   1\n");
    ASSERT_TRUE(is_success(parse(kProcesses)));
    m_grid->setColumnBy(ofLayers);
    EXPECT_EQ(allColumns(run()).size(), 4U);
}

}  // namespace
}  // namespace lanefeed_test
