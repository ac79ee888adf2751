// What the pane reads over-time series from. The values stand in a sparse map by series and bucket,
// filled once by the constructor: a bucket in a pause and one with nothing in it have no row. Cells
// are scaled when they are read; sums are not, for their reader may want another scale. A sum goes
// over the values that there are, so that series without any cost nothing. Tested by
// tests/unit/overtime_tabletree_test.cpp.

#include "overtime_tabletree.h"

#include "common/bucketmath.h"
#include "common/check.h"
#include "common/nodewalk.h"
#include "common/pauseranges.h"
#include "tabletrees.h"

#include <basekit2/error_code.h>
#include <relay2/progress.h>

#include <cmath>
#include <limits>

namespace lanefeed_1 {

namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::u64_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::ITreeNode;

using ColumnIndex = boost::unordered_map<const ITreeNode*, std::size_t>;

sptr_t<IColumnInfo> columnAt(const generic_iterator_t<sptr_t<IColumnInfo>>& it) {
    sptr_t<IColumnInfo> column = it.current();
    if (column.is_null()) {
        throw basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                            "it.current()", __FILE__, __LINE__);
    }
    return column;
}

void indexColumn(const sptr_t<IColumnInfo>& column, std::size_t series, ColumnIndex& index) {
    index[column.get()] = series;
    generic_iterator_t<sptr_t<IColumnInfo>> children;
    if (column->getChildren(children, nullptr, false) != ITreeNode::ecsfSuccess) return;
    for (; !children.at_end(); children.next())
        indexColumn(columnAt(children), series, index);
}

// Buckets of the record: those of its first series with values.
std::size_t bucketCount(const OverTimeData& data) {
    for (const OverTimeDataSeries& series : data.seriesSet) {
        if (!series.values.empty()) return series.values.size();
    }
    return 0;
}

// Most series of an expansion have no values in one row.
std::vector<std::size_t> filledSeries(const OverTimeData& data) {
    std::vector<std::size_t> filled;
    for (std::size_t series = 0; series < data.seriesSet.size(); ++series)
        if (!data.seriesSet[series].values.empty()) filled.push_back(series);
    return filled;
}

}  // namespace

sptr_t<dataface_1::IQuery> OvertimeTableTreeRow::getQuery() {
    return m_tree->nameQuery();
}

sptr_t<ITableTree> OvertimeTableTreeRow::getTableTree() {
    return sptr_t<ITableTree>(m_tree);
}

sptr_t<ITableRow> OvertimeTableTreeRow::getParent() {
    return {};
}

bool OvertimeTableTreeRow::getContent(const sptr_t<IColumnInfo>& column,
                                      cell_contents_t contents,
                                      variant_t& out) {
    return m_tree->getContent(this, column.get(), contents, out);
}

ITreeNode::status_t OvertimeTableTreeRow::getChildren(generic_iterator_t<sptr_t<ITableRow>>& out,
                                                      relay2::IProgress* /*progress*/,
                                                      bool /*flag*/) {
    out = basekit2::make_iterator<sptr_t<ITableRow>>({});
    return ecsfSuccess;
}

// Its bucket is none, so that it is refused when it is itself to be summed.
OvertimeTableTreeReducedRow::OvertimeTableTreeReducedRow(OvertimeTableTree* tree,
                                                         std::vector<double> sums)
    : OvertimeTableTreeRow(tree, static_cast<std::size_t>(-1)),
      m_keepAlive(tree),
      m_sums(std::move(sums)) {}

bool OvertimeTableTreeReducedRow::getContent(const sptr_t<IColumnInfo>& column,
                                             cell_contents_t contents,
                                             variant_t& out) {
    if (column.is_null()) return false;
    const std::size_t series = m_tree->getSeriesIdx(column.get());
    if (contents != dataface_1::ccValue || series >= m_sums.size()) return false;
    out = m_sums[series];
    return true;
}

OvertimeTableTree::OvertimeTableTree(const sptr_t<ITableTree>& tree,
                                     sptr_t<dataface_1::IQuery> nameQuery,
                                     const OverTimeData& data,
                                     double scale,
                                     const QueryParam& param,
                                     const std::set<TimeRange>& pauses)
    : TableTreeWrapperBase(tree),
      m_scale(scale),
      m_rowsNumber(bucketCount(data)),
      m_seriesCount(data.seriesSet.size()),
      m_nameQuery(std::move(nameQuery)) {
    m_values.max_load_factor(1.0F);
    const std::vector<std::size_t> filled = filledSeries(data);
    const u64_t binWidth =
        bucketmath::wholeBinWidth(param.startTime, param.endTime, param.binCount);
    m_bucketEnds.reserve(m_rowsNumber);
    for (std::size_t bucket = 0; bucket < m_rowsNumber; ++bucket) {
        const u64_t binStart = binWidth * bucket + param.startTime;
        const bool isPaused = isInPause(pauses, binStart, binStart + binWidth);
        const bool entered = !isPaused && enterBucket(bucket, data, filled, param.keepZeroValues);
        m_bucketEnds.push_back(m_entered.size());
        if (!entered) continue;
        m_rowStore.emplace_back(static_cast<ITableTree*>(this), this, bucket);
        m_rows.push_back(&m_rowStore.back());
    }
}

