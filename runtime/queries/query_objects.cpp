// The query objects: one class for each kind, all over the same immutable traits.
// What a kind does not have is simply empty in its traits. Queries are shared between threads; an
// operation that changes one makes a new object (query_chains).
// Tested by tests/queries/query_definitions_test.cpp.
#include "query_objects.h"

#include "query_chains.h"

#include <facekit_1_x/query_definition.h>

#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::generic_iterator_t;
using basekit2::make_iterator;
using basekit2::make_object;
using basekit2::notype_ptr_t;
using basekit2::sptr_t;
using basekit2::type_id_t;
using basekit2::variant_t;
using dataface_1::IExpression;
using dataface_1::IQuery;

// Bands stand in their own table; asking for a band column with this flag asks for the column of
// the band type there.
constexpr int kBandOfType = 2;
constexpr const char* kBandTable = "dd_band";

// The definition behind a query, made when it is asked for.
class QueryDefinition : public facekit_1_x::IQueryDefinition {
public:
    explicit QueryDefinition(std::shared_ptr<const basekit2::variant_bag_t> element)
        : m_element(std::move(element)) {}
    basekit2::variant_bag_t getDefinition() const override { return *m_element; }

private:
    const std::shared_ptr<const basekit2::variant_bag_t> m_element;
};

// What all kinds share.
template <class Interface>
class QueryOf : public Interface, public HasTraits {
public:
    explicit QueryOf(QueryTraits traits) : m_traits(std::move(traits)) {}

    std::string getId() const override { return m_traits.id; }
    std::string getName() const override { return m_traits.name; }
    sptr_t<IQuery> getExpansionQuery() const override { return m_traits.expansion; }
    void getAttribute(const std::string& name, variant_t& out) const override {
        const auto found = m_traits.attributes.find(name);
        out = found == m_traits.attributes.end() ? variant_t() : found->second;
    }
    int getUnitKind() const override { return m_traits.unitKind; }
    sptr_t<IQuery> combinedExpansion(const sptr_t<IQuery>& /*other*/) override {
        const sptr_t<IQuery> folded = foldedChain(m_traits);
        return folded.is_null() ? sptr_t<IQuery>(this) : folded;
    }
    bool isEqualTo(const sptr_t<IQuery>& other, bool restrictions, bool names) override {
        return standForTheSame(sptr_t<IQuery>(this), other, restrictions, names);
    }
    const QueryTraits& traits() const override { return m_traits; }
    notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type != type_id_t<facekit_1_x::IQueryDefinition>::id() ||
            m_traits.definition == nullptr)
            return Interface::adapt_to_pointer(type);
        return notype_ptr_t(make_object<QueryDefinition>(m_traits.definition).get());
    }

protected:
    const QueryTraits m_traits;
};

class InfoQuery : public QueryOf<dataface_1::IInfoQuery> {
public:
    using QueryOf::QueryOf;

    generic_iterator_t<variant_t> getValues(int /*kind*/) const override {
        if (m_traits.values.empty()) return {};
        return make_iterator(m_traits.values);
    }
    std::string getInstanceTable() const override { return m_traits.instanceTable; }
    std::string getAttributeTable() const override { return m_traits.attributeTable; }
    std::string getAttributeName() const override { return m_traits.attributeName; }
    std::string getDisplayText() const override { return m_traits.displayText; }
    std::string getFlatGroupingName() const override { return m_traits.flatGrouping; }
    sptr_t<IExpression> getMinExpression() const override { return m_traits.minExpression; }
    sptr_t<IExpression> getMaxExpression() const override { return m_traits.maxExpression; }
    bool getBandColumn(std::string& out, const std::string& table, int flags) const override;
    sptr_t<IQuery> restricted(const generic_iterator_t<variant_t>& values) override {
        return narrowed(m_traits, values);
    }
};

