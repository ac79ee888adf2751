// Get-or-add of attribute rows. Tested by tests/store/result_writer_test.cpp.
#include "store/attribute_rows.h"

#include "store/dialect.h"

#include <limits>

namespace lanefeed_runtime {
namespace {

void bindValue(Statement& statement, int parameter, const CellValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        statement.bind(parameter, *number);
    } else if (const auto* real = std::get_if<double>(&value)) {
        statement.bind(parameter, *real);
    } else if (const auto* text = std::get_if<std::string_view>(&value)) {
        statement.bind(parameter, *text);
    } else {
        statement.bindNull(parameter);
    }
}

}  // namespace

int AttributeRows::find(std::string_view key) const {
    const auto found = m_ids.find(key, HashText(), SameText());
    return found == m_ids.end() ? -1 : found->second;
}

bool AttributeRows::open(Connection& connection) {
    if (m_insert) return true;
    if (!connection.run(dialect::createTable(m_def))) return false;
    m_insert = connection.prepare(dialect::insertRow(m_def, true));
    return static_cast<bool>(m_insert);
}

int AttributeRows::add(Connection& connection,
                       std::string_view key,
                       const std::vector<Cell>& cells) {
    if (!open(connection) || m_lastId == std::numeric_limits<int>::max()) return -1;
    m_insert.bind(1, std::int64_t{m_lastId} + 1);
    for (std::size_t i = 0; i < m_def.columns.size(); ++i)
        m_insert.bindNull(static_cast<int>(i) + 2);
    for (const Cell& cell : cells) {
        const int column = columnIndex(m_def, cell.column);
        if (column >= 0) bindValue(m_insert, column + 2, cell.value);
    }
    if (!m_insert.run()) return -1;
    m_ids.emplace(std::string(key), ++m_lastId);
    return m_lastId;
}

bool AttributeRows::update(Connection& connection, int id, const Cell& cell) {
    const int column = columnIndex(m_def, cell.column);
    if (column < 0 || id < 1 || id > m_lastId) return false;
    m_updates.resize(m_def.columns.size());
    Statement& change = m_updates[static_cast<std::size_t>(column)];
    if (!change) {
        change = connection.prepare("update " + dialect::quoted(m_def.name) + " set " +
                                    dialect::quoted(cell.column) + " = $1 where \"rowid\" = $2");
    }
    if (!change) return false;
    bindValue(change, 1, cell.value);
    change.bind(2, std::int64_t{id});
    return change.run();
}

}  // namespace lanefeed_runtime
