#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace relay2 {
class IProgress;
}

// SQLite as values: connections and statements that close themselves, failures as answers. A
// connection and its statements are for one thread at a time.
namespace lanefeed_runtime {

class RowSource;

class Statement {
public:
    enum class Step { row, done, failed };

    Statement() = default;
    explicit Statement(sqlite3_stmt* statement) : m_statement(statement) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    ~Statement();

    explicit operator bool() const { return m_statement != nullptr; }

    // Parameters count from 1. A text must stay in place until the next reset().
    void bind(int parameter, std::int64_t value);
    void bind(int parameter, double value);
    void bind(int parameter, std::string_view text);
    void bindCopy(int parameter, std::string_view text);  // needs not stay
    void bindNull(int parameter);

    Step step();
    // Ready for another run; bound values stay. False when the last run failed.
    bool reset();
    // step() and reset() of a statement without rows.
    bool run();

    // The statement with its bound values in their places.
    std::string told() const;

    // Fields count from 0.
    enum class Type { null, integer, real, text };
    Type type(int field) const;
    bool isNull(int field) const { return type(field) == Type::null; }
    // Type and number in one call; a text has none.
    struct Number {
        Type type = Type::null;
        std::int64_t integer = 0;
        double real = 0;
    };
    Number number(int field) const;
    std::int64_t integer(int field) const;
    double real(int field) const;
    std::string_view text(int field) const;  // good until the next step

private:
    sqlite3_stmt* m_statement = nullptr;
};

class Connection {
public:
    enum class Mode {
        read,
        create,  // a file that is not there yet
        write    // a file that is there; waits a while for other programs that use it
    };
    // What the last failure says.
    enum class Cause { other, damage, readOnly, busy, full };

    // Null on failure, with the message filled in.
    static std::unique_ptr<Connection> open(const std::string& file, Mode mode, std::string& error);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // An empty statement on failure.
    Statement prepare(std::string_view sql);
    // Statements without rows.
    bool run(const std::string& sql);
    // One that reads `rows` as the table RowSource::kTable.
    bool run(const std::string& sql, RowSource& rows);
    // Text of the last failure.
    std::string message() const;
    Cause cause() const;
    // The last failure says that the file is damaged or no database.
    bool isDamage() const { return cause() == Cause::damage; }
    // Asks `progress` from inside long steps and ends them when it is cancelled; null to stop
    // asking.
    void watch(relay2::IProgress* progress);

private:
    explicit Connection(sqlite3* handle) : m_handle(handle) {}

    sqlite3* m_handle = nullptr;
};

}  // namespace lanefeed_runtime
