// Grids on real results: what their sections say, the rows in levels that they give, the filters
// made of those. That totals in levels are those of flat rows stands in grid_totals_test.cpp.
#include "session/open_result.h"
#include "support/cancel_at_poll.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "support/trace_text.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/filters.h>
#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;

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

const std::string kProcesses =
    "<rowBy query='processAndThread'/><columnBy query='busyTime, sliceCount, instantCount'/>";

std::string grid(const std::string& inside) {
    return "<gridQuery>" + inside + "</gridQuery>";
}

class Grids : public ::testing::Test {
protected:
    Grids() {
        EXPECT_TRUE(dataface_1::lookup(m_input, m_filters));
        EXPECT_TRUE(dataface_1::lookup(m_input, m_library));
    }

    error_code_t parse(const std::string& section) {
        basekit2::variant_bag_t bag;
        EXPECT_TRUE(is_success(basekit2::load_variant_bag_from_string2(bag, section, "")));
        return createGridViewpointParser(bag, m_grid, m_library.get(), nullptr, m_input);
    }
    // The rows of the default grouping under the filters; null, with m_error, on failure.
    sptr_t<ITableTree> run(const std::vector<std::string>& filters = {},
                           relay2::IProgress* progress = nullptr) {
        sptr_t<slicekit_1_0::IGridQuery> query;
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
        if (!is_success(err)) throw std::runtime_error(err.as_string(1));
        return run();
    }
    sptr_t<dataface_1::IQuery> query(const char* id) { return m_library->findQuery(id, nullptr); }

    const TextResult m_text{kTrace};
    lanefeed_runtime::OpenOutcome m_outcome;
    const sptr_t<dataface_1::IInputData> m_input =
        lanefeed_runtime::openResult(m_text.file(), {}, m_outcome);
    sptr_t<dataface_1::IFilterRegistry> m_filters;
    sptr_t<dataface_1::IQueryLibrary> m_library;
    sptr_t<slicekit_1_0::IGridViewpointParser> m_grid;
    error_code_t m_error;
};

