// Writes a result: attribute rows and arguments as they come, instances, bands and facts at the
// end, when the first and the last tick are known. One transaction without a journal on a temporary
// file. Tested by tests/store/result_writer_test.cpp and tests/store/disk_full_test.cpp.
#include "store/result_writer.h"

#include "store/attribute_rows.h"
#include "store/dialect.h"
#include "store/instance_sink.h"
#include "store/result_file.h"
#include "store/result_rest.h"
#include "store/sqlite_handle.h"

#include <relay2/progress.h>

#include <boost/unordered_map.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <map>
#include <system_error>

namespace lanefeed_runtime {
namespace {

using Kind = StoreError::Kind;

// Times seen so far; nothing seen at first.
struct SeenTimes {
    std::int64_t first = kMaxTime;
    std::int64_t last = -kMaxTime;

    void add(std::int64_t begin, std::int64_t lastTime) {
        first = std::min(first, begin);
        last = std::max(last, lastTime == kToEnd ? begin : lastTime);
    }
    bool empty() const { return first > last; }
};

bool isTime(std::int64_t time) {
    return time >= -kMaxTime && time <= kMaxTime;
}

bool isSpan(std::int64_t begin, std::int64_t end) {
    return isTime(begin) && (end == kToEnd || isTime(end));
}

// What the writer tells by itself.
bool isOwnFact(std::string_view key) {
    return key == result_keys::kOrigin || key == result_keys::kFirstTick ||
           key == result_keys::kLastTick || key == result_keys::kInstances ||
           key == result_keys::kSourceIdentity;
}

class SqliteResultWriter : public ResultWriter {
public:
    bool open(const WriterOptions& options);

    int attribute(TableId id,
                  std::string_view key,
                  const std::vector<Cell>& cells,
                  bool* added) override;
    int named(TableId id, std::string_view name) override;
    int find(TableId id, std::string_view key) const override;
    bool update(TableId id, int row, const Cell& cell) override;
    int band(TableId type, int id) override;
    int addBand(TableId type, int id, std::int64_t begin, std::int64_t end) override;
    bool setBandSpan(int band, std::int64_t begin, std::int64_t end) override;
    std::int64_t addArgs(std::string_view json) override;
    bool add(TableId id, const InstanceRow& row) override;
    bool addPause(std::int64_t begin, std::int64_t end) override;
    bool cover(std::int64_t time) override;
    bool setFact(std::string_view key, std::string_view value) override;
    bool finish(relay2::IProgress* progress) override;
    const StoreError& error() const override { return m_error; }
    std::uint64_t instanceCount() const override;
    std::uint64_t droppedArgs() const override { return m_droppedArgs; }

private:
    bool usable() const { return !m_error.failed() && m_connection != nullptr; }
    bool failed(const std::string& what);
    bool failedSorting();
    bool cancelled();
    bool makeRoom();
    AttributeRows& rowsOf(TableId id);

    bool writeAll(relay2::IProgress* progress);
    bool checkFacts();
    void addOwnFacts(const TickScale& scale);
    bool writeInstances(const TickScale& scale, relay2::IProgress* progress);
    bool writeRest(const TickScale& scale);

