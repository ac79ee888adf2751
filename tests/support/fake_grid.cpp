#include "support/fake_grid.h"

#include "support/fake_filters.h"
#include "support/fake_queries.h"

#include <facekit_1_x/table_building.h>
#include <storelink1/utils.h>

namespace lanefeed_test {

namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

template <class Node>
generic_iterator_t<sptr_t<Node>> withNull(const generic_iterator_t<sptr_t<Node>>& nodes) {
    std::vector<sptr_t<Node>> all;
    for (; !nodes.at_end(); nodes.next())
        all.push_back(nodes.current());
    all.emplace_back();
    return basekit2::make_iterator(std::move(all));
}

using Tree = sptr_t<facekit_1_x::IDPIHelperTableTree>;
using Column = sptr_t<facekit_1_x::IWriteableColumn>;

Column addColumn(const Tree& tree, int kind, const std::string& name) {
    const auto column = facekit_1_x::createColumn(kind, namedQuery(name), tree);
    tree->addColumn(column, nullptr, 0);
    return column;
}

void addRows(const std::vector<GridRow>& rows,
             const sptr_t<ITableRow>& parent,
             const sptr_t<dataface_1::IQuery>& query,
             const std::vector<Column>& columns,
             const Tree& tree) {
    for (const GridRow& row : rows) {
        const auto made = facekit_1_x::createSparseRow(query, tree);
        made->setContent(nullptr, dataface_1::ccId, row.id);
        made->setContent(columns[0], dataface_1::ccValue, row.name);
        made->setContent(columns[0], dataface_1::ccId, row.id);
        if (!row.busy.is_null()) made->setContent(columns[1], dataface_1::ccValue, row.busy);
        tree->addRow(made, parent);
        addRows(row.children, made, query, columns, tree);
    }
}

class FakeGridQuery : public slicekit_1_0::IGridQuery {
public:
    FakeGridQuery(std::string name, sptr_t<ITableTree> table, std::vector<std::string>* log)
        : m_name(std::move(name)), m_table(std::move(table)), m_log(log) {}
    void clearFilters() override { m_log->push_back(m_name + " clear"); }
    void addFilter(const std::string& name) override {
        m_log->push_back(m_name + " filter " + name);
    }
    error_code_t execute(sptr_t<ITableTree>& out, relay2::IProgress* progress, int flags) override {
        m_log->push_back(m_name + " execute " + std::to_string(flags) +
                         (progress != nullptr ? "" : " without progress"));
        out = m_table;
        return error_code_t::success;
    }

private:
    std::string m_name;
    sptr_t<ITableTree> m_table;
    std::vector<std::string>* m_log;
};

}  // namespace

sptr_t<ITableTree> gridTable(const std::vector<GridRow>& rows,
                             const sptr_t<dataface_1::IQuery>& rowQuery) {
    const auto tree = facekit_1_x::createTableTree();
    const std::vector<Column> columns = {addColumn(tree, facekit_1_x::columnTimeBin, "name"),
                                         addColumn(tree, facekit_1_x::columnSeries, "busy")};
    addRows(rows, nullptr, rowQuery, columns, tree);
    return tree;
}

generic_iterator_t<sptr_t<ITableRow>> FakeGrid::getRows(relay2::IProgress* progress) {
    const auto rows = m_table->getRows(progress);
    return nullRow ? withNull(rows) : rows;
}

generic_iterator_t<sptr_t<IColumnInfo>> FakeGrid::getColumns(relay2::IProgress* progress) {
    const auto columns = m_table->getColumns(progress);
    return nullColumn ? withNull(columns) : columns;
}

error_code_t FakeGrid::createFilter(const generic_iterator_t<sptr_t<ITableRow>>& rows,
                                    sptr_t<dataface_1::IQueryFilter>& out) {
    if (refuses) return error_code_t::noResult;
    std::string text = "rows";
    for (; !rows.at_end(); rows.next()) {
        basekit2::variant_t id;
        rows.current()->getContent(nullptr, dataface_1::ccId, id);
        text += " " + storelink1::utils::variantToString(id);
    }
    out = basekit2::make_object<FakeQueryFilter>(text);
    return error_code_t::success;
}

basekit2::notype_ptr_t FakeGrid::adapt_to_pointer(unsigned int type) {
    if (type != basekit2::type_id_t<IFilterTableTree>::id())
        return ITableTree::adapt_to_pointer(type);
    return makesFilters ? IFilterTableTree::adapt_to_pointer(type) : basekit2::notype_ptr_t();
}

error_code_t FakeGridParser::getGrouping(int number, Grouping& out) {
    if (number < static_cast<int>(groupings.size()))
        out = groupings[static_cast<std::size_t>(number)];
    return error_code_t::success;
}

error_code_t FakeGridParser::createQuery(const Grouping& grouping,
                                         sptr_t<slicekit_1_0::IGridQuery>& out) {
    m_log->push_back(m_name + " create");
    lastGrouping = grouping;
    if (makesQueries) out = basekit2::make_object<FakeGridQuery>(m_name, table, m_log);
    return error_code_t::success;
}

}  // namespace lanefeed_test
