// What a filter keeps of each kind of table: instances by themselves, bands by themselves and by
// what stands on them, rows of attribute tables by the bands that lead to them.
// Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_rows.h"

#include "store/dialect.h"
#include "store/store_session.h"

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using Kind = FilterNode::Kind;

// A filter over the tables of one result.
class RowsMaker {
public:
    RowsMaker(StoreSession& session, const NamedFilter& filter, TimeTest time, bool looksUp)
        : m_session(session), m_catalog(session.catalog), m_filter(filter), m_looksUp(looksUp) {
        if (time == TimeTest::touches) m_spans = keptTime(filter.time);
    }

    FilterNode tableNode(int table) {
        switch (m_catalog.table(table).role) {
        case TableRole::instance: return told(rowNode(table));
        case TableRole::band: return told(bandNode());
        case TableRole::attribute: return told(attributeNode(table));
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
        std::vector<FilterNode> held = otherTypes(tables);
        held.reserve(held.size() + tables.size());
        for (const int table : tables)
            held.push_back(holding(table));
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
        const std::vector<StorePath> paths = pathsFromBands(m_catalog, table);
        if (paths.empty() || isToldBy(table)) return own;
        const FilterNode bands = rowsOf(m_catalog.bands(), bandNode());
        if (bands.kind == Kind::everything) return own;
        std::vector<FilterNode> held;
        for (const StorePath& path : paths) {
            FilterNode node;
            node.kind = Kind::heldBy;
            node.path = path;
            node.members.push_back(bands);
            held.push_back(std::move(node));
        }
        return allOf({std::move(own), anyOf(std::move(held))});
    }

    // The rows that a node keeps of a table, as the list of their ids.
    FilterNode rowsOf(int table, FilterNode node) {
        if (!m_looksUp || node.kind == Kind::everything) return node;
        FilterNode rows;
        rows.kind = Kind::values;
        rows.path.table = table;
        rows.path.lastTable = table;
        rows.path.leafTable = table;
        addIds(table, told(std::move(node)), rows);
        return rows;
    }

    void addIds(int table, const FilterNode& node, FilterNode& rows) {
        std::vector<basekit2::s64_t> ids;
        rowsWhere(m_session, table, node, ids);
        rows.values.insert(rows.values.end(), ids.begin(), ids.end());
        if (rows.values.empty()) rows.kind = Kind::nothing;
    }

    // The node with what it asks of other tables looked up.
    FilterNode told(FilterNode node) {
        if (!m_looksUp) return node;
        if (node.kind == Kind::values) return node.path.hops.empty() ? node : toldBehind(node);
        for (FilterNode& member : node.members)
            member = told(std::move(member));
        switch (node.kind) {
        case Kind::all: return allOf(std::move(node.members));
        case Kind::any: return anyOf(std::move(node.members));
        case Kind::none: return noneOf(std::move(node.members));
        default: return node;
        }
    }

    // Ids of the rows behind the first hop from which the rest of the path holds.
    FilterNode toldBehind(const FilterNode& node) {
        FilterNode rest = node;
        const int hop = node.path.hops.front();
        rest.path.hops.erase(rest.path.hops.begin());
        rest.path.table =
            m_catalog.table(node.path.table).columns[static_cast<std::size_t>(hop)].references;
        FilterNode out;
        out.kind = Kind::values;
        out.path.table = node.path.table;
        out.path.lastTable = node.path.table;
        out.path.column = hop;
        out.path.leafTable = rest.path.table;
        // A row that refers to nothing has no value behind it.
        for (const basekit2::variant_t& value : node.values)
            if (value.is_null()) out.values.push_back(value);
        addIds(rest.path.table, rest, out);
        return out;
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

    StoreSession& m_session;
    const Catalog& m_catalog;
    const NamedFilter& m_filter;
    const bool m_looksUp;
    TickSpans m_spans = keptTime(nullptr);
};

}  // namespace

FilterNode keptRows(StoreSession& session, int table, const NamedFilter& filter, TimeTest time) {
    const std::lock_guard<std::recursive_mutex> lock(session.mutex);
    return RowsMaker(session, filter, time, true).tableNode(table);
}

bool asksOfRows(StoreSession& session, int table, const NamedFilter& filter) {
    const std::lock_guard<std::recursive_mutex> lock(session.mutex);
    RowsMaker maker(session, filter, TimeTest::touches, false);
    return maker.tableNode(table).kind != Kind::everything;
}

bool rowsWhere(StoreSession& session,
               int table,
               const FilterNode& node,
               std::vector<basekit2::s64_t>& ids) {
    const FilterClause clause(std::make_shared<const FilterNode>(node));
    int parameters = 0;
    const std::string sql =
        "select t0.\"rowid\" from " + dialect::quoted(session.catalog.table(table).name) +
        " as t0 where " + clause.text(session.catalog, "t0", parameters) + " order by t0.\"rowid\"";
    Statement rows = session.connection->prepare(sql);
    parameters = 0;
    if (rows) clause.bindValues(rows, parameters);
    Statement::Step step = rows ? rows.step() : Statement::Step::failed;
    for (; step == Statement::Step::row; step = rows.step())
        ids.push_back(rows.integer(0));
    if (step == Statement::Step::done) return true;
    reportBrokenRead(session, sql);
    return false;
}

}  // namespace lanefeed_runtime
