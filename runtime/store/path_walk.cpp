// The one room that turns the text of a path into columns to follow.
// Tested by tests/store/path_test.cpp against a search by hand.
#include "store/path_walk.h"

namespace lanefeed_runtime {
namespace {

using Components = std::vector<std::string_view>;

Components split(std::string_view text) {
    Components parts;
    for (;;) {
        const std::size_t dot = text.find('.');
        parts.push_back(text.substr(0, dot));
        if (dot == std::string_view::npos) return parts;
        text.remove_prefix(dot + 1);
    }
}

// A column by its name, else the first one that refers to a table of that name; -1 for none.
int findColumn(const Catalog& catalog, int table, std::string_view component) {
    const CatalogTable& from = catalog.table(table);
    const int named = from.column(component);
    if (named >= 0) return named;
    const int target = catalog.find(component);
    for (std::size_t i = 0; target >= 0 && i < from.columns.size(); ++i) {
        if (from.columns[i].references == target) return static_cast<int>(i);
    }
    return -1;
}

class Walker {
public:
    Walker(const Catalog& catalog, int table) : m_catalog(catalog), m_at(table) {
        m_path.table = table;
    }

    // Follows a component to the table that it refers to.
    bool hop(std::string_view component) {
        const int column = findColumn(m_catalog, m_at, component);
        if (column < 0) return false;
        const int target = at().columns[static_cast<std::size_t>(column)].references;
        if (target < 0) return false;
        m_path.hops.push_back(column);
        m_at = target;
        return true;
    }

    bool hopToTable(std::string_view name) {
        if (m_catalog.find(name) < 0) return false;
        if (hop(name)) return true;
        return hop(columns::kBand) && hop(name);
    }

    bool walk(const Components& components, std::size_t from) {
        for (std::size_t i = from; i + 1 < components.size(); ++i) {
            if (!hop(components[i])) return false;
        }
        return finish(components.back());
    }

    void finishAtRow() {
        m_path.leafTable = m_at;
        m_path.lastTable = m_at;
        m_path.kind = ValueKind::id;
        m_path.column = StorePath::kRowIdColumn;
        if (m_path.hops.empty()) return;
        // The row id of the table that a column refers to is the column itself.
        m_path.column = m_path.hops.back();
        m_path.hops.pop_back();
        m_path.lastTable = m_path.table;
        for (const int column : m_path.hops)
            m_path.lastTable = target(m_path.lastTable, column);
    }

    StorePath& path() { return m_path; }

private:
    const CatalogTable& at() const { return m_catalog.table(m_at); }
    int target(int table, int column) const {
        return m_catalog.table(table).columns[static_cast<std::size_t>(column)].references;
    }

    bool finish(std::string_view component) {
        if (component == columns::kRowId) {
            finishAtRow();
            return true;
        }
        const int column = findColumn(m_catalog, m_at, component);
        if (column < 0) return false;
        const CatalogColumn& last = at().columns[static_cast<std::size_t>(column)];
        m_path.column = column;
        m_path.lastTable = m_at;
        m_path.kind = last.kind;
        m_path.leafTable = last.references >= 0 ? last.references : m_at;
        return true;
    }

    const Catalog& m_catalog;
    int m_at;
    StorePath m_path;
};

// "X::a.b"
bool resolveFrom(Walker& walker,
                 std::string_view own,
                 std::string_view name,
                 std::string_view rest) {
    if (name != own && !walker.hopToTable(name)) return false;
    return walker.walk(split(rest), 0);
}

}  // namespace

bool operator==(const StorePath& a, const StorePath& b) {
    return a.table == b.table && a.hops == b.hops && a.column == b.column;
}

bool resolvePath(const Catalog& catalog, int table, std::string_view text, StorePath& path) {
    const std::string_view own = catalog.table(table).name;
    Walker walker(catalog, table);
    bool found = false;
    const std::size_t colons = text.find("::");
    if (colons != std::string_view::npos) {
        found = resolveFrom(walker, own, text.substr(0, colons), text.substr(colons + 2));
    } else {
        const Components components = split(text);
        const bool startsWithOwn = components.front() == own;
        if (startsWithOwn && components.size() == 1) {
            walker.finishAtRow();
            found = true;
        } else {
            found = walker.walk(components, startsWithOwn ? 1 : 0);
        }
    }
    if (found) path = walker.path();
    return found;
}

}  // namespace lanefeed_runtime
