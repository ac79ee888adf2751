#pragma once

#include "support/table_text.h"

#include <facekit_1_x/table_building.h>

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

namespace lanefeed_test {

// Each rule that a table breaks adds a line to the findings.
class ContractCheck {
public:
    void demand(bool holds, const std::string& finding) {
        if (!holds) findings.insert(finding + '\n');
    }

    // All nodes of a level and below know their parent, which is the one that gave them, and a
    // second walk is as the first.
    template <class Node>
    void checkNodes(const std::string& what,
                    const basekit2::generic_iterator_t<basekit2::sptr_t<Node>>& nodes,
                    const basekit2::sptr_t<Node>& parent) {
        int steps = 0;
        for (; !nodes.at_end(); nodes.next(), ++steps) {
            const basekit2::sptr_t<Node> node = nodes.current();
            demand(node->getParent() == parent, "a " + what + " names another parent");
            basekit2::generic_iterator_t<basekit2::sptr_t<Node>> children;
            demand(node->getChildren(children, nullptr, false) == Node::ecsfSuccess,
                   "children of a " + what + " are an error");
            checkNodes<Node>(what, children, node);
        }
        if (nodes.is_null()) return;
        demand(nodes.current().is_null(), "a walk over " + what + "s gives a node at its end");
        demand(nodes.reset() && basekit2::iterator_util::get_item_count(nodes) == steps,
               "a second walk over " + what + "s differs");
    }

    void checkCells(const basekit2::sptr_t<dataface_1::ITableTree>& tree) {
        const auto other = facekit_1_x::createTableTree();
        auto columns = allColumns(tree);
        columns.insert(columns.end(), {nullptr, facekit_1_x::createColumn(4, nullptr, other)});
        for (const auto contents : {dataface_1::ccValue, dataface_1::ccStyle, dataface_1::ccId,
                                    dataface_1::ccSecondValue}) {
            for (const auto& column : columns) {
                for (const auto& row : allRows(tree))
                    checkCell([&](auto& out) { return row->getContent(column, contents, out); });
                if (column) checkCell([&](auto& out) { return column->getContent(contents, out); });
            }
        }
    }

    std::set<std::string> findings;

private:
    template <class Read>
    void checkCell(const Read& read) {
        basekit2::variant_t first = "untouched";
        basekit2::variant_t second = first;
        const bool isAnswered = read(first);
        demand(read(second) == isAnswered && first == second,
               "a cell answers differently at the second read");
        demand(isAnswered || first == basekit2::variant_t("untouched"),
               "an absent cell changed `out`");
    }
};

// Tests what every table owes its reader, whatever its cells mean:
//   - each walk over rows and columns is fresh, can be taken again and gives the same nodes
//   - a row's table is the table, a column has a table; parents and children agree, both ways
//   - no children is a success
//   - cells answer the same at each read, and leave `out` alone when they answer nothing; a null
//     column and a column of another table are no crash
//   - a walk over rows keeps its table alive
// `make` gives a fresh table at each call; it should have rows and, if the kind can, nested ones.
//   EXPECT_TRUE(keepsTableContract([] { return createMyTable(...); }));
inline testing::AssertionResult keepsTableContract(
    const std::function<basekit2::sptr_t<dataface_1::ITableTree>()>& make) {
    basekit2::sptr_t<dataface_1::ITableTree> tree = make();
    if (tree.is_null()) return testing::AssertionFailure() << "no table";
    ContractCheck check;
    check.checkNodes<dataface_1::ITableRow>("row", tree->getRows(nullptr), nullptr);
    check.checkNodes<dataface_1::IColumnInfo>("column", tree->getColumns(nullptr), nullptr);
    for (const auto& row : allRows(tree))
        check.demand(row->getTableTree() == tree, "a row gives another table than its own");
    for (const auto& column : allColumns(tree))
        check.demand(!column->getTableTree().is_null(), "a column has no table");
    check.checkCells(tree);
    // Only sanitizers see a table that died too early; here the reads after it must agree.
    const std::size_t count = allRows(tree).size();
    const auto walk = tree->getRows(nullptr);
    tree.reset();
    check.demand(walk.at_end() || allRows(walk.current()->getTableTree()).size() == count,
                 "a walk lost its table");
    if (check.findings.empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << testing::PrintToString(check.findings);
}

}  // namespace lanefeed_test