// True when the bucket holds anything.
bool OvertimeTableTree::enterBucket(std::size_t bucket,
                                    const OverTimeData& data,
                                    const std::vector<std::size_t>& filled,
                                    bool keepsZero) {
    const std::size_t before = m_entered.size();
    for (const std::size_t series : filled) {
        const std::vector<double>& values = data.seriesSet[series].values;
        if (bucket >= values.size()) continue;
        const double value = values[bucket];
        if (std::isnan(value)) continue;
        // Negative values vanish with the zeros.
        if (!keepsZero && !(value > std::numeric_limits<double>::epsilon())) continue;
        m_values.emplace(Key(series, bucket), value);
        m_entered.push_back(series);
    }
    return m_entered.size() != before;
}

unsigned int OvertimeTableTree::get_type() const {
    return TableTreeWrapperBase::get_type();
}

generic_iterator_t<sptr_t<ITableRow>> OvertimeTableTree::getRows(relay2::IProgress* /*progress*/) {
    return walkNodes<ITableRow>(static_cast<ITableTree*>(this), m_rows);
}

generic_iterator_t<sptr_t<IColumnInfo>> OvertimeTableTree::getColumns(relay2::IProgress* progress) {
    if (m_colToIdx.empty()) {
        m_colToIdx.reserve(2 * m_seriesCount + 1);  // as most are expanded by one level or none
        std::size_t series = kTimeBinSeries;
        const auto columns = TableTreeWrapperBase::getColumns(progress);
        for (; !columns.at_end(); columns.next())
            indexColumn(columnAt(columns), series++, m_colToIdx);
    }
    return TableTreeWrapperBase::getColumns(progress);
}

basekit2::notype_ptr_t OvertimeTableTree::adapt_to_pointer(unsigned int type) {
    if (type == basekit2::type_id_t<IReducibleTableTree>::id()) {
        return basekit2::notype_ptr_t(static_cast<IReducibleTableTree*>(this));
    }
    return TableTreeWrapperBase::adapt_to_pointer(type);
}

double OvertimeTableTree::getValue(std::size_t series, std::size_t bucket) const {
    const auto found = m_values.find(Key(series, bucket));
    return found != m_values.end() ? found->second : 0.0;
}

std::size_t OvertimeTableTree::getSeriesIdx(const ITreeNode* column) const {
    const auto cit = m_colToIdx.find(column);
    if (!LF_CHECK_AS(cit != m_colToIdx.end(), "cit != m_colToIdx.end()", "Unknown column"))
        return kUnknownSeries;
    return cit->second;
}

bool OvertimeTableTree::getContent(const OvertimeTableTreeRow* row,
                                   const ITreeNode* column,
                                   cell_contents_t contents,
                                   variant_t& out) const {
    if (column == nullptr) return false;
    const std::size_t series = getSeriesIdx(column);
    (void)LF_CHECK(row->getRowIdx() < m_rowsNumber);
    if (contents != dataface_1::ccValue || series == kUnknownSeries) return false;
    if (series == kTimeBinSeries) {
        out = static_cast<int>(row->getRowIdx());
    } else {
        // A record may have fewer series than the table has columns: they read as empty.
        out = m_scale * getValue(series, row->getRowIdx());
    }
    return true;
}

sptr_t<ITableRow> OvertimeTableTree::reduce(const generic_iterator_t<sptr_t<ITableRow>>& rows,
                                            relay2::IProgress* progress) {
    std::vector<double> sums(m_seriesCount);
    (void)LF_CHECK_AS(rows.reset(), "iterator does not support reset()");
    for (; !rows.at_end(); rows.next()) {
        if (progress != nullptr && progress->isCanceled()) return {};
        const sptr_t<ITableRow> current = rows.current();
        const auto* row = dynamic_cast<const OvertimeTableTreeRow*>(current.get());
        if (row != nullptr && row->tree() != this) row = nullptr;
        if (!LF_CHECK_AS(row && row->getRowIdx() < m_rowsNumber,
                         "row && row->getRowIdx() < m_rowsNumber", "Alien row?"))
            return {};
        const std::size_t bucket = row->getRowIdx();
        const std::size_t begin = bucket > 0 ? m_bucketEnds[bucket - 1] : 0;
        for (std::size_t i = begin; i < m_bucketEnds[bucket]; ++i)
            sums[m_entered[i]] += getValue(m_entered[i], bucket);
    }
    return basekit2::make_object<OvertimeTableTreeReducedRow>(this, std::move(sums));
}

sptr_t<ITableTree> createOvertimeTableTree(const sptr_t<ITableTree>& tree,
                                           const sptr_t<dataface_1::IQuery>& nameQuery,
                                           const OverTimeData& data,
                                           double scale,
                                           const QueryParam& param,
                                           sptr_t<ITableTree> pauseRanges) {
    if (tree.is_null()) return {};
    std::set<TimeRange> pauses;
    if (!pauseRanges.is_null()) fillPauserangesSet(pauses, pauseRanges);
    return basekit2::make_object<OvertimeTableTree>(tree, nameQuery, data, scale, param, pauses);
}

}  // namespace lanefeed_1
