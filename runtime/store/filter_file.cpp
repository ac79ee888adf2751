// Filters in the file of a result: each is the tree that it is in memory, one row for each node, in
// the order in which one reads it, with its depth. docs/STORE.md tells the columns.
// Tested by tests/store/filter_file_test.cpp.
#include "store/filter_file.h"

#include "store/dialect.h"
#include "store/result_facts.h"
#include "store/schema.h"
#include "store/store_session.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
namespace {

using basekit2::s64_t;
using dataface_1::IQueryFilterBuilder;
using Condition = QueryFilter::Condition;
using ErrorKind = StoreError::Kind;
using Group = QueryFilter::Group;

// Kinds of rows. A part stands at level 0.
constexpr std::string_view kTimePart = "time";
constexpr std::string_view kInclude = "include";
constexpr std::string_view kExclude = "exclude";
constexpr std::string_view kFilter = "filter";  // a query part, or a filter inside of one
constexpr std::string_view kIs = "is";
constexpr std::string_view kIsNot = "is not";
// By kind of group.
constexpr std::string_view kGroups[] = {"none of", "any of", "not any of"};

enum Column {
    nameColumn,
    levelColumn,
    kindColumn,
    startColumn,
    endColumn,
    tableColumn,
    pathColumn,
    suffixColumn,
    integerColumn,
    realColumn,
    textColumn
};

class FilterWriter {
public:
    FilterWriter(Connection& connection, std::string name)
        : m_insert(connection.prepare(dialect::insertRow(table(TableId::filters), false))),
          m_name(std::move(name)) {}

    bool write(const NamedFilter& filter) {
        if (!m_insert) return false;
        return (filter.time.is_null() || writeTime(*filter.time)) &&
               (filter.query.is_null() || writeFilter(*filter.query, 0));
    }

private:
    void begin(int level, std::string_view kind) {
        for (int column = startColumn; column <= textColumn; ++column)
            m_insert.bindNull(column + 1);
        m_insert.bindCopy(nameColumn + 1, m_name);
        m_insert.bind(levelColumn + 1, s64_t{level});
        m_insert.bindCopy(kindColumn + 1, kind);
    }

    bool writeTime(const TimeFilter& filter) {
        begin(0, kTimePart);
        if (!m_insert.run()) return false;
        return std::all_of(
            filter.ranges().begin(), filter.ranges().end(), [&](const TimeFilter::Range& range) {
                begin(1, range.excluded ? kExclude : kInclude);
                m_insert.bind(startColumn + 1, static_cast<s64_t>(range.ticks.start));
                m_insert.bind(endColumn + 1, static_cast<s64_t>(range.ticks.end));
                return m_insert.run();
            });
    }

    bool writeFilter(const QueryFilter& filter, int level) {
        begin(level, kFilter);
        return m_insert.run() && writeMembers(filter.root(), level + 1);
    }

    bool writeMembers(const Group& group, int level) {
        const auto writesAll = [](const auto& members, const auto& write) {
            return std::all_of(members.begin(), members.end(), write);
        };
        return writesAll(group.conditions,
                         [&](const Condition& one) { return writeCondition(one, level); }) &&
               writesAll(group.filters,
                         [&](const auto& one) { return writeFilter(*one, level); }) &&
               writesAll(group.groups, [&](const Group& one) {
                   begin(level, kGroups[one.kind]);
                   return m_insert.run() && writeMembers(one, level + 1);
               });
    }

    bool writeCondition(const Condition& condition, int level) {
        begin(level, condition.excluded ? kIsNot : kIs);
        m_insert.bindCopy(tableColumn + 1, condition.table);
        m_insert.bindCopy(pathColumn + 1, condition.path);
        m_insert.bindCopy(suffixColumn + 1, condition.suffix);
        if (condition.value.can_get<const char*>()) {
            m_insert.bindCopy(textColumn + 1, condition.value.get<std::string>());
        } else if (condition.value.get_type() == basekit2::vtDouble) {
            m_insert.bind(realColumn + 1, condition.value.get<double>());
        } else if (!condition.value.is_null()) {
            m_insert.bind(integerColumn + 1, condition.value.get<s64_t>());
        }
        return m_insert.run();
    }

    Statement m_insert;
    const std::string m_name;
};

struct FilterRow {
    s64_t level = 0;
    std::string kind;
    storelink1::time_interval_t ticks;
    Condition condition;
};

int groupOf(const std::string& kind) {
    const auto* found = std::find(std::begin(kGroups), std::end(kGroups), kind);
    return found == std::end(kGroups) ? -1 : static_cast<int>(found - std::begin(kGroups));
}

// The rows of one name, read from the front.
class RowReader {
public:
    explicit RowReader(const std::vector<FilterRow>& rows) : m_rows(rows) {}

