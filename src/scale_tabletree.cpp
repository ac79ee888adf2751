// A table whose numeric cells are those of another times a factor; nothing is copied. Brings
// over-time values to the time scale of a layer. Sums of rows are not offered, for the wrapped
// table would not know the rows. Tested by tests/unit/wrapped_tabletrees_test.cpp.

#include "common/forwardingrow.h"
#include "common/nodewalk.h"
#include "common/poolallocator.h"
#include "common/valuekind.h"
#include "tabletrees.h"

#include <relay2/progress.h>

#include <deque>
#include <utility>
#include <vector>

namespace lanefeed_1 {

namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

class ScaleTableTree;

// A row of the wrapped table with its cells scaled. Belongs to the table of this file.
class ScaleTableRow : public ForwardingRow {
public:
    // tree: not owned, outlives the row.
    ScaleTableRow(ScaleTableTree* tree, sptr_t<ITableRow> row)
        : ForwardingRow(std::move(row)), m_tree(tree) {}

    sptr_t<ITableTree> getTableTree() override;
    bool getContent(const sptr_t<IColumnInfo>& column,
                    cell_contents_t contents,
                    variant_t& out) override;

private:
    ScaleTableTree* m_tree;
};

class ScaleTableTree : public ITableTree {
public:
    ScaleTableTree(const sptr_t<ITableTree>& tree, double scale) : m_tree(tree), m_scale(scale) {
        for (auto rows = tree->getRows(nullptr); !rows.at_end(); rows.next()) {
            m_rowStore.emplace_back(this, this, rows.current());
            m_rows.push_back(&m_rowStore.back());
        }
    }

    generic_iterator_t<sptr_t<ITableRow>> getRows(relay2::IProgress* /*progress*/) override {
        return walkNodes<ITableRow>(this, m_rows);
    }
    generic_iterator_t<sptr_t<IColumnInfo>> getColumns(relay2::IProgress* progress) override {
        return m_tree->getColumns(progress);
    }
    void setMessenger(relay2::IMessenger* messenger) override { m_tree->setMessenger(messenger); }

    double scale() const { return m_scale; }

private:
    using Row = basekit2::ref_counted_t<ScaleTableRow, basekit2::parent_ref_count_impl_t>;

    sptr_t<ITableTree> m_tree;
    double m_scale;
    std::deque<Row, PoolAllocator<Row>> m_rowStore;
    std::vector<ScaleTableRow*> m_rows;
};

sptr_t<ITableTree> ScaleTableRow::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

bool ScaleTableRow::getContent(const sptr_t<IColumnInfo>& column,
                               cell_contents_t contents,
                               variant_t& out) {
    if (!wrapped()->getContent(column, contents, out)) return false;
    if (contents != dataface_1::ccValue && contents != dataface_1::ccSecondValue) return true;
    if (column.is_null() || (column->getType() & dataface_1::numericColumnBit) == 0) return true;
    if (isNumber(out)) out = basekit2::variant_mult(out, m_tree->scale());
    return true;
}

}  // namespace

sptr_t<ITableTree> createScaleTableTree(const sptr_t<ITableTree>& tree, double scale) {
    if (tree.is_null()) return {};
    return basekit2::make_object<ScaleTableTree>(tree, scale);
}

}  // namespace lanefeed_1
