#pragma once

#include "support/fake_filters.h"
#include "support/fake_queries.h"

#include <dataface_1/table_tree.h>
#include <facekit_1_x/table_building.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>
#include <storelink1/utils.h>

#include <string>
#include <utility>
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
inline basekit2::sptr_t<dataface_1::ITableTree> gridTable(const std::vector<GridRow>& rows,
                                                          const Query& rowQuery) {
    const auto tree = facekit_1_x::createTableTree();
    const auto name =
        facekit_1_x::createColumn(facekit_1_x::columnTimeBin, namedQuery("name"), tree);
    const auto busy =
        facekit_1_x::createColumn(facekit_1_x::columnSeries, namedQuery("busy"), tree);
    tree->addColumn(name, nullptr, 0);
    tree->addColumn(busy, nullptr, 0);
    const auto addRows = [&](const auto& self, const std::vector<GridRow>& of,
                             const basekit2::sptr_t<dataface_1::ITableRow>& parent) -> void {
        for (const GridRow& row : of) {
            const auto made = facekit_1_x::createSparseRow(rowQuery, tree);
            made->setContent(nullptr, dataface_1::ccId, row.id);
            made->setContent(name, dataface_1::ccValue, row.name);
            made->setContent(name, dataface_1::ccId, row.id);
            if (!row.busy.is_null()) made->setContent(busy, dataface_1::ccValue, row.busy);
            tree->addRow(made, parent);
            self(self, row.children, made);
        }
    };
    addRows(addRows, rows, nullptr);
    return tree;
}

// A table that can make filters of its rows: the text of such a filter is "rows" and the ids of the
// rows. The filter is null while `refuses`.
class FakeGrid : public dataface_1::ITableTree, public dataface_1::IFilterTableTree {
public:
    using Row = basekit2::sptr_t<dataface_1::ITableRow>;
    using Column = basekit2::sptr_t<dataface_1::IColumnInfo>;

    explicit FakeGrid(basekit2::sptr_t<dataface_1::ITableTree> table) : m_table(std::move(table)) {}

    basekit2::generic_iterator_t<Row> getRows(relay2::IProgress* progress) override {
        return m_table->getRows(progress);
    }
    basekit2::generic_iterator_t<Column> getColumns(relay2::IProgress* progress) override {
        if (nullColumn) return basekit2::make_iterator(std::vector<Column>(1));
        return m_table->getColumns(progress);
    }
    void setMessenger(relay2::IMessenger* /*messenger*/) override {}
    basekit2::error_code_t createFilter(const basekit2::generic_iterator_t<Row>& rows,
                                        basekit2::sptr_t<dataface_1::IQueryFilter>& out) override {
        if (refuses) return basekit2::error_code_t::noResult;
        std::string text = "rows";
        for (; !rows.at_end(); rows.next()) {
            basekit2::variant_t id;
            rows.current()->getContent(nullptr, dataface_1::ccId, id);
            text += " " + storelink1::utils::variantToString(id);
        }
        out = basekit2::make_object<FakeQueryFilter>(text);
        return basekit2::error_code_t::success;
    }

    // One object with two faces.
    unsigned int get_type() const override { return ITableTree::get_type(); }
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        return type == basekit2::type_id_t<IFilterTableTree>::id()
                   ? IFilterTableTree::adapt_to_pointer(type)
                   : ITableTree::adapt_to_pointer(type);
    }
    void add_ref() override = 0;
    void release() override = 0;

    bool refuses = false;
    bool nullColumn = false;  // its one column is null

private:
    basekit2::sptr_t<dataface_1::ITableTree> m_table;
};

// A grid whose queries answer with one table. Writes down what is asked of it and of its queries:
// "NAME create", "NAME clear", "NAME filter F", "NAME execute FLAGS".
class FakeGridParser : public slicekit_1_0::IGridViewpointParser {
public:
    using Grouping = basekit2::sptr_t<dataface_1::IVectorQuery>;

    // log: not owned.
    FakeGridParser(std::string name, std::vector<std::string>* log)
        : m_name(std::move(name)), m_log(log) {}

    basekit2::generic_iterator_t<Grouping> getGroupings() override {
        return basekit2::make_iterator(groupings);
    }
    Grouping getDefaultVectorQuery() override { return groupings.empty() ? nullptr : groupings[0]; }
    basekit2::error_code_t getGrouping(int number, Grouping& out) override {
        if (number < static_cast<int>(groupings.size()))
            out = groupings[static_cast<std::size_t>(number)];
        return basekit2::error_code_t::success;
    }
    basekit2::error_code_t createQuery(const Grouping& grouping,
                                       basekit2::sptr_t<slicekit_1_0::IGridQuery>& out) override {
        m_log->push_back(m_name + " create");
        lastGrouping = grouping;
        out = basekit2::make_object<GridQuery>(m_name, table, m_log);
        return basekit2::error_code_t::success;
    }
    int getQueryFlags() override { return 5; }
    void setColumnBy(const Grouping& /*columns*/) override {}
    Query getRowByForLevel(const Query& /*query*/, int /*level*/) override { return {}; }
    Query getRowByQuery(const Query& query, int /*level*/) override { return query; }

    std::vector<Grouping> groupings;
    Grouping lastGrouping;                           // of the last query
    basekit2::sptr_t<dataface_1::ITableTree> table;  // null: execution fails

private:
    class GridQuery : public slicekit_1_0::IGridQuery {
    public:
        GridQuery(std::string name,
                  basekit2::sptr_t<dataface_1::ITableTree> table,
                  std::vector<std::string>* log)
            : m_name(std::move(name)), m_table(std::move(table)), m_log(log) {}
        void clearFilters() override { m_log->push_back(m_name + " clear"); }
        void addFilter(const std::string& name) override {
            m_log->push_back(m_name + " filter " + name);
        }
        basekit2::error_code_t execute(basekit2::sptr_t<dataface_1::ITableTree>& out,
                                       relay2::IProgress* progress,
                                       int flags) override {
            m_log->push_back(m_name + " execute " + std::to_string(flags) +
                             (progress != nullptr ? "" : " without progress"));
            out = m_table;
            return basekit2::error_code_t::success;
        }

    private:
        std::string m_name;
        basekit2::sptr_t<dataface_1::ITableTree> m_table;
        std::vector<std::string>* m_log;
    };

    std::string m_name;
    std::vector<std::string>* m_log;
};

}  // namespace lanefeed_test
