// Turns the groups of a filter into a tree over one table.
// A condition speaks of its own table; from another one it is told along the same references, or
// not at all. What can't be told is "true" where it stands plain and "false" where it stands under
// a negation, so that the answer errs on the side of keeping.
// Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_tree.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::s64_t;
using basekit2::variant_t;
using dataface_1::IQueryFilterBuilder;
using Condition = QueryFilter::Condition;
using Group = QueryFilter::Group;
using Kind = FilterNode::Kind;

constexpr s64_t kNoRow = -1;

FilterNode nodeOf(Kind kind) {
    FilterNode node;
    node.kind = kind;
    return node;
}

// Members of members of the same kind, without those that change nothing; `unit` is what an empty
// list stands for, and the opposite decides alone.
FilterNode combined(Kind kind, std::vector<FilterNode> members, Kind unit, Kind opposite) {
    FilterNode out = nodeOf(kind);
    for (FilterNode& member : members) {
        if (member.kind == opposite) return nodeOf(opposite);
        if (member.kind == unit) continue;
        if (member.kind == kind) {
            std::move(member.members.begin(), member.members.end(),
                      std::back_inserter(out.members));
        } else {
            out.members.push_back(std::move(member));
        }
    }
    if (out.members.empty()) return nodeOf(unit);
    if (out.members.size() > 1) return out;
    FilterNode only = std::move(out.members.front());
    return only;
}

// Values of one path become one set.
void joinSets(std::vector<FilterNode>& members) {
    std::vector<FilterNode> out;
    std::vector<std::size_t> sets;  // positions in `out`; few paths, many values
    for (FilterNode& member : members) {
        const auto same = std::find_if(sets.begin(), sets.end(), [&](std::size_t at) {
            return member.kind == Kind::values && out[at].path == member.path;
        });
        if (same != sets.end()) {
            std::vector<variant_t>& into = out[*same].values;
            into.insert(into.end(), member.values.begin(), member.values.end());
            continue;
        }
        if (member.kind == Kind::values) sets.push_back(out.size());
        out.push_back(std::move(member));
    }
    members = std::move(out);
}

const CatalogColumn& columnAt(const Catalog& catalog, int table, int column) {
    return catalog.table(table).columns[static_cast<std::size_t>(column)];
}

// The steps of a path: its hops, then its column.
std::vector<int> stepsOf(const StorePath& path) {
    std::vector<int> steps = path.hops;
    steps.push_back(path.column);
    return steps;
}

// A path of the given steps from a table; each but the last is a reference.
StorePath pathOf(const Catalog& catalog, int table, const std::vector<int>& steps) {
    StorePath path;
    path.table = table;
    path.lastTable = table;
    path.hops.assign(steps.begin(), steps.end() - 1);
    for (const int hop : path.hops)
        path.lastTable = columnAt(catalog, path.lastTable, hop).references;
    path.column = steps.back();
    path.leafTable = path.lastTable;
    if (path.column == StorePath::kRowIdColumn) return path;
    const CatalogColumn& column = columnAt(catalog, path.lastTable, path.column);
    path.kind = column.kind;
    if (column.references >= 0) path.leafTable = column.references;
    return path;
}

// The part of a path that is left when it has come to `table`; bands only by way of the column that
// bears their name, since other references to a band don't tell where a row stands.
bool restFrom(const Catalog& catalog, const StorePath& own, int table, StorePath& rest) {
    const std::vector<int> steps = stepsOf(own);
    int at = own.table;
    for (std::size_t i = 0; i < steps.size() && steps[i] != StorePath::kRowIdColumn; ++i) {
        const CatalogColumn& column = columnAt(catalog, at, steps[i]);
        at = column.references;
        if (at < 0) return false;
        if (at != table || (at == catalog.bands() && column.name != columns::kBand)) continue;
        std::vector<int> left(steps.begin() + static_cast<std::ptrdiff_t>(i) + 1, steps.end());
        if (left.empty()) left.push_back(StorePath::kRowIdColumn);
        rest = pathOf(catalog, table, left);
        return true;
    }
    return false;
}

// The same reference of another instance table: a column of the same name to the same table.
bool sameColumn(const Catalog& catalog, const StorePath& own, int table, StorePath& path) {
    std::vector<int> steps = stepsOf(own);
    if (steps.front() == StorePath::kRowIdColumn) return false;
    const CatalogColumn& first = columnAt(catalog, own.table, steps.front());
    const int column = catalog.table(table).column(first.name);
    if (first.references < 0 || column < 0 ||
        columnAt(catalog, table, column).references != first.references)
        return false;
    steps.front() = column;
    path = pathOf(catalog, table, steps);
    return true;
}