TEST_F(Grids, ListRowsInLevelsWithTotals) {
    const auto table = [&] { return rowsOf(grid(kProcesses)); };
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

std::string derived(const std::string& id, const std::string& formula, const std::string& member) {
    return "<derivedQuery id='" + id + "'><formula>" + formula +
           "</formula><queryRef>sliceCount</queryRef>" + member + "</derivedQuery>";
}

TEST_F(Grids, ComputeColumnsOfEachRowAndLeaveOutThoseWithoutRequiredData) {
    const std::string busy = "<queryRef>busyTime</queryRef>";
    const std::string percent = "' unit='percent";
    const std::string gone = "<timeQuery id='gone'><dbPath>gone_data</dbPath></timeQuery>";
    const std::pair<std::string, const char*> sections[] = {
        // Of what a row adds up to, not the sum of what the rows below it have.
        {grid("<rowBy query='processAndThread'/><columnBy>" +
              derived("mean", "busyTime / sliceCount", busy) +
              "<queryRef>sliceCount</queryRef></columnBy>"),
         "name      mean  %SliceCount\n"
         "alpha     35    4\n"
         "  main    20    3\n"
         "  worker  80    1\n"
         "  idle    -     -\n"
         "beta      5     1\n"
         "  main    5     1\n"},
        // As in a layer over the whole result: counts alone are hundredfold, unless a time goes
        // with them that the result holds.
        {grid("<rowBy query='process'/><columnBy>" +
              derived("mixed" + percent, "sliceCount + 0 * busyTime", busy) +
              derived("partly" + percent, "sliceCount + gone", gone) + "</columnBy>"),
         "name   mixed  partly\nalpha  4      400\nbeta   1      100\n"},
        {"<requiredData><rowBy query='processAndThread'/><columnBy query='instantCount'/>"
         "</requiredData>",
         "name    %InstantCount\nalpha   1\n  main  1\n"},
        {grid("<rowBy query='process'/><columnBy query='instantCount' required='true'/>"
              "<columnBy query='sliceCount'/>"),
         "name   %InstantCount  %SliceCount\nalpha  1              4\n"},
        // A table that the result does not have, required, gives no rows.
        {"<requiredData><rowBy query='process'/><columnBy query='asyncCount'/></requiredData>",
         "name  %AsyncCount\n"}};
    for (const auto& [section, text] : sections)
        EXPECT_EQ(tableText(rowsOf(section)), text) << section;
    // Layers give columns only where the section names none.
    for (const std::string columns : {"", "<columnBy query='busyTime, instantCount'/>"}) {
        ASSERT_TRUE(is_success(parse(grid("<rowBy query='process'/>" + columns))));
        m_grid->setColumnBy(IVectorQuery::pushBack(nullptr, query("sliceCount")));
        EXPECT_EQ(allColumns(run()).size(), columns.empty() ? 2U : 3U);
    }
}

// Of a grouping with a way over the slices, a layer of slices takes that and all others the bands.
TEST_F(Grids, PickAnAlternativeForALayerAndADefaultGrouping) {
    ASSERT_TRUE(is_success(parse(R"(<rowSet><layer/>
        <rowBy useGridQuery='false' query='thread'/><rowBy query='process'/>
        <rowBy useGridQuery='true' query='thread'/>
        <rowBy default='true'>
          <infoQuery id='bySlices'><dbPath>slice_data::dd_band.dd_thread</dbPath></infoQuery>
          <queryRef>thread</queryRef></rowBy>
        <rowBy/><rowBy query='nobody'/></rowSet>)")));
    EXPECT_EQ(basekit2::iterator_util::get_item_count(m_grid->getGroupings()), 4);
    sptr_t<IVectorQuery> grouping;
    m_grid->getGrouping(0, grouping);
    EXPECT_EQ(grouping, m_grid->getDefaultVectorQuery());
    const std::tuple<const char*, int, const char*> picks[] = {
        {"busyTime", 0, "bySlices"}, {"instantCount", 0, "thread"}, {"busyTime", 1, "thread"},
        {"busyTime", 2, "none"},     {"busyTime", -1, "none"},      {"none", 1, "none"}};
    for (const auto& [id, level, expected] : picks) {
        const auto picked = m_grid->getRowByForLevel(query(id), level);
        EXPECT_EQ(picked, m_grid->getRowByQuery(query(id), level));
        EXPECT_EQ(picked.is_null() ? "none" : picked->getId(), expected) << id << " " << level;
    }
}

TEST_F(Grids, TellWhatASectionGotWrong) {
    const std::pair<std::string, const char*> sections[] = {
        {grid("<columnBy query='busyTime, sliceName'/>"),
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
        {"<rowBy query='thread, process'/>",
         "the alternatives \"thread\" and \"process\" of a grouping lead to different rows, "
         "dd_thread and dd_process; make a rowBy of each"},
        {"<rowBy><infoQuery id='typo'><dbPath>dd_band::dd_thraed</dbPath></infoQuery></rowBy>",
         "the rows of \"typo\" cannot be read: dd_band::dd_thraed is no column of the result"}};
    for (const auto& [rowBy, text] : groupings) {
        EXPECT_TRUE(rowsOf(grid(rowBy)).is_null());
        EXPECT_EQ(m_error.expression(), text);
    }
}

TEST_F(Grids, GiveUpWhenTheyAreCancelled) {
    ASSERT_TRUE(is_success(parse(grid(kProcesses))));
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
    const auto tree = rowsOf(grid(kProcesses));
    sptr_t<dataface_1::IFilterTableTree> maker;
    ASSERT_TRUE(basekit2::lookup_interface(tree.get(), maker));
    const auto rows = allRows(tree);
    const auto filtered = [&](const std::vector<std::size_t>& places) {
        std::vector<sptr_t<dataface_1::ITableRow>> chosen;
        for (const std::size_t place : places)
            chosen.push_back(rows[place]);
        sptr_t<dataface_1::IQueryFilter> filter;
        EXPECT_TRUE(is_success(maker->createFilter(basekit2::make_iterator(chosen), filter)));
        m_filters->setQueryFilter("rows", filter);
        return tableText(run({"rows", "global"}), {false, false, {"name", "%BusyTime"}});
    };
    EXPECT_EQ(filtered({2, 5}),
              "name      %BusyTime\nalpha     80\n  worker  80\nbeta      5\n  main    5\n");
    EXPECT_EQ(filtered({}), "name  %BusyTime\n");
    sptr_t<dataface_1::IQueryFilter> none;
    EXPECT_FALSE(maker->createFilter(rowsOf(grid(kProcesses))->getRows(nullptr), none).succeeded())
        << "rows of another table";
    // Two names hold together, and time is cut to the tick.
    const auto time = m_filters->createTimeFilterBuilder();
    time->addRange(31, 66, false);
    m_filters->setTimeFilter("global", time->build());
    EXPECT_EQ(filtered({0}),
              "name      %BusyTime\n"
              "alpha     60\n"
              "  main    25\n"
              "  worker  35\n"
              "  idle    -\n");
}

}  // namespace
}  // namespace lanefeed_test