    WriterOptions m_options;
    ResultFile m_file;
    StoreError m_error;
    std::unique_ptr<Connection> m_connection;
    // Statements end before their connection.
    std::map<TableId, AttributeRows> m_attributes;
    Statement m_insertArgs;
    // In the order of tables; null until the first row.
    std::vector<std::unique_ptr<InstanceSink>> m_sinks =
        std::vector<std::unique_ptr<InstanceSink>>(schemaTables().size());
    std::vector<BandRow> m_bands;
    boost::unordered_map<std::pair<int, int>, int> m_wholeBands;  // type and id to band
    std::vector<TimeSpan> m_pauses;
    FactList m_facts;
    SeenTimes m_span;
    std::int64_t m_lastArgs = 0;
    int m_rowsSinceCheck = 0;
    std::uint64_t m_droppedArgs = 0;
};

bool SqliteResultWriter::open(const WriterOptions& options) {
    m_options = options;
    if (!m_file.open(options.target, options.sourceIdentity, options.force, m_error)) return false;
    std::string message;
    m_connection = Connection::open(m_file.temporary(), Connection::Mode::create, message);
    if (m_connection == nullptr) {
        m_error = {Kind::cannotWrite, options.target + ": cannot be written: " + message +
                                          "; check the folder or choose another place"};
        return false;
    }
    const bool begun = m_connection->run(dialect::writerSettings(options.cacheMemory)) &&
                       m_connection->run(dialect::fileHead()) && m_connection->run("begin") &&
                       m_connection->run(dialect::createTable(table(TableId::result))) &&
                       m_connection->run(dialect::createTable(table(TableId::band)));
    return begun || failed("starting the file");
}

// Keeps the first failure; always false.
bool SqliteResultWriter::failed(const std::string& what) {
    if (m_error.failed()) return false;
    m_error = {Kind::cannotWrite, m_options.target + ": failed while " + what + ": " +
                                      m_connection->message() +
                                      "; make room on the disk or choose another place"};
    return false;
}

bool SqliteResultWriter::failedSorting() {
    if (m_error.failed()) return false;
    m_error = {Kind::cannotWrite,
               m_options.target + ": failed while sorting instances in a file in " +
                   m_file.directory() + ": " + std::generic_category().message(errno) +
                   "; make room there or choose another place"};
    return false;
}

bool SqliteResultWriter::cancelled() {
    m_error = {Kind::cancelled, m_options.target + ": cancelled; nothing was written"};
    return false;
}

AttributeRows& SqliteResultWriter::rowsOf(TableId id) {
    return m_attributes.try_emplace(id, table(id)).first->second;
}

int SqliteResultWriter::attribute(TableId id,
                                  std::string_view key,
                                  const std::vector<Cell>& cells,
                                  bool* added) {
    if (added != nullptr) *added = false;
    if (!usable() || table(id).role != TableRole::attribute) return -1;
    AttributeRows& rows = rowsOf(id);
    const int known = rows.find(key);
    if (known >= 0) return known;
    const int row = rows.add(*m_connection, key, cells);
    if (row < 0) failed("adding to " + std::string(table(id).name));
    if (added != nullptr) *added = row >= 0;
    return row;
}

int SqliteResultWriter::named(TableId id, std::string_view name) {
    const int known = find(id, name);
    return known >= 0 ? known : attribute(id, name, {{columns::kName, name}}, nullptr);
}

int SqliteResultWriter::find(TableId id, std::string_view key) const {
    const auto rows = m_attributes.find(id);
    return rows == m_attributes.end() ? -1 : rows->second.find(key);
}

bool SqliteResultWriter::update(TableId id, int row, const Cell& cell) {
    if (!usable() || table(id).role != TableRole::attribute) return false;
    return rowsOf(id).update(*m_connection, row, cell);
}

int SqliteResultWriter::band(TableId type, int id) {
    if (!usable() || !isBandType(table(type).name) || id < 1) return -1;
    const std::pair<int, int> key(static_cast<int>(type), id);
    const auto found = m_wholeBands.find(key);
    if (found != m_wholeBands.end()) return found->second;
    m_bands.push_back({type, id, {}});
    return m_wholeBands[key] = static_cast<int>(m_bands.size());
}

int SqliteResultWriter::addBand(TableId type, int id, std::int64_t begin, std::int64_t end) {
    if (!usable() || !isBandType(table(type).name) || id < 1) return -1;
    m_bands.push_back({type, id, {}});
    const auto row = static_cast<int>(m_bands.size());
    return setBandSpan(row, begin, end) ? row : -1;
}

bool SqliteResultWriter::setBandSpan(int band, std::int64_t begin, std::int64_t end) {
    const bool known = band >= 1 && static_cast<std::size_t>(band) <= m_bands.size();
    if (!usable() || !known || !isSpan(begin, end)) return false;
    const TimeSpan span = {begin, lastTimeOf(begin, end)};
    m_bands[static_cast<std::size_t>(band) - 1].span = span;
    m_span.add(span.begin, span.last);
    return true;
}

std::int64_t SqliteResultWriter::addArgs(std::string_view json) {
    if (!usable()) return -1;
    if (json.size() > kMaxArgs) {
        ++m_droppedArgs;
        return -1;
    }
    const TableDef& def = table(TableId::args);
    if (!m_insertArgs) {
        if (m_connection->run(dialect::createTable(def)))
            m_insertArgs = m_connection->prepare(dialect::insertRow(def, true));
    }
    if (m_insertArgs) {
        m_insertArgs.bind(1, m_lastArgs + 1);
        m_insertArgs.bind(2, json);
        if (m_insertArgs.run()) return ++m_lastArgs;
    }
    failed("adding arguments");
    return -1;
}

bool SqliteResultWriter::add(TableId id, const InstanceRow& row) {
    if (!usable() || !isSpan(row.begin, row.end)) return false;
    std::unique_ptr<InstanceSink>& sink = m_sinks[static_cast<std::size_t>(id)];
    if (sink == nullptr) {
        const TableDef& def = table(id);
        if (def.role != TableRole::instance) return false;
        sink = std::make_unique<InstanceSink>(def, m_file.directory());
    }
    if (sink->hasSource()) {
        if (!isTime(row.sourceBegin)) return false;
        m_span.add(row.sourceBegin, row.sourceBegin);
    }
    m_span.add(row.begin, lastTimeOf(row.begin, row.end));
    sink->add(row);
    return makeRoom();
}

// Moves the biggest table to disk when all of them together have become too big.
bool SqliteResultWriter::makeRoom() {
    constexpr int kRowsBetweenChecks = 1024;
    if (++m_rowsSinceCheck < kRowsBetweenChecks) return true;
    m_rowsSinceCheck = 0;
    std::size_t bytes = 0;
    InstanceSink* biggest = nullptr;
    for (const auto& sink : m_sinks) {
        if (sink == nullptr) continue;
        bytes += sink->bytesInMemory();
        if (biggest == nullptr || sink->bytesInMemory() > biggest->bytesInMemory())
            biggest = sink.get();
    }
    if (bytes <= m_options.sortMemory) return true;
    return biggest->spill() || failedSorting();
}

bool SqliteResultWriter::addPause(std::int64_t begin, std::int64_t end) {
    if (!usable() || !isSpan(begin, end)) return false;
    const TimeSpan span = {begin, lastTimeOf(begin, end)};
    m_pauses.push_back(span);
    m_span.add(span.begin, span.last);
    return true;
}

bool SqliteResultWriter::cover(std::int64_t time) {
    if (!usable() || !isTime(time)) return false;
    m_span.add(time, time);
    return true;
}

bool SqliteResultWriter::setFact(std::string_view key, std::string_view value) {
    if (!usable() || isOwnFact(key)) return false;
    for (auto& fact : m_facts) {
        if (fact.first != key) continue;
        fact.second = value;
        return true;
    }
    m_facts.emplace_back(key, value);
    return true;
}

std::uint64_t SqliteResultWriter::instanceCount() const {
    std::uint64_t count = 0;
    for (const auto& sink : m_sinks)
        count += sink != nullptr ? sink->size() : 0;
    return count;
}

bool SqliteResultWriter::finish(relay2::IProgress* progress) {
    if (!usable()) return false;
    bool written = writeAll(progress);
    if (written && progress != nullptr && progress->isCanceled()) written = cancelled();
    m_insertArgs = Statement();
    m_attributes.clear();
    m_sinks.clear();
    m_connection.reset();
    return written && m_file.place(m_error);
}

bool SqliteResultWriter::writeAll(relay2::IProgress* progress) {
    if (!checkFacts()) return false;
    TickScale scale;
    scale.origin = (m_span.empty() ? 0 : m_span.first) - 1;
    scale.lastTime = m_span.empty() ? 0 : m_span.last;
    addOwnFacts(scale);
    return writeInstances(scale, progress) && writeRest(scale) &&
           (m_connection->run("commit") || failed("completing the file"));
}

bool SqliteResultWriter::checkFacts() {
    std::uint64_t perSecond = 0;
    for (const auto& [key, value] : m_facts) {
        if (key == result_keys::kTicksPerSecond)
            std::from_chars(value.data(), value.data() + value.size(), perSecond);
    }
    if (perSecond >= 1000) return true;
    m_error = {Kind::notUnderstood,
               m_options.target +
                   ": the clock of the trace has fewer than 1000 ticks per second;"
                   " give its times in a finer unit"};
    return false;
}

void SqliteResultWriter::addOwnFacts(const TickScale& scale) {
    const auto add = [this](std::string_view key, const std::string& value) {
        m_facts.emplace_back(key, value);
    };
    add(result_keys::kOrigin, std::to_string(scale.origin));
    add(result_keys::kFirstTick, "1");
    add(result_keys::kLastTick, std::to_string(scale.tick(scale.lastTime)));
    add(result_keys::kInstances, std::to_string(instanceCount()));
    add(result_keys::kSourceIdentity, m_options.sourceIdentity);
}

bool SqliteResultWriter::writeInstances(const TickScale& scale, relay2::IProgress* progress) {
    for (auto& sink : m_sinks) {
        // A table without rows is not made.
        if (sink == nullptr || sink->size() == 0) continue;
        switch (sink->write(*m_connection, scale, progress)) {
        case InstanceSink::Outcome::done: break;
        case InstanceSink::Outcome::cancelled: return cancelled();
        case InstanceSink::Outcome::failed:
            return failed("writing " + std::string(sink->def().name));
        case InstanceSink::Outcome::sortFailed: return failedSorting();
        }
        sink.reset();
    }
    return true;
}

bool SqliteResultWriter::writeRest(const TickScale& scale) {
    std::vector<const TableDef*> labelled;
    for (const auto& entry : m_attributes) {
        const TableDef& def = table(entry.first);
        if (columnIndex(def, columns::kLabel) >= 0) labelled.push_back(&def);
    }
    if (!writeBands(*m_connection, m_bands, scale)) return failed("writing bands");
    if (!writePauses(*m_connection, m_pauses, scale)) return failed("writing pauses");
    if (!writeLabels(*m_connection, labelled)) return failed("writing labels");
    return writeFacts(*m_connection, m_facts) || failed("writing the facts of the result");
}

}  // namespace

std::unique_ptr<ResultWriter> ResultWriter::create(const WriterOptions& options,
                                                   StoreError& error) {
    auto writer = std::make_unique<SqliteResultWriter>();
    if (writer->open(options)) return writer;
    error = writer->error();
    return nullptr;
}

}  // namespace lanefeed_runtime