    // False for rows that make no filter.
    bool read(NamedFilter& filter) {
        while (m_at < m_rows.size()) {
            const FilterRow& row = m_rows[m_at++];
            if (row.level != 0) return false;
            if (row.kind == kTimePart && filter.time.is_null()) {
                if (!readTime(filter.time)) return false;
            } else if (row.kind == kFilter && filter.query.is_null()) {
                Group root;
                if (!readMembers(root, 1)) return false;
                filter.query = basekit2::make_object<QueryFilter>(std::move(root));
                if (filter.query->levels() > QueryFilter::kMostLevels) return false;
            } else {
                return false;
            }
        }
        return true;
    }

private:
    bool isMember(s64_t level) const { return m_at < m_rows.size() && m_rows[m_at].level == level; }

    bool readTime(basekit2::sptr_t<TimeFilter>& filter) {
        std::vector<TimeFilter::Range> ranges;
        for (; isMember(1); ++m_at) {
            const FilterRow& row = m_rows[m_at];
            if (row.kind != kInclude && row.kind != kExclude) return false;
            ranges.push_back({row.ticks, row.kind == kExclude});
        }
        filter = basekit2::make_object<TimeFilter>(std::move(ranges));
        return true;
    }

    bool readMembers(Group& group, int level) {
        if (level > QueryFilter::kMostLevels) return false;
        while (isMember(level)) {
            const FilterRow& row = m_rows[m_at++];
            if (row.kind == kIs || row.kind == kIsNot) {
                group.conditions.push_back(row.condition);
                group.conditions.back().excluded = row.kind == kIsNot;
                continue;
            }
            Group inner;
            const bool isFilter = row.kind == kFilter;
            inner.kind =
                isFilter ? static_cast<int>(IQueryFilterBuilder::groupIncluded) : groupOf(row.kind);
            if (inner.kind < 0 || !readMembers(inner, level + 1)) return false;
            if (isFilter) {
                group.filters.emplace_back(basekit2::make_object<QueryFilter>(std::move(inner)));
            } else {
                group.groups.push_back(std::move(inner));
            }
        }
        return true;
    }

    const std::vector<FilterRow>& m_rows;
    std::size_t m_at = 0;
};

FilterRow rowOf(const Statement& rows) {
    FilterRow row;
    row.level = rows.isNull(levelColumn) ? -1 : rows.integer(levelColumn);
    row.kind = rows.text(kindColumn);
    row.ticks.start = static_cast<basekit2::u64_t>(rows.integer(startColumn));
    row.ticks.end = static_cast<basekit2::u64_t>(rows.integer(endColumn));
    row.condition.table = rows.text(tableColumn);
    row.condition.path = rows.text(pathColumn);
    row.condition.suffix = rows.text(suffixColumn);
    if (!rows.isNull(textColumn)) {
        row.condition.value = std::string(rows.text(textColumn));
    } else if (!rows.isNull(realColumn)) {
        row.condition.value = rows.real(realColumn);
    } else if (!rows.isNull(integerColumn)) {
        row.condition.value = rows.integer(integerColumn);
    }
    return row;
}

std::string selectFilters() {
    // Qualified: the engine takes an unknown name that stands alone for a text.
    std::string sql;
    for (const ColumnDef& column : table(TableId::filters).columns)
        sql += (sql.empty() ? "select t0." : ", t0.") + dialect::quoted(column.name);
    return sql + " from " + dialect::quoted(table(TableId::filters).name) +
           " as t0 order by t0.\"rowid\"";
}

StoreError unreadable(const std::string& file, const std::string& why) {
    return {ErrorKind::notUnderstood,
            file + ": the filters in it are not understood (" + why +
                "), so that none is in force; select anew to replace them"};
}

StoreError writeError(const Connection& connection, const std::string& file) {
    const char* remedy = "check the disk and the permissions";
    switch (connection.cause()) {
    case Connection::Cause::busy:
        remedy = "another program is using the file; try again when it has ended";
        break;
    case Connection::Cause::readOnly:
        remedy = "permission to write to the file and its folder is needed";
        break;
    case Connection::Cause::full: remedy = "free space on the disk and try again"; break;
    case Connection::Cause::damage: remedy = "the file is damaged; import the trace again"; break;
    default: break;
    }
    return {ErrorKind::cannotWrite,
            file + ": the filters can't be kept in it: " + connection.message() + "; " + remedy +
                ". The filters that it held are as they were"};
}

// The file under this name may have been replaced since it was opened.
bool holdsResult(Connection& connection, const ResultFacts& facts) {
    Statement rows =
        connection.prepare("select \"key\", \"value\" from \"result\" order by \"rowid\"");
    Statement::Step step = rows ? rows.step() : Statement::Step::failed;
    std::vector<std::pair<std::string, std::string>> entries;
    for (; step == Statement::Step::row; step = rows.step())
        entries.emplace_back(rows.text(0), rows.text(1));
    return step == Statement::Step::done && entries == facts.entries;
}

// Whether the file has the table; null if that can't be told, as of a file that is locked.
std::optional<bool> holdsFilters(Connection& connection) {
    Statement known = connection.prepare(dialect::listTables());
    bool isThere = false;
    Statement::Step step = known ? known.step() : Statement::Step::failed;
    for (; step == Statement::Step::row; step = known.step())
        isThere = isThere || known.text(0) == table(TableId::filters).name;
    if (step != Statement::Step::done) return std::nullopt;
    return isThere;
}

bool replaceFilters(Connection& connection, const FilterMap& filters) {
    const TableDef& def = table(TableId::filters);
    // Made anew: what stands there may be of another form.
    if (holdsFilters(connection).value_or(true) &&
        !connection.run("drop table " + dialect::quoted(def.name)))
        return false;
    const bool isEmpty = std::none_of(filters.begin(), filters.end(), [](const auto& filter) {
        return isKeptInFile(filter.first) && !filter.second.isEmpty();
    });
    if (isEmpty) return true;
    if (!connection.run(dialect::createTable(def))) return false;
    return std::all_of(filters.begin(), filters.end(), [&](const auto& filter) {
        return !isKeptInFile(filter.first) ||
               FilterWriter(connection, filter.first).write(filter.second);
    });
}

}  // namespace

