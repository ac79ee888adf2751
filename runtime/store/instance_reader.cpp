// Reads instance tables in one scan each; what a path joins is looked up in memory by row id.
// Tested by tests/store/record_join_test.cpp and tests/agreement.
#include "store/instance_reader.h"

#include "store/attribute_retriever.h"
#include "store/dialect.h"
#include "store/instance_check.h"
#include "store/instance_reading.h"
#include "store/path_walk.h"
#include "store/sql_text.h"
#include "store/store_session.h"

#include <relay2/progress.h>
#include <storelink1/utils.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::s32_t;
using basekit2::s64_t;

using Outcome = InstanceReader::Outcome;

constexpr std::size_t kRowsBetweenQuestions = 4096;
// Names and bands are numbered from 1 on; a greater number is damage, and memory to its amount must
// not be asked for.
constexpr s64_t kMostIds = s64_t{1} << 28;
// The greatest row number only hints at how many rows there are; in a damaged file it may be any.
constexpr s64_t kMostReserved = s64_t{1} << 24;

// A number that no row bears refers to none.
s32_t idOf(const Statement& rows, int field) {
    const Statement::Number read = rows.number(field);
    const auto id = static_cast<s32_t>(read.integer);
    return read.type == Statement::Type::integer && id >= 0 && id == read.integer ? id : -1;
}

s64_t tickOf(const Statement& rows, int field) {
    const Statement::Number read = rows.number(field);
    return read.type == Statement::Type::integer ? read.integer : InstanceCheck::kNoTick;
}

double numberOf(const Statement& rows, int field) {
    return rows.isNull(field) ? std::numeric_limits<double>::quiet_NaN() : rows.real(field);
}

// Value at the end of a path by row id of the table that its first hop leads to.
template <class T>
struct Lookup {
    int field = -1;  // of the scan: the value itself, or the row id to look up
    bool isDirect = true;
    std::vector<T> values;

    T at(s32_t id, T none) const {
        const auto position = static_cast<std::size_t>(id);
        return id < 0 || position >= values.size() ? none : values[position];
    }
};

class Scan {
public:
    Scan(StoreSession& session, int table)
        : m_session(session), m_table(table), m_select(session.catalog, table) {}

    Outcome prepare(const InstanceRequest& request, std::string& error);
    Outcome read(InstanceColumns& columns, relay2::IProgress* progress, std::string& error);

private:
    int addOwn(std::string_view column);
    template <class T, class Read>
    Outcome addLookup(
        const std::string& text, Lookup<T>& lookup, T none, Read readValue, std::string& error);
    template <class T, class Read>
    Outcome fillLookup(
        const StorePath& path, Lookup<T>& lookup, T none, Read readValue, std::string& error);
    Outcome brokenOff(const std::string& reason, std::string& error) const;
    void reserve(InstanceColumns& columns) const;
    void append(const Statement& rows, InstanceColumns& columns) const;

    StoreSession& m_session;
    int m_table;
    SelectText m_select;
    int m_start = -1;
    int m_end = -1;
    int m_attr = -1;
    int m_band = -1;
    int m_count = -1;
    std::vector<Lookup<s32_t>> m_ids;
    Lookup<double> m_number;
    bool m_hasNumber = false;
};

int Scan::addOwn(std::string_view column) {
    StorePath path;
    if (!resolvePath(m_session.catalog, m_table, column, path)) return -1;
    return m_select.addField(path);
}

Outcome Scan::prepare(const InstanceRequest& request, std::string& error) {
    m_start = addOwn(columns::kStart);
    m_end = addOwn(columns::kEnd);
    m_attr = addOwn(columns::kAttr);
    m_band = addOwn(columns::kBand);
    if (request.counts) m_count = addOwn(columns::kCount);
    if (m_start < 0 || m_end < 0) {
        error = "no instance table: " + request.table;
        return Outcome::noTable;
    }
    for (const NamedFilter& filter : request.filters)
        m_select.addFilter(filterClause(m_session, m_table, filter));
    for (const std::string& path : request.ids) {
        m_ids.emplace_back();
        const Outcome outcome = addLookup<s32_t>(path, m_ids.back(), -1, idOf, error);
        if (outcome != Outcome::done) return outcome;
    }
    m_hasNumber = !request.number.empty();
    const double none = std::numeric_limits<double>::quiet_NaN();
    if (!m_hasNumber) return Outcome::done;
    return addLookup<double>(request.number, m_number, none, numberOf, error);
}

