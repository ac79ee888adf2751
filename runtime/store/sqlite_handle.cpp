// The only file that calls SQLite. Everything else in the store works with connections and
// statements. Tested through everything that reads or writes a result, above all by
// tests/store/open_store_test.cpp and tests/store/disk_full_test.cpp.
#include "store/sqlite_handle.h"

#include <relay2/progress.h>

#include <sqlite3.h>

#include <utility>

namespace lanefeed_runtime {
namespace {

// Virtual machine instructions between two questions to a progress: about 10 ms.
constexpr int kStepsBetweenQuestions = 100000;

constexpr int kBusyMilliseconds = 2000;

int accessOf(Connection::Mode mode) {
    switch (mode) {
    case Connection::Mode::read: return SQLITE_OPEN_READONLY;
    case Connection::Mode::write: return SQLITE_OPEN_READWRITE;
    case Connection::Mode::create: break;
    }
    return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE;
}

Statement::Type typeOf(int type) {
    switch (type) {
    case SQLITE_NULL: return Statement::Type::null;
    case SQLITE_INTEGER: return Statement::Type::integer;
    case SQLITE_FLOAT: return Statement::Type::real;
    default: return Statement::Type::text;
    }
}

int askProgress(void* progress) {
    return static_cast<relay2::IProgress*>(progress)->isCanceled() ? 1 : 0;
}

}  // namespace

Statement::Statement(Statement&& other) noexcept
    : m_statement(std::exchange(other.m_statement, nullptr)) {}

Statement& Statement::operator=(Statement&& other) noexcept {
    std::swap(m_statement, other.m_statement);
    return *this;
}

Statement::~Statement() {
    sqlite3_finalize(m_statement);
}

void Statement::bind(int parameter, std::int64_t value) {
    sqlite3_bind_int64(m_statement, parameter, value);
}

void Statement::bind(int parameter, double value) {
    sqlite3_bind_double(m_statement, parameter, value);
}

void Statement::bind(int parameter, std::string_view text) {
    // A null pointer would bind a null instead of the empty text.
    const char* place = text.data() != nullptr ? text.data() : "";
    sqlite3_bind_text64(m_statement, parameter, place, text.size(), nullptr, SQLITE_UTF8);
}

void Statement::bindCopy(int parameter, std::string_view text) {
    const char* place = text.data() != nullptr ? text.data() : "";
    // The pointer that stands for "copy it" is a cast in the header of the library.
    static const auto kCopy = reinterpret_cast<sqlite3_destructor_type>(-1);  // NOLINT
    sqlite3_bind_text64(m_statement, parameter, place, text.size(), kCopy, SQLITE_UTF8);
}

void Statement::bindNull(int parameter) {
    sqlite3_bind_null(m_statement, parameter);
}

Statement::Step Statement::step() {
    switch (sqlite3_step(m_statement)) {
    case SQLITE_ROW: return Step::row;
    case SQLITE_DONE: return Step::done;
    default: return Step::failed;
    }
}

bool Statement::reset() {
    return sqlite3_reset(m_statement) == SQLITE_OK;
}

bool Statement::run() {
    const Step last = step();
    return reset() && last == Step::done;
}

std::string Statement::told() const {
    char* const text = sqlite3_expanded_sql(m_statement);
    std::string out = text != nullptr ? text : "";
    sqlite3_free(text);
    return out;
}

Statement::Type Statement::type(int field) const {
    return typeOf(sqlite3_column_type(m_statement, field));
}

// Finding the field is most of the cost of each question about it. What it answers is good until
// the connection is used again, and that is for one thread at a time.
Statement::Number Statement::number(int field) const {
    sqlite3_value* const value = sqlite3_column_value(m_statement, field);
    Number out;
    out.type = typeOf(sqlite3_value_type(value));
    if (out.type == Type::integer) out.integer = sqlite3_value_int64(value);
    if (out.type == Type::real) out.real = sqlite3_value_double(value);
    return out;
}

std::int64_t Statement::integer(int field) const {
    return sqlite3_column_int64(m_statement, field);
}

double Statement::real(int field) const {
    return sqlite3_column_double(m_statement, field);
}

std::string_view Statement::text(int field) const {
    const auto* place = static_cast<const char*>(sqlite3_column_blob(m_statement, field));
    if (place == nullptr) return {};
    return {place, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, field))};
}

std::unique_ptr<Connection> Connection::open(const std::string& file,
                                             Mode mode,
                                             std::string& error) {
    sqlite3* handle = nullptr;
    const int access = accessOf(mode);
    const int status =
        sqlite3_open_v2(file.c_str(), &handle, access | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<Connection> connection(new Connection(handle));
    if (status == SQLITE_OK) {
        // Readers too: for a moment nobody may read while another program keeps filters.
        sqlite3_busy_timeout(handle, kBusyMilliseconds);
        return connection;
    }
    error = handle != nullptr ? connection->message() : sqlite3_errstr(status);
    return nullptr;
}

Connection::~Connection() {
    sqlite3_close_v2(m_handle);
}

Statement Connection::prepare(std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(m_handle, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
    return Statement(statement);
}

bool Connection::run(const std::string& sql) {
    return sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string Connection::message() const {
    return sqlite3_errmsg(m_handle);
}

Connection::Cause Connection::cause() const {
    switch (sqlite3_errcode(m_handle)) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB: return Cause::damage;
    // The last one: the folder takes no file for the transaction.
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_CANTOPEN: return Cause::readOnly;
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return Cause::busy;
    case SQLITE_FULL: return Cause::full;
    default: return Cause::other;
    }
}

void Connection::watch(relay2::IProgress* progress) {
    if (progress == nullptr) {
        sqlite3_progress_handler(m_handle, 0, nullptr, nullptr);
    } else {
        sqlite3_progress_handler(m_handle, kStepsBetweenQuestions, &askProgress, progress);
    }
}

}  // namespace lanefeed_runtime
