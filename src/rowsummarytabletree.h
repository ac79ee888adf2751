#pragma once

#include "overtimedata.h"
#include "rowsummarytabletree_index.h"

#include <basekit2/iterator.h>
#include <basekit2/object.h>
#include <basekit2/variant.h>
#include <dataface_1/input_data.h>
#include <dataface_1/query_kinds.h>
#include <dataface_1/table_tree.h>

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace dataface_1 {
class IQueryFilter;
class IQueryFilterBuilder;
}  // namespace dataface_1
namespace storelink1 {
class IConstRecord;
class IDatabase;
class IPerfDatabase;
}  // namespace storelink1

namespace lanefeed_1 {

class BaseProviderImpl;
class RowSummaryTableTree;

// A column of the row table: one of its own, known by its query, or one of a grid.
class RowSummaryColumnInfo : public dataface_1::IColumnInfo {
public:
    // What the cells of a column of one's own hold.
    enum Role { roleName, roleStartTime, roleEndTime, roleOther };

    // tree: not owned; a column that outlives it answers nothing.
    RowSummaryColumnInfo(RowSummaryTableTree* tree, basekit2::sptr_t<dataface_1::IQuery> query);
    // Wraps a column of the grid with all that are nested in it.
    RowSummaryColumnInfo(RowSummaryTableTree* tree,
                         const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                         RowSummaryColumnInfo* parent);

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override;
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::IColumnInfo> getParent() override;
    status_t getChildren(
        basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>>& out,
        relay2::IProgress* progress,
        bool flag) override;
    int getType() override;
    bool getContent(dataface_1::cell_contents_t contents, basekit2::variant_t& out) override;

    // Null for a column that is not the grid's.
    const basekit2::sptr_t<dataface_1::IColumnInfo>& wrapped() const { return m_column; }
    Role role() const { return m_role; }
    // The tree goes away.
    void detach();

private:
    RowSummaryTableTree* m_tree;
    basekit2::sptr_t<dataface_1::IColumnInfo> m_column;
    basekit2::sptr_t<dataface_1::IQuery> m_query;
    RowSummaryColumnInfo* m_parent = nullptr;  // as long as the tree lives
    std::vector<basekit2::sptr_t<RowSummaryColumnInfo>> m_children;
    Role m_role;
};

// A row of the pane. Of its three numbers the summary id is its place in the depth-first order of
// all rows, the database index is the row id of the thing that it stands for, and the position is
// its place among its siblings; none of them changes when rows are sorted.
class RowSummaryTableRow : public dataface_1::ITableRow {
public:
    // A record of the store: field 0 is the database index. Without a name column (InvalidColIdx)
    // the name is that index. tree: not owned; a row that outlives it answers nothing. provider:
    // needed for the call only.
    RowSummaryTableRow(RowSummaryTableTree* tree,
                       storelink1::IConstRecord* record,
                       basekit2::u16_t nameColumn,
                       const basekit2::sptr_t<dataface_1::IQuery>& query,
                       BaseProviderImpl* provider);
    // A row of a grid with all that are nested in it.
    RowSummaryTableRow(RowSummaryTableTree* tree,
                       const basekit2::sptr_t<dataface_1::ITableRow>& gridRow,
                       BaseProviderImpl* provider);

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override;
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::ITableRow> getParent() override;
    bool getContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) override;
    status_t getChildren(basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& out,
                         relay2::IProgress* progress,
                         bool flag) override;

    int getDbIndex() const { return m_dbIndex; }
    // Null for a row that is not a grid's.
    const basekit2::sptr_t<dataface_1::ITableRow>& gridRow() const { return m_gridRow; }
    // -1 until the tree has indexed its rows.
    int getSummaryId() const { return m_summaryId; }
    // 0 at the top.
    int getLevel() const;
    // In pane ticks.
    void getTimeRange(basekit2::u64_t& start, basekit2::u64_t& end) const;
    // Null when there is no such child. The row stays the tree's.
    RowSummaryTableRow* getChildRowByDbIndex(int dbIndex) const;

    // Orders the children, and theirs; the rows themselves stay where they are.
    void sortByColumn(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                      dataface_1::cell_contents_t content,
                      bool ascending);
    // Appends the positions of the children in display order.
    void getSortOrder(std::vector<int>& order) const;

    // Called by the tree when it indexes the row and its children.
    void setSummaryId(int summaryId);
    // The tree goes away.
    void detach();

private:
    void readTimeRange(BaseProviderImpl* provider);
    void wrapChildren(BaseProviderImpl* provider);
    bool getOwnContent(RowSummaryColumnInfo::Role role,
                       dataface_1::cell_contents_t contents,
                       basekit2::variant_t& out) const;

