// The row queries of a grouping as chains of levels: a query and, below it, what it expands to, as
// far as that is a query on an attribute. Tested by tests/agreement/grid_test.cpp.
#include "row_alternatives.h"

#include "grid_error.h"

#include <algorithm>

namespace lanefeed_runtime {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::IDataQuery;
using dataface_1::IDerivedQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;

constexpr const char* kBandTable = "dd_band";
// A library that let a chain meet itself would hang the walk.
constexpr std::size_t kMostLevels = 64;
// Tables that queries are looked up in; lists may be nested.
constexpr int kMostNesting = 8;

RowAlternative chainOf(sptr_t<IInfoQuery> query) {
    RowAlternative chain;
    while (!query.is_null() && chain.levels.size() < kMostLevels) {
        chain.levels.push_back(query);
        query = IInfoQuery::cast(query->getExpansionQuery());
    }
    return chain;
}

std::string tableOf(const sptr_t<IQuery>& query, int nesting) {
    if (nesting > kMostNesting) return {};
    if (const auto info = IInfoQuery::cast(query)) return info->getInstanceTable();
    if (const auto data = IDataQuery::cast(query)) return data->getInstanceTable();
    if (const auto derived = IDerivedQuery::cast(query))
        return tableOf(derived->getQueries(1).current(), nesting + 1);
    const auto list = IVectorQuery::cast(query);
    return list.is_null() ? std::string() : tableOf(list->getDefaultQuery(), nesting + 1);
}

std::string quoted(const IQuery& query) {
    return "\"" + query.getId() + "\"";
}

error_code_t differentRows(const std::string& names,
                           const std::string& table,
                           const std::string& otherTable) {
    return gridError("the alternatives " + names + " of a grouping lead to different rows, " +
                     table + " and " + otherTable + "; make a rowBy of each");
}

error_code_t checkSame(const RowAlternative& first,
                       const RowAlternative& other,
                       storelink1::IDatabase* database) {
    std::string names = quoted(*first.levels.front());
    names += " and ";
    names += quoted(*other.levels.front());
    if (first.levels.size() != other.levels.size())
        return gridError("the alternatives " + names +
                         " of a grouping have different numbers of levels; give them as many, or "
                         "make a rowBy of each");
    for (std::size_t level = 0; database != nullptr && level < first.levels.size(); ++level) {
        const std::string table = leafTableOf(*first.levels[level], *database);
        const std::string otherTable = leafTableOf(*other.levels[level], *database);
        if (table != otherTable) return differentRows(names, table, otherTable);
    }
    return error_code_t::success;
}

}  // namespace

RowAlternatives alternativesOf(const IVectorQuery& grouping) {
    RowAlternatives alternatives;
    for (auto it = grouping.getQueries(); !it.at_end(); it.next()) {
        const sptr_t<IQuery> member = it.current();
        if (const auto info = IInfoQuery::cast(member)) {
            alternatives.push_back(chainOf(info));
        } else if (const auto list = IVectorQuery::cast(member)) {
            for (auto inner = list->getQueries(); !inner.at_end(); inner.next())
                if (const auto innerInfo = IInfoQuery::cast(inner.current()))
                    alternatives.push_back(chainOf(innerInfo));
        }
    }
    return alternatives;
}

error_code_t checkAlternatives(const RowAlternatives& alternatives,
                               storelink1::IDatabase* database) {
    for (const RowAlternative& alternative : alternatives) {
        error_code_t err = checkSame(alternatives.front(), alternative, database);
        if (!err.succeeded()) return err;
    }
    return error_code_t::success;
}

std::string instanceTableOf(const sptr_t<IQuery>& query) {
    return tableOf(query, 0);
}

const RowAlternative* alternativeFor(const RowAlternatives& alternatives,
                                     const std::string& table) {
    const auto startingAt = [&](const std::string& start) {
        const auto found = std::find_if(
            alternatives.begin(), alternatives.end(),
            [&](const RowAlternative& alternative) { return alternative.table() == start; });
        return found == alternatives.end() ? nullptr : &*found;
    };
    const RowAlternative* own = table.empty() ? nullptr : startingAt(table);
    return own != nullptr ? own : startingAt(kBandTable);
}

const RowAlternative& listingAlternative(const RowAlternatives& alternatives) {
    const RowAlternative* bands = alternativeFor(alternatives, kBandTable);
    return bands != nullptr ? *bands : alternatives.front();
}

std::string leafTableOf(const IInfoQuery& query, storelink1::IDatabase& database) {
    const auto retriever = database.createAttributeRetriever(
        query.getInstanceTable() + "." + query.getAttributeTable(), false);
    std::string table;
    if (retriever.is_null() || !retriever->getLeafTable(table)) return {};
    return table;
}

}  // namespace lanefeed_runtime
