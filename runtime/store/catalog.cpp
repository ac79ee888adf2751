// Reads the tables of a result with their columns and declared references.
// Tested by tests/store/path_test.cpp.
#include "store/catalog.h"

#include "store/dialect.h"
#include "store/sqlite_handle.h"

namespace lanefeed_runtime {
namespace {

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

ValueKind kindOf(std::string_view name, ColumnType type) {
    if (type == ColumnType::text) return ValueKind::text;
    if (type == ColumnType::real) return ValueKind::real;
    return endsWith(name, "_tsc") ? ValueKind::ticks : ValueKind::integer;
}

// A file may hold tables that this version doesn't declare; their columns tell what they are.
TableRole roleOf(const CatalogTable& table) {
    if (const TableDef* def = findTable(table.name)) return def->role;
    if (table.column(columns::kStart) >= 0 && table.column(columns::kBand) >= 0)
        return TableRole::instance;
    return table.name.compare(0, 3, "dd_") == 0 ? TableRole::attribute : TableRole::side;
}

}  // namespace

int CatalogTable::column(std::string_view columnName) const {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].name == columnName) return static_cast<int>(i);
    }
    return -1;
}

bool Catalog::read(Connection& connection) {
    Statement tables = connection.prepare(dialect::listTables());
    if (!tables) return false;
    Statement::Step step = tables.step();
    for (; step == Statement::Step::row; step = tables.step()) {
        CatalogTable table;
        table.name = tables.text(0);
        table.inFile = true;
        if (!readTable(connection, table)) return false;
        m_tables.push_back(std::move(table));
    }
    if (step == Statement::Step::failed) return false;
    addMissing();
    for (std::size_t t = 0; t < m_tables.size(); ++t) {
        for (std::size_t c = 0; c < m_tables[t].columns.size(); ++c) {
            CatalogColumn& column = m_tables[t].columns[c];
            if (m_references[t][c].empty()) continue;
            column.references = find(m_references[t][c]);
            column.kind = ValueKind::id;
        }
    }
    m_bands = find(columns::kBand);
    return true;
}

bool Catalog::readTable(Connection& connection, CatalogTable& table) {
    Statement list = connection.prepare(dialect::listColumns(table.name));
    if (!list) return false;
    Statement::Step step = list.step();
    for (; step == Statement::Step::row; step = list.step()) {
        const std::string name(list.text(0));
        if (name == columns::kRowId) continue;
        table.columns.push_back({name, kindOf(name, dialect::columnType(list.text(1))), -1});
    }
    if (step == Statement::Step::failed) return false;
    table.role = roleOf(table);
    std::vector<std::string> references(table.columns.size());
    Statement keys = connection.prepare(dialect::listReferences(table.name));
    if (!keys) return false;
    for (step = keys.step(); step == Statement::Step::row; step = keys.step()) {
        const int column = table.column(keys.text(0));
        if (column >= 0) references[static_cast<std::size_t>(column)] = keys.text(1);
    }
    m_references.push_back(std::move(references));
    return step == Statement::Step::done;
}

void Catalog::addMissing() {
    for (const TableDef& def : schemaTables()) {
        if (find(def.name) >= 0) continue;
        CatalogTable table;
        table.name = def.name;
        table.role = def.role;
        std::vector<std::string> references;
        for (const ColumnDef& column : def.columns) {
            table.columns.push_back(
                {std::string(column.name), kindOf(column.name, column.type), -1});
            references.emplace_back(column.references);
        }
        m_tables.push_back(std::move(table));
        m_references.push_back(std::move(references));
    }
}

int Catalog::find(std::string_view name) const {
    for (std::size_t i = 0; i < m_tables.size(); ++i) {
        if (m_tables[i].name == name) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace lanefeed_runtime
