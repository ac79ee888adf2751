// The rows and columns of the row table. A cell is the grid's when both its row and its column come
// from a grid; else the role of the column decides. Rows and columns have counts of their own and
// may outlive their table, after which they answer nothing. Tested by
// tests/unit/rowsummary_rows_test.cpp.

#include "rowsummarytabletree.h"

#include "baseproviderimpl.h"
#include "common/check.h"
#include "common/names.h"
#include "common/nodewalk.h"
#include "texts.h"

#include <storelink1/query.h>
#include <storelink1/utils.h>

namespace lanefeed_1 {

namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::u16_t;
using basekit2::u64_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::ITreeNode;
using dataface_1::IVectorQuery;

// Types of the name column and of all others of one's own.
constexpr int kNameColumn = 3;
constexpr int kOtherColumn = 2;

RowSummaryColumnInfo::Role roleOf(const sptr_t<IQuery>& query) {
    const sptr_t<IVectorQuery> vectorQuery = IVectorQuery::cast(query);
    const sptr_t<IQuery> named = vectorQuery.is_null() ? query : vectorQuery->getDefaultQuery();
    const std::string name = named.is_null() ? std::string() : named->getName();
    if (name == IDicerProvider::name) return RowSummaryColumnInfo::roleName;
    if (name == IDicerProvider::startTime) return RowSummaryColumnInfo::roleStartTime;
    if (name == IDicerProvider::endTime) return RowSummaryColumnInfo::roleEndTime;
    return RowSummaryColumnInfo::roleOther;
}

// Both forms of a value are the same here.
bool isValue(cell_contents_t contents) {
    return contents == dataface_1::ccValue || contents == dataface_1::ccSecondValue;
}

// The grouping by band that a row stands in: that of the first query on bands; empty for none.
std::string bandGroupingOf(const IVectorQuery& rowQuery) {
    for (auto members = rowQuery.getQueries(); !members.at_end(); members.next()) {
        const sptr_t<IInfoQuery> query = IInfoQuery::cast(members.current());
        if (!query.is_null() && query->getInstanceTable() == names::kBandTable)
            return query->getAttributeTable();
    }
    return {};
}

}  // namespace

RowSummaryColumnInfo::RowSummaryColumnInfo(RowSummaryTableTree* tree, sptr_t<IQuery> query)
    : m_tree(tree), m_query(std::move(query)), m_role(roleOf(m_query)) {}

RowSummaryColumnInfo::RowSummaryColumnInfo(RowSummaryTableTree* tree,
                                           const sptr_t<IColumnInfo>& column,
                                           RowSummaryColumnInfo* parent)
    : m_tree(tree),
      m_column(column),
      m_query(column->getQuery()),
      m_parent(parent),
      m_role(roleOf(m_query)) {
    generic_iterator_t<sptr_t<IColumnInfo>> children;
    if (column->getChildren(children, nullptr, false) != ecsfSuccess) return;
    for (; !children.at_end(); children.next()) {
        const sptr_t<IColumnInfo> child = children.current();
        if (!LF_CHECK(child)) continue;
        m_children.emplace_back(basekit2::make_object<RowSummaryColumnInfo>(tree, child, this));
    }
}

sptr_t<IQuery> RowSummaryColumnInfo::getQuery() {
    return m_query;
}

sptr_t<ITableTree> RowSummaryColumnInfo::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

sptr_t<IColumnInfo> RowSummaryColumnInfo::getParent() {
    return sptr_t<IColumnInfo>(m_parent);
}

ITreeNode::status_t RowSummaryColumnInfo::getChildren(generic_iterator_t<sptr_t<IColumnInfo>>& out,
                                                      relay2::IProgress* /*progress*/,
                                                      bool /*flag*/) {
    out = nullptr;
    if (m_tree != nullptr) out = walkNodes<IColumnInfo>(getTableTree(), m_children);
    return ecsfSuccess;
}

int RowSummaryColumnInfo::getType() {
    if (m_role == roleName) return kNameColumn;
    return m_column.is_null() ? kOtherColumn : m_column->getType();
}

bool RowSummaryColumnInfo::getContent(cell_contents_t contents, variant_t& out) {
    return !m_column.is_null() && m_column->getContent(contents, out);
}

void RowSummaryColumnInfo::detach() {
    m_tree = nullptr;
    m_parent = nullptr;
    for (const sptr_t<RowSummaryColumnInfo>& child : m_children)
        child->detach();
}

RowSummaryTableRow::RowSummaryTableRow(RowSummaryTableTree* tree,
                                       storelink1::IConstRecord* record,
                                       u16_t nameColumn,
                                       const sptr_t<IQuery>& query,
                                       BaseProviderImpl* provider)
    : m_tree(tree),
      m_dbIndex(storelink1::utils::variantToIndex(record->getField(0))),
      m_name(nameColumn == storelink1::InvalidColIdx
                 ? std::to_string(m_dbIndex)
                 : storelink1::utils::variantToString(record->getField(nameColumn))),
      m_query(query) {
    readTimeRange(provider);
}

RowSummaryTableRow::RowSummaryTableRow(RowSummaryTableTree* tree,
                                       const sptr_t<ITableRow>& gridRow,
                                       BaseProviderImpl* provider)
    : m_tree(tree), m_gridRow(gridRow), m_query(gridRow->getQuery()) {
    variant_t dbIndex;
    m_gridRow->getContent(nullptr, dataface_1::ccId, dbIndex);
    m_dbIndex = storelink1::utils::variantToIndex(dbIndex);
    readTimeRange(provider);
    wrapChildren(provider);
}

