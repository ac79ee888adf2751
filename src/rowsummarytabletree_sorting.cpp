// Order of the rows. A sort changes the list of positions alone, each time starting from the order
// in force. The cell of each row is read once, texts in lower case, and the keys are what is
// compared. Tested by tests/unit/rowsummary_rows_test.cpp.

#include "rowsummarytabletree.h"

#include "common/check.h"

#include <facekit_1_x/conversions.h>

#include <algorithm>
#include <locale>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;

using Rows = std::vector<sptr_t<RowSummaryTableRow>>;

// Bits of a column's type: the name column, and a column of numbers.
constexpr int kNameColumnBit = 1;
constexpr int kValueColumnBit = dataface_1::numericColumnBit;

template <class Char>
std::basic_string<Char> lowerCase(const Char* text) {
    std::basic_string<Char> lower(text);
    const std::locale locale;
    const auto& facet = std::use_facet<std::ctype<Char>>(locale);
    facet.tolower(lower.data(), lower.data() + lower.size());
    return lower;
}

variant_t sortKey(const variant_t& value) {
    switch (value.get_type()) {
    case basekit2::vtString:
    case basekit2::vtConstString: return lowerCase(value.get<const char*>());
    case basekit2::vtWideString:
    case basekit2::vtConstWideString: return lowerCase(value.get<const wchar_t*>());
    default: return value;
    }
}

// Compares rows by their positions. Keys outlive it.
class SortRowsFunctor {
public:
    SortRowsFunctor(const std::vector<variant_t>& keys, bool ascending)
        : m_keys(keys), m_ascending(ascending) {}
    bool operator()(int a, int b) const {
        const variant_t& keyA = m_keys[static_cast<std::size_t>(a)];
        const variant_t& keyB = m_keys[static_cast<std::size_t>(b)];
        return m_ascending ? keyA < keyB : keyB < keyA;
    }

private:
    const std::vector<variant_t>& m_keys;
    bool m_ascending;
};

void sortPositions(std::vector<int>& order,
                   const Rows& rows,
                   const sptr_t<IColumnInfo>& column,
                   cell_contents_t content,
                   bool ascending) {
    std::vector<variant_t> keys;
    keys.reserve(rows.size());
    for (const sptr_t<RowSummaryTableRow>& row : rows) {
        variant_t value;
        row->getContent(column, content, value);
        keys.push_back(sortKey(value));
    }
    // Rows of one value keep the order that they had.
    std::stable_sort(order.begin(), order.end(), SortRowsFunctor(keys, ascending));
}

// Columns that a fresh table may be sorted by; -1 for none.
struct SortCandidates {
    int nameCol = -1;
    int valueCol = -1;
    int startCol = -1;
};

void consider(RowSummaryColumnInfo& column, int index, SortCandidates& candidates) {
    const int type = column.getType();
    if ((type & kNameColumnBit) != 0) {
        if (candidates.nameCol < 0) candidates.nameCol = index;
    } else if ((type & kValueColumnBit) != 0) {
        if (candidates.valueCol < 0) candidates.valueCol = index;
    } else if (candidates.startCol < 0 && column.role() == RowSummaryColumnInfo::roleStartTime) {
        candidates.startCol = index;
    }
}

}  // namespace

void RowSummaryTableRow::sortByColumn(const sptr_t<IColumnInfo>& column,
                                      cell_contents_t content,
                                      bool ascending) {
    sortPositions(m_sortOrder, m_children, column, content, ascending);
    for (const sptr_t<RowSummaryTableRow>& child : m_children)
        child->sortByColumn(column, content, ascending);
}

void RowSummaryTableRow::getSortOrder(std::vector<int>& order) const {
    order.insert(order.end(), m_sortOrder.begin(), m_sortOrder.end());
}

void RowSummaryTableTree::getSortOrder(std::vector<int>& order) const {
    order.insert(order.end(), m_sortOrder.begin(), m_sortOrder.end());
}

void RowSummaryTableTree::sortByColumn(const sptr_t<IColumnInfo>& column,
                                       cell_contents_t content,
                                       bool ascending) {
    m_sortColumn = column;
    m_sortContent = content;
    m_sortAscending = ascending;
    if (column.is_null()) return;
    const bool byName = (column->getType() & kNameColumnBit) != 0;
    if (byName && content == dataface_1::ccValue && !m_topLevelRows.empty())
        content = facekit_1_x::getSortValueType(m_topLevelRows.front()->getQuery());
    sortPositions(m_sortOrder, m_topLevelRows, column, content, ascending);
    for (const sptr_t<RowSummaryTableRow>& row : m_topLevelRows)
        row->sortByColumn(column, content, ascending);
}

void RowSummaryTableTree::getCurrentSorting(sptr_t<IColumnInfo>& column,
                                            cell_contents_t& content,
                                            bool& ascending) const {
    column = m_sortColumn;
    content = m_sortContent;
    ascending = m_sortAscending;
}

bool RowSummaryTableTree::getInitialSorting(const sptr_t<IQuery>& query,
                                            sptr_t<IColumnInfo>& column,
                                            cell_contents_t& content,
                                            bool& ascending) const {
    const sptr_t<IVectorQuery> vectorQuery = IVectorQuery::cast(query);
    const sptr_t<IQuery> sortQuery = vectorQuery.is_null() ? query : vectorQuery->getDefaultQuery();
    SortCandidates candidates;
    int sortCol = -1;
    for (int i = 0; i < static_cast<int>(m_topLevelCols.size()) && sortCol < 0; ++i) {
        RowSummaryColumnInfo& current = *m_topLevelCols[static_cast<std::size_t>(i)];
        if (IQuery::areEqual(current.getQuery(), sortQuery, true, false)) {
            sortCol = i;
        } else {
            consider(current, i, candidates);
        }
    }
    if (sortCol < 0) sortCol = candidates.valueCol;
    ascending = sortCol < 0;
    if (sortCol < 0) sortCol = m_groupsByThread ? candidates.startCol : candidates.nameCol;
    content = dataface_1::ccValue;
    if (!LF_CHECK_AS(sortCol >= 0 && sortCol < static_cast<int>(m_topLevelCols.size()),
                     "sortCol >= 0 && sortCol < (int)m_topLevelCols.size()"))
        return false;
    column = m_topLevelCols[static_cast<std::size_t>(sortCol)];
    return true;
}

void RowSummaryTableTree::initialSorting(const sptr_t<IQuery>& query) {
    sptr_t<IColumnInfo> column;
    cell_contents_t content = dataface_1::ccValue;
    bool ascending = false;
    if (getInitialSorting(query, column, content, ascending))
        sortByColumn(column, content, ascending);
}

}  // namespace lanefeed_1
