// A row source as a virtual table of SQLite: one cursor, forward, no conditions.
// Tested by tests/store/result_writer_test.cpp.
#include "store/row_source.h"

#include "store/sqlite_handle.h"

#include <sqlite3.h>

#include <cstring>
#include <new>

namespace lanefeed_runtime {
namespace {

struct Table : sqlite3_vtab {
    RowSource* source = nullptr;
};

struct Cursor : sqlite3_vtab_cursor {
    RowSource* source = nullptr;
    const RowSource::Kind* kinds = nullptr;
    const std::int64_t* row = nullptr;
    std::int64_t number = 0;
};

Cursor& of(sqlite3_vtab_cursor* cursor) {
    return *static_cast<Cursor*>(cursor);
}

int connect(sqlite3* database,
            void* source,
            int /*arguments*/,
            const char* const* /*texts*/,
            sqlite3_vtab** table,
            char** /*error*/) {
    auto made = std::make_unique<Table>();
    made->source = static_cast<RowSource*>(source);
    std::string sql = "create table rows(";
    for (std::size_t i = 0; i < made->source->kinds().size(); ++i)
        sql += (i > 0 ? ", c" : "c") + std::to_string(i);
    const int status = sqlite3_declare_vtab(database, (sql + ")").c_str());
    if (status == SQLITE_OK) *table = made.release();
    return status;
}

int disconnect(sqlite3_vtab* table) {
    delete static_cast<Table*>(table);  // NOLINT(cppcoreguidelines-owning-memory)
    return SQLITE_OK;
}

int plan(sqlite3_vtab* /*table*/, sqlite3_index_info* /*plan*/) {
    return SQLITE_OK;
}

int open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor) {
    auto made = std::make_unique<Cursor>();
    made->source = static_cast<Table*>(table)->source;
    made->kinds = made->source->kinds().data();
    *cursor = made.release();
    return SQLITE_OK;
}

int close(sqlite3_vtab_cursor* cursor) {
    delete &of(cursor);  // NOLINT(cppcoreguidelines-owning-memory)
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor) {
    Cursor& at = of(cursor);
    at.row = nullptr;
    try {
        at.row = at.source->next();
    } catch (const std::bad_alloc&) {  // nothing may be thrown through the engine
        return SQLITE_NOMEM;
    }
    ++at.number;
    return at.row == nullptr && at.source->failed() ? SQLITE_ABORT : SQLITE_OK;
}

int first(sqlite3_vtab_cursor* cursor,
          int /*plan*/,
          const char* /*text*/,
          int /*arguments*/,
          sqlite3_value** /*values*/) {
    return next(cursor);
}

int isEnd(sqlite3_vtab_cursor* cursor) {
    return of(cursor).row == nullptr ? 1 : 0;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* out, int index) {
    const Cursor& at = of(cursor);
    const std::int64_t cell = at.row[index];
    switch (at.kinds[index]) {
    case RowSource::Kind::id:
        if (cell < 0) break;  // what is not set is null
        [[fallthrough]];
    case RowSource::Kind::number: sqlite3_result_int64(out, cell); break;
    case RowSource::Kind::real: {
        double value = 0;
        std::memcpy(&value, &cell, sizeof value);
        sqlite3_result_double(out, value);
    }
    }
    return SQLITE_OK;
}

int rowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
    *id = of(cursor).number;
    return SQLITE_OK;
}

// Without a way to create it by name: the table is there by itself.
const sqlite3_module& module() {
    static const sqlite3_module module = [] {
        sqlite3_module made{};
        made.xConnect = &connect;
        made.xBestIndex = &plan;
        made.xDisconnect = &disconnect;
        made.xOpen = &open;
        made.xClose = &close;
        made.xFilter = &first;
        made.xNext = &next;
        made.xEof = &isEnd;
        made.xColumn = &column;
        made.xRowid = &rowId;
        return made;
    }();
    return module;
}

}  // namespace

bool Connection::run(const std::string& sql, RowSource& rows) {
    if (sqlite3_create_module(m_handle, RowSource::kTable, &module(), &rows) != SQLITE_OK)
        return false;
    const bool done = run(sql);
    // Otherwise the message would no longer be that of the statement.
    if (done) sqlite3_create_module(m_handle, RowSource::kTable, nullptr, nullptr);
    return done;
}

}  // namespace lanefeed_runtime