bool isKeptInFile(const std::string& name) {
    // Nothing lives in the first page of memory.
    constexpr basekit2::u64_t kLeastAddress = 4096;
    if (name.rfind("restrictions_filter_", 0) == 0) return false;
    const std::size_t last = name.find_last_not_of("0123456789");
    if (last == std::string::npos || last + 1 == name.size() || name[last] != '_') return true;
    basekit2::u64_t number = 0;
    const char* end = name.data() + name.size();
    const auto parsed = std::from_chars(name.data() + last + 1, end, number);
    return parsed.ec == std::errc() && number < kLeastAddress;
}

StoreError readFilters(StoreSession& session, FilterMap& filters) {
    filters.clear();
    const std::lock_guard<std::recursive_mutex> lock(session.mutex);
    const int position = session.catalog.find(table(TableId::filters).name);
    if (!session.catalog.table(position).inFile) return {};
    Statement rows = session.connection->prepare(selectFilters());
    std::map<std::string, std::vector<FilterRow>> byName;
    Statement::Step step = rows ? rows.step() : Statement::Step::failed;
    for (; step == Statement::Step::row; step = rows.step())
        byName[std::string(rows.text(nameColumn))].push_back(rowOf(rows));
    if (step != Statement::Step::done) {
        const std::string why = session.connection->message();
        // Another program may have dropped them just now.
        const bool isGone = !holdsFilters(*session.connection).value_or(true);
        return isGone ? StoreError() : unreadable(session.file, why);
    }
    FilterMap read;
    for (const auto& [name, own] : byName) {
        if (!RowReader(own).read(read[name]))
            return unreadable(session.file, "the rows of \"" + name + "\" make no filter");
    }
    filters = std::move(read);
    return {};
}

StoreError writeFilters(const ResultFacts& facts, const FilterMap& filters, bool& isReadOnly) {
    isReadOnly = false;
    std::string message;
    const auto connection = Connection::open(facts.file, Connection::Mode::write, message);
    if (connection == nullptr) {
        return {ErrorKind::cannotWrite, facts.file + ": the filters can't be kept in it: " +
                                            message + "; check that the file is still there"};
    }
    if (!connection->run("begin immediate")) {
        isReadOnly = connection->cause() == Connection::Cause::readOnly;
        return writeError(*connection, facts.file);
    }
    if (!holdsResult(*connection, facts)) {
        connection->run("rollback");
        return {ErrorKind::cannotWrite,
                facts.file +
                    ": another result has taken the place of the open one, so that the "
                    "filters are not kept in it; open it anew"};
    }
    if (replaceFilters(*connection, filters) && connection->run("commit")) return {};
    isReadOnly = connection->cause() == Connection::Cause::readOnly;
    StoreError error = writeError(*connection, facts.file);
    connection->run("rollback");
    return error;
}

}  // namespace lanefeed_runtime
