// Filters as SQL: a condition that stands on its own, whatever else the statement joins. Paths
// become nested "in (select ...)", which the engine works out once for each statement, and every
// part is true or false, never null, so that negation means what it says.
// Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_sql.h"

#include "store/dialect.h"
#include "store/filter_rows.h"
#include "store/sqlite_handle.h"
#include "store/store_session.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>
#include <utility>

namespace lanefeed_runtime {
namespace {

using Kind = FilterNode::Kind;

constexpr const char* kTrue = "(1 = 1)";
constexpr const char* kFalse = "(1 = 0)";
// An engine takes so many links of a chain of "and" or "or" and not many more.
constexpr std::size_t kMostLinks = 200;

// "(a or b or ...)", in bundles of bundles when there are many. Each part can stand beside "and",
// "or" and "not" as it is, and so can the whole; engines take only so many parentheses.
std::string chain(std::vector<std::string> parts, const char* link) {
    if (parts.size() == 1) return std::move(parts.front());
    while (parts.size() > kMostLinks) {
        std::vector<std::string> bundles;
        for (std::size_t from = 0; from < parts.size(); from += kMostLinks) {
            const std::size_t to = std::min(parts.size(), from + kMostLinks);
            bundles.push_back(chain({parts.begin() + static_cast<std::ptrdiff_t>(from),
                                     parts.begin() + static_cast<std::ptrdiff_t>(to)},
                                    link));
        }
        parts = std::move(bundles);
    }
    std::string text = "(";
    for (const std::string& part : parts)
        text += (text.size() > 1 ? link : "") + part;
    return text + ")";
}

class Writer {
public:
    Writer(const Catalog& catalog, int& parameters)
        : m_catalog(catalog), m_parameters(parameters) {}

    std::string node(const FilterNode& node, const std::string& alias) {
        switch (node.kind) {
        case Kind::everything: return kTrue;
        case Kind::nothing: return kFalse;
        case Kind::all: return chain(members(node, alias), " and ");
        case Kind::any: return chain(members(node, alias), " or ");
        case Kind::none: return "not " + chain(members(node, alias), " or ");
        case Kind::values: return values(node, alias);
        case Kind::touches: return touches(node, alias);
        case Kind::heldBy: return heldBy(node, alias);
        }
        return kTrue;
    }

private:
    std::vector<std::string> members(const FilterNode& node, const std::string& alias) {
        std::vector<std::string> parts;
        parts.reserve(node.members.size());
        for (const FilterNode& member : node.members)
            parts.push_back(this->node(member, alias));
        return parts;
    }

    std::string nextAlias() { return "f" + std::to_string(++m_aliases); }

    const CatalogColumn& columnAt(int table, int column) const {
        return m_catalog.table(table).columns[static_cast<std::size_t>(column)];
    }

    std::string columnText(int table, int column, const std::string& alias) const {
        const bool isRow = column == StorePath::kRowIdColumn;
        return alias + "." +
               dialect::quoted(isRow ? columns::kRowId
                                     : std::string_view(columnAt(table, column).name));
    }

    std::string selectRows(int table, const std::string& alias) const {
        return "select " + alias + ".\"rowid\" from " +
               dialect::quoted(m_catalog.table(table).name) + " as " + alias + " where ";
    }

    // Rows from which the path leads to a column that `test` takes.
    template <class Test>
    std::string along(const StorePath& path, const std::string& alias, Test&& test) {
        std::string text;
        std::string close;
        std::string at = alias;
        int table = path.table;
        for (const int hop : path.hops) {
            const int target = columnAt(table, hop).references;
            const std::string reference = columnText(table, hop, at);
            at = nextAlias();
            text +=
                fmt::format("({0} is not null and {0} in ({1}", reference, selectRows(target, at));
            close += "))";
            table = target;
        }
        return text + test(columnText(table, path.column, at)) + close;
    }

