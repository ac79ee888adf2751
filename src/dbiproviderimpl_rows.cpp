// The pane's rows: the table of them, their order, which of them the global filter leaves, a filter
// out of some of them, and the way from database indexes to a row. getRowSummary reads the table
// anew and puts it in force; with no grid the rows are those of the first row-by choice, and the
// global filter applies to them whether asked for or not. Cancelled after the read. Tested by
// tests/provider/rows_test.cpp and tests/provider/selection_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "rowsummarytabletree.h"

namespace lanefeed_1 {

namespace {

// The query that the rows of a grid are sorted by at first; null without a grid.
basekit2::sptr_t<dataface_1::IVectorQuery> sortQueryOf(
    const basekit2::sptr_t<slicekit_1_0::IGridViewpointParser>& gridQuery) {
    return gridQuery.is_null() ? nullptr : gridQuery->getDefaultVectorQuery();
}

// Appends the rows that the other table has too.
bool addRowsIn(const RowSummaryTableTree& filtered,
               const RowSummaryTableTree& table,
               int rowCount,
               std::vector<int>& rows) {
    for (int r = 0; r < rowCount; ++r) {
        const RowSummaryTableRow* row = table.getRow(r);
        if (!LF_CHECK(row)) return false;
        const int level = row->getLevel();
        if (!LF_CHECK(level >= 0)) return false;
        if (filtered.getRowByDbId(level, row->getDbIndex()) != nullptr)
            rows.push_back(row->getSummaryId());
    }
    return true;
}

// What is left without those of the filter; null when the registry makes no filter of it.
bool negate(dataface_1::IFilterRegistry& registry,
            basekit2::sptr_t<dataface_1::IQueryFilter>& filter) {
    const auto qfBuilder = registry.createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return false;
    qfBuilder->beginGroup(dataface_1::IQueryFilterBuilder::groupNegated);
    qfBuilder->addFilter(filter);
    qfBuilder->endGroup();
    filter = qfBuilder->build();
    return true;
}

}  // namespace

bool DbiProviderImpl::getRowSummary(basekit2::sptr_t<dataface_1::ITableTree>& table,
                                    int grouping,
                                    bool resort,
                                    bool useGlobalFilter) {
    basekit2::sptr_t<RowSummaryTableTree> summaryImpl;
    const bool bRet =
        getRowSummaryInternal(summaryImpl, useGlobalFilter ? names::kGlobalFilter : "", grouping);
    if (isCanceled() || !LF_CHECK(bRet && summaryImpl)) return false;
    m_rowSummaryTable = summaryImpl;
    table = summaryImpl;
    m_rowCount = m_rowSummaryTable->getFlatRowCount();
    if (resort) m_rowSummaryTable->initialSorting(sortQueryOf(m_gridQuery));
    return true;
}

bool DbiProviderImpl::getRowSummaryInternal(basekit2::sptr_t<RowSummaryTableTree>& table,
                                            const std::string& filterName,
                                            int grouping) {
    if (m_gridQuery.is_null()) {
        table = basekit2::make_object<RowSummaryTableTree>();
        const bool bRet =
            table->init(m_result, m_rowByOptions, this, filterName, m_rowByRestriction);
        if (isCanceled() || !LF_CHECK(bRet)) return false;
    } else if (!getGridSummary(table, filterName, grouping)) {
        return false;
    }
    dumpTableTreeToFile(table, "timeline_row_summary" + std::to_string(m_areaIndex));
    return true;
}

bool DbiProviderImpl::getVisibleRows(std::vector<int>& rows, int grouping) {
    if (!hasRowBy() || m_rowSummaryTable.is_null()) {
        rows.push_back(0);
        return true;
    }
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return false;
    if (!filterRegistry->hasFilter(names::kGlobalFilter)) {
        for (int row = 0; row < m_rowCount; ++row)
            rows.push_back(row);
        return true;
    }
    basekit2::sptr_t<RowSummaryTableTree> summaryImpl;
    const bool bRet = getRowSummaryInternal(summaryImpl, names::kGlobalFilter, grouping);
    if (isCanceled() || !LF_CHECK(bRet && summaryImpl)) return false;
    return addRowsIn(*summaryImpl, *m_rowSummaryTable, m_rowCount, rows);
}

bool DbiProviderImpl::filterOnRows(const std::vector<int>& rows, bool exclude) {
    if (m_rowByOptions.empty()) return false;
    const auto filterRegistry = getFilterRegistry();
    if (filterRegistry.is_null()) return true;
    filterRegistry->removeFilter(names::kSelectionFilter);
    filterRegistry->clearFilter(names::kSelectionFilter);
    basekit2::sptr_t<dataface_1::IQueryFilter> qf;
    if (!m_rowSummaryTable.is_null()) qf = m_rowSummaryTable->createRowFilter(rows);
    if (!LF_CHECK(qf)) return false;
    // The filter of no rows stands as it is.
    if (exclude && !rows.empty() && !negate(*filterRegistry, qf)) return false;
    if (!qf.is_null()) filterRegistry->setQueryFilter(names::kSelectionFilter, qf);
    return true;
}

bool DbiProviderImpl::getSortOrder(std::vector<int>& order) {
    if (m_rowSummaryTable.is_null()) return false;
    m_rowSummaryTable->getSortOrder(order);
    return true;
}

bool DbiProviderImpl::getCurrentSorting(SortInfo& info) {
    if (m_rowSummaryTable.is_null()) return false;
    m_rowSummaryTable->getCurrentSorting(info.column, info.content, info.ascending);
    return !info.column.is_null();
}

bool DbiProviderImpl::setSorting(SortInfo& info) {
    if (m_rowSummaryTable.is_null()) return false;
    m_rowSummaryTable->sortByColumn(info.column, info.content, info.ascending);
    return true;
}

bool DbiProviderImpl::getDefaultSortOrder(SortInfo& info) {
    if (m_rowSummaryTable.is_null()) return false;
    SortInfo found;
    if (!m_rowSummaryTable->getInitialSorting(sortQueryOf(m_gridQuery), found.column, found.content,
                                              found.ascending))
        return false;
    info = found;
    return true;
}

int DbiProviderImpl::getRowDbIndexByUniqueId(int id) {
    return m_rowSummaryTable.is_null() ? 0 : m_rowSummaryTable->getRowDbIndexBySummaryId(id);
}

int DbiProviderImpl::getRowLevel(int summaryId) {
    const RowSummaryTableRow* summaryRow =
        m_rowSummaryTable.is_null() ? nullptr : m_rowSummaryTable->getRow(summaryId);
    return LF_CHECK(summaryRow) ? summaryRow->getLevel() : -1;
}

bool DbiProviderImpl::findRow(const std::vector<int>& dbIndexes, int& id) const {
    id = -1;
    const RowSummaryTableRow* row = m_rowSummaryTable->getRowByDbIndexes(dbIndexes);
    if (row == nullptr) return true;
    const int summaryId = row->getSummaryId();
    if (!LF_CHECK(summaryId >= 0 && summaryId < m_rowCount)) return false;
    id = summaryId;
    return true;
}

}  // namespace lanefeed_1
