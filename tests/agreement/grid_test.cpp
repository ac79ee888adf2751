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
using dataface_1::IQuery;
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

}  // namespace
}  // namespace lanefeed_test
