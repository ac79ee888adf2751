// Instances of one table: put into cells, sorted by start, inserted by one statement. Of
// equal starts the longest comes first: what lies in another one follows it, however traces tell
// them. Tested by tests/store/result_writer_test.cpp.
#include "store/instance_sink.h"

#include "store/dialect.h"
#include "store/row_source.h"
#include "store/sqlite_handle.h"

#include <relay2/progress.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace lanefeed_runtime {
namespace {

// About 20 microseconds.
constexpr int kRowsBetweenQuestions = 64;

std::int64_t bitsOf(double value) {
    std::int64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::int64_t rounded(double value) {
    constexpr double kLimit = 9.2e18;
    if (std::isnan(value)) return 0;
    return std::llround(std::clamp(value, -kLimit, kLimit));
}

constexpr std::size_t numberOf(InstanceField field) {
    return static_cast<std::size_t>(field);
}

// What all fields hold, by their number; a table picks its own.
using FieldCells = std::array<std::int64_t, numberOf(InstanceField::core) + 1>;

FieldCells cellsOf(const InstanceRow& row, bool hasValue) {
    FieldCells cells{};
    const auto set = [&](InstanceField field, std::int64_t cell) { cells[numberOf(field)] = cell; };
    set(InstanceField::none, -1);
    set(InstanceField::start, row.begin);
    set(InstanceField::end, lastTimeOf(row.begin, row.end));
    set(InstanceField::attr, row.attr);
    set(InstanceField::count, hasValue ? rounded(row.value) : row.count);
    set(InstanceField::band, row.band);
    set(InstanceField::category, row.category);
    set(InstanceField::args, row.args);
    set(InstanceField::value, bitsOf(row.value));
    set(InstanceField::sourceStart, row.sourceBegin);
    set(InstanceField::sourceBand, row.sourceBand);
    set(InstanceField::core, row.core);
    return cells;
}

bool isTime(InstanceField field) {
    return field == InstanceField::start || field == InstanceField::end ||
           field == InstanceField::sourceStart;
}

RowSource::Kind kindOf(InstanceField field) {
    if (field == InstanceField::value) return RowSource::Kind::real;
    const bool isNumber = isTime(field) || field == InstanceField::count;
    return isNumber ? RowSource::Kind::number : RowSource::Kind::id;
}

std::vector<RowSource::Kind> kindsOf(const TableDef& def) {
    std::vector<RowSource::Kind> kinds;
    for (const ColumnDef& column : def.columns)
        kinds.push_back(kindOf(column.field));
    return kinds;
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

// The sorted rows, with ticks in place of times.
class SortedRows : public RowSource {
public:
    SortedRows(const TableDef& def,
               const TickScale& scale,
               RecordSorter& sorter,
               relay2::IProgress* progress)
        : RowSource(kindsOf(def)),
          m_sorter(sorter),
          m_progress(progress),
          m_lastTime(scale.lastTime),
          m_end(cellFor(def, InstanceField::end)),
          m_cells(def.columns.size()) {
        for (const ColumnDef& column : def.columns)
            m_zero.push_back(isTime(column.field) ? scale.origin : 0);
    }

    const std::int64_t* next() override;
    bool failed() const override { return m_cancelled || m_sorter.failed(); }
    bool cancelled() const { return m_cancelled; }
    // Of the sorter's failure: the engine makes calls of its own before anyone can look.
    int systemError() const { return m_systemError; }

private:
    RecordSorter& m_sorter;
    relay2::IProgress* m_progress;
    std::int64_t m_lastTime;
    std::size_t m_end;
    std::vector<std::int64_t> m_zero;  // what each column counts from
    std::vector<std::int64_t> m_cells;
    int m_rows = 0;
    int m_systemError = 0;
    bool m_cancelled = false;
};

const std::int64_t* SortedRows::next() {
    if (m_progress != nullptr && m_rows++ % kRowsBetweenQuestions == 0) {
        m_cancelled = m_progress->isCanceled();
        if (m_cancelled) return nullptr;
    }
    const std::int64_t* const record = m_sorter.next();
    if (record == nullptr) {
        m_systemError = errno;
        return nullptr;
    }
    std::copy(record, record + m_cells.size(), m_cells.begin());
    // The first cell is the start; an open end never lies before it.
    if (m_cells[m_end] == kToEnd) m_cells[m_end] = std::max(m_lastTime, record[0]);
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        m_cells[i] -= m_zero[i];
    return m_cells.data();
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
      m_sorter(def.columns.size(), cellFor(def, InstanceField::end), directory) {
    for (const ColumnDef& column : def.columns)
        m_fields.push_back(numberOf(column.field));
}

void InstanceSink::add(const InstanceRow& row) {
    const FieldCells all = cellsOf(row, m_hasValue);
    for (std::size_t i = 0; i < m_cells.size(); ++i)
        m_cells[i] = all[m_fields[i]];
    m_sorter.add(m_cells.data());
}

InstanceSink::Outcome InstanceSink::write(Connection& connection,
                                          const TickScale& scale,
                                          relay2::IProgress* progress) {
    if (!connection.run(dialect::createTable(m_def))) return Outcome::failed;
    if (!m_sorter.startReading()) return Outcome::sortFailed;
    SortedRows rows(m_def, scale, m_sorter, progress);
    const bool inserted = connection.run(dialect::insertAll(m_def, RowSource::kTable), rows);
    if (rows.cancelled()) return Outcome::cancelled;
    if (m_sorter.failed()) {
        errno = rows.systemError();
        return Outcome::sortFailed;
    }
    if (!inserted) return Outcome::failed;
    // Lines are asked for row by row, so that a pane would read all of them once for each row.
    const bool isIndexed =
        !m_hasSource || connection.run(dialect::createIndex(m_def, columns::kBand));
    return isIndexed ? Outcome::done : Outcome::failed;
}

}  // namespace lanefeed_runtime
