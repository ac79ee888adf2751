// The scaled table: which cells are multiplied, and what is handed on as it is.

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
    EXPECT_EQ(row->getQuery()->getName(), "row");
    EXPECT_EQ(row->getTableTree(), tree);
    EXPECT_TRUE(createScaleTableTree(nullptr, 2).is_null());
    EXPECT_TRUE(
        lanefeed_test::keepsTableContract([] { return createScaleTableTree(mixedTable(), 2.5); }));
}

}  // namespace
}  // namespace lanefeed_1
