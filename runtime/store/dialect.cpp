// SQL that only this engine takes. Tested through everything that reads or writes a result.
#include "store/dialect.h"

namespace lanefeed_runtime::dialect {
namespace {

std::string enclosed(std::string_view text, char quote) {
    std::string out(1, quote);
    for (const char c : text) {
        if (c == quote) out += quote;
        out += c;
    }
    return out += quote;
}

const char* typeName(ColumnType type) {
    switch (type) {
    case ColumnType::integer: return "integer";
    case ColumnType::real: return "real";
    case ColumnType::text: return "text";
    }
    return "";
}

}  // namespace

std::string quoted(std::string_view name) {
    return enclosed(name, '"');
}

std::string literal(std::string_view text) {
    return enclosed(text, '\'');
}

std::string createTable(const TableDef& def) {
    std::string sql = "create table " + quoted(def.name) + "(\"rowid\" integer primary key";
    for (const ColumnDef& column : def.columns) {
        sql += ", " + quoted(column.name) + " " + typeName(column.type);
        if (!column.references.empty())
            sql += " references " + quoted(column.references) + "(\"rowid\")";
    }
    return sql + ")";
}

std::string createIndex(const TableDef& def, std::string_view column) {
    return "create index " + quoted(std::string(def.name) + "_" + std::string(column)) + " on " +
           quoted(def.name) + "(" + quoted(column) + ")";
}

std::string insertRow(const TableDef& def, bool withRowId) {
    std::string sql = "insert into " + quoted(def.name) + "(";
    std::string values = "(";
    const auto addColumn = [&](std::string_view name) {
        const char* comma = values.size() > 1 ? ", " : "";
        sql += comma + quoted(name);
        values += std::string(comma) + "?";
    };
    if (withRowId) addColumn(columns::kRowId);
    for (const ColumnDef& column : def.columns)
        addColumn(column.name);
    return sql + ") values " + values + ")";
}

std::string insertAll(const TableDef& def, std::string_view from) {
    // With columns in the order of the table the engine copies none of them.
    return "insert into " + quoted(def.name) + " select null, * from " + quoted(from);
}

std::string writerSettings(std::size_t cacheBytes) {
    // Nothing to roll back to: a failed file is removed. The finished file is synced once. Rows go
    // into great pages a tenth faster than into those of 4 kB, and are read as fast.
    return "pragma page_size = 16384; pragma journal_mode = off; pragma synchronous = off; pragma "
           "locking_mode = exclusive;"
           "pragma cache_spill = on; pragma cache_size = -" +
           std::to_string(cacheBytes / 1024);
}

std::string readerSettings() {
    // Neither what the file declares nor a damaged page is trusted.
    return "pragma query_only = on; pragma trusted_schema = off; pragma cell_size_check = on";
}

std::string fileHead() {
    return "pragma application_id = " + std::to_string(kApplicationId) +
           "; pragma user_version = " + std::to_string(kSchemaVersion);
}

std::string listTables() {
    return "select name from sqlite_master where type = 'table' order by name";
}

std::string listColumns(std::string_view table) {
    return "select name, type from pragma_table_info(" + literal(table) + ") order by cid";
}

std::string listReferences(std::string_view table) {
    return "select \"from\", \"table\" from pragma_foreign_key_list(" + literal(table) + ")";
}

ColumnType columnType(std::string_view declared) {
    // The engine gives its own types back in capitals.
    if (declared == "text" || declared == "TEXT") return ColumnType::text;
    return declared == "real" || declared == "REAL" ? ColumnType::real : ColumnType::integer;
}

}  // namespace lanefeed_runtime::dialect
