// The list of queries that pushBack makes, and what it means for two queries to be equal when one
// of them is a list. Stands on the query interfaces alone, so that it takes anybody's queries.
// Tested by tests/base/queries_test.cpp.
#include "vector_query.h"

#include <algorithm>

namespace dataface_1 {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;

// A list of one member stands for that member.
sptr_t<IQuery> unwrapped(sptr_t<IQuery> query) {
    for (;;) {
        const sptr_t<IVectorQuery> vector = IVectorQuery::cast(query);
        if (vector.is_null() || vector->getCount() != 1) return query;
        query = vector->getDefaultQuery();
    }
}

class VectorQuery : public IVectorQuery {
public:
    explicit VectorQuery(std::vector<sptr_t<IQuery>> members) : m_members(std::move(members)) {}

    std::string getId() const override { return ""; }
    std::string getName() const override { return ""; }
    sptr_t<IQuery> getExpansionQuery() const override { return nullptr; }
    void getAttribute(const std::string& /*name*/, basekit2::variant_t& out) const override {
        out = basekit2::variant_t();
    }
    int getUnitKind() const override { return 0; }

    // Members of another list, in the same order.
    bool isEqualTo(const sptr_t<IQuery>& other, bool restrictions, bool names) override {
        const sptr_t<IVectorQuery> vector = IVectorQuery::cast(other);
        if (vector.is_null() || vector->getCount() != getCount()) return false;
        const generic_iterator_t<sptr_t<IQuery>> theirs = vector->getQueries();
        return std::all_of(m_members.begin(), m_members.end(), [&](const sptr_t<IQuery>& member) {
            const sptr_t<IQuery> their = theirs.current();
            theirs.next();
            return areEqual(member, their, restrictions, names);
        });
    }

    generic_iterator_t<sptr_t<IQuery>> getQueries() const override {
        return basekit2::make_iterator(m_members);
    }
    sptr_t<IQuery> getDefaultQuery() const override {
        return m_members.empty() ? nullptr : m_members.front();
    }
    int getCount() const override { return static_cast<int>(m_members.size()); }

private:
    const std::vector<sptr_t<IQuery>> m_members;
};

}  // namespace

bool IQuery::areEqual(const sptr_t<IQuery>& a,
                      const sptr_t<IQuery>& b,
                      bool compareRestrictions,
                      bool compareNames) {
    const sptr_t<IQuery> left = unwrapped(a);
    const sptr_t<IQuery> right = unwrapped(b);
    if (left.is_null() || right.is_null()) return false;
    return left == right || left->isEqualTo(right, compareRestrictions, compareNames);
}

sptr_t<IVectorQuery> IVectorQuery::pushBack(const sptr_t<IVectorQuery>& vector,
                                            const sptr_t<IQuery>& query) {
    std::vector<sptr_t<IQuery>> members;
    if (!vector.is_null()) {
        const generic_iterator_t<sptr_t<IQuery>> it = vector->getQueries();
        for (; !it.at_end(); it.next())
            members.push_back(it.current());
    }
    members.push_back(query);
    return lanefeed_runtime::makeVectorQuery(std::move(members));
}

}  // namespace dataface_1

namespace lanefeed_runtime {

basekit2::sptr_t<dataface_1::IVectorQuery> makeVectorQuery(
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> members) {
    return basekit2::make_object<dataface_1::VectorQuery>(std::move(members));
}

}  // namespace lanefeed_runtime
