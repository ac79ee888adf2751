#pragma once

#include "store/schema.h"

#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {

class Connection;

// What a value of the store is, which decides the variant that it becomes.
enum class ValueKind { id, ticks, integer, real, text };

struct CatalogColumn {
    std::string name;
    ValueKind kind = ValueKind::integer;
    int references = -1;  // table, -1 for a plain value
};

struct CatalogTable {
    std::string name;
    TableRole role = TableRole::side;
    bool inFile = false;
    std::vector<CatalogColumn> columns;  // without "rowid"

    int column(std::string_view columnName) const;  // -1 for none
};

// Tables of an open result: those of the file, as it declares them, and those of the schema that
// the file has no rows for. Tables are known by their position. Immutable after reading.
class Catalog {
public:
    // False when the file can't be read.
    bool read(Connection& connection);

    int find(std::string_view name) const;  // -1 for none
    const CatalogTable& table(int position) const {
        return m_tables[static_cast<std::size_t>(position)];
    }
    int size() const { return static_cast<int>(m_tables.size()); }
    // Position of dd_band.
    int bands() const { return m_bands; }

private:
    bool readTable(Connection& connection, CatalogTable& table);
    void addMissing();

    std::vector<CatalogTable> m_tables;
    std::vector<std::vector<std::string>> m_references;  // names, until all tables are known
    int m_bands = -1;
};

}  // namespace lanefeed_runtime
