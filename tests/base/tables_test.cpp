// The table in memory, its dump into a bag, and the merger.
#include "support/captured_log.h"
#include "support/fake_queries.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"

#include <facekit_1_x/table_building.h>
#include <facekit_1_x/table_helpers.h>
#include <facekit_1_x/table_wrapper.h>

#include <gtest/gtest.h>

namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IQuery;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using facekit_1_x::IDPIHelperTableTree;
using facekit_1_x::IWriteableColumn;
using facekit_1_x::IWriteableTableRow;
using lanefeed_test::namedQuery;
using lanefeed_test::tableText;

sptr_t<IWriteableColumn> addColumn(const sptr_t<IDPIHelperTableTree>& tree,
                                   int kind,
                                   const std::string& name,
                                   const sptr_t<IColumnInfo>& parent = nullptr) {
    const auto column = facekit_1_x::createColumn(kind, namedQuery(name), tree);
    tree->addColumn(column, parent, 0);
    return column;
}

// Time bins and series; the cells of a row are {bin, value of each series}.
sptr_t<IDPIHelperTableTree> series(const std::vector<std::string>& names,
                                   const std::vector<std::vector<variant_t>>& rows) {
    const auto tree = facekit_1_x::createTableTree();
    std::vector<sptr_t<IWriteableColumn>> columns{addColumn(tree, 1, "timeBin")};
    for (const std::string& name : names)
        columns.push_back(addColumn(tree, 20, name));
    for (const auto& cells : rows) {
        const auto row = facekit_1_x::createSparseRow(nullptr, tree);
        for (std::size_t i = 0; i < cells.size(); ++i)
            if (!cells[i].is_null()) row->setContent(columns[i], dataface_1::ccValue, cells[i]);
        tree->addRow(row, nullptr);
    }
    return tree;
}

