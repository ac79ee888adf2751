// Selected rows as a filter. Rows of the store are kept by their database indexes, one group for
// each row, in which each row-by of the area may match; rows of a grid by the grid itself, which
// knows what its rows stand for. Tested by tests/unit/rowsummary_build_test.cpp.

#include "rowsummarytabletree.h"

#include "common/check.h"

#include <dataface_1/filters.h>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::IInfoQuery;
using dataface_1::IQueryFilter;
using dataface_1::IQueryFilterBuilder;
using dataface_1::ITableRow;

}  // namespace

sptr_t<IQueryFilter> RowSummaryTableTree::createRowFilter(
    const std::vector<int>& selectedUniqueIDs) const {
    sptr_t<dataface_1::IFilterRegistry> filterRegistry;
    dataface_1::lookup(m_result, filterRegistry);
    if (!LF_CHECK(filterRegistry)) return {};
    if (!selectedUniqueIDs.empty() && !m_gridTree.is_null())
        return createGridRowFilter(selectedUniqueIDs);

    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return {};
    if (selectedUniqueIDs.empty()) {
        qfBuilder->beginGroup(IQueryFilterBuilder::groupNegated);
    } else {
        qfBuilder->beginGroup(IQueryFilterBuilder::groupIncluded);
        if (!addRowGroups(selectedUniqueIDs, *qfBuilder)) return {};
    }
    qfBuilder->endGroup();
    const auto qf = qfBuilder->build();
    return LF_CHECK_AS(qf, "err.succeeded() && qf") ? qf : nullptr;
}

RowSummaryTableRow* RowSummaryTableTree::selectedRow(int summaryId) const {
    RowSummaryTableRow* row = getRow(summaryId);
    (void)LF_CHECK_AS(row,
                      "selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()",
                      summaryId);
    return row;
}

bool RowSummaryTableTree::addRowGroups(const std::vector<int>& selectedUniqueIDs,
                                       IQueryFilterBuilder& builder) const {
    for (const int summaryId : selectedUniqueIDs) {
        const RowSummaryTableRow* row = selectedRow(summaryId);
        if (row == nullptr) return false;
        builder.beginGroup(IQueryFilterBuilder::groupIncluded);
        for (const DicerDataSource& rowBy : m_rowBys) {
            const auto infoQuery = IInfoQuery::cast(rowBy.m_defaultQuery);
            if (!LF_CHECK(infoQuery)) return false;
            builder.addCondition(infoQuery, false, row->getDbIndex());
        }
        builder.endGroup();
    }
    return true;
}

sptr_t<IQueryFilter> RowSummaryTableTree::createGridRowFilter(
    const std::vector<int>& selectedUniqueIDs) const {
    sptr_t<dataface_1::IFilterTableTree> filterTableTree;
    const bool status = basekit2::lookup_interface(m_gridTree.get(), filterTableTree);
    if (!LF_CHECK(status && filterTableTree)) return {};
    std::vector<sptr_t<ITableRow>> rows;
    for (const int summaryId : selectedUniqueIDs) {
        const RowSummaryTableRow* row = selectedRow(summaryId);
        if (row == nullptr) return {};
        rows.push_back(row->gridRow());
    }
    sptr_t<IQueryFilter> qf;
    const auto err = filterTableTree->createFilter(basekit2::make_iterator(std::move(rows)), qf);
    return LF_CHECK(err.succeeded() && qf) ? qf : nullptr;
}

}  // namespace lanefeed_1
