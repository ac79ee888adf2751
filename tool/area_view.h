#pragma once

#include "time_range.h"

#include <basekit2/iterator.h>
#include <dataface_1/table_tree.h>

#include <cstdint>
#include <idicerprovider.h>
#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_tool {

class Session;

// A row of an area as the row summary tells it. Times are pane ticks, the end inclusive.
struct RowInfo {
    int id = 0;
    int dbIndex = -1;
    int parent = -1;  // id of the row above, -1 at the top
    int level = 0;
    std::string name;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::vector<basekit2::variant_t> values;  // of the value columns; null without one
};

// A column of numbers beside the rows, which rows of a grid have.
struct ValueColumn {
    std::string name;
    std::string id;  // of its query
    basekit2::sptr_t<dataface_1::IColumnInfo> column;
};

// "area 3" or "the ruler", and the number of an area as JSON, which has null for the ruler.
std::string areaName(int area);
std::string areaJson(int area);

// One area of the viewpoint, bound to a provider of its own. The ruler is one with a single row.
class AreaView {
public:
    // Binds area `index`, from 0, or kRuler.
    AreaView(Session& session, int index);
    AreaView(const AreaView&) = delete;
    AreaView& operator=(const AreaView&) = delete;

    lanefeed_1::IDicerProvider& provider() { return *m_provider; }
    lanefeed_1::TLViewpointParser::RowSet* rowSet() { return m_rowSet; }
    // Source of the rows, null for an area with one row.
    const lanefeed_1::DicerDataSource* rowSource() const { return m_rowSource; }
    // The same rows as a layer reaches them: of the alternatives of a grid the one on its table.
    const lanefeed_1::DicerDataSource* rowSource(
        const lanefeed_1::TLViewpointParser::LayerInfo& layer) const;
    // By id.
    const std::vector<RowInfo>& rows() const { return m_rows; }
    const std::vector<ValueColumn>& valueColumns() const { return m_values; }
    // The result holds nothing that the area could show; there are no rows then.
    bool isEmpty() const { return m_empty; }
    // The result has none of the bands that the rows stand for.
    bool lacksRows() const { return m_lacksRows; }
    // Filters leave none of the rows that there are.
    bool isFilteredOut() const { return m_filteredOut; }
    // Positions in rows(), in display order.
    const std::vector<int>& order() const { return m_order; }
    // The whole result has `duration` ticks: the last one counts.
    const TimeScale& time() const { return m_time; }
    // Signed trace time of pane tick 0 less that of tick 0: what turns a pane tick into an absolute
    // tick of the result.
    std::uint64_t firstTick() const { return m_firstTick; }

    // Sorts the rows by "COLUMN" or "COLUMN:desc". Throws a usage failure that lists the columns
    // for any other text.
    void sortBy(const std::string& text);
    // Takes the rows out of the order that the filters in force hide. Ids stay.
    void keepVisible(Session& session);
    // Takes the values of the rows, and their order, from another view of the same area, such as
    // one under filters. Ids stay.
    void takeValues(const AreaView& other);
    // Database indexes of a row, by its id, and of those above it, outermost first.
    std::vector<int> pathOf(int row) const;

private:
    using Rows = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>;

    void chooseRowSet(Session& session, int index);
    void readRows(Session& session, int index);
    void readColumns(
        const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>>& columns,
        const std::string& prefix);
    void addRows(const Rows& rows, int parent, int level);
    void readCells(dataface_1::ITableRow& row, RowInfo& info) const;
    void readOrder();
    void addInOrder(int row, const std::vector<std::vector<int>>& children);
    basekit2::sptr_t<dataface_1::IColumnInfo> sortColumn(const std::string& name) const;
    std::string columnNames() const;

    lanefeed_1::TLViewpointParser& m_viewpoint;
    lanefeed_1::TLViewpointParser::RowSet m_ruler;  // its layers, when that is asked for
    lanefeed_1::TLViewpointParser::RowSet* m_rowSet = nullptr;
    const lanefeed_1::DicerDataSource* m_rowSource = nullptr;
    basekit2::sptr_t<lanefeed_1::IDicerProvider> m_provider;
    basekit2::sptr_t<dataface_1::ITableTree> m_table;
    basekit2::sptr_t<dataface_1::IColumnInfo> m_name;
    basekit2::sptr_t<dataface_1::IColumnInfo> m_start;
    basekit2::sptr_t<dataface_1::IColumnInfo> m_end;
    std::vector<ValueColumn> m_values;
    std::vector<RowInfo> m_rows;
    std::vector<basekit2::sptr_t<dataface_1::ITableRow>> m_tableRows;  // by id
    std::vector<int> m_order;
    TimeScale m_time;
    std::uint64_t m_firstTick = 0;
    bool m_empty = false;
    bool m_lacksRows = false;
    bool m_filteredOut = false;
};

}  // namespace lanefeed_tool
