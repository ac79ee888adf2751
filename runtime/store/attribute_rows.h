#pragma once

#include "store/result_writer.h"
#include "store/sqlite_handle.h"

#include <boost/unordered_map.hpp>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {

// Finds a text in a map of strings without making a string of it.
struct HashText {
    std::size_t operator()(std::string_view text) const {
        return std::hash<std::string_view>()(text);
    }
};
struct SameText {
    bool operator()(std::string_view a, std::string_view b) const { return a == b; }
};

// Rows of one attribute table on their way into the file: each goes there at once, its key stays in
// memory.
class AttributeRows {
public:
    explicit AttributeRows(const TableDef& def) : m_def(def) {}

    // Row id of a key, -1 when it is not known.
    int find(std::string_view key) const;
    // A new row; -1 on failure. A cell of an unknown column is left out.
    int add(Connection& connection, std::string_view key, const std::vector<Cell>& cells);
    bool update(Connection& connection, int id, const Cell& cell);

private:
    bool open(Connection& connection);

    const TableDef& m_def;
    Statement m_insert;
    std::vector<Statement> m_updates;  // by column, as far as they were used
    boost::unordered_map<std::string, int, HashText, SameText> m_ids;
    int m_lastId = 0;
};

}  // namespace lanefeed_runtime
