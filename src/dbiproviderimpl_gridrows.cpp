// Rows of an area whose row set has a grid query: the query is run under the filter that is asked
// for, and under one of the rows that have the data which the viewpoint requires; the table of rows
// is then built on its answer. What is required is read once per provider. Its filter stays in the
// registry under a name of the provider's own, renewed by each read of the rows. Cancelled after
// each read. Tested by tests/provider/rows_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"
#include "rowsummarytabletree.h"

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::IQueryFilter;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using slicekit_1_0::IGridQuery;
using slicekit_1_0::IGridViewpointParser;

sptr_t<IGridQuery> queryFor(IGridViewpointParser& parser,
                            const sptr_t<dataface_1::IVectorQuery>& grouping) {
    sptr_t<IGridQuery> query;
    const auto err = parser.createQuery(grouping, query);
    return LF_CHECK(err.succeeded() && query) ? query : nullptr;
}

// A filter that keeps what is in the table; null on failure.
sptr_t<IQueryFilter> filterOfAllRows(ITableTree& table) {
    sptr_t<dataface_1::IFilterTableTree> filterTableTree;
    const bool status = basekit2::lookup_interface(&table, filterTableTree);
    if (!LF_CHECK(status && filterTableTree)) return {};
    std::vector<sptr_t<ITableRow>> rows;
    for (auto it = table.getRows(nullptr); !it.at_end(); it.next())
        rows.push_back(it.current());
    sptr_t<IQueryFilter> filter;
    const auto err =
        filterTableTree->createFilter(basekit2::make_iterator(std::move(rows)), filter);
    return LF_CHECK(err.succeeded() && filter) ? filter : nullptr;
}

}  // namespace

bool DbiProviderImpl::readRequiredData() {
    if (!m_requiredDataTable.is_null()) return true;
    const int flags = m_requiredData->getQueryFlags();
    const auto grouping = m_requiredData->getDefaultVectorQuery();
    if (!LF_CHECK(grouping)) return false;
    const auto query = queryFor(*m_requiredData, grouping);
    if (query.is_null()) return false;
    sptr_t<ITableTree> required;
    const auto err = query->execute(required, m_progress, flags);
    if (isCanceled() || !LF_CHECK_AS(err.succeeded() && required,
                                     "err.succeeded() && m_requiredDataTable", err.as_string(1)))
        return false;
    m_requiredDataTable = required;
    dumpTableTreeToFile(m_requiredDataTable, "timeline_required_data");
    return true;
}

bool DbiProviderImpl::restrictToRequiredData(IGridQuery& query,
                                             dataface_1::IFilterRegistry& registry) {
    if (m_requiredData.is_null()) return true;
    if (!readRequiredData()) return false;
    const auto filter = filterOfAllRows(*m_requiredDataTable);
    if (filter.is_null()) return false;
    const std::string filterName =
        "required_data_filter_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
    registry.removeFilter(filterName);
    registry.setQueryFilter(filterName, filter);
    query.addFilter(filterName);
    return true;
}

bool DbiProviderImpl::getGridSummary(sptr_t<RowSummaryTableTree>& table,
                                     const std::string& filterName,
                                     int groupingIndex) {
    const int flags = m_gridQuery->getQueryFlags();
    sptr_t<dataface_1::IVectorQuery> grouping;
    if (groupingIndex == kDefaultGrouping) {
        grouping = m_gridQuery->getDefaultVectorQuery();
    } else {
        // An unknown number leaves it null.
        (void)m_gridQuery->getGrouping(groupingIndex, grouping);
    }
    if (!LF_CHECK(grouping)) return false;
    const auto query = queryFor(*m_gridQuery, grouping);
    if (query.is_null()) return false;
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return false;
    query->clearFilters();
    if (!filterName.empty() && filterRegistry->hasFilter(filterName)) query->addFilter(filterName);
    if (!restrictToRequiredData(*query, *filterRegistry)) return false;

    sptr_t<ITableTree> tree;
    const auto err = query->execute(tree, m_progress, flags);
    if (isCanceled() ||
        !LF_CHECK_AS(err.succeeded() && tree, "err.succeeded() && tree", err.as_string(1)))
        return false;
    dumpTableTreeToFile(tree, "timeline_row_summary_input" + std::to_string(m_areaIndex));
    table = basekit2::make_object<RowSummaryTableTree>();
    const bool bRet = table->init(m_result, tree, grouping, this, m_requiredDataTable);
    return LF_CHECK(bRet);
}

}  // namespace lanefeed_1