template <class T, class Read>
Outcome Scan::addLookup(
    const std::string& text, Lookup<T>& lookup, T none, Read readValue, std::string& error) {
    StorePath path;
    if (!resolvePath(m_session.catalog, m_table, text, path)) {
        error = "unknown path: " + text;
        return Outcome::unknownPath;
    }
    lookup.isDirect = path.hops.empty();
    if (lookup.isDirect) {
        lookup.field = m_select.addField(path);
        return Outcome::done;
    }
    StorePath first;
    first.table = m_table;
    first.column = path.hops.front();
    lookup.field = m_select.addField(first);
    return fillLookup(path, lookup, none, readValue, error);
}

// Reads the rest of the path for every row of the table behind its first hop.
template <class T, class Read>
Outcome Scan::fillLookup(
    const StorePath& path, Lookup<T>& lookup, T none, Read readValue, std::string& error) {
    const CatalogTable& own = m_session.catalog.table(m_table);
    StorePath rest = path;
    rest.table = own.columns[static_cast<std::size_t>(path.hops.front())].references;
    rest.hops.erase(rest.hops.begin());
    if (!m_session.catalog.table(rest.table).inFile) return Outcome::done;
    SelectText select(m_session.catalog, rest.table);
    StorePath row;
    row.table = rest.table;
    select.addField(row);
    select.addField(rest);
    Statement rows = m_session.connection->prepare(select.text());
    Statement::Step step = rows ? rows.step() : Statement::Step::failed;
    for (; step == Statement::Step::row; step = rows.step()) {
        const s64_t id = rows.integer(0);
        if (id < 0 || id > std::numeric_limits<s32_t>::max()) continue;
        if (id > kMostIds) {
            return brokenOff("a row number beyond any that is written", error);
        }
        lookup.values.resize(static_cast<std::size_t>(id) + 1, none);
        lookup.values.back() = readValue(rows, 1);
    }
    if (step == Statement::Step::done) return Outcome::done;
    return brokenOff(m_session.connection->message(), error);
}

Outcome Scan::brokenOff(const std::string& reason, std::string& error) const {
    m_session.brokenReads->add(reason);
    error = m_session.file + ": " + reason;
    return Outcome::failed;
}

void Scan::reserve(InstanceColumns& columns) const {
    Statement greatest = m_session.connection->prepare("select max(\"rowid\") from " +
                                                       m_session.catalog.table(m_table).name);
    if (!greatest || greatest.step() != Statement::Step::row) return;
    const auto rows =
        static_cast<std::size_t>(std::clamp<s64_t>(greatest.integer(0), 0, kMostReserved));
    columns.start.reserve(rows);
    columns.end.reserve(rows);
    columns.attr.reserve(rows);
    columns.band.reserve(rows);
    for (auto& ids : columns.ids)
        ids.reserve(rows);
    if (m_hasNumber) columns.number.reserve(rows);
    if (m_count >= 0) columns.count.reserve(rows);
}

void Scan::append(const Statement& rows, InstanceColumns& columns) const {
    columns.start.push_back(static_cast<basekit2::u64_t>(rows.integer(m_start)));
    columns.end.push_back(static_cast<basekit2::u64_t>(rows.integer(m_end)));
    columns.attr.push_back(static_cast<basekit2::u32_t>(m_attr < 0 ? -1 : idOf(rows, m_attr)));
    columns.band.push_back(m_band < 0 ? -1 : idOf(rows, m_band));
    for (std::size_t i = 0; i < m_ids.size(); ++i) {
        const s32_t id = idOf(rows, m_ids[i].field);
        columns.ids[i].push_back(m_ids[i].isDirect ? id : m_ids[i].at(id, -1));
    }
    if (m_count >= 0) columns.count.push_back(rows.integer(m_count));
    if (!m_hasNumber) return;
    columns.number.push_back(
        m_number.isDirect
            ? numberOf(rows, m_number.field)
            : m_number.at(idOf(rows, m_number.field), std::numeric_limits<double>::quiet_NaN()));
}

