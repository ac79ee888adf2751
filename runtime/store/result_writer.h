#pragma once

#include "store/schema.h"
#include "store/store_error.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace relay2 {
class IProgress;
}

// The one way to write a result.
//
//   StoreError error;
//   auto writer = ResultWriter::create(options, error);          // null: see error
//   const int process = writer->attribute(TableId::process, "p7", {{"name", "viewer"}, ...});
//   const int thread = writer->attribute(TableId::thread, "p7 t9", {{"dd_process", process}, ...});
//   const int band = writer->band(TableId::thread, thread);
//   writer->add(TableId::sliceData, {begin, end, band, writer->named(TableId::task, "draw")});
//   writer->setFact(result_keys::kTicksPerSecond, "1000000000");
//   if (!writer->finish()) report(writer->error());
//
// Times are signed ticks of the trace, in any order: the writer finds the first one and turns all
// of them into ticks that start at 1, and it puts instances into the order of their start (equal
// starts: as they were added). The file appears under its name when finish() has succeeded and not
// before; else the destructor leaves nothing behind. After a failure every operation does nothing
// and answers false or -1; error() tells the first failure. One thread.
namespace lanefeed_runtime {

// Times beyond this, in either direction, are not taken: differences must stay in 64 bits.
inline constexpr std::int64_t kMaxTime = std::int64_t{1} << 61;
// End of an instance or band that lasts to the last tick of the trace.
inline constexpr std::int64_t kToEnd = std::numeric_limits<std::int64_t>::max();

struct WriterOptions {
    std::string target;  // NAME.lft
    // Tells the source apart: an old result of the same non-empty identity is replaced.
    std::string sourceIdentity;
    // Replaces any old result, whatever its source. What is no result is never replaced.
    bool force = false;
    // Bytes of instances kept in memory for sorting before they go to a file of their own.
    std::size_t sortMemory = std::size_t{64} << 20;
    // Bytes of the page cache.
    std::size_t cacheMemory = std::size_t{32} << 20;
};

// Value of a column of an attribute table.
using CellValue = std::variant<std::monostate, std::int64_t, double, std::string_view>;

struct Cell {
    Cell(std::string_view name, int number) : column(name), value(std::int64_t{number}) {}
    Cell(std::string_view name, std::int64_t number) : column(name), value(number) {}
    Cell(std::string_view name, double number) : column(name), value(number) {}
    Cell(std::string_view name, const char* text) : column(name), value(std::string_view(text)) {}
    Cell(std::string_view name, std::string_view text) : column(name), value(text) {}
    Cell(std::string_view name, const std::string& text)
        : column(name), value(std::string_view(text)) {}

    std::string_view column;
    CellValue value;
};

// One instance. Ids are those that the writer gave; -1 is none. [begin, end) is half open; an
// instance of no length takes one tick, and so does one whose end lies before its begin.
struct InstanceRow {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    int band = -1;
    int attr = -1;
    std::int64_t count = 1;
    int category = -1;
    std::int64_t args = -1;  // of addArgs
    // Counters: the value from begin to end. Their count is set from it.
    double value = 0;
    // Transitions: where it comes from. The row itself is where it arrives.
    std::int64_t sourceBegin = 0;
    int sourceBand = -1;
    int core = -1;  // row in dd_core
};

class ResultWriter {
public:
    // Null on failure. Clears away temporary files of the same target whose writer is dead.
    static std::unique_ptr<ResultWriter> create(const WriterOptions& options, StoreError& error);
    virtual ~ResultWriter() = default;

    // Row of an attribute table by a key of the caller's choice; added with these cells when the
    // key is new, in which case `added` becomes true.
    virtual int attribute(TableId id,
                          std::string_view key,
                          const std::vector<Cell>& cells,
                          bool* added = nullptr) = 0;
    // Row by name, which is its key too: slice names, categories.
    virtual int named(TableId id, std::string_view name) = 0;
    // Row of a key, -1 when there is none.
    virtual int find(TableId id, std::string_view key) const = 0;
    // Changes a column of a row that is there, such as a name that comes late.
    virtual bool update(TableId id, int row, const Cell& cell) = 0;

    // Band of a row of a band type: one for the whole trace unless a life time is given. The
    // first form answers the same band at each call.
    virtual int band(TableId type, int id) = 0;
    virtual int addBand(TableId type, int id, std::int64_t begin, std::int64_t end) = 0;
    virtual bool setBandSpan(int band, std::int64_t begin, std::int64_t end) = 0;

    // Arguments of an event as JSON text; -1 for a text above kMaxArgs, which is counted.
    static constexpr std::size_t kMaxArgs = 64 * 1024;
    virtual std::int64_t addArgs(std::string_view json) = 0;
    // A row with times beyond kMaxTime is refused with false, which is no failure of the writer.
    virtual bool add(TableId id, const InstanceRow& row) = 0;
    virtual bool addPause(std::int64_t begin, std::int64_t end) = 0;
    // A time that belongs to the trace although no instance may have it: the first or last event of
    // a kind that isn't kept.
    virtual bool cover(std::int64_t time) = 0;
    // A key of the table "result"; the last value counts. Ticks per second are required, at least
    // 1000. Origin, first and last tick and the identity of the source are the writer's own.
    virtual bool setFact(std::string_view key, std::string_view value) = 0;

    // Puts the result in its place. At most once. Asks `progress`, which may be null, between rows.
    virtual bool finish(relay2::IProgress* progress) = 0;
    bool finish() { return finish(nullptr); }
    virtual const StoreError& error() const = 0;
    // So far.
    virtual std::uint64_t instanceCount() const = 0;
    virtual std::uint64_t droppedArgs() const = 0;

protected:
    ResultWriter() = default;
    ResultWriter(const ResultWriter&) = default;
    ResultWriter& operator=(const ResultWriter&) = default;
};

}  // namespace lanefeed_runtime