bool isInstance(const Catalog& catalog, int table) {
    return catalog.table(table).role == TableRole::instance;
}

// From `table` to what `own`, a path of another table, leads to.
bool otherPath(const Catalog& catalog, int table, const StorePath& own, StorePath& path) {
    if (isInstance(catalog, table) && isInstance(catalog, own.table))
        return sameColumn(catalog, own, table, path);
    if (isInstance(catalog, table) && own.table == catalog.bands()) {
        std::vector<int> steps = stepsOf(own);
        const int band = catalog.table(table).column(columns::kBand);
        if (band < 0) return false;
        if (steps.front() == StorePath::kRowIdColumn) steps.clear();
        steps.insert(steps.begin(), band);
        path = pathOf(catalog, table, steps);
        return true;
    }
    return restFrom(catalog, own, table, path);
}

std::string joinedPath(const std::string& path, const std::string& more) {
    return path.empty() || more.empty() ? path + more : path + "." + more;
}

// The condition's own path to what its value is compared with.
bool ownPath(const Catalog& catalog, int table, const Condition& condition, StorePath& path) {
    const std::string index =
        condition.path.empty() ? std::string(columns::kRowId) : condition.path;
    if (!condition.value.can_get<const char*>()) return resolvePath(catalog, table, index, path);
    // A display text stands behind the suffix; without one, in the column itself or under "name".
    if (!condition.suffix.empty())
        return resolvePath(catalog, table, joinedPath(condition.path, condition.suffix), path);
    if (!resolvePath(catalog, table, index, path)) return false;
    StorePath name;
    const std::string named = joinedPath(condition.path, std::string(columns::kName));
    if (path.kind == ValueKind::id && resolvePath(catalog, table, named, name)) path = name;
    return true;
}

template <class T>
bool parsed(const std::string& text, T& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

// A value as its column holds it. False for one that no such column can hold.
bool columnValue(ValueKind kind, const variant_t& given, variant_t& value) {
    if (given.is_null()) {
        value = variant_t();
        return true;
    }
    variant_t printed;
    basekit2::print_variant(given, printed, false);
    const auto text = printed.get<std::string>();
    if (kind == ValueKind::text) {
        value = printed;
        return !printed.is_null();
    }
    s64_t integer = 0;
    if (parsed(text, integer)) {
        const bool isNone = kind == ValueKind::id && integer == kNoRow;
        value = isNone ? variant_t() : variant_t(integer);
        return true;
    }
    double real = 0;
    if (kind != ValueKind::real || !parsed(text, real) || std::isnan(real)) return false;
    value = real;
    return true;
}

class TreeMaker {
public:
    TreeMaker(const Catalog& catalog, int table) : m_catalog(catalog), m_table(table) {}

    // keepsMore: what can't be told counts as true.
    FilterNode filter(const QueryFilter& filter, bool keepsMore) const {
        return allOf(members(filter.root(), keepsMore, true));
    }

private:
    FilterNode condition(const Condition& condition, bool keepsMore) const {
        FilterNode node = nodeOf(keepsMore ? Kind::everything : Kind::nothing);
        if (!pathFrom(m_catalog, m_table, condition, node.path)) return node;
        variant_t value;
        if (!columnValue(node.path.kind, condition.value, value)) return nodeOf(Kind::nothing);
        // A table on the way that has no rows at all leads nowhere.
        if (!isInFile(node.path)) return nodeOf(value.is_null() ? Kind::everything : Kind::nothing);
        node.kind = Kind::values;
        node.values.push_back(value);
        return node;
    }

    bool isInFile(const StorePath& path) const {
        int at = path.table;
        return std::all_of(path.hops.begin(), path.hops.end(), [&](int hop) {
            at = columnAt(m_catalog, at, hop).references;
            return m_catalog.table(at).inFile;
        });
    }

    FilterNode group(const Group& group, bool keepsMore) const {
        if (group.kind == IQueryFilterBuilder::groupIncluded)
            return anyOf(members(group, keepsMore, true));
        // In a group of what is excluded the sign of a condition only repeats that of the group.
        const bool hasSigns = group.kind == IQueryFilterBuilder::groupNegated;
        return noneOf(members(group, !keepsMore, hasSigns));
    }

    std::vector<FilterNode> members(const Group& group, bool keepsMore, bool hasSigns) const {
        std::vector<FilterNode> out;
        for (const Condition& one : group.conditions) {
            const bool isNegated = hasSigns && one.excluded;
            FilterNode node = condition(one, keepsMore != isNegated);
            if (isNegated) node = noneOf({std::move(node)});
            out.push_back(std::move(node));
        }
        for (const auto& inner : group.filters)
            out.push_back(filter(*inner, keepsMore));
        for (const Group& inner : group.groups)
            out.push_back(this->group(inner, keepsMore));
        return out;
    }

    const Catalog& m_catalog;
    int m_table;
};

void addBandPaths(const Catalog& catalog,
                  int table,
                  const StorePath& from,
                  std::vector<StorePath>& out) {
    constexpr std::size_t kMostHops = 3;
    const CatalogTable& rows = catalog.table(from.lastTable);
    for (std::size_t i = 0; i < rows.columns.size(); ++i) {
        const int target = rows.columns[i].references;
        if (target < 0 || catalog.table(target).role != TableRole::attribute ||
            !catalog.table(target).inFile)
            continue;
        StorePath path = from;
        path.column = static_cast<int>(i);
        path.leafTable = target;
        if (target == table) {
            out.push_back(path);
        } else if (path.hops.size() < kMostHops) {
            path.hops.push_back(path.column);
            path.lastTable = target;
            addBandPaths(catalog, table, path, out);
        }
    }
}

void collect(const Group& group, std::vector<const Condition*>& out) {
    for (const Condition& condition : group.conditions)
        out.push_back(&condition);
    for (const auto& filter : group.filters)
        collect(filter->root(), out);
    for (const Group& inner : group.groups)
        collect(inner, out);
}

}  // namespace

