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

// A row with a cell of each kind under numeric columns, and a number under the bucket column.
sptr_t<facekit_1_x::IDPIHelperTableTree> mixedTable() {
    const auto tree = lanefeed_test::seriesColumns({"int", "double", "text", "none"});
    const auto row = facekit_1_x::createVectorRow(lanefeed_test::namedQuery("row"), tree);
    const auto set = [&](const char* column, const variant_t& value) {
        row->setContent(lanefeed_test::columnNamed(tree, column), dataface_1::ccValue, value);
    };
    set("timeBin", 3);
    set("int", 7);
    set("double", 0.5);
    set("text", "x");
    row->setContent(nullptr, dataface_1::ccId, 42);
    tree->addRow(row, nullptr);
    return tree;
}

TEST(ScaleTable, MultipliesNumbersOfNumericColumns) {
    const auto tree = createScaleTableTree(mixedTable(), 2.5);
    EXPECT_EQ(lanefeed_test::tableText(tree), R"(timeBin  int   double  text  none
3        17.5  1.25    x     -
)");
}

TEST(ScaleTable, ScalesBothFormsOfAValueAndNothingElse) {
    const auto source = mixedTable();
    const auto tree = createScaleTableTree(source, 2);
    const auto row = tree->getRows(nullptr).current();
    const auto column = lanefeed_test::columnNamed(tree, "int");
    variant_t value;
    EXPECT_TRUE(row->getContent(column, dataface_1::ccSecondValue, value));
    EXPECT_EQ(value, variant_t(14.0));
    EXPECT_TRUE(row->getContent(nullptr, dataface_1::ccId, value));
    EXPECT_EQ(value, variant_t(42));
    EXPECT_EQ(row->getQuery()->getName(), "row");
    EXPECT_EQ(row->getTableTree(), tree);
}

TEST(ScaleTable, ScalesEveryKindOfNumericColumn) {
    const auto source = facekit_1_x::createTableTree();
    const auto row = facekit_1_x::createVectorRow(nullptr, source);
    for (const int kind : {2, 3, 4, 5, 16, 20}) {
        const auto column = facekit_1_x::createColumn(
            kind, lanefeed_test::namedQuery(std::to_string(kind)), source);
        source->addColumn(column, nullptr, 0);
        row->setContent(column, dataface_1::ccValue, 1.5);
    }
    source->addRow(row, nullptr);
    EXPECT_EQ(lanefeed_test::tableText(createScaleTableTree(source, 2)),
              "2    3    4  5  16   20\n1.5  1.5  3  3  1.5  3\n");
    EXPECT_TRUE(createScaleTableTree(nullptr, 2).is_null());
}

TEST(ScaleTable, KeepsTheContractOfTables) {
    EXPECT_TRUE(
        lanefeed_test::keepsTableContract([] { return createScaleTableTree(mixedTable(), 3); }));
}

}  // namespace
}  // namespace lanefeed_1
