// What SQLite alone takes for the rows of a result: read once, then put into a file by statements
// of 50 bound rows.
#include "bare_inserts.h"

#include <sqlite3.h>

#include <filesystem>
#include <limits>

namespace lanefeed_bench {
namespace {

constexpr std::size_t kRowsPerStatement = 50;
constexpr std::int64_t kNull = std::numeric_limits<std::int64_t>::min();

// Values of counters go as whole numbers, which is no more work than a real one.
std::int64_t cellOf(sqlite3_stmt* row, int field) {
    return sqlite3_column_type(row, field) == SQLITE_NULL ? kNull
                                                          : sqlite3_column_int64(row, field);
}

std::string insertOf(const std::string& table, std::size_t columns, std::size_t rows) {
    std::string row = "(null";
    for (std::size_t i = 0; i < columns; ++i)
        row += ",?";
    std::string sql = "insert into " + table + " values " + row + ")";
    for (std::size_t i = 1; i < rows; ++i)
        sql += "," + row + ")";
    return sql;
}

bool insertRows(sqlite3* database,
                const std::string& sql,
                const std::int64_t* cells,
                std::size_t cellsPerRun,
                std::size_t runs) {
    sqlite3_stmt* insert = nullptr;
    bool done = sqlite3_prepare_v2(database, sql.c_str(), -1, &insert, nullptr) == SQLITE_OK;
    for (std::size_t run = 0; run < runs && done; ++run) {
        for (std::size_t i = 0; i < cellsPerRun; ++i, ++cells) {
            if (*cells == kNull) {
                sqlite3_bind_null(insert, static_cast<int>(i) + 1);
            } else {
                sqlite3_bind_int64(insert, static_cast<int>(i) + 1, *cells);
            }
        }
        done = sqlite3_step(insert) == SQLITE_DONE && sqlite3_reset(insert) == SQLITE_OK;
    }
    sqlite3_finalize(insert);
    return done;
}

}  // namespace

BareInserts::BareInserts(const std::string& result) {
    sqlite3* database = nullptr;
    sqlite3_open_v2(result.c_str(), &database, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* list = nullptr;
    sqlite3_prepare_v2(
        database, "select name, sql from sqlite_master where type = 'table' and name like '%_data'",
        -1, &list, nullptr);
    const auto text = [list](int field) {
        return std::string(reinterpret_cast<const char*>(sqlite3_column_text(list, field)));
    };
    while (sqlite3_step(list) == SQLITE_ROW)
        m_tables.push_back({text(0), text(1), 0, {}});
    sqlite3_finalize(list);
    for (Table& table : m_tables) {
        sqlite3_stmt* row = nullptr;
        sqlite3_prepare_v2(database, ("select * from " + table.name).c_str(), -1, &row, nullptr);
        const int fields = sqlite3_column_count(row);
        table.columns = static_cast<std::size_t>(fields) - 1;
        while (sqlite3_step(row) == SQLITE_ROW) {
            for (int field = 1; field < fields; ++field)
                table.cells.push_back(cellOf(row, field));
        }
        sqlite3_finalize(row);
    }
    sqlite3_close(database);
}

std::uint64_t BareInserts::rows() const {
    std::uint64_t count = 0;
    for (const Table& table : m_tables)
        count += table.cells.size() / table.columns;
    return count;
}

bool BareInserts::insert(const std::string& file) const {
    std::filesystem::remove(file);
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    const auto run = [database](const std::string& sql) {
        return sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
    };
    bool done =
        run("pragma page_size = 16384; pragma journal_mode = off; pragma synchronous = off;"
            "pragma locking_mode = exclusive; begin");
    for (const Table& table : m_tables) {
        const std::size_t rows = table.cells.size() / table.columns;
        const std::size_t many = rows / kRowsPerStatement;
        const std::size_t rest = rows % kRowsPerStatement;
        const std::size_t cells = table.columns * kRowsPerStatement;
        done = done && run(table.create) &&
               insertRows(database, insertOf(table.name, table.columns, kRowsPerStatement),
                          table.cells.data(), cells, many) &&
               insertRows(database, insertOf(table.name, table.columns, 1),
                          table.cells.data() + many * cells, table.columns, rest);
    }
    done = done && run("commit");
    sqlite3_close(database);
    return done;
}

}  // namespace lanefeed_bench
