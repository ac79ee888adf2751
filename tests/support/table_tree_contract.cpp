// The contract of tables. Each rule adds a line to the findings; the result is good without any.
#include "table_tree_contract.h"

#include "table_text.h"

#include <facekit_1_x/table_building.h>

#include <string>
#include <vector>

namespace lanefeed_test {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::ITreeNode;

constexpr cell_contents_t kAllContents[] = {dataface_1::ccValue, dataface_1::ccStyle,
                                            dataface_1::ccId, dataface_1::ccSecondValue};
const char* const kUntouched = "untouched";

class ContractCheck {
public:
    explicit ContractCheck(sptr_t<ITableTree> tree) : m_tree(std::move(tree)) {}

    void checkNodes() {
        m_columns = allColumns(m_tree);
        m_rows = allRows(m_tree);
        checkWalks("rows", [this] { return m_tree->getRows(nullptr); });
        checkWalks("columns", [this] { return m_tree->getColumns(nullptr); });
        checkFamily<IColumnInfo>("column", m_tree->getColumns(nullptr), nullptr);
        checkFamily<ITableRow>("row", m_tree->getRows(nullptr), nullptr);
        for (const sptr_t<IColumnInfo>& column : m_columns)
            demand(!column->getTableTree().is_null(), "a column has no table");
        for (const sptr_t<ITableRow>& row : m_rows)
            demand(row->getTableTree() == m_tree, "a row gives another table than its own");
    }

    void checkCells() {
        const sptr_t<facekit_1_x::IDPIHelperTableTree> other = facekit_1_x::createTableTree();
        const sptr_t<IColumnInfo> foreign = facekit_1_x::createColumn(4, nullptr, other);
        for (const sptr_t<ITableRow>& row : m_rows) {
            for (const cell_contents_t contents : kAllContents) {
                checkCell(*row, nullptr, contents);
                for (const sptr_t<IColumnInfo>& column : m_columns)
                    checkCell(*row, column, contents);
                variant_t ignored;
                row->getContent(foreign, contents, ignored);
            }
        }
        for (const sptr_t<IColumnInfo>& column : m_columns)
            for (const cell_contents_t contents : kAllContents) {
                variant_t out = kUntouched;
                if (!column->getContent(contents, out))
                    demand(out == variant_t(kUntouched), "an absent property changed `out`");
            }
    }

    const std::string& findings() const { return m_findings; }

    void demand(bool holds, const std::string& finding) {
        if (!holds && m_findings.find(finding) == std::string::npos) m_findings += finding + '\n';
    }

private:
    template <class MakeIterator>
    void checkWalks(const std::string& what, const MakeIterator& make) {
        const auto first = make();
        const auto second = make();
        int steps = 0;
        for (; !first.at_end(); first.next())
            ++steps;
        int again = 0;
        for (; !second.at_end(); second.next())
            ++again;
        demand(steps == again, "two walks over " + what + " are not independent");
        demand(first.current().is_null(), "an iterator over " + what + " gives a node at its end");
        if (!first.is_null()) demand(first.reset(), "a walk over " + what + " cannot be reset");
        demand(basekit2::iterator_util::get_item_count(first) == steps,
               "a second walk over " + what + " differs");
    }

    // All nodes of a level and below know their parent, which is the one that gave them.
    template <class Node>
    void checkFamily(const std::string& what,
                     const generic_iterator_t<sptr_t<Node>>& nodes,
                     const sptr_t<Node>& parent) {
        for (; !nodes.at_end(); nodes.next()) {
            const sptr_t<Node> node = nodes.current();
            if (node.is_null()) {
                demand(false, "a " + what + " is null");
                continue;
            }
            demand(node->getParent() == parent, "a " + what + " names another parent");
            generic_iterator_t<sptr_t<Node>> children;
            demand(node->getChildren(children, nullptr, false) == ITreeNode::ecsfSuccess,
                   "children of a " + what + " are an error");
            checkFamily<Node>(what, children, node);
        }
    }

    void checkCell(ITableRow& row, const sptr_t<IColumnInfo>& column, cell_contents_t contents) {
        variant_t first = kUntouched;
        variant_t second = kUntouched;
        const bool answered = row.getContent(column, contents, first);
        const std::string kind = " (contents " + std::to_string(contents) + ")";
        demand(row.getContent(column, contents, second) == answered && first == second,
               "a cell answers differently at the second read" + kind);
        if (!answered)
            demand(first == variant_t(kUntouched), "an absent cell changed `out`" + kind);
    }

    sptr_t<ITableTree> m_tree;
    std::vector<sptr_t<IColumnInfo>> m_columns;
    std::vector<sptr_t<ITableRow>> m_rows;
    std::string m_findings;
};

// Only sanitizers see a table that died too early; here the reads after it must agree.
void checkLifeTimes(const std::function<sptr_t<ITableTree>()>& make, ContractCheck& check) {
    sptr_t<ITableTree> tree = make();
    const generic_iterator_t<sptr_t<ITableRow>> rows = tree->getRows(nullptr);
    const std::size_t count = allRows(tree).size();
    if (rows.at_end()) return;
    const sptr_t<ITableRow> row = rows.current();
    tree.reset();
    check.demand(allRows(row->getTableTree()).size() == count, "a held row lost its table");
}

}  // namespace

testing::AssertionResult keepsTableContract(const std::function<sptr_t<ITableTree>()>& make) {
    const sptr_t<ITableTree> tree = make();
    if (tree.is_null()) return testing::AssertionFailure() << "no table";
    ContractCheck check(tree);
    check.checkNodes();
    check.checkCells();
    checkLifeTimes(make, check);
    if (check.findings().empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "broken contract:\n" << check.findings();
}

}  // namespace lanefeed_test
