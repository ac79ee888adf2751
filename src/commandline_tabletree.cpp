// The form of an over-time table that a report on the command line wants: start and end of the
// bucket as two columns in front, in place of the column with its number. The last bucket ends
// where the request ends, so it takes what is left over when whole ticks don't divide the span.
// Tested by tests/unit/wrapped_tabletrees_test.cpp.

#include "baseproviderimpl.h"
#include "common/bucketmath.h"
#include "common/forwardingrow.h"
#include "common/names.h"
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
using basekit2::s64_t;
using basekit2::sptr_t;
using basekit2::u64_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

class CLOvertimeTableTree;

// A column of the wrapped table with those nested in it, or one of the two bounds, which has a
// query alone. Belongs to the table of this file.
class CLOvertimeColumnInfo : public IColumnInfo {
public:
    // tree: not owned, outlives the column.
    CLOvertimeColumnInfo(CLOvertimeTableTree* tree, sptr_t<dataface_1::IQuery> query)
        : m_tree(tree), m_query(std::move(query)) {}
    CLOvertimeColumnInfo(CLOvertimeTableTree* tree,
                         const sptr_t<IColumnInfo>& wrapped,
                         CLOvertimeColumnInfo* parent)
        : m_tree(tree), m_wrapped(wrapped), m_parent(parent) {}

    sptr_t<dataface_1::IQuery> getQuery() override {
        return m_wrapped.is_null() ? m_query : m_wrapped->getQuery();
    }
    sptr_t<ITableTree> getTableTree() override;
    sptr_t<IColumnInfo> getParent() override { return sptr_t<IColumnInfo>(m_parent); }
    status_t getChildren(generic_iterator_t<sptr_t<IColumnInfo>>& out,
                         relay2::IProgress* /*progress*/,
                         bool /*flag*/) override {
        out = walkNodes<IColumnInfo>(getTableTree(), m_children);
        return ecsfSuccess;
    }
    int getType() override {
        return m_wrapped.is_null() ? dataface_1::numericColumnBit : m_wrapped->getType();
    }
    bool getContent(cell_contents_t contents, variant_t& out) override {
        return !m_wrapped.is_null() && m_wrapped->getContent(contents, out);
    }

    const sptr_t<IColumnInfo>& wrapped() const { return m_wrapped; }
    void addChild(CLOvertimeColumnInfo* child) { m_children.push_back(child); }

private:
    CLOvertimeTableTree* m_tree;
    sptr_t<IColumnInfo> m_wrapped;
    sptr_t<dataface_1::IQuery> m_query;
    CLOvertimeColumnInfo* m_parent = nullptr;
    std::vector<CLOvertimeColumnInfo*> m_children;
};

// A row of the wrapped table with the two bounds. Belongs to the table of this file.
class CLOvertimeTableRow : public ForwardingRow {
public:
    // tree: not owned, outlives the row.
    CLOvertimeTableRow(CLOvertimeTableTree* tree, sptr_t<ITableRow> row)
        : ForwardingRow(std::move(row)), m_tree(tree) {}

    sptr_t<ITableTree> getTableTree() override;
    bool getContent(const sptr_t<IColumnInfo>& column,
                    cell_contents_t contents,
                    variant_t& out) override;

private:
    CLOvertimeTableTree* m_tree;
};

class CLOvertimeTableTree : public ITableTree {
public:
    CLOvertimeTableTree(const sptr_t<ITableTree>& tree,
                        IDicerProvider* provider,
                        const QueryParam& param);

    generic_iterator_t<sptr_t<ITableRow>> getRows(relay2::IProgress* /*progress*/) override {
        return walkNodes<ITableRow>(this, m_rows);
    }
    generic_iterator_t<sptr_t<IColumnInfo>> getColumns(relay2::IProgress* /*progress*/) override {
        return walkNodes<IColumnInfo>(this, m_columns);
    }
    void setMessenger(relay2::IMessenger* messenger) override { m_tree->setMessenger(messenger); }

    bool isBinStartColumn(const sptr_t<IColumnInfo>& column) const;
    bool isBinEndColumn(const sptr_t<IColumnInfo>& column) const;
    // False for a row without a bucket of the request. Bounds in pane ticks.
    bool getBinId(ITableRow* row, int& id) const;
    bool getBinStartTime(ITableRow* row, variant_t& out) const;
    bool getBinEndTime(ITableRow* row, variant_t& out) const;

private:
    using Row = basekit2::ref_counted_t<CLOvertimeTableRow, basekit2::parent_ref_count_impl_t>;
    using Column = basekit2::ref_counted_t<CLOvertimeColumnInfo, basekit2::parent_ref_count_impl_t>;

    IColumnInfo* addBoundColumn(const sptr_t<dataface_1::IQuery>& query);
    CLOvertimeColumnInfo* wrapColumn(const sptr_t<IColumnInfo>& column,
                                     CLOvertimeColumnInfo* parent);
    u64_t boundary(int id) const { return static_cast<u64_t>(id) * m_binWidth + m_startTime; }

