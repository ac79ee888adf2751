// The relational face: columns by path, values, filters, order, one record per key; then a record
// set. Tested by tests/store/record_query_test.cpp and filter_sql_test.cpp.
#include "store/record_query.h"

#include "store/attribute_retriever.h"
#include "store/dialect.h"
#include "store/record_set.h"
#include "store/sql_text.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace lanefeed_runtime {

using basekit2::u16_t;
using basekit2::variant_t;
using storelink1::IConstRecord;
using storelink1::IGenericRecordset;

namespace {

constexpr const char* kGlobalFilter = "global";
constexpr int kEquals = 1;
// Ids are 16-bit and the greatest one stands for none.
constexpr std::size_t kMostColumns = storelink1::InvalidColIdx;
// Rows of a table that are held in memory while another one is read: about 3 MB either way.
constexpr std::int64_t kMostTextsHeld = std::int64_t{1} << 15;
constexpr std::int64_t kMostNumbersHeld = std::int64_t{1} << 17;

// Row ids count from 1, so this is about how many there are.
std::int64_t greatestRow(StoreSession& session, int table) {
    Statement greatest = session.connection->prepare(
        "select max(\"rowid\") from " + dialect::quoted(session.catalog.table(table).name));
    const bool known = greatest && greatest.step() == Statement::Step::row;
    return known ? greatest.integer(0) : std::numeric_limits<std::int64_t>::max();
}

class RecordQuery : public storelink1::IQuery {
public:
    RecordQuery(std::shared_ptr<StoreSession> session,
                basekit2::sptr_t<FilterRegistry> filters,
                int table)
        : m_session(std::move(session)),
          m_filters(std::move(filters)),
          m_table(table),
          m_select(m_session->catalog, table) {}

    void restrictToBandType(const StorePath& type) { m_select.addNotNull(type); }

    using IQuery::addColumn;
    using IQuery::execute;

    void useFilters() override { addFilter(kGlobalFilter); }

    // The same state of the same name is taken once.
    void addFilter(const std::string& name) override {
        if (m_filters.is_null() || !m_filters->hasFilter(name)) return;
        if (!m_taken.insert({name, m_filters->changesOf(name)}).second) return;
        m_select.addFilter(filterClause(*m_session, m_table, m_filters->filter(name)));
    }

    u16_t addColumn(const std::string& name,
                    int,
                    const basekit2::generic_iterator_t<std::string>&,
                    bool,
                    bool,
                    std::string&) override {
        StorePath path;
        if (m_columns.size() >= kMostColumns || !resolve(name, path))
            return storelink1::InvalidColIdx;
        m_columns.push_back(path);
        return static_cast<u16_t>(m_columns.size() - 1);
    }

    u16_t addCondition(const std::string& column, int op, const variant_t& value) override {
        StorePath path;
        const bool added = op == kEquals && m_conditions < storelink1::InvalidCondIdx &&
                           resolve(column, path) && m_select.addValue(path, value);
        return added ? static_cast<u16_t>(m_conditions++) : storelink1::InvalidCondIdx;
    }

    bool addOrderBy(const std::string& column, bool descending) override {
        StorePath path;
        if (!resolve(column, path)) return false;
        m_select.addOrder(path, descending);
        m_isFileOrder = m_isFileOrder && path.column == ownColumn(columns::kStart) &&
                        path.hops.empty() && !descending;
        return true;
    }

    bool addKeyColumn(const std::string& column) override {
        StorePath path;
        if (!resolve(column, path)) return false;
        m_key = path;
        m_hasKey = true;
        return true;
    }

    basekit2::sptr_t<IGenericRecordset<IConstRecord>> execute(relay2::IProgress* progress,
                                                              std::string& error,
                                                              std::string& sql) override;

private:
    // Adds the field that a column is read from.
    RecordColumn source(const StorePath& path, SelectText& select) const;
    std::shared_ptr<const AttributeColumn> lookupOf(const StorePath& path) const;
    int ownColumn(std::string_view name) const {
        return m_session->catalog.table(m_table).column(name);
    }
    void checkInstances(RecordPlan& plan) const;
    bool resolve(const std::string& text, StorePath& path) const {
        return resolvePath(m_session->catalog, m_table, text, path);
    }

