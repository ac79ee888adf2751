#pragma once

#include "common/poolallocator.h"
#include "overtimedata.h"
#include "queryparam.h"

#include <basekit2/object.h>
#include <basekit2/pool.h>
#include <dataface_1/query.h>
#include <dataface_1/table_tree.h>
#include <facekit_1_x/table_wrapper.h>

#include <boost/unordered_map.hpp>

#include <cstddef>
#include <deque>
#include <set>
#include <utility>
#include <vector>

namespace lanefeed_1 {

class OvertimeTableTree;

// A bucket as a row. Belongs to its table and counts through it.
class OvertimeTableTreeRow : public dataface_1::ITableRow {
public:
    // tree: not owned, outlives the row. rowIdx: the bucket, which is not the position of the row.
    OvertimeTableTreeRow(OvertimeTableTree* tree, std::size_t rowIdx)
        : m_tree(tree), m_rowIdx(rowIdx) {}

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override;
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::ITableRow> getParent() override;
    bool getContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) override;
    status_t getChildren(basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& out,
                         relay2::IProgress* progress,
                         bool flag) override;

    std::size_t getRowIdx() const { return m_rowIdx; }
    const OvertimeTableTree* tree() const { return m_tree; }

protected:
    OvertimeTableTree* m_tree;

private:
    std::size_t m_rowIdx;
};

// The sum of some rows, one value for each series, not scaled. Lives on its own and keeps the table
// alive.
class OvertimeTableTreeReducedRow : public OvertimeTableTreeRow {
public:
    OvertimeTableTreeReducedRow(OvertimeTableTree* tree, std::vector<double> sums);

    bool getContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) override;

private:
    basekit2::sptr_t<dataface_1::ITableTree> m_keepAlive;
    std::vector<double> m_sums;
};

// Buckets as rows and series as columns; only buckets with a value have a row, and only values that
// are there take memory. Unchanging, but for the first getColumns, which has to come before cells
// are read by several threads. Columns are those of the wrapped table.
class OvertimeTableTree : public facekit_1_x::TableTreeWrapperBase<>,
                          public dataface_1::IReducibleTableTree {
public:
    // Series index of the time-bin column, and of a column that is not of this table.
    static constexpr std::size_t kTimeBinSeries = static_cast<std::size_t>(-1);
    static constexpr std::size_t kUnknownSeries = static_cast<std::size_t>(-2);

    // Buckets inside a pause, pane ticks, have no row.
    OvertimeTableTree(const basekit2::sptr_t<dataface_1::ITableTree>& tree,
                      basekit2::sptr_t<dataface_1::IQuery> nameQuery,
                      const OverTimeData& data,
                      double scale,
                      const QueryParam& param,
                      const std::set<TimeRange>& pauses);

    unsigned int get_type() const override;
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> getRows(
        relay2::IProgress* progress) override;
    // Throws an error code when the wrapped table holds a column that is null.
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> getColumns(
        relay2::IProgress* progress) override;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;
    basekit2::sptr_t<dataface_1::ITableRow> reduce(
        const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& rows,
        relay2::IProgress* progress) override;

    // What was read, not scaled; 0 where there is nothing.
    double getValue(std::size_t series, std::size_t bucket) const;
    // The column and all that are nested under it have the index of their series.
    std::size_t getSeriesIdx(const dataface_1::ITreeNode* column) const;
    bool getContent(const OvertimeTableTreeRow* row,
                    const dataface_1::ITreeNode* column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) const;
    const basekit2::sptr_t<dataface_1::IQuery>& nameQuery() const { return m_nameQuery; }

private:
    using Row = basekit2::ref_counted_t<OvertimeTableTreeRow, basekit2::parent_ref_count_impl_t>;
    using Key = std::pair<std::size_t, std::size_t>;  // series, bucket
    using Values = boost::unordered_map<Key,
                                        double,
                                        boost::hash<Key>,
                                        std::equal_to<>,
                                        PoolAllocator<std::pair<const Key, double>>>;

    bool enterBucket(std::size_t bucket,
                     const OverTimeData& data,
                     const std::vector<std::size_t>& filled,
                     bool keepsZero);

    Values m_values;
    // Series with a value, bucket after bucket; those of a bucket end where m_bucketEnds says.
    std::vector<std::size_t> m_entered;
    std::vector<std::size_t> m_bucketEnds;
    double m_scale;
    std::size_t m_rowsNumber = 0;  // buckets, those without a row included
    std::size_t m_seriesCount;
    basekit2::sptr_t<dataface_1::IQuery> m_nameQuery;
    boost::unordered_map<const dataface_1::ITreeNode*, std::size_t> m_colToIdx;
    std::deque<Row, PoolAllocator<Row>> m_rowStore;
    std::vector<OvertimeTableTreeRow*> m_rows;  // in bucket order
};

}  // namespace lanefeed_1