    RowSummaryTableTree* m_tree;
    basekit2::sptr_t<dataface_1::ITableRow> m_gridRow;  // null in a table of the store
    int m_dbIndex = -1;
    std::string m_name;
    basekit2::sptr_t<dataface_1::IQuery> m_query;
    std::vector<basekit2::sptr_t<RowSummaryTableRow>> m_children;
    status_t m_childrenStatus = ecsfSuccess;  // what the grid said of them
    std::map<int, int> m_childIndex;          // database index of a child to its position
    basekit2::u64_t m_startTime = 0;          // pane ticks
    basekit2::u64_t m_endTime = 0;
    int m_summaryId = -1;
    int m_parentIndex = -1;        // summary id of the parent
    std::vector<int> m_sortOrder;  // positions of the children in display order
};

// The rows of the pane and the index by which the provider turns database indexes into rows. Built
// once, from the store or on a grid; afterwards only its display order changes. Belongs to the
// thread of the provider; plain lookups may come from any thread.
//   build, index, lookups               rowsummarytabletree.cpp
//   summary ids by database place       rowsummarytabletree_index.cpp
//   order of the rows                   rowsummarytabletree_sorting.cpp
//   sums of children into parents       rowsummarytabletree_sums.cpp
//   life times of what rows stand for   rowsummarytabletree_ranges.cpp
//   selected rows as a filter           rowsummarytabletree_filter.cpp
//   the row and column classes          rowsummarytabletree_rows.cpp
class RowSummaryTableTree : public dataface_1::ITableTree {
public:
    using RowIterator = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>;
    using ColumnIterator = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>>;

    // First and last tick, absolute.
    struct tsc_range_t {
        basekit2::u64_t start = 0;
        basekit2::u64_t end = 0;
    };

    RowSummaryTableTree();
    ~RowSummaryTableTree() override;

    // --- build, index, lookups (rowsummarytabletree.cpp)
    // The rows of the first row-by's table, all at the top. An empty filter name stands for the
    // global filter; the restriction may be null. False after a failed check, also when there is no
    // row; the tree is then of no use. provider: needed for the call only.
    bool init(const basekit2::sptr_t<dataface_1::IInputData>& result,
              const std::vector<DicerDataSource>& rowBys,
              BaseProviderImpl* provider,
              const std::string& filterName,
              const basekit2::sptr_t<dataface_1::IInfoQuery>& restriction);
    // The rows and columns of a grid, nested as they are there. The required data, which may be
    // null, is kept along with the tree.
    bool init(const basekit2::sptr_t<dataface_1::IInputData>& result,
              const basekit2::sptr_t<dataface_1::ITableTree>& gridTree,
              const basekit2::sptr_t<dataface_1::IVectorQuery>& grouping,
              BaseProviderImpl* provider,
              const basekit2::sptr_t<dataface_1::ITableTree>& requiredData);
    // Enters rows and all below them, depth first. False when a row is not of this table.
    bool indexRows(const RowIterator& rows);

    // Stored order, whatever the display order is.
    RowIterator getRows(relay2::IProgress* progress) override;
    ColumnIterator getColumns(relay2::IProgress* progress) override;
    void setMessenger(relay2::IMessenger* messenger) override;

    // Rows stay the tree's; null when there is none.
    RowSummaryTableRow* getRow(int summaryId) const;
    RowSummaryTableRow* getRowByDbId(int level, int dbIndex) const;
    // Indexes from the top down; a flat grouping takes one.
    RowSummaryTableRow* getRowByDbIndexes(const std::vector<int>& indexes) const;
    // -1 for an unknown id.
    int getRowDbIndexBySummaryId(int summaryId) const;
    int getRowMaxLevel() const;
    int getFlatRowCount() const { return static_cast<int>(m_flatRows.size()); }
    // All rows, of whatever depth, are indexed at level 0.
    bool isFlatGrouping() const { return m_flatGrouping; }