// The life time of what the row stands for; that of the result when it is not known.
void RowSummaryTableRow::readTimeRange(BaseProviderImpl* provider) {
    RowSummaryTableTree::tsc_range_t range;
    const bool ret = m_tree->getGlobalTscRange(range.start, range.end);
    if (!LF_CHECK(ret)) return;
    const sptr_t<IVectorQuery> rowVectorQuery = IVectorQuery::cast(m_query);
    if (LF_CHECK(rowVectorQuery)) {
        const std::string grouping = bandGroupingOf(*rowVectorQuery);
        if (!grouping.empty()) m_tree->getTscRange(m_dbIndex, grouping, range);
    }
    m_startTime = provider->subtractBase(range.start);
    m_endTime = provider->subtractBase(range.end);
}

void RowSummaryTableRow::wrapChildren(BaseProviderImpl* provider) {
    generic_iterator_t<sptr_t<ITableRow>> children;
    m_childrenStatus = m_gridRow->getChildren(children, nullptr, false);
    if (m_childrenStatus == ecsfError) return;
    for (; !children.at_end(); children.next()) {
        const sptr_t<ITableRow> child = children.current();
        if (!LF_CHECK(child)) {
            // A row less would be a sum too small: the table is refused.
            m_childrenStatus = ecsfError;
            return;
        }
        const int position = static_cast<int>(m_children.size());
        m_children.emplace_back(basekit2::make_object<RowSummaryTableRow>(m_tree, child, provider));
        m_childIndex[m_children.back()->getDbIndex()] = position;
        m_sortOrder.push_back(position);
    }
}

sptr_t<IQuery> RowSummaryTableRow::getQuery() {
    return m_query;
}

sptr_t<ITableTree> RowSummaryTableRow::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

sptr_t<ITableRow> RowSummaryTableRow::getParent() {
    return sptr_t<ITableRow>(m_tree != nullptr ? m_tree->getRow(m_parentIndex) : nullptr);
}

bool RowSummaryTableRow::getContent(const sptr_t<IColumnInfo>& column,
                                    cell_contents_t contents,
                                    variant_t& out) {
    if (m_tree == nullptr) return false;
    if (column.is_null() && contents == dataface_1::ccId) {
        if (!m_gridRow.is_null()) return m_gridRow->getContent(column, contents, out);
        out = m_dbIndex;
        return true;
    }
    const auto* colImpl = dynamic_cast<const RowSummaryColumnInfo*>(column.get());
    if (!LF_CHECK(colImpl)) return false;
    if (!m_gridRow.is_null() && !colImpl->wrapped().is_null())
        return m_gridRow->getContent(colImpl->wrapped(), contents, out);
    return getOwnContent(colImpl->role(), contents, out);
}

bool RowSummaryTableRow::getOwnContent(RowSummaryColumnInfo::Role role,
                                       cell_contents_t contents,
                                       variant_t& out) const {
    switch (role) {
    case RowSummaryColumnInfo::roleStartTime:
        if (isValue(contents)) out = m_startTime;
        return isValue(contents);
    case RowSummaryColumnInfo::roleEndTime:
        if (isValue(contents)) out = m_endTime;
        return isValue(contents);
    case RowSummaryColumnInfo::roleName:
        if (contents == dataface_1::ccId) {
            out = m_dbIndex;
        } else if (isValue(contents)) {
            // A leading "%" marks a key of the texts.
            out = m_name.compare(0, 1, "%") == 0 ? getString(m_name) : m_name;
        } else {
            out = variant_t();
        }
        return true;
    default: return false;
    }
}

ITreeNode::status_t RowSummaryTableRow::getChildren(generic_iterator_t<sptr_t<ITableRow>>& out,
                                                    relay2::IProgress* /*progress*/,
                                                    bool /*flag*/) {
    out = nullptr;
    if (m_tree == nullptr) return ecsfSuccess;
    if (m_childrenStatus != ecsfError) out = walkNodes<ITableRow>(getTableTree(), m_children);
    return m_childrenStatus;
}

int RowSummaryTableRow::getLevel() const {
    int level = 0;
    for (const RowSummaryTableRow* row = this; row->m_tree != nullptr; ++level) {
        row = m_tree->getRow(row->m_parentIndex);
        if (row == nullptr) break;
    }
    return level;
}

void RowSummaryTableRow::getTimeRange(u64_t& start, u64_t& end) const {
    start = m_startTime;
    end = m_endTime;
}

RowSummaryTableRow* RowSummaryTableRow::getChildRowByDbIndex(int dbIndex) const {
    const auto found = m_childIndex.find(dbIndex);
    return found != m_childIndex.end() ? m_children[static_cast<std::size_t>(found->second)].get()
                                       : nullptr;
}

void RowSummaryTableRow::setSummaryId(int summaryId) {
    m_summaryId = summaryId;
    for (const sptr_t<RowSummaryTableRow>& child : m_children)
        child->m_parentIndex = summaryId;
}

void RowSummaryTableRow::detach() {
    m_tree = nullptr;
    for (const sptr_t<RowSummaryTableRow>& child : m_children)
        child->detach();
}

}  // namespace lanefeed_1
