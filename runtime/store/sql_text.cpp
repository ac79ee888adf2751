// Builds the statements of the relational face. Tested by tests/store/record_query_test.cpp, which
// compares answers with a walk over the rows by hand.
#include "store/sql_text.h"

#include "store/dialect.h"
#include "store/sqlite_handle.h"

#include <algorithm>
#include <limits>

namespace lanefeed_runtime {
namespace {

bool isInteger(const basekit2::variant_t& value) {
    return value.get_type() < basekit2::vtFloat;
}

bool isNarrowText(const basekit2::variant_t& value) {
    return value.can_get<const char*>();
}

// Above the signed range no integer of a result can be equal.
bool isTooGreat(const basekit2::variant_t& value) {
    constexpr auto kLimit =
        static_cast<basekit2::u64_t>(std::numeric_limits<basekit2::s64_t>::max());
    return value.get_type() == basekit2::vtU64 && value.get<basekit2::u64_t>() > kLimit;
}

}  // namespace

// Names the table at the end of a chain of references, and collects the joins on the way.
class SelectText::Joins {
public:
    Joins(const Catalog& catalog, int table) : m_catalog(catalog), m_table(table) {}

    // Expression of a path; "null" when a table on the way has no rows at all.
    std::string expression(const StorePath& path) {
        std::size_t alias = 0;
        int at = m_table;
        for (const int hop : path.hops) {
            const int target = column(at, hop).references;
            if (!m_catalog.table(target).inFile) return "null";
            alias = join(alias, at, hop, target);
            at = target;
        }
        return qualified(alias, path.column == StorePath::kRowIdColumn
                                    ? std::string(columns::kRowId)
                                    : column(at, path.column).name);
    }

    std::string fromText() const {
        return " from " + dialect::quoted(m_catalog.table(m_table).name) + " as t0" + m_text;
    }

private:
    struct Join {
        std::size_t from;
        int column;
    };

    const CatalogColumn& column(int table, int position) const {
        return m_catalog.table(table).columns[static_cast<std::size_t>(position)];
    }
    static std::string qualified(std::size_t alias, const std::string& name) {
        return "t" + std::to_string(alias) + "." + dialect::quoted(name);
    }

    std::size_t join(std::size_t from, int table, int hop, int target) {
        for (std::size_t i = 0; i < m_joins.size(); ++i) {
            if (m_joins[i].from == from && m_joins[i].column == hop) return i + 1;
        }
        m_joins.push_back({from, hop});
        const std::size_t alias = m_joins.size();
        m_text += " left join " + dialect::quoted(m_catalog.table(target).name) + " as t" +
                  std::to_string(alias) + " on " + qualified(alias, std::string(columns::kRowId)) +
                  " = " + qualified(from, column(table, hop).name);
        return alias;
    }