Outcome Scan::read(InstanceColumns& columns, relay2::IProgress* progress, std::string& error) {
    columns.ids.resize(m_ids.size());
    reserve(columns);
    Statement rows = m_session.connection->prepare(m_select.text());
    if (rows) m_select.bindValues(rows);
    Statement::Step step = rows ? rows.step() : Statement::Step::failed;
    InstanceCheck check;
    bool isWhole = true;
    for (std::size_t row = 0; step == Statement::Step::row && isWhole; step = rows.step(), ++row) {
        const bool asks = progress != nullptr && row % kRowsBetweenQuestions == 0;
        if (asks && progress->isCanceled()) return Outcome::cancelled;
        isWhole = check.holds(tickOf(rows, m_start), tickOf(rows, m_end));
        append(rows, columns);
    }
    if (step == Statement::Step::done && isWhole) return Outcome::done;
    return brokenOff(isWhole ? m_session.connection->message()
                             : InstanceCheck::reason(m_session.catalog.table(m_table).name),
                     error);
}

class StoreInstanceReader : public InstanceReader {
public:
    explicit StoreInstanceReader(std::shared_ptr<StoreSession> session)
        : m_session(std::move(session)) {}

    Outcome read(const InstanceRequest& request,
                 InstanceColumns& columns,
                 relay2::IProgress* progress,
                 std::string& error) override;
    basekit2::u64_t rowCount(const std::string& table) override;
    bool knowsPath(const std::string& table, const std::string& path) override;
    std::string leafTable(const std::string& table, const std::string& path) override;
    std::vector<std::string> texts(const std::string& path) override;

private:
    // Position of a table that the file holds, -1 for none.
    int tableInFile(const std::string& name) const {
        const int table = m_session->catalog.find(name);
        return table >= 0 && m_session->catalog.table(table).inFile ? table : -1;
    }
    bool resolve(const std::string& table, const std::string& path, StorePath& out) const {
        const int position = m_session->catalog.find(table);
        return position >= 0 && resolvePath(m_session->catalog, position, path, out);
    }

    std::shared_ptr<StoreSession> m_session;
};

Outcome StoreInstanceReader::read(const InstanceRequest& request,
                                  InstanceColumns& columns,
                                  relay2::IProgress* progress,
                                  std::string& error) {
    const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
    columns = InstanceColumns();
    const int table = tableInFile(request.table);
    if (table < 0) return Outcome::noTable;
    Scan scan(*m_session, table);
    Outcome outcome = scan.prepare(request, error);
    if (outcome == Outcome::done) outcome = scan.read(columns, progress, error);
    if (outcome != Outcome::done) columns = InstanceColumns();
    return outcome;
}

basekit2::u64_t StoreInstanceReader::rowCount(const std::string& table) {
    const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
    if (tableInFile(table) < 0) return 0;
    Statement count =
        m_session->connection->prepare("select count(*) from " + dialect::quoted(table));
    if (!count || count.step() != Statement::Step::row) return 0;
    return static_cast<basekit2::u64_t>(count.integer(0));
}

bool StoreInstanceReader::knowsPath(const std::string& table, const std::string& path) {
    StorePath resolved;
    return resolve(table, path, resolved);
}

std::string StoreInstanceReader::leafTable(const std::string& table, const std::string& path) {
    StorePath resolved;
    const bool isTable = resolve(table, path, resolved) && resolved.kind == ValueKind::id;
    return isTable ? m_session->catalog.table(resolved.leafTable).name : std::string();
}

std::vector<std::string> StoreInstanceReader::texts(const std::string& path) {
    const auto column = readAttributeColumn(*m_session, path);
    std::vector<std::string> out;
    if (column == nullptr) return out;
    out.reserve(column->values.size());
    for (const basekit2::variant_t& value : column->values)
        out.push_back(storelink1::utils::variantToString(value));
    return out;
}

}  // namespace

std::shared_ptr<InstanceReader> makeInstanceReader(std::shared_ptr<StoreSession> session) {
    return std::make_shared<StoreInstanceReader>(std::move(session));
}

}  // namespace lanefeed_runtime
