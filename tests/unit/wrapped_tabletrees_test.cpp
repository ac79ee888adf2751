// Tables made of a table of series: the form of the command line, which puts bounds of buckets in
// front, and the scaled one, which multiplies some cells and hands on the others.

#include "bound_provider.h"
#include "series_tables.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "tabletrees.h"

#include <gtest/gtest.h>

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ITableTree;

const double kNone = lanefeed_test::kNoData;

// The table of a series over a window, with bounds in front.
sptr_t<ITableTree> withBounds(const std::vector<double>& values,
                              const QueryParam& param,
                              IDicerProvider* provider = nullptr) {
    const auto overtime =
        createOvertimeTableTree(lanefeed_test::seriesColumns({"cpu", ".read"}), nullptr,
                                lanefeed_test::recordOf({values}), 10, param, nullptr);
    return createCommandLineTableTree(overtime, provider, param);
}

TEST(CommandLineTable, PutsTheBoundsOfBucketsInFront) {
    const lanefeed_test::BoundProvider bound;
    const QueryParam param = lanefeed_test::windowOf(100, 110, 3);
    const auto tree = withBounds({1, 2, 3}, param, bound.provider.get());
    // Three whole ticks a bucket; the last takes the tick that is left.
    EXPECT_EQ(lanefeed_test::tableText(tree), R"(Bin Start Time  Bin End Time  cpu  cpu.read
100             103           10   10
103             106           20   20
106             110           30   30
)");
    const auto end = lanefeed_test::columnNamed(tree, "Bin End Time");
    EXPECT_EQ(end->getType(), dataface_1::numericColumnBit);
    variant_t value;
    EXPECT_TRUE(lanefeed_test::allRows(tree)[1]->getContent(end, dataface_1::ccStyle, value));
    EXPECT_EQ(value.get_type(), basekit2::vtU64);
    EXPECT_TRUE(lanefeed_test::keepsTableContract([] {
        return withBounds({1, kNone, 3}, lanefeed_test::windowOf(0, 30, 3));
    }));
}

TEST(CommandLineTable, EndsTheLastBucketOfTheRequestAloneWithIt) {
    const auto text = [](const std::vector<double>& values, const QueryParam& param) {
        return lanefeed_test::tableText(withBounds(values, param));
    };
    EXPECT_EQ(text({1, kNone, 3, 4}, lanefeed_test::windowOf(100, 111, 4)),
              "?    ?    cpu  cpu.read\n100  102  10   10\n104  106  30   30\n106  111  40   40\n");
    // No bounds of what is no bucket of the request: more than that has, or no number.
    const QueryParam two = lanefeed_test::windowOf(0, 10, 2);
    EXPECT_EQ(text({1, 2, 3}, two),
              "?  ?   cpu  cpu.read\n0  5   10   10\n5  10  20   20\n-  -   30   30\n");
    const auto odd = lanefeed_test::seriesColumns({"cpu"});
    const auto row = facekit_1_x::createVectorRow(nullptr, odd);
    row->setContent(lanefeed_test::columnNamed(odd, "timeBin"), dataface_1::ccValue, -1);
    odd->addRow(row, nullptr);
    EXPECT_EQ(lanefeed_test::tableText(createCommandLineTableTree(odd, nullptr, two)),
              "?  ?  cpu\n-  -  -\n");
}

// A number under the bucket column and under one of each kind, and a text and nothing under numeric
// ones.
sptr_t<ITableTree> mixedTable() {
    const auto tree = facekit_1_x::createTableTree();
    const auto row = facekit_1_x::createVectorRow(lanefeed_test::namedQuery("row"), tree);
    const auto add = [&](int kind, const char* name, const variant_t& value) {
        const auto column = facekit_1_x::createColumn(kind, lanefeed_test::namedQuery(name), tree);
        tree->addColumn(column, nullptr, 0);
        if (!value.is_null()) row->setContent(column, dataface_1::ccValue, value);
    };
    add(facekit_1_x::columnTimeBin, "timeBin", 3);
    for (const int kind : {2, 3, 4, 5, 16, 20})
        add(kind, std::to_string(kind).c_str(), 1.5);
    add(facekit_1_x::columnSeries, "int", 7);
    add(facekit_1_x::columnSeries, "text", "x");
    add(facekit_1_x::columnSeries, "none", {});
    row->setContent(nullptr, dataface_1::ccId, 42);
    tree->addRow(row, nullptr);
    return tree;
}

TEST(ScaleTable, ScalesBothFormsOfNumbersInNumericColumnsAndNothingElse) {
    const auto tree = createScaleTableTree(mixedTable(), 2);
    EXPECT_EQ(lanefeed_test::tableText(tree),
              "timeBin  2    3    4  5  16   20  int  text  none\n"
              "3        1.5  1.5  3  3  1.5  3   14   x     -\n");
    const auto row = tree->getRows(nullptr).current();
    variant_t value;
    EXPECT_TRUE(
        row->getContent(lanefeed_test::columnNamed(tree, "int"), dataface_1::ccSecondValue, value));
    EXPECT_EQ(value, variant_t(14.0));
    EXPECT_TRUE(row->getContent(nullptr, dataface_1::ccId, value));
    EXPECT_EQ(value, variant_t(42));
    EXPECT_TRUE(createScaleTableTree(nullptr, 2).is_null());
    EXPECT_TRUE(
        lanefeed_test::keepsTableContract([] { return createScaleTableTree(mixedTable(), 2.5); }));
}

}  // namespace
}  // namespace lanefeed_1
