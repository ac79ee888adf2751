// What is done with the chain of a query: folding, narrowing, comparing.
// A chain is walked by getExpansionQuery, so that queries of another library may be links of it;
// what only this library knows of a query (its traits) is used where it is there.
// Tested by tests/queries/query_definitions_test.cpp.
#include "query_chains.h"

#include "query_objects.h"

#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IDataQuery;
using dataface_1::IDerivedQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;

template <class T>
std::vector<T> collect(const generic_iterator_t<T>& items) {
    std::vector<T> all;
    for (; !items.at_end(); items.next())
        all.push_back(items.current());
    return all;
}

std::vector<sptr_t<IQuery>> membersOf(const sptr_t<IQuery>& query) {
    const sptr_t<IVectorQuery> vector = IVectorQuery::cast(query);
    if (!vector.is_null()) return collect(vector->getQueries());
    const sptr_t<IDerivedQuery> derived = IDerivedQuery::cast(query);
    return derived.is_null() ? std::vector<sptr_t<IQuery>>() : collect(derived->getQueries(1));
}

// A vector of one member, and one inside it, comes down to that member.
sptr_t<IQuery> onlyMember(sptr_t<IQuery> query) {
    for (sptr_t<IVectorQuery> vector = IVectorQuery::cast(query);
         !vector.is_null() && vector->getCount() == 1; vector = IVectorQuery::cast(query))
        query = vector->getDefaultQuery();
    return query;
}

QueryKind kindOf(const sptr_t<IQuery>& query) {
    if (!IInfoQuery::cast(query).is_null()) return QueryKind::info;
    if (!dataface_1::ITimeQuery::cast(query).is_null()) return QueryKind::time;
    if (!dataface_1::ICountQuery::cast(query).is_null()) return QueryKind::count;
    if (!dataface_1::IInstanceCountQuery::cast(query).is_null()) return QueryKind::instanceCount;
    if (!IDerivedQuery::cast(query).is_null()) return QueryKind::derived;
    return IVectorQuery::cast(query).is_null() ? QueryKind::data : QueryKind::vector;
}

bool samePath(const sptr_t<IQuery>& a, const sptr_t<IQuery>& b) {
    const sptr_t<IInfoQuery> infoA = IInfoQuery::cast(a);
    if (!infoA.is_null()) {
        const sptr_t<IInfoQuery> infoB = IInfoQuery::cast(b);
        return infoA->getInstanceTable() == infoB->getInstanceTable() &&
               infoA->getAttributeTable() == infoB->getAttributeTable() &&
               infoA->getAttributeName() == infoB->getAttributeName();
    }
    const sptr_t<IDataQuery> dataA = IDataQuery::cast(a);
    const sptr_t<IDataQuery> dataB = IDataQuery::cast(b);
    if (dataA.is_null() || dataB.is_null()) return dataA.is_null() && dataB.is_null();
    return dataA->getInstanceTable() == dataB->getInstanceTable() &&
           dataA->getGrouping() == dataB->getGrouping() &&
           dataA->isGlobalGrouping() == dataB->isGlobalGrouping();
}

bool sameFormula(const sptr_t<IQuery>& a, const sptr_t<IQuery>& b) {
    const QueryTraits* traitsA = traitsOf(a);
    const QueryTraits* traitsB = traitsOf(b);
    return traitsA == nullptr || traitsB == nullptr || traitsA->formula == traitsB->formula;
}

bool sameValues(const sptr_t<IQuery>& a, const sptr_t<IQuery>& b) {
    const sptr_t<IInfoQuery> infoA = IInfoQuery::cast(a);
    const sptr_t<IInfoQuery> infoB = IInfoQuery::cast(b);
    const auto valuesOf = [](const sptr_t<IInfoQuery>& info) {
        return info.is_null() ? std::vector<variant_t>() : collect(info->getValues(0));
    };
    return valuesOf(infoA) == valuesOf(infoB);
}

// The links behind a query, whether they are its chain or were folded into it.
std::vector<sptr_t<IQuery>> linksBehind(const sptr_t<IQuery>& query) {
    const QueryTraits* traits = traitsOf(query);
    std::vector<sptr_t<IQuery>> links =
        traits == nullptr ? std::vector<sptr_t<IQuery>>() : traits->folded;
    for (sptr_t<IQuery> next = query->getExpansionQuery(); !next.is_null();
         next = next->getExpansionQuery())
        links.push_back(next);
    return links;
}

// What is compared besides identity.
struct Compared {
    bool restrictions = false;
    bool names = false;
};

bool sameList(const std::vector<sptr_t<IQuery>>& a,
              const std::vector<sptr_t<IQuery>>& b,
              const Compared& compared) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const bool bothNull = a[i].is_null() && b[i].is_null();
        if (!bothNull && !standForTheSame(a[i], b[i], compared.restrictions, compared.names))
            return false;
    }
    return true;
}

bool sameShape(const sptr_t<IQuery>& a, const sptr_t<IQuery>& b, const Compared& compared) {
    return kindOf(a) == kindOf(b) && samePath(a, b) && sameFormula(a, b) &&
           sameList(membersOf(a), membersOf(b), compared) &&
           sameList(linksBehind(a), linksBehind(b), compared);
}

}  // namespace

int chainLength(const sptr_t<IQuery>& query, int limit) {
    int length = 0;
    for (sptr_t<IQuery> link = query; !link.is_null() && length < limit;
         link = link->getExpansionQuery())
        ++length;
    return length;
}

sptr_t<IQuery> foldedChain(const QueryTraits& traits) {
    if (traits.expansion.is_null()) return {};
    QueryTraits combined = traits;
    combined.expansion.reset();
    for (sptr_t<IQuery> link = traits.expansion; !link.is_null(); link = link->getExpansionQuery())
        combined.folded.push_back(link);
    return makeQuery(std::move(combined));
}

sptr_t<IQuery> narrowed(const QueryTraits& traits, const generic_iterator_t<variant_t>& values) {
    QueryTraits copy = traits;
    copy.values = collect(values);
    return makeQuery(std::move(copy));
}

bool standForTheSame(const sptr_t<IQuery>& a,
                     const sptr_t<IQuery>& b,
                     bool compareRestrictions,
                     bool compareNames) {
    const sptr_t<IQuery> left = onlyMember(a);
    const sptr_t<IQuery> right = onlyMember(b);
    if (left.is_null() || right.is_null()) return false;
    if (left == right) return true;
    if (compareNames && left->getName() != right->getName()) return false;
    if (compareRestrictions && !sameValues(left, right)) return false;
    const std::string id = left->getId();
    if (!id.empty() || !right->getId().empty()) return id == right->getId();
    return sameShape(left, right, {compareRestrictions, compareNames});
}

}  // namespace lanefeed_runtime
