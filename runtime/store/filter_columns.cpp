// Names for the attributes of a result, taken from its tables, so that a result of another kind of
// trace has its own. Tested by tests/queries/filters_test.cpp.
#include "store/filter_columns.h"

#include "store/catalog.h"
#include "store/filter_tree.h"

#include <algorithm>
#include <map>
#include <utility>

namespace lanefeed_runtime {
namespace {

constexpr std::string_view kPrefix = "dd_";

std::string shortName(const std::string& table) {
    const bool hasPrefix = table.compare(0, kPrefix.size(), kPrefix) == 0;
    return hasPrefix ? table.substr(kPrefix.size()) : table;
}

std::vector<std::string> nameColumns(const CatalogTable& table) {
    std::vector<std::string> out;
    for (const std::string_view name : {columns::kName, columns::kLabel})
        if (table.column(name) >= 0) out.emplace_back(name);
    return out;
}

class ColumnFinder {
public:
    explicit ColumnFinder(const Catalog& catalog) : m_catalog(catalog) {}

    std::vector<FilterColumnDef> find() {
        for (int table = 0; table < m_catalog.size(); ++table)
            if (isHeld(table, TableRole::attribute)) addTable(table);
        addNames();
        std::vector<FilterColumnDef> out;
        for (auto& [name, targets] : m_columns)
            out.push_back({name, std::move(targets)});
        return out;
    }

private:
    bool isHeld(int table, TableRole role) const {
        return m_catalog.table(table).role == role && m_catalog.table(table).inFile;
    }

    void addTable(int position) {
        const CatalogTable& table = m_catalog.table(position);
        FilterTarget target;
        target.leafTable = table.name;
        if (!addBandPaths(position, target) && !addInstancePath(position, target)) return;
        target.texts = nameColumns(table);
        const std::string name = shortName(table.name);
        for (const CatalogColumn& column : table.columns) {
            const bool isName =
                std::count(target.texts.begin(), target.texts.end(), column.name) > 0;
            if (isName || column.references >= 0 || column.name == "sort") continue;
            FilterTarget further = target;
            further.texts = {column.name};
            const bool isTaken = m_columns.count(column.name) > 0;
            m_columns[isTaken ? name + "." + column.name : column.name] = {further};
        }
        if (!target.texts.empty()) m_columns[name] = {target};
    }

    bool addBandPaths(int table, FilterTarget& target) const {
        target.table = columns::kBand;
        for (const StorePath& path : pathsFromBands(m_catalog, table))
            target.paths.push_back(pathText(m_catalog, path));
        return !target.paths.empty();
    }

    // The first instance table that refers to it speaks for all that do so under the same name.
    bool addInstancePath(int table, FilterTarget& target) const {
        for (int from = 0; from < m_catalog.size(); ++from) {
            if (!isHeld(from, TableRole::instance)) continue;
            for (const CatalogColumn& column : m_catalog.table(from).columns) {
                if (column.references != table) continue;
                target.table = m_catalog.table(from).name;
                target.paths = {column.name};
                return true;
            }
        }
        return false;
    }

    // "name" is the attribute of an instance, whatever table that stands in.
    void addNames() {
        std::vector<FilterTarget>& names = m_columns[std::string(columns::kName)];
        for (int from = 0; from < m_catalog.size(); ++from) {
            const CatalogTable& table = m_catalog.table(from);
            const int attr = table.column(columns::kAttr);
            if (!isHeld(from, TableRole::instance) || attr < 0) continue;
            const int leaf = table.columns[static_cast<std::size_t>(attr)].references;
            if (leaf < 0 || !m_catalog.table(leaf).inFile) continue;
            const std::string& leafName = m_catalog.table(leaf).name;
            const auto known = std::find_if(
                names.begin(), names.end(),
                [&](const FilterTarget& target) { return target.leafTable == leafName; });
            if (known != names.end()) {
                known->tables.push_back(table.name);
                continue;
            }
            names.push_back({leafName,
                             nameColumns(m_catalog.table(leaf)),
                             table.name,
                             {std::string(columns::kAttr)},
                             {table.name}});
        }
        if (names.empty()) m_columns.erase(std::string(columns::kName));
    }

    const Catalog& m_catalog;
    std::map<std::string, std::vector<FilterTarget>> m_columns;
};

}  // namespace

std::vector<FilterColumnDef> filterColumnsOf(const Catalog& catalog) {
    return ColumnFinder(catalog).find();
}

}  // namespace lanefeed_runtime
