// Sums of children into parents, in place, for rows of a flat grouping: what the store delivers is
// one record per row, and a parent shows the sum of what is below it. Depth first, so that a child
// holds its own sum before its parent takes it; each record is touched once as a child. Tested by
// tests/unit/rowsummary_rows_test.cpp.

#include "rowsummarytabletree.h"

#include "common/check.h"

#include <storelink1/utils.h>

#include <cmath>

namespace lanefeed_1 {

namespace {

using basekit2::sptr_t;
using dataface_1::ITableRow;
using dataface_1::ITreeNode;

double valueOrZero(double value) {
    return std::isnan(value) ? 0.0 : value;
}

bool addSeries(OverTimeDataSeries& series1, const OverTimeDataSeries& series2) {
    if (!LF_CHECK(series1.nameParts == series2.nameParts)) return false;
    if (!LF_CHECK(series1.idParts == series2.idParts)) return false;
    if (series2.values.empty()) return true;
    if (series1.values.empty()) {
        series1.values = series2.values;
        return true;
    }
    if (!LF_CHECK(series1.values.size() == series2.values.size())) return false;
    for (std::size_t i = 0; i < series1.values.size(); ++i)
        series1.values[i] = valueOrZero(series1.values[i]) + valueOrZero(series2.values[i]);
    return true;
}

}  // namespace

bool RowSummaryTableTree::recursiveAggregation(std::vector<OverTimeData>& dataArray) const {
    if (!m_flatGrouping) return true;
    if (!LF_CHECK(dataArray.size() == m_flatRows.size())) return false;
    for (const sptr_t<RowSummaryTableRow>& row : m_topLevelRows) {
        const bool bRet = processRecursiveRow(row.get(), dataArray);
        if (!LF_CHECK(bRet)) return false;
    }
    return true;
}

// The record is found by the database index of its row, as in the index.
OverTimeData* RowSummaryTableTree::recordOf(ITableRow* row,
                                            std::vector<OverTimeData>& dataArray) const {
    basekit2::variant_t value;
    row->getContent(nullptr, dataface_1::ccId, value);
    const int summaryId = m_rowIndex.findId({0, storelink1::utils::variantToIndex(value)});
    return summaryId >= 0 ? &dataArray[static_cast<std::size_t>(summaryId)] : nullptr;
}

bool RowSummaryTableTree::processRecursiveRow(RowSummaryTableRow* row,
                                              std::vector<OverTimeData>& dataArray) const {
    OverTimeData* target = recordOf(row, dataArray);
    if (target == nullptr) return false;
    RowIterator children;
    const ITreeNode::status_t st = row->getChildren(children, nullptr, false);
    if (!LF_CHECK_AS(st != ITreeNode::ecsfError, "st != dataface1::ITreeNode::ecsfError"))
        return false;
    for (; !children.at_end(); children.next()) {
        const sptr_t<ITableRow> child = children.current();
        auto* childRow = dynamic_cast<RowSummaryTableRow*>(child.get());
        if (!LF_CHECK(childRow)) return false;
        const OverTimeData* source = recordOf(childRow, dataArray);
        const bool bRet = source != nullptr && processRecursiveRow(childRow, dataArray) &&
                          sumOverTimeData(*target, *source);
        if (!LF_CHECK(bRet)) return false;
    }
    return true;
}

bool RowSummaryTableTree::sumOverTimeData(OverTimeData& target, const OverTimeData& source) {
    if (source.seriesSet.empty()) return true;
    if (target.seriesSet.empty()) {
        target.seriesSet = source.seriesSet;
        return true;
    }
    OverTimeData& arg1 = target;
    const OverTimeData& arg2 = source;
    if (!LF_CHECK(arg1.seriesSet.size() == arg2.seriesSet.size())) return false;
    for (std::size_t i = 0; i < arg1.seriesSet.size(); ++i) {
        if (!addSeries(arg1.seriesSet[i], arg2.seriesSet[i])) return false;
    }
    return true;
}

}  // namespace lanefeed_1