    std::string values(const FilterNode& node, const std::string& alias) {
        std::vector<std::string> parts;
        const auto nulls = std::count_if(node.values.begin(), node.values.end(),
                                         [](const auto& value) { return value.is_null(); });
        if (nulls < static_cast<std::ptrdiff_t>(node.values.size())) {
            parts.push_back(along(node.path, alias, [&](const std::string& column) {
                return "(" + column + " is not null and " + column + " in (" + list(node.values) +
                       "))";
            }));
        }
        if (nulls > 0) {
            parts.push_back("not " + along(node.path, alias, [](const std::string& column) {
                                return "(" + column + " is not null)";
                            }));
        }
        return chain(std::move(parts), " or ");
    }

    // Integers stand in the text: they can do no harm there, and their number meets no limit.
    std::string list(const std::vector<basekit2::variant_t>& values) {
        std::string text;
        for (const basekit2::variant_t& value : values) {
            if (value.is_null()) continue;
            if (!text.empty()) text += ", ";
            text += value.get_type() == basekit2::vtS64
                        ? std::to_string(value.get<basekit2::s64_t>())
                        : "$" + std::to_string(++m_parameters);
        }
        return text;
    }

    // First and last tick of a row are both its own; the spans are half open.
    std::string touches(const FilterNode& node, const std::string& alias) const {
        constexpr auto kMost =
            static_cast<basekit2::u64_t>(std::numeric_limits<basekit2::s64_t>::max());
        std::vector<std::string> parts;
        for (const storelink1::time_interval_t& span : node.spans) {
            if (span.start > kMost) break;
            parts.push_back(fmt::format("({0}.\"end_tsc\" >= {1} and {0}.\"start_tsc\" < {2})",
                                        alias, span.start, std::min(span.end, kMost)));
        }
        return parts.empty() ? kFalse : chain(std::move(parts), " or ");
    }

    // The path is walked backwards: from the rows that are kept, to what they refer to.
    std::string heldBy(const FilterNode& node, const std::string& alias) {
        const StorePath& path = node.path;
        std::string at = nextAlias();
        int table = path.table;
        std::string condition = this->node(node.members.front(), at);
        const auto select = [&](int column) {
            const std::string reference = columnText(table, column, at);
            return "select " + reference + " from " + dialect::quoted(m_catalog.table(table).name) +
                   " as " + at + " where " + reference + " is not null and " + condition;
        };
        for (const int hop : path.hops) {
            const std::string rows = select(hop);
            table = columnAt(table, hop).references;
            at = nextAlias();
            condition = fmt::format("{}.\"rowid\" in ({})", at, rows);
        }
        return "(" + alias + ".\"rowid\" in (" + select(path.column) + "))";
    }

    const Catalog& m_catalog;
    int& m_parameters;
    int m_aliases = 0;
};

// In the order of the text.
void bind(const FilterNode& node, Statement& statement, int& parameters) {
    for (const basekit2::variant_t& value : node.values) {
        if (value.can_get<const char*>()) {
            statement.bindCopy(++parameters, value.get<std::string>());
        } else if (value.get_type() == basekit2::vtDouble) {
            statement.bind(++parameters, value.get<double>());
        }
    }
    for (const FilterNode& member : node.members)
        bind(member, statement, parameters);
}

}  // namespace

std::string FilterClause::text(const Catalog& catalog,
                               std::string_view alias,
                               int& parameters) const {
    if (m_root == nullptr) return kTrue;
    return Writer(catalog, parameters).node(*m_root, std::string(alias));
}

void FilterClause::bindValues(Statement& statement, int& parameters) const {
    if (m_root != nullptr) bind(*m_root, statement, parameters);
}

FilterClause filterClause(StoreSession& session,
                          int table,
                          const NamedFilter& filter,
                          TimeTest time) {
    FilterNode root = keptRows(session, table, filter, time);
    if (root.kind == Kind::everything) return {};
    return FilterClause(std::make_shared<const FilterNode>(std::move(root)));
}

bool filterApplies(StoreSession& session, int table, const NamedFilter& filter) {
    return asksOfRows(session, table, filter);
}

FilterClause bothClauses(const FilterClause& a, const FilterClause& b) {
    if (!a.applies()) return b;
    if (!b.applies()) return a;
    return FilterClause(std::make_shared<const FilterNode>(allOf({*a.m_root, *b.m_root})));
}

}  // namespace lanefeed_runtime