FilterNode allOf(std::vector<FilterNode> members) {
    return combined(Kind::all, std::move(members), Kind::everything, Kind::nothing);
}

FilterNode anyOf(std::vector<FilterNode> members) {
    joinSets(members);
    return combined(Kind::any, std::move(members), Kind::nothing, Kind::everything);
}

FilterNode noneOf(std::vector<FilterNode> members) {
    FilterNode any = anyOf(std::move(members));
    if (any.kind == Kind::nothing) return nodeOf(Kind::everything);
    if (any.kind == Kind::everything) return nodeOf(Kind::nothing);
    if (any.kind == Kind::none) {
        FilterNode twice = std::move(any.members.front());
        return twice;
    }
    FilterNode out = nodeOf(Kind::none);
    out.members.push_back(std::move(any));
    return out;
}

bool pathFrom(const Catalog& catalog, int table, const Condition& condition, StorePath& path) {
    const int origin = condition.table.empty() ? table : catalog.find(condition.table);
    StorePath own;
    if (origin < 0 || !ownPath(catalog, origin, condition, own)) return false;
    if (origin == table) {
        path = own;
        return true;
    }
    if (otherPath(catalog, table, own, path)) return true;
    // An attribute table may be referred to by the table itself or by its band.
    if (catalog.table(origin).role != TableRole::attribute) return false;
    StorePath toOrigin;
    if (!resolvePath(catalog, table, condition.table + "::rowid", toOrigin)) return false;
    std::vector<int> steps = stepsOf(toOrigin);
    const std::vector<int> rest = stepsOf(own);
    if (rest.front() != StorePath::kRowIdColumn)
        steps.insert(steps.end(), rest.begin(), rest.end());
    path = pathOf(catalog, table, steps);
    return true;
}

std::vector<StorePath> pathsFromBands(const Catalog& catalog, int table) {
    std::vector<StorePath> out;
    StorePath path;
    path.table = catalog.bands();
    path.lastTable = path.table;
    addBandPaths(catalog, table, path, out);
    return out;
}

std::string pathText(const Catalog& catalog, const StorePath& path) {
    std::string text;
    int table = path.table;
    for (const int hop : path.hops) {
        const CatalogColumn& column = columnAt(catalog, table, hop);
        text += column.name + ".";
        table = column.references;
    }
    const bool isRow = path.column == StorePath::kRowIdColumn;
    return text +
           (isRow ? std::string(columns::kRowId) : columnAt(catalog, table, path.column).name);
}

FilterNode filterTree(const Catalog& catalog, int table, const QueryFilter& filter) {
    return TreeMaker(catalog, table).filter(filter, true);
}

std::vector<const Condition*> conditionsOf(const QueryFilter& filter) {
    std::vector<const Condition*> out;
    collect(filter.root(), out);
    return out;
}

}  // namespace lanefeed_runtime
