// What a filter keeps of each kind of table: instances by themselves, bands by themselves and by
// what stands on them, rows of attribute tables by the bands that lead to them. Tested by
// tests/store/filter_sql_test.cpp against a filter run by hand.
#include "store/filter_rows.h"

#include "store/store_session.h"

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using Kind = FilterNode::Kind;

// A filter over the tables of one result.
class RowsMaker {
public:
    RowsMaker(StoreSession& session, const NamedFilter& filter, TimeTest time)
        : m_session(session), m_catalog(session.catalog), m_filter(filter) {
        if (time == TimeTest::touches) m_spans = keptTime(filter.time);
    }

    FilterNode tableNode(int table) {
        switch (m_catalog.table(table).role) {
        case TableRole::instance: return rowNode(table);
        case TableRole::band: return bandNode();
        case TableRole::attribute: return attributeNode(table);
        case TableRole::side: break;
        }
        return {};
    }

private:
    using Condition = QueryFilter::Condition;

    FilterNode queryNode(int table) const {
        return m_filter.query.is_null() ? FilterNode()
                                        : filterTree(m_catalog, table, *m_filter.query);
    }

    FilterNode timeNode(int table) const {
        FilterNode node;
        const CatalogTable& rows = m_catalog.table(table);
        const bool hasTicks = rows.column(columns::kStart) >= 0 && rows.column(columns::kEnd) >= 0;
        if (isAllTime(m_spans) || !hasTicks) return node;
        node.kind = Kind::touches;
        node.spans = m_spans;
        return node;
    }

    FilterNode rowNode(int table) const { return allOf({queryNode(table), timeNode(table)}); }

    // What a band asks of its instances holds for the kinds of bands on which such instances stand.
    FilterNode bandNode() {
        const std::vector<int> tables = instanceTables();
        std::vector<FilterNode> held;
        for (const int table : tables)
            held.push_back(holding(table));
        for (const FilterNode& type : otherTypes(tables))
            held.push_back(type);
        FilterNode instances = tables.empty() ? FilterNode() : anyOf(std::move(held));
        return allOf({rowNode(m_catalog.bands()), std::move(instances)});
    }

    // Bands on which a row of the table stands that is kept.
    FilterNode holding(int table) const {
        FilterNode node;
        node.kind = Kind::heldBy;
        node.path.table = table;
        node.path.lastTable = table;
        node.path.column = m_catalog.table(table).column(columns::kBand);
        node.members.push_back(rowNode(table));
        return node;
    }

    // Tables in the file to which a condition applies that can't be told from the band alone.
    std::vector<int> instanceTables() const {
        std::vector<int> out;
        if (m_filter.query.is_null()) return out;
        const std::vector<const Condition*> conditions = conditionsOf(*m_filter.query);
        for (int table = 0; table < m_catalog.size(); ++table) {
            const CatalogTable& rows = m_catalog.table(table);
            if (rows.role != TableRole::instance || !rows.inFile) continue;
            const bool applies =
                std::any_of(conditions.begin(), conditions.end(), [&](const Condition* condition) {
                    StorePath path;
                    return !pathFrom(m_catalog, m_catalog.bands(), *condition, path) &&
                           pathFrom(m_catalog, table, *condition, path);
                });
            if (applies) out.push_back(table);
        }
        return out;
    }

    // Bands of the types on which none of these tables has a row.
    std::vector<FilterNode> otherTypes(const std::vector<int>& tables) {
        std::vector<FilterNode> out;
        const CatalogTable& bands = m_catalog.table(m_catalog.bands());
        for (std::size_t i = 0; i < bands.columns.size(); ++i) {
            const int column = static_cast<int>(i);
            const bool isType = bands.columns[i].references >= 0;
            if (!isType || std::any_of(tables.begin(), tables.end(), [&](int table) {
                    return m_session.hasBandsOfType(table, column);
                }))
                continue;
            FilterNode isNull;
            isNull.kind = Kind::values;
            isNull.path.table = m_catalog.bands();
            isNull.path.lastTable = m_catalog.bands();
            isNull.path.column = column;
            isNull.values.emplace_back();
            out.push_back(noneOf({std::move(isNull)}));
        }
        return out;
    }

    // What a condition says of the row itself, and, where that is not all, whether a band that is
    // kept leads to it.
    FilterNode attributeNode(int table) {
        FilterNode own = queryNode(table);
        if (isToldBy(table)) return own;
        std::vector<FilterNode> held;
        for (const StorePath& path : bandPaths(table)) {
            FilterNode node;
            node.kind = Kind::heldBy;
            node.path = path;
            node.members.push_back(bandNode());
            if (node.members.front().kind == Kind::everything) return own;
            held.push_back(std::move(node));
        }
        return held.empty() ? own : allOf({std::move(own), anyOf(std::move(held))});
    }

    bool isToldBy(int table) const {
        if (!isAllTime(m_spans)) return false;
        if (m_filter.query.is_null()) return true;
        const std::vector<const Condition*> conditions = conditionsOf(*m_filter.query);
        return std::all_of(conditions.begin(), conditions.end(), [&](const Condition* condition) {
            StorePath path;
            return pathFrom(m_catalog, table, *condition, path);
        });
    }

    std::vector<StorePath> bandPaths(int table) const {
        std::vector<StorePath> out;
        StorePath path;
        path.table = m_catalog.bands();
        path.lastTable = path.table;
        addBandPaths(table, path, out);
        return out;
    }

    void addBandPaths(int table, const StorePath& from, std::vector<StorePath>& out) const {
        constexpr std::size_t kMostHops = 3;
        const CatalogTable& rows = m_catalog.table(from.lastTable);
        for (std::size_t i = 0; i < rows.columns.size(); ++i) {
            const int target = rows.columns[i].references;
            if (target < 0 || m_catalog.table(target).role != TableRole::attribute ||
                !m_catalog.table(target).inFile)
                continue;
            StorePath path = from;
            path.column = static_cast<int>(i);
            if (target == table) {
                out.push_back(path);
            } else if (path.hops.size() < kMostHops) {
                path.hops.push_back(path.column);
                path.lastTable = target;
                addBandPaths(table, path, out);
            }
        }
    }

    StoreSession& m_session;
    const Catalog& m_catalog;
    const NamedFilter& m_filter;
    TickSpans m_spans = keptTime(nullptr);
};

}  // namespace

FilterNode keptRows(StoreSession& session, int table, const NamedFilter& filter, TimeTest time) {
    return RowsMaker(session, filter, time).tableNode(table);
}

}  // namespace lanefeed_runtime