template <class MakeRow>
sptr_t<ITableTree> nestedTable(MakeRow* makeRow) {
    const auto tree = facekit_1_x::createTableTree();
    const auto name = addColumn(tree, 4, "name");
    const auto busy = addColumn(tree, 20, "busy");
    const auto read = addColumn(tree, 20, "read", busy);
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

sptr_t<ITableTree> nestedVectorTable() {
    return nestedTable(facekit_1_x::createVectorRow);
}

TEST(MemoryTable, KeepsTheContractOfTables) {
    EXPECT_TRUE(lanefeed_test::keepsTableContract(nestedVectorTable));
    EXPECT_TRUE(lanefeed_test::keepsTableContract(
        [] { return nestedTable(facekit_1_x::createSparseRow); }));
    EXPECT_TRUE(lanefeed_test::keepsTableContract([] { return facekit_1_x::createTableTree(); }));
}

TEST(MemoryTable, BothKindsOfRowsAnswerAlike) {
    const std::string expected =
        "#    name  busy  busy.read  style\n"
        "3    p     -     -          -\n"
        "  -  null  -     2.5        7\n";
    lanefeed_test::TableTextOptions options;
    options.rowIds = true;
    options.rowStyles = true;
    EXPECT_EQ(tableText(nestedVectorTable(), options), expected);
    EXPECT_EQ(tableText(nestedTable(facekit_1_x::createSparseRow), options), expected);
}

TEST(MemoryTable, RefusesWrongNodesAloud) {
    const auto tree = facekit_1_x::createTableTree();
    const auto other = facekit_1_x::createTableTree();
    const auto column = addColumn(tree, 4, "a");
    const auto foreign = addColumn(other, 4, "b");
    const auto row = facekit_1_x::createVectorRow(nullptr, tree);
    const auto child = facekit_1_x::createVectorRow(nullptr, tree);
    const lanefeed_test::CapturedLog log;
    tree->addColumn(foreign, nullptr, 0);
    tree->addColumn(column, nullptr, 0);
    tree->addColumn(nullptr, nullptr, 0);
    tree->addRow(row, row);
    tree->addRow(child, row);
    tree->addRow(row, child);
    tree->addRow(nullptr, nullptr);
    row->setContent(foreign, dataface_1::ccValue, 1);
    EXPECT_EQ(log.entries().size(), 7U);
    EXPECT_EQ(tableText(tree), "a\n");
    variant_t out;
    EXPECT_FALSE(row->getContent(foreign, dataface_1::ccValue, out));
    EXPECT_TRUE(facekit_1_x::createColumn(4, nullptr, nullptr).is_null());
    EXPECT_TRUE(facekit_1_x::createVectorRow(nullptr, nullptr).is_null());
    EXPECT_TRUE(facekit_1_x::createSparseRow(nullptr, nullptr).is_null());
}

std::string dumped(const sptr_t<ITableTree>& tree, int rowLimit) {
    variant_bag_t bag("bag");
    std::string text;
    if (!is_success(facekit_1_x::createTableTreeHelper(tree)->write(bag, rowLimit))) return "error";
    EXPECT_TRUE(is_success(save_variant_bag_to_string2(bag, text, "bag")));
    return text;
}

TEST(TableDump, HoldsColumnsRowsAndCellsNested) {
    EXPECT_EQ(dumped(nestedVectorTable(), -1), R"(<bag>
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
}

TEST(TableDump, LimitCountsNestedRowsAndTellsWhatIsLeftOut) {
    const auto rowsIn = [](const std::string& text) {
        std::size_t count = 0;
        for (std::size_t at = text.find("<row "); at != std::string::npos;
             at = text.find("<row ", at + 1))
            ++count;
        return count;
    };
    const sptr_t<ITableTree> tree = nestedVectorTable();
    EXPECT_EQ(rowsIn(dumped(tree, 2)), 2U);
    EXPECT_EQ(rowsIn(dumped(tree, 1)), 1U);
    EXPECT_EQ(rowsIn(dumped(tree, 0)), 0U);
    EXPECT_NE(dumped(tree, 1).find("rowsLeftOut=\"true\""), std::string::npos);
    EXPECT_EQ(dumped(tree, 2).find("rowsLeftOut"), std::string::npos);
    EXPECT_EQ(dumped(nullptr, -1), "error");
}

sptr_t<ITableTree> merged(const std::vector<sptr_t<ITableTree>>& trees) {
    const auto merger = facekit_1_x::createTableTreeMerger();
    EXPECT_TRUE(is_success(merger->init(1, 0)));
    for (const auto& tree : trees)
        EXPECT_TRUE(is_success(merger->addTree(tree, tree->getColumns(nullptr))));
    sptr_t<ITableTree> out;
    EXPECT_TRUE(is_success(merger->getMergedTree(out)));
    return out;
}

TEST(TableMerger, UnitesRowsByAscendingBin) {
    const auto first = series({"a", "b"}, {{7, 1.0, variant_t()}, {2, 2.0, 3.0}});
    const auto second = series({"c"}, {{10, 4.0}, {7, 5.0}});
    EXPECT_EQ(tableText(merged({first, second})),
              "timeBin  a  b  c\n"
              "2        2  3  -\n"
              "7        1  -  5\n"
              "10       -  -  4\n");
    EXPECT_TRUE(lanefeed_test::keepsTableContract([&] { return merged({first, second}); }));
    EXPECT_EQ(tableText(merged({series({"a"}, {}), series({"b"}, {})})), "timeBin  a  b\n");
}

// A table that can sum its rows, whose sum of nothing is 0.
class ReducibleTable : public facekit_1_x::TableTreeWrapperBase<>,
                       public dataface_1::IReducibleTableTree {
public:
    using TableTreeWrapperBase::TableTreeWrapperBase;
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
        return make_object<Zero>();
    }

private:
    class Zero : public ITableRow {
    public:
        sptr_t<IQuery> getQuery() override { return nullptr; }
        sptr_t<ITableTree> getTableTree() override { return nullptr; }
        sptr_t<ITableRow> getParent() override { return nullptr; }
        bool getContent(const sptr_t<IColumnInfo>&,
                        dataface_1::cell_contents_t,
                        variant_t& out) override {
            out = 0.0;
            return true;
        }
        status_t getChildren(basekit2::generic_iterator_t<sptr_t<ITableRow>>&,
                             relay2::IProgress*,
                             bool) override {
            return ecsfSuccess;
        }
    };
};

TEST(TableMerger, ColumnsOfSummableTablesReadTheirSumOfNothing) {
    const sptr_t<ITableTree> first = make_object<ReducibleTable>(series({"a"}, {{1, 1.5}}));
    const auto second = series({"b"}, {{2, 2.5}});
    const auto third = series({"c"}, {{3, 3.5}});
    const std::string expected =
        "timeBin  a    b    c\n"
        "1        1.5  -    -\n"
        "2        0    2.5  -\n"
        "3        0    -    3.5\n";
    EXPECT_EQ(tableText(merged({first, second, third})), expected);
    // One after the other gives the same as all at once.
    EXPECT_EQ(tableText(merged({merged({first, second}), third})), expected);
}

TEST(TableMerger, KeepsNestingAndColumnProperties) {
    const auto tree = series({"busy"}, {});
    const auto busy = lanefeed_test::columnNamed(tree, "busy");
    addColumn(tree, 20, "read", busy)->setProperty(4, 5U);
    const auto out = merged({series({"a"}, {}), tree});
    EXPECT_EQ(tableText(out), "timeBin  a  busy  busy.read\n");
    variant_t color;
    EXPECT_TRUE(lanefeed_test::columnNamed(out, "read")->getContent(dataface_1::ccStyle, color));
    EXPECT_EQ(color, variant_t(5U));
}

TEST(TableMerger, AnswersErrorsForWrongUse) {
    const auto merger = facekit_1_x::createTableTreeMerger();
    const auto tree = series({"a"}, {});
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