    sptr_t<ITableTree> m_tree;
    std::deque<Row, PoolAllocator<Row>> m_rowStore;
    std::deque<Column, PoolAllocator<Column>> m_columnStore;
    std::vector<CLOvertimeTableRow*> m_rows;
    std::vector<CLOvertimeColumnInfo*> m_columns;
    sptr_t<IColumnInfo> m_timeBinColumn;      // of the wrapped table
    IColumnInfo* m_binStartColumn = nullptr;  // of this table
    IColumnInfo* m_binEndColumn = nullptr;
    u64_t m_startTime;
    u64_t m_endTime;
    u64_t m_binWidth;
    basekit2::u32_t m_binCount;
};

sptr_t<ITableTree> CLOvertimeColumnInfo::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

sptr_t<ITableTree> CLOvertimeTableRow::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

bool CLOvertimeTableRow::getContent(const sptr_t<IColumnInfo>& column,
                                    cell_contents_t contents,
                                    variant_t& out) {
    if (m_tree->isBinStartColumn(column)) return m_tree->getBinStartTime(wrapped().get(), out);
    if (m_tree->isBinEndColumn(column)) return m_tree->getBinEndTime(wrapped().get(), out);
    const auto* own = dynamic_cast<const CLOvertimeColumnInfo*>(column.get());
    return wrapped()->getContent(own != nullptr ? own->wrapped() : column, contents, out);
}

CLOvertimeTableTree::CLOvertimeTableTree(const sptr_t<ITableTree>& tree,
                                         IDicerProvider* provider,
                                         const QueryParam& param)
    : m_tree(tree),
      m_startTime(param.startTime),
      m_endTime(param.endTime),
      m_binWidth(bucketmath::wholeBinWidth(param.startTime, param.endTime, param.binCount)),
      m_binCount(param.binCount) {
    for (auto rows = tree->getRows(nullptr); !rows.at_end(); rows.next()) {
        m_rowStore.emplace_back(this, this, rows.current());
        m_rows.push_back(&m_rowStore.back());
    }
    // Another kind of provider makes no queries; the columns do without.
    auto* base = dynamic_cast<BaseProviderImpl*>(provider);
    const auto nameQuery = [base](const std::string& name) {
        return base != nullptr ? base->createNameQuery(name, names::kTickValueType)
                               : sptr_t<dataface_1::IQuery>();
    };
    m_binStartColumn = addBoundColumn(nameQuery(IDicerProvider::binStartTime));
    m_binEndColumn = addBoundColumn(nameQuery(IDicerProvider::binEndTime));
    for (auto columns = tree->getColumns(nullptr); !columns.at_end(); columns.next()) {
        const sptr_t<IColumnInfo> column = columns.current();
        if (column->getType() == dataface_1::timeBinColumn) {
            m_timeBinColumn = column;
        } else {
            m_columns.push_back(wrapColumn(column, nullptr));
        }
    }
}

IColumnInfo* CLOvertimeTableTree::addBoundColumn(const sptr_t<dataface_1::IQuery>& query) {
    m_columnStore.emplace_back(this, this, query);
    m_columns.push_back(&m_columnStore.back());
    return m_columns.back();
}

CLOvertimeColumnInfo* CLOvertimeTableTree::wrapColumn(const sptr_t<IColumnInfo>& column,
                                                      CLOvertimeColumnInfo* parent) {
    m_columnStore.emplace_back(this, this, column, parent);
    CLOvertimeColumnInfo* wrapper = &m_columnStore.back();
    generic_iterator_t<sptr_t<IColumnInfo>> children;
    if (column->getChildren(children, nullptr, false) != dataface_1::ITreeNode::ecsfSuccess)
        return wrapper;
    for (; !children.at_end(); children.next())
        wrapper->addChild(wrapColumn(children.current(), wrapper));
    return wrapper;
}

bool CLOvertimeTableTree::isBinStartColumn(const sptr_t<IColumnInfo>& column) const {
    return m_binStartColumn != nullptr && m_binStartColumn == column.get();
}

bool CLOvertimeTableTree::isBinEndColumn(const sptr_t<IColumnInfo>& column) const {
    return m_binEndColumn != nullptr && m_binEndColumn == column.get();
}

bool CLOvertimeTableTree::getBinId(ITableRow* row, int& id) const {
    variant_t value;
    if (m_timeBinColumn.is_null() || !row->getContent(m_timeBinColumn, dataface_1::ccValue, value))
        return false;
    if (!isInteger(value)) return false;
    const auto number = value.get<s64_t>();
    if (number < 0 || number >= static_cast<s64_t>(m_binCount)) return false;
    id = static_cast<int>(number);
    return true;
}

bool CLOvertimeTableTree::getBinStartTime(ITableRow* row, variant_t& out) const {
    int id = 0;
    if (!getBinId(row, id)) return false;
    out = boundary(id);
    return true;
}

bool CLOvertimeTableTree::getBinEndTime(ITableRow* row, variant_t& out) const {
    int id = 0;
    if (!getBinId(row, id)) return false;
    const bool isLast = static_cast<basekit2::u32_t>(id) + 1 == m_binCount;
    out = isLast ? m_endTime : boundary(id + 1);
    return true;
}

}  // namespace

sptr_t<ITableTree> createCommandLineTableTree(const sptr_t<ITableTree>& tree,
                                              IDicerProvider* provider,
                                              const QueryParam& param) {
    if (tree.is_null()) return {};
    return basekit2::make_object<CLOvertimeTableTree>(tree, provider, param);
}

}  // namespace lanefeed_1
