// Instances of one table: packed into cells, sorted by start, inserted many rows at a time. Of
// equal starts the longest comes first: what lies in another one follows it, however traces tell
// them. Tested by tests/store/result_writer_test.cpp.
#include "store/instance_sink.h"

#include "store/dialect.h"
#include "store/sqlite_handle.h"

#include <relay2/progress.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lanefeed_runtime {
namespace {

// More rows in a statement bring nothing.
constexpr int kRowsPerInsert = 50;

std::int64_t bitsOf(double value) {
    std::int64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double doubleOf(std::int64_t bits) {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::int64_t rounded(double value) {
    constexpr double kLimit = 9.2e18;
    if (std::isnan(value)) return 0;
    return std::llround(std::clamp(value, -kLimit, kLimit));
}

std::int64_t cellOf(InstanceField field, const InstanceRow& row, bool hasValue) {
    switch (field) {
    case InstanceField::none: return -1;
    case InstanceField::start: return row.begin;
    case InstanceField::end: return lastTimeOf(row.begin, row.end);
    case InstanceField::attr: return row.attr;
    case InstanceField::count: return hasValue ? rounded(row.value) : row.count;
    case InstanceField::band: return row.band;
    case InstanceField::category: return row.category;
    case InstanceField::args: return row.args;
    case InstanceField::value: return bitsOf(row.value);
    case InstanceField::sourceStart: return row.sourceBegin;
    case InstanceField::sourceBand: return row.sourceBand;
    case InstanceField::core: return row.core;
    }
    return -1;
}

void bindCell(Statement& insert,
              int parameter,
              InstanceField field,
              std::int64_t cell,
              const std::int64_t* record,
              const TickScale& scale) {
    switch (field) {
    case InstanceField::start:
    case InstanceField::sourceStart: insert.bind(parameter, scale.tick(cell)); return;
    case InstanceField::end: {
        // The first cell is the start; an open end never lies before it.
        const std::int64_t last = cell == kToEnd ? std::max(scale.lastTime, record[0]) : cell;
        insert.bind(parameter, scale.tick(last));
        return;
    }
    case InstanceField::count: insert.bind(parameter, cell); return;
    case InstanceField::value: insert.bind(parameter, doubleOf(cell)); return;
    default: break;
    }
    if (cell < 0) {
        insert.bindNull(parameter);
    } else {
        insert.bind(parameter, cell);
    }
}

bool hasField(const TableDef& def, InstanceField field) {
    return std::any_of(def.columns.begin(), def.columns.end(),
                       [field](const ColumnDef& column) { return column.field == field; });
}

// Cell of a field; 0 for a table without it.
std::size_t cellFor(const TableDef& def, InstanceField field) {
    for (std::size_t i = 0; i < def.columns.size(); ++i)
        if (def.columns[i].field == field) return i;
    return 0;
}

}  // namespace

std::int64_t lastTimeOf(std::int64_t begin, std::int64_t end) {
    return end == kToEnd ? kToEnd : std::max(begin, end - 1);
}

InstanceSink::InstanceSink(const TableDef& def, const std::string& directory)
    : m_def(def),
      m_hasValue(hasField(def, InstanceField::value)),
      m_hasSource(hasField(def, InstanceField::sourceStart)),
      m_cells(def.columns.size()),
      m_sorter(def.columns.size(), cellFor(def, InstanceField::end), directory) {}

void InstanceSink::add(const InstanceRow& row) {
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        m_cells[i] = cellOf(m_def.columns[i].field, row, m_hasValue);
    m_sorter.add(m_cells.data());
}

InstanceSink::Outcome InstanceSink::write(Connection& connection,
                                          const TickScale& scale,
                                          relay2::IProgress* progress) {
    if (!connection.run(dialect::createTable(m_def))) return Outcome::failed;
    Statement many = connection.prepare(dialect::insertRows(m_def, false, kRowsPerInsert));
    Statement one = connection.prepare(dialect::insertRows(m_def, false, 1));
    if (!many || !one) return Outcome::failed;
    if (!m_sorter.startReading()) return Outcome::sortFailed;
    for (std::uint64_t left = m_sorter.size(); left > 0;) {
        if (progress != nullptr && progress->isCanceled()) return Outcome::cancelled;
        const int rows = left >= kRowsPerInsert ? kRowsPerInsert : 1;
        Statement& insert = rows > 1 ? many : one;
        int parameter = 0;
        for (int row = 0; row < rows; ++row) {
            const std::int64_t* record = m_sorter.next();
            if (record == nullptr) return Outcome::sortFailed;
            for (std::size_t i = 0; i < m_cells.size(); ++i)
                bindCell(insert, ++parameter, m_def.columns[i].field, record[i], record, scale);
        }
        if (!insert.run()) return Outcome::failed;
        left -= static_cast<std::uint64_t>(rows);
    }
    // Lines are asked for row by row, so that a pane would read all of them once for each row.
    const bool isIndexed =
        !m_hasSource || connection.run(dialect::createIndex(m_def, columns::kBand));
    return isIndexed ? Outcome::done : Outcome::failed;
}

}  // namespace lanefeed_runtime