    const Catalog& m_catalog;
    int m_table;
    std::vector<Join> m_joins;  // alias is position + 1
    std::string m_text;
};

int SelectText::addField(const StorePath& path) {
    const auto known = std::find(m_fields.begin(), m_fields.end(), path);
    const auto position = static_cast<int>(known - m_fields.begin());
    if (known == m_fields.end()) m_fields.push_back(path);
    return position;
}

bool SelectText::addValue(const StorePath& path, const basekit2::variant_t& value) {
    const bool fits =
        value.is_null() || value.get_type() < basekit2::vtString || isNarrowText(value);
    if (!fits) return false;
    const auto known = std::find_if(m_sets.begin(), m_sets.end(),
                                    [&](const ValueSet& set) { return set.path == path; });
    if (known != m_sets.end()) {
        known->values.push_back(value);
    } else {
        m_sets.push_back({path, {value}});
    }
    return true;
}

void SelectText::addNotNull(const StorePath& path) {
    m_notNull.push_back(path);
}

void SelectText::addOrder(const StorePath& path, bool descending) {
    m_orders.push_back({path, descending});
}

bool SelectText::isOrderedBy(const StorePath& path) const {
    return !m_orders.empty() && m_orders.front().path == path;
}

std::string SelectText::text() const {
    Joins joins(m_catalog, m_table);
    const std::string fields = fieldText(joins);
    const std::string where = whereText(joins);
    const std::string order = orderText(joins);
    return fields + joins.fromText() + where + order;
}

std::string SelectText::rowText() const {
    Joins joins(m_catalog, m_table);
    const std::string fields = fieldText(joins);
    return fields + joins.fromText() + " where t0.\"rowid\" = $1";
}

std::string SelectText::fieldText(Joins& joins) const {
    std::string fields;
    for (const StorePath& field : m_fields)
        fields += (fields.empty() ? "" : ", ") + joins.expression(field);
    return "select " + (fields.empty() ? std::string("1") : fields);
}

// Integers stand in the text, so that a long list meets no limit on open values.
std::string SelectText::setText(Joins& joins, const ValueSet& set, int& parameters) const {
    std::string list;
    bool orNull = false;
    for (const basekit2::variant_t& value : set.values) {
        if (value.is_null()) {
            orNull = true;
        } else if (!isTooGreat(value)) {
            list += list.empty() ? "" : ", ";
            list += isInteger(value) ? std::to_string(value.get<basekit2::s64_t>())
                                     : "$" + std::to_string(++parameters);
        }
    }
    const bool isInstance = m_catalog.table(m_table).role == TableRole::instance;
    if (isInstance && !orNull && !list.empty() && !set.path.hops.empty())
        return referenceText(set.path, list);
    const std::string expression = joins.expression(set.path);
    std::string text = list.empty() ? "" : expression + " in (" + list + ")";
    if (orNull) text += (text.empty() ? "" : " or ") + expression + " is null";
    return text.empty() ? "1 = 0" : "(" + text + ")";
}

// Rows whose reference leads to one of the values. The rows that hold those are few and found once;
// behind a join they would be looked up for every instance, and no index on the reference served.
std::string SelectText::referenceText(const StorePath& path, const std::string& list) const {
    const CatalogColumn& reference =
        m_catalog.table(m_table).columns[static_cast<std::size_t>(path.hops.front())];
    if (!m_catalog.table(reference.references).inFile) return "1 = 0";
    Joins joins(m_catalog, reference.references);
    StorePath rest = path;
    rest.hops.erase(rest.hops.begin());
    const std::string expression = joins.expression(rest);
    return "t0." + dialect::quoted(reference.name) + " in (select t0." +
           dialect::quoted(columns::kRowId) + joins.fromText() + " where " + expression + " in (" +
           list + "))";
}

std::string SelectText::whereText(Joins& joins) const {
    std::string text;
    const auto add = [&text](const std::string& condition) {
        text += (text.empty() ? " where " : " and ") + condition;
    };
    for (const StorePath& path : m_notNull)
        add(joins.expression(path) + " is not null");
    int parameters = 0;
    for (const ValueSet& set : m_sets)
        add(setText(joins, set, parameters));
    if (m_filter.applies()) add(m_filter.text(m_catalog, "t0", parameters));
    return text;
}

// Rows of an instance table stand in the file by ascending start. A further order would rank rows
// of one start, so this is asked of the last order only.
bool SelectText::isFileOrder(const Order& order) const {
    const CatalogTable& table = m_catalog.table(m_table);
    if (!order.path.hops.empty() || order.descending) return false;
    if (order.path.column == StorePath::kRowIdColumn) return true;
    return table.role == TableRole::instance && order.path.column == table.column(columns::kStart);
}

std::string SelectText::orderText(Joins& joins) const {
    std::string text = " order by ";
    for (const Order& order : m_orders) {
        if (&order == &m_orders.back() && isFileOrder(order)) break;
        text += joins.expression(order.path) +
                (order.descending ? " desc nulls last, " : " asc nulls first, ");
    }
    // What is equal, and what has no order, comes as it stands in the file.
    return text + "t0.\"rowid\"";
}

void SelectText::bindValues(Statement& statement) const {
    int parameter = 0;
    for (const ValueSet& set : m_sets) {
        for (const basekit2::variant_t& value : set.values) {
            if (value.is_null() || isInteger(value)) continue;
            if (isNarrowText(value)) {
                statement.bindCopy(++parameter, std::string_view(value.get<const char*>()));
            } else {
                statement.bind(++parameter, value.get<double>());
            }
        }
    }
    m_filter.bindValues(statement, parameter);
}

}  // namespace lanefeed_runtime
