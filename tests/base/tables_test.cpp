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
    variant_t out;
    EXPECT_FALSE(row->getContent(foreign, dataface_1::ccValue, out));
    EXPECT_TRUE(createColumn(columnPlain, nullptr, nullptr).is_null());
    EXPECT_TRUE(createVectorRow(nullptr, nullptr).is_null());
    EXPECT_TRUE(createSparseRow(nullptr, nullptr).is_null());
}

std::string dumped(const sptr_t<ITableTree>& tree, int rowLimit) {
    basekit2::variant_bag_t bag("bag");
    std::string text;
    if (!is_success(createTableTreeHelper(tree)->write(bag, rowLimit))) return "error";
    EXPECT_TRUE(is_success(save_variant_bag_to_string2(bag, text, "bag")));
    return text;
}

TEST(TableDump, HoldsColumnsRowsAndCellsNestedUpToALimit) {
    const sptr_t<ITableTree> tree = nestedTable(createVectorRow);
    const std::string whole = dumped(tree, -1);
    EXPECT_EQ(whole, R"(<bag>
  <columns>
    <column int:number="0" int:type="4" name="name" id="name" />
    <column int:number="1" int:type="20" name="busy" id="busy" uint:color="4278190335" int:row="3">
      <column int:number="2" int:type="20" name="read" id="read" />
    </column>
  </columns>
  <rows>
    <row name="process" id="process" int:row="3">
      <cell int:column="0" value="p" />
      <row name="thread" id="thread" uint:style="7">
        <cell int:column="0" />
        <cell int:column="1" uint:style="9" />
        <cell int:column="2" double:value="2.5" />
      </row>
    </row>
  </rows>
</bag>)");
    EXPECT_EQ(dumped(tree, 2), whole);
    const std::string one = dumped(tree, 1);
    EXPECT_NE(one.find("rowsLeftOut=\"true\""), std::string::npos);
    EXPECT_NE(one.find("<row name=\"process\""), std::string::npos);
    EXPECT_EQ(one.find("<row name=\"thread\""), std::string::npos);
    EXPECT_EQ(dumped(tree, 0).find("<row "), std::string::npos);
    EXPECT_EQ(dumped(nullptr, -1), "error");
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
    EXPECT_EQ(tableText(merged({seriesOf("timeBin a"), seriesOf("timeBin b")})), "timeBin  a  b\n");
}

// A table that can sum its rows, whose sum of nothing is 0 in its last column.
class ReducibleTable : public TableTreeWrapperBase<>, public dataface_1::IReducibleTableTree {
public:
    explicit ReducibleTable(const sptr_t<IDPIHelperTableTree>& tree)
        : TableTreeWrapperBase(tree), m_sum(createSparseRow(nullptr, tree)) {
        m_sum->setContent(lanefeed_test::allColumns(tree).back(), dataface_1::ccValue, 0.0);
    }
    unsigned int get_type() const override { return TableTreeWrapperBase::get_type(); }
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type == basekit2::type_id_t<IReducibleTableTree>::id())
            return basekit2::notype_ptr_t(
                sptr_t<basekit2::object_interface_t>(static_cast<IReducibleTableTree*>(this)));
        return TableTreeWrapperBase::adapt_to_pointer(type);
    }
    sptr_t<ITableRow> reduce(const basekit2::generic_iterator_t<sptr_t<ITableRow>>& rows,
                             relay2::IProgress* /*progress*/) override {
        EXPECT_TRUE(rows.reset() && rows.at_end());
        return m_sum;
    }

private:
    sptr_t<IWriteableTableRow> m_sum;
};

TEST(TableMerger, ColumnsOfSummableTablesReadTheirSumOfNothing) {
    const sptr_t<ITableTree> first =
        basekit2::make_object<ReducibleTable>(seriesOf("timeBin a\n1 1.5\n"));
    const auto second = seriesOf("timeBin b\n2 2.5\n");
    const auto third = seriesOf("timeBin c\n3 3.5\n");
    const std::string expected =
        "timeBin  a    b    c\n"
        "1        1.5  -    -\n"
        "2        0    2.5  -\n"
        "3        0    -    3.5\n";
    EXPECT_EQ(tableText(merged({first, second, third})), expected);
    // One after the other gives the same as all at once.
    EXPECT_EQ(tableText(merged({merged({first, second}), third})), expected);
}

TEST(TableMerger, AnswersErrorsForWrongUse) {
    const auto merger = createTableTreeMerger();
    const auto tree = seriesOf("timeBin a");
    sptr_t<ITableTree> out;
    EXPECT_FALSE(merger->addTree(tree, tree->getColumns(nullptr)).succeeded());
    EXPECT_FALSE(merger->getMergedTree(out).succeeded());
    EXPECT_FALSE(merger->init(2, 0).succeeded());
    ASSERT_TRUE(is_success(merger->init(1, 0)));
    EXPECT_FALSE(merger->addTree(nullptr, {}).succeeded());
    EXPECT_FALSE(merger->addTree(tree, {}).succeeded());
    ASSERT_TRUE(is_success(merger->getMergedTree(out)));
    EXPECT_FALSE(merger->getMergedTree(out).succeeded());
}

}  // namespace