    std::shared_ptr<StoreSession> m_session;
    basekit2::sptr_t<FilterRegistry> m_filters;
    std::set<std::pair<std::string, unsigned>> m_taken;  // names of filters and their changes
    int m_table;
    SelectText m_select;
    std::vector<StorePath> m_columns;  // by column id
    unsigned m_conditions = 0;
    bool m_hasKey = false;
    bool m_isFileOrder = true;
    StorePath m_key;
};

// Values behind the first reference of a path, for a read of a whole instance table: fetching one
// of few rows once more for each of very many costs more than the read itself. Null where that
// doesn't pay or would take too much memory; then the statement joins.
std::shared_ptr<const AttributeColumn> RecordQuery::lookupOf(const StorePath& path) const {
    const Catalog& catalog = m_session->catalog;
    const CatalogTable& own = catalog.table(m_table);
    if (own.role != TableRole::instance || path.hops.empty() || m_conditions > 0) return nullptr;
    const int target = own.columns[static_cast<std::size_t>(path.hops.front())].references;
    if (!catalog.table(target).inFile) return nullptr;
    const std::int64_t most = path.kind == ValueKind::text ? kMostTextsHeld : kMostNumbersHeld;
    if (greatestRow(*m_session, target) > most) return nullptr;
    StorePath rest = path;
    rest.table = target;
    rest.hops.erase(rest.hops.begin());
    return readAttributeColumn(*m_session, rest);
}

RecordColumn RecordQuery::source(const StorePath& path, SelectText& select) const {
    RecordColumn out;
    out.kind = path.kind;
    out.lookup = lookupOf(path);
    if (out.lookup == nullptr) {
        out.field = select.addField(path);
        return out;
    }
    StorePath reference;
    reference.table = m_table;
    reference.lastTable = m_table;
    reference.column = path.hops.front();
    out.field = select.addField(reference);
    return out;
}

// As far as both ends of an instance are asked for.
void RecordQuery::checkInstances(RecordPlan& plan) const {
    const CatalogTable& own = m_session->catalog.table(m_table);
    if (own.role != TableRole::instance) return;
    const auto find = [this](std::string_view name) {
        return std::find_if(m_columns.begin(), m_columns.end(), [&](const StorePath& path) {
            return path.hops.empty() && path.column == ownColumn(name);
        });
    };
    const auto start = find(columns::kStart);
    const auto end = find(columns::kEnd);
    if (start == m_columns.end() || end == m_columns.end()) return;
    plan.instanceTable = own.name;
    plan.start = static_cast<std::size_t>(start - m_columns.begin());
    plan.end = static_cast<std::size_t>(end - m_columns.begin());
}

basekit2::sptr_t<IGenericRecordset<IConstRecord>> RecordQuery::execute(relay2::IProgress* progress,
                                                                       std::string& error,
                                                                       std::string& sql) {
    const std::lock_guard<std::recursive_mutex> lock(m_session->mutex);
    SelectText select = m_select;
    RecordPlan plan;
    for (const StorePath& path : m_columns)
        plan.columns.push_back(source(path, select));
    plan.hasKey = m_hasKey;
    if (m_hasKey) plan.key = source(m_key, select);
    plan.isKeyOrdered = m_hasKey && select.isOrderedBy(m_key);
    if (m_isFileOrder) checkInstances(plan);
    const std::string text = select.text();
    Statement statement = m_session->connection->prepare(text);
    if (!statement) {
        sql = text;
        error = m_session->file + ": " + m_session->connection->message();
        return nullptr;
    }
    select.bindValues(statement);
    return makeRecordSet(m_session, std::move(statement), std::move(plan), progress, error, sql);
}

}  // namespace

basekit2::sptr_t<storelink1::IQuery> makeRecordQuery(
    const std::shared_ptr<StoreSession>& session,
    const basekit2::sptr_t<FilterRegistry>& filters,
    const std::string& table) {
    const Catalog& catalog = session->catalog;
    const std::size_t colons = table.find("::");
    const int position = catalog.find(table.substr(0, colons));
    if (position < 0 || !catalog.table(position).inFile) return nullptr;
    auto query = basekit2::make_object<RecordQuery>(session, filters, position);
    if (colons == std::string::npos) return query;
    StorePath type;
    const bool isBandTable = position == catalog.bands() &&
                             resolvePath(catalog, position, table.substr(colons + 2), type) &&
                             type.kind == ValueKind::id;
    if (!isBandTable) return nullptr;
    query->restrictToBandType(type);
    return query;
}

}  // namespace lanefeed_runtime