// The band of a grouping is found in the band table alone, under the path of the attribute.
bool InfoQuery::getBandColumn(std::string& out, const std::string& table, int flags) const {
    if (table != kBandTable || flags != kBandOfType || m_traits.attributeTable.empty())
        return false;
    const std::string column = table + "::" + m_traits.attributeTable;
    if (m_traits.hasColumn != nullptr && !(*m_traits.hasColumn)(table, column)) return false;
    out = column;
    return true;
}

template <class Interface>
class DataQueryOf : public QueryOf<Interface> {
public:
    using QueryOf<Interface>::QueryOf;

    std::string getInstanceTable() const override { return this->m_traits.instanceTable; }
    sptr_t<IExpression> getMinExpression() const override { return this->m_traits.minExpression; }
    sptr_t<IExpression> getMaxExpression() const override { return this->m_traits.maxExpression; }
    std::string getGrouping() const override { return this->m_traits.grouping; }
    bool isGlobalGrouping() const override { return this->m_traits.globalGrouping; }
};

// The formula behind a derived query, made when it is asked for.
class Formula : public slicekit_1_0::IRpnFormula {
public:
    explicit Formula(std::vector<slicekit_1_0::rpn_step_t> steps) : m_steps(std::move(steps)) {}
    std::vector<slicekit_1_0::rpn_step_t> getSteps() const override { return m_steps; }

private:
    const std::vector<slicekit_1_0::rpn_step_t> m_steps;
};

class DerivedQuery : public QueryOf<dataface_1::IDerivedQuery> {
public:
    using QueryOf::QueryOf;

    generic_iterator_t<sptr_t<IQuery>> getQueries(int /*kind*/) const override {
        return make_iterator(m_traits.members);
    }
    notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type != type_id_t<slicekit_1_0::IRpnFormula>::id())
            return QueryOf::adapt_to_pointer(type);
        return notype_ptr_t(make_object<Formula>(m_traits.formula).get());
    }
};

class VectorQuery : public QueryOf<dataface_1::IVectorQuery> {
public:
    using QueryOf::QueryOf;

    generic_iterator_t<sptr_t<IQuery>> getQueries() const override {
        return make_iterator(m_traits.members);
    }
    sptr_t<IQuery> getDefaultQuery() const override {
        return m_traits.members.empty() ? sptr_t<IQuery>() : m_traits.members.front();
    }
    int getCount() const override { return static_cast<int>(m_traits.members.size()); }
};

}  // namespace

sptr_t<IQuery> makeQuery(QueryTraits traits) {
    switch (traits.kind) {
    case QueryKind::info: return make_object<InfoQuery>(std::move(traits));
    case QueryKind::data:
        return make_object<DataQueryOf<dataface_1::IDataQuery>>(std::move(traits));
    case QueryKind::time:
        return make_object<DataQueryOf<dataface_1::ITimeQuery>>(std::move(traits));
    case QueryKind::count:
        return make_object<DataQueryOf<dataface_1::ICountQuery>>(std::move(traits));
    case QueryKind::instanceCount:
        return make_object<DataQueryOf<dataface_1::IInstanceCountQuery>>(std::move(traits));
    case QueryKind::derived: return make_object<DerivedQuery>(std::move(traits));
    case QueryKind::vector: return make_object<VectorQuery>(std::move(traits));
    }
    return {};
}

const QueryTraits* traitsOf(const sptr_t<IQuery>& query) {
    const auto* known = dynamic_cast<const HasTraits*>(query.get());
    return known == nullptr ? nullptr : &known->traits();
}

sptr_t<IQuery> withExpansion(const sptr_t<IQuery>& query, const sptr_t<IQuery>& next) {
    const QueryTraits* traits = traitsOf(query);
    if (traits == nullptr || traits->expansion == next) return query;
    QueryTraits copy = *traits;
    copy.expansion = next;
    return makeQuery(std::move(copy));
}

}  // namespace lanefeed_runtime
