#pragma once

#include <dataface_1/filters.h>
#include <dataface_1/table_tree.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A row of a grid: database index, "name", "busy" (null: no cell), rows below it.
struct GridRow {
    int id;
    std::string name;
    basekit2::variant_t busy;
    std::vector<GridRow> children;
};

// A table of the columns "name" and "busy"; all rows stand for one query.
basekit2::sptr_t<dataface_1::ITableTree> gridTable(
    const std::vector<GridRow>& rows, const basekit2::sptr_t<dataface_1::IQuery>& rowQuery);

// A table, possibly one that can make filters of its rows: the text of such a filter is "rows" and
// the ids of the rows. The filter is null while `refuses`.
class FakeGrid : public dataface_1::ITableTree, public dataface_1::IFilterTableTree {
public:
    explicit FakeGrid(basekit2::sptr_t<dataface_1::ITableTree> table) : m_table(std::move(table)) {}

    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> getRows(
        relay2::IProgress* progress) override;
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> getColumns(
        relay2::IProgress* progress) override;
    void setMessenger(relay2::IMessenger* /*messenger*/) override {}
    basekit2::error_code_t createFilter(
        const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& rows,
        basekit2::sptr_t<dataface_1::IQueryFilter>& out) override;

    // One object with two faces.
    unsigned int get_type() const override { return ITableTree::get_type(); }
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;
    void add_ref() override = 0;
    void release() override = 0;

    bool makesFilters = true;
    bool refuses = false;
    bool nullRow = false;     // a null row follows the others
    bool nullColumn = false;  // the same for columns

private:
    basekit2::sptr_t<dataface_1::ITableTree> m_table;
};

// A grid whose queries answer with one table. Writes down what is asked of it and of its queries:
// "NAME create", "NAME clear", "NAME filter F", "NAME execute FLAGS".
class FakeGridParser : public slicekit_1_0::IGridViewpointParser {
public:
    using Grouping = basekit2::sptr_t<dataface_1::IVectorQuery>;
    using RowQuery = basekit2::sptr_t<dataface_1::IQuery>;

    // log: not owned.
    FakeGridParser(std::string name, std::vector<std::string>* log)
        : m_name(std::move(name)), m_log(log) {}

    basekit2::generic_iterator_t<Grouping> getGroupings() override {
        return basekit2::make_iterator(groupings);
    }
    Grouping getDefaultVectorQuery() override { return groupings.empty() ? nullptr : groupings[0]; }
    basekit2::error_code_t getGrouping(int number, Grouping& out) override;
    basekit2::error_code_t createQuery(const Grouping& grouping,
                                       basekit2::sptr_t<slicekit_1_0::IGridQuery>& out) override;
    int getQueryFlags() override { return 5; }
    void setColumnBy(const Grouping& /*columns*/) override {}
    RowQuery getRowByForLevel(const RowQuery& /*query*/, int /*level*/) override { return {}; }
    RowQuery getRowByQuery(const RowQuery& /*query*/, int /*level*/) override { return {}; }

    std::vector<Grouping> groupings;
    Grouping lastGrouping;                           // of the last query
    basekit2::sptr_t<dataface_1::ITableTree> table;  // null: execution fails
    bool makesQueries = true;

private:
    std::string m_name;
    std::vector<std::string>* m_log;
};

}  // namespace lanefeed_test
