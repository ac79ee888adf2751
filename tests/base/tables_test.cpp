// The table in memory, its dump into a bag, and the merger.
#include "base/series_text.h"
#include "support/captured_log.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"

#include <facekit_1_x/table_helpers.h>
#include <facekit_1_x/table_wrapper.h>

#include <gtest/gtest.h>

namespace {

using namespace facekit_1_x;  // NOLINT(google-build-using-namespace)
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using lanefeed_test::keepsTableContract;
using lanefeed_test::namedQuery;
using lanefeed_test::seriesOf;
using lanefeed_test::tableText;

sptr_t<IWriteableColumn> addColumn(const sptr_t<IDPIHelperTableTree>& tree,
                                   int kind,
                                   const std::string& name,
                                   const sptr_t<IColumnInfo>& parent = nullptr) {
    const auto column = createColumn(kind, namedQuery(name), tree);
    tree->addColumn(column, parent, 0);
    return column;
}

template <class MakeRow>
sptr_t<ITableTree> nestedTable(MakeRow* makeRow) {
    const auto tree = createTableTree();
    const auto name = addColumn(tree, columnPlain, "name");
    const auto busy = addColumn(tree, columnSeries, "busy");
    const auto read = addColumn(tree, columnSeries, "read", busy);
    busy->setProperty(4, 0xFF0000FFU);
    busy->setProperty(7, 3);
    const auto process = makeRow(namedQuery("process"), tree);
    process->setContent(name, dataface_1::ccValue, "p");
    process->setContent(nullptr, dataface_1::ccId, 3);
    tree->addRow(process, nullptr);
    const auto thread = makeRow(namedQuery("thread"), tree);
    thread->setContent(read, dataface_1::ccValue, 2.5);
    thread->setContent(name, dataface_1::ccValue, variant_t());
    thread->setContent(nullptr, dataface_1::ccStyle, 7U);
    thread->setContent(busy, dataface_1::ccStyle, 9U);
    tree->addRow(thread, process);
    return tree;
}

TEST(MemoryTable, BothKindsOfRowsAnswerAlikeAndKeepTheContract) {
    EXPECT_TRUE(keepsTableContract(createTableTree));
    for (auto* makeRow : {createVectorRow, createSparseRow}) {
        EXPECT_TRUE(keepsTableContract([&] { return nestedTable(makeRow); }));
        EXPECT_EQ(tableText(nestedTable(makeRow), {true, true, {}}),
                  "#    name  busy  busy.read  style\n"
                  "3    p     -     -          -\n"
                  "  -  null  -     2.5        7\n");
    }
}

TEST(MemoryTable, RefusesWrongNodesAloud) {
    const auto tree = createTableTree();
    const auto column = addColumn(tree, columnPlain, "a");
    const auto foreign = addColumn(createTableTree(), columnPlain, "b");
    const auto row = createVectorRow(nullptr, tree);
    const auto child = createVectorRow(nullptr, tree);
    const lanefeed_test::CapturedLog log;
    for (const sptr_t<IColumnInfo>& wrong : {sptr_t<IColumnInfo>(foreign), {column}, {}})
        tree->addColumn(wrong, nullptr, 0);
    tree->addRow(row, row);
    tree->addRow(child, row);
    tree->addRow(row, child);
    tree->addRow(nullptr, nullptr);
    row->setContent(foreign, dataface_1::ccValue, 1);
    EXPECT_EQ(log.entries().size(), 7U);
    EXPECT_EQ(tableText(tree), "a\n");
}

std::string dumped(const sptr_t<ITableTree>& tree, int rowLimit) {
    basekit2::variant_bag_t bag("bag");
    std::string text;
    EXPECT_TRUE(is_success(createTableTreeHelper(tree)->write(bag, rowLimit)));
    EXPECT_TRUE(is_success(save_variant_bag_to_string2(bag, text, "bag")));
    return text;
}

TEST(TableDump, HoldsColumnsRowsAndCellsNestedUpToALimit) {
    const sptr_t<ITableTree> tree = nestedTable(createVectorRow);
    EXPECT_NE(dumped(tree, 2).find(R"(
      <row name="thread" id="thread" uint:style="7">
        <cell int:column="0" />
        <cell int:column="1" uint:style="9" />
        <cell int:column="2" double:value="2.5" />
      </row>
    </row>)"),
              std::string::npos);
    EXPECT_NE(dumped(tree, 1).find("rowsLeftOut=\"true\""), std::string::npos);
    EXPECT_EQ(dumped(tree, 1).find("<row name=\"thread\""), std::string::npos);
}

sptr_t<ITableTree> merged(const std::vector<sptr_t<ITableTree>>& trees) {
    const auto merger = createTableTreeMerger();
    EXPECT_TRUE(is_success(merger->init(1, 0)));
    for (const auto& tree : trees)
        EXPECT_TRUE(is_success(merger->addTree(tree, tree->getColumns(nullptr))));
    sptr_t<ITableTree> out;
    EXPECT_TRUE(is_success(merger->getMergedTree(out)));
    return out;
}

TEST(TableMerger, UnitesRowsByAscendingBinAndKeepsColumns) {
    const auto first = seriesOf("timeBin a b\n7 1 -\n2 2 3\n");
    const auto second = seriesOf("timeBin c c.d\n10 4 -\n7 5 6\n");
    const auto nested = lanefeed_test::columnNamed(second, "d");
    dynamic_cast<IWriteableColumn&>(*nested).setProperty(4, 5U);
    const auto out = merged({first, second});
    EXPECT_EQ(tableText(out),
              "timeBin  a  b  c  c.d\n"
              "2        2  3  -  -\n"
              "7        1  -  5  6\n"
              "10       -  -  4  -\n");
    variant_t color;
    EXPECT_TRUE(lanefeed_test::columnNamed(out, "d")->getContent(dataface_1::ccStyle, color));
    EXPECT_EQ(color, variant_t(5U));
    EXPECT_TRUE(keepsTableContract([&] { return merged({first, second}); }));
}

}  // namespace
