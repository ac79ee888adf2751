#pragma once

#include "store/schema.h"

#include <string>
#include <string_view>

// What is particular to the engine under the store: types, head of the file, settings, where it
// lists its tables. All other SQL of the store is plain and portable.
namespace lanefeed_runtime::dialect {

// "name", with quotes inside doubled.
std::string quoted(std::string_view name);
// 'text', likewise.
std::string literal(std::string_view text);

std::string createTable(const TableDef& def);
std::string createIndex(const TableDef& def, std::string_view column);
// Inserts a row with all columns; with or without the leading "rowid".
std::string insertRow(const TableDef& def, bool withRowId);
// Inserts all rows of a table that has the columns but "rowid", which counts on.
std::string insertAll(const TableDef& def, std::string_view from);

// Settings of a connection that writes a new file which is thrown away unless it becomes whole.
std::string writerSettings(std::size_t cacheBytes);
// Settings of a connection that reads a file of unknown origin.
std::string readerSettings();
// Marks the file as a result of this schema.
std::string fileHead();

// Fields: name of each table.
std::string listTables();
// Fields: name and declared type of each column, in order.
std::string listColumns(std::string_view table);
// Fields: column and the table that it refers to.
std::string listReferences(std::string_view table);
ColumnType columnType(std::string_view declared);

}  // namespace lanefeed_runtime::dialect