    // --- order of the rows (rowsummarytabletree_sorting.cpp)
    // Appends the positions of the rows at the top in display order.
    void getSortOrder(std::vector<int>& order) const;
    void sortByColumn(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                      dataface_1::cell_contents_t content,
                      bool ascending);
    // What the last sort was asked for; a null column before the first.
    void getCurrentSorting(basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                           dataface_1::cell_contents_t& content,
                           bool& ascending) const;
    // The order of a fresh table: by the column of the query, largest first, else by the first
    // value column, largest first, else by start time (threads) or name. False when no column fits.
    bool getInitialSorting(const basekit2::sptr_t<dataface_1::IQuery>& query,
                           basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                           dataface_1::cell_contents_t& content,
                           bool& ascending) const;
    void initialSorting(const basekit2::sptr_t<dataface_1::IQuery>& query);

    // --- sums of children into parents (rowsummarytabletree_sums.cpp)
    // One record per row, by summary id. A table that is no flat grouping leaves them alone. False
    // after a failed check; sums made until then stay.
    bool recursiveAggregation(std::vector<OverTimeData>& dataArray) const;
    // Adds series by series, in order. What has no data counts as 0 once anything is added to it.
    static bool sumOverTimeData(OverTimeData& target, const OverTimeData& source);

    // --- selected rows as a filter (rowsummarytabletree_filter.cpp)
    // Keeps what the rows of these summary ids stand for; no row: what a registry makes of an empty
    // group. Null after a failed check. The caller puts it in the registry under a name.
    basekit2::sptr_t<dataface_1::IQueryFilter> createRowFilter(
        const std::vector<int>& selectedUniqueIDs) const;

    // --- life times of what rows stand for (rowsummarytabletree_ranges.cpp)
    void fillTscRanges();
    // Of a thing in a grouping; false, with `out` left alone, when it is unknown.
    bool getTscRange(int dbIndex, const std::string& grouping, tsc_range_t& out) const;
    // Of the result; false when it has none.
    bool getGlobalTscRange(basekit2::u64_t& start, basekit2::u64_t& end) const;

private:
    basekit2::sptr_t<storelink1::IDatabase> openDatabase() const;
    bool readRows(BaseProviderImpl* provider,
                  const std::string& filterName,
                  const basekit2::sptr_t<dataface_1::IInfoQuery>& restriction);
    void addTimeColumns(BaseProviderImpl* provider);
    void addRow(const basekit2::sptr_t<RowSummaryTableRow>& row);
    std::vector<basekit2::sptr_t<dataface_1::IInfoQuery>> rowQueries() const;
    void readTscRanges(storelink1::IDatabase* database,
                       const std::string& grouping,
                       const std::string& bandColumn);
    // Null, reported, for an unknown id.
    RowSummaryTableRow* selectedRow(int summaryId) const;
    bool addRowGroups(const std::vector<int>& selectedUniqueIDs,
                      dataface_1::IQueryFilterBuilder& builder) const;
    basekit2::sptr_t<dataface_1::IQueryFilter> createGridRowFilter(
        const std::vector<int>& selectedUniqueIDs) const;
    bool processRecursiveRow(RowSummaryTableRow* row, std::vector<OverTimeData>& dataArray) const;
    OverTimeData* recordOf(dataface_1::ITableRow* row, std::vector<OverTimeData>& dataArray) const;

    std::vector<basekit2::sptr_t<RowSummaryColumnInfo>> m_topLevelCols;
    std::vector<basekit2::sptr_t<RowSummaryTableRow>> m_topLevelRows;
    basekit2::sptr_t<dataface_1::ITableTree> m_gridTree;  // null in a table of the store
    std::vector<DicerDataSource> m_rowBys;                // empty on a grid
    basekit2::sptr_t<dataface_1::IVectorQuery> m_grouping;
    basekit2::sptr_t<dataface_1::IInputData> m_result;
    basekit2::sptr_t<storelink1::IPerfDatabase> m_perfDb;
    std::map<std::string, std::map<int, tsc_range_t>> m_tscRanges;  // grouping, database index
    std::vector<RowSummaryTableRow*> m_flatRows;                    // depth first, by summary id
    RowIndex m_rowIndex;
    std::unordered_map<int, int> m_dbIndexToRow;  // of a row at the top: its position
    std::vector<int> m_sortOrder;                 // positions at the top in display order
    basekit2::sptr_t<dataface_1::IColumnInfo> m_sortColumn;
    dataface_1::cell_contents_t m_sortContent = dataface_1::ccValue;
    bool m_sortAscending = false;
    basekit2::u64_t m_minDbTsc = 0;  // first and last tick of the result, absolute
    basekit2::u64_t m_maxDbTsc = 0;
    bool m_flatGrouping = false;
    bool m_groupsByThread = false;
    basekit2::sptr_t<dataface_1::ITableTree> m_requiredData;
};

}  // namespace lanefeed_1
