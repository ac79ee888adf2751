#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Rows of numbers that one statement reads like a table, which costs less than to bind each cell.
// See Connection::run.
class RowSource {
public:
    // Of a column: how its cells become values.
    enum class Kind {
        number,
        id,   // null below 0
        real  // the bits of a double
    };

    explicit RowSource(std::vector<Kind> kinds) : m_kinds(std::move(kinds)) {}
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;
    virtual ~RowSource() = default;

    // The name under which a statement finds it.
    static constexpr const char* kTable = "row_source";

    const std::vector<Kind>& kinds() const { return m_kinds; }
    // Cells of the next row, good until the next call; null behind the last one and, with
    // failed(), when reading breaks off.
    virtual const std::int64_t* next() = 0;
    virtual bool failed() const = 0;

private:
    std::vector<Kind> m_kinds;
};

}  // namespace lanefeed_runtime
