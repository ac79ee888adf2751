// Filters over series. Every leaf of the filter is looked up once, as the set of the ids of one
// path for which it holds, so that a series costs a few searches in memory.
// Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_evaluator.h"

#include "store/filter_rows.h"
#include "store/store_session.h"

#include <storelink1/utils.h>

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::s64_t;
using Kind = FilterNode::Kind;

constexpr s64_t kNoRow = -1;

// A node of the filter over ids: a leaf holds where the id of its path is in the set.
struct IdNode {
    Kind kind = Kind::everything;
    std::vector<IdNode> members;
    std::size_t path = 0;
    std::vector<s64_t> ids;  // in order
};

bool holds(const IdNode& node, const std::vector<s64_t>& ids) {
    const auto holdsToo = [&](const IdNode& member) { return holds(member, ids); };
    switch (node.kind) {
    case Kind::nothing: return false;
    case Kind::all: return std::all_of(node.members.begin(), node.members.end(), holdsToo);
    case Kind::any: return std::any_of(node.members.begin(), node.members.end(), holdsToo);
    case Kind::none: return std::none_of(node.members.begin(), node.members.end(), holdsToo);
    case Kind::values: return std::binary_search(node.ids.begin(), node.ids.end(), ids[node.path]);
    default: return true;
    }
}

class FilterEvaluator : public storelink1::IFilterEvaluator {
public:
    FilterEvaluator(IdNode root, std::size_t paths) : m_root(std::move(root)), m_ids(paths) {}

    bool evaluate(const basekit2::generic_iterator_t<basekit2::variant_t>& values) override {
        std::fill(m_ids.begin(), m_ids.end(), kNoRow);
        for (std::size_t i = 0; i < m_ids.size() && !values.at_end(); ++i, values.next())
            m_ids[i] = storelink1::utils::variantToIndex(values.current());
        return holds(m_root, m_ids);
    }

private:
    const IdNode m_root;
    std::vector<s64_t> m_ids;
};

class IdNodeMaker {
public:
    IdNodeMaker(StoreSession& session, std::vector<StorePath> paths)
        : m_session(session), m_paths(std::move(paths)) {}

    // False when no path tells what the node asks, or the file can't be read.
    bool make(const FilterNode& node, IdNode& out) {
        out.kind = node.kind;
        if (node.kind == Kind::values) return leaf(node, out);
        for (const FilterNode& member : node.members) {
            out.members.emplace_back();
            if (!make(member, out.members.back())) return false;
        }
        return node.kind != Kind::touches && node.kind != Kind::heldBy;
    }

private:
    bool leaf(const FilterNode& node, IdNode& out) {
        if (!isOfBand(node.path)) return false;
        for (out.path = 0; out.path < m_paths.size(); ++out.path) {
            const StorePath& path = m_paths[out.path];
            if (path.kind != ValueKind::id) continue;
            if (path == node.path) return ownIds(node, out);
            if (goesOn(path, node.path)) return idsBehind(path, node, out);
        }
        return false;
    }

    bool isOfBand(const StorePath& path) const {
        const int first = path.hops.empty() ? path.column : path.hops.front();
        return first != StorePath::kRowIdColumn &&
               first == m_session.catalog.table(path.table).column(columns::kBand);
    }

    static bool goesOn(const StorePath& path, const StorePath& further) {
        const std::size_t steps = path.hops.size();
        return further.hops.size() > steps && further.hops[steps] == path.column &&
               std::equal(path.hops.begin(), path.hops.end(), further.hops.begin());
    }

    static bool ownIds(const FilterNode& node, IdNode& out) {
        for (const basekit2::variant_t& value : node.values)
            out.ids.push_back(value.is_null() ? kNoRow : value.get<s64_t>());
        std::sort(out.ids.begin(), out.ids.end());
        return true;
    }

    // Ids of the table behind `path` from which the rest of the node's path holds.
    bool idsBehind(const StorePath& path, const FilterNode& node, IdNode& out) {
        FilterNode rest = node;
        rest.path.table = path.leafTable;
        rest.path.hops.erase(
            rest.path.hops.begin(),
            rest.path.hops.begin() + static_cast<std::ptrdiff_t>(path.hops.size()) + 1);
        if (std::any_of(node.values.begin(), node.values.end(),
                        [](const auto& value) { return value.is_null(); }))
            out.ids.push_back(kNoRow);
        return rowsWhere(m_session, path.leafTable, rest, out.ids);
    }

    StoreSession& m_session;
    const std::vector<StorePath> m_paths;
};

}  // namespace

basekit2::error_code_t makeFilterEvaluator(const std::shared_ptr<StoreSession>& session,
                                           const NamedFilter& filter,
                                           const std::vector<std::string>& paths,
                                           const std::string& instanceTable,
                                           basekit2::sptr_t<storelink1::IFilterEvaluator>& out) {
    const std::lock_guard<std::recursive_mutex> lock(session->mutex);
    const Catalog& catalog = session->catalog;
    const int table = catalog.find(instanceTable);
    if (table < 0 || filter.query.is_null() || !isAllTime(keptTime(filter.time)))
        return basekit2::error_code_t::noResult;
    const FilterNode tree = filterTree(catalog, table, *filter.query);
    if (tree.kind == Kind::everything) return basekit2::error_code_t::noResult;
    std::vector<StorePath> resolved(paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        // A path that leads nowhere tells nothing.
        if (!resolvePath(catalog, table, paths[i], resolved[i])) resolved[i].kind = ValueKind::text;
    }
    IdNode root;
    if (!IdNodeMaker(*session, std::move(resolved)).make(tree, root))
        return basekit2::error_code_t::noResult;
    out = basekit2::make_object<FilterEvaluator>(std::move(root), paths.size());
    return basekit2::error_code_t::success;
}

}  // namespace lanefeed_runtime
