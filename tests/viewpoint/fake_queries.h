#pragma once

#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Queries of every kind from a few facts, and a library that hands them out. Faked, and not the
// bundled library, where a test needs to see the order of calls or a query that no definition can
// make.
namespace lanefeed_1::fakes {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQuery;

using Queries = std::vector<sptr_t<IQuery>>;

struct Facts {
    std::string id;
    std::string table;  // of instances
    std::string path;   // table of the attribute
    std::string attr;
    std::map<std::string, variant_t> attributes;
    sptr_t<IQuery> expansion;
    sptr_t<dataface_1::IExpression> min;
    sptr_t<dataface_1::IExpression> max;
    std::vector<variant_t> values;
    Queries members;
    sptr_t<IQuery> otherKind;  // answers the lookups that this query doesn't
};

// What all kinds have in common. The name is "%" and the id.
template <class Kind>
class Fake : public Kind {
public:
    explicit Fake(Facts facts) : m_facts(std::move(facts)) {}

    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        basekit2::notype_ptr_t own = Kind::adapt_to_pointer(type);
        if (!own.is_null() || m_facts.otherKind.is_null()) return own;
        return m_facts.otherKind->adapt_to_pointer(type);
    }
    std::string getId() const override { return m_facts.id; }
    std::string getName() const override { return "%" + m_facts.id; }
    sptr_t<IQuery> getExpansionQuery() const override { return m_facts.expansion; }
    void getAttribute(const std::string& name, variant_t& out) const override {
        const auto found = m_facts.attributes.find(name);
        out = found == m_facts.attributes.end() ? variant_t() : found->second;
    }
    int getUnitKind() const override { return 0; }

protected:
    Facts m_facts;
};

class FakeInfo : public Fake<dataface_1::IInfoQuery> {
public:
    using Fake::Fake;
    basekit2::generic_iterator_t<variant_t> getValues(int) const override {
        if (m_facts.values.empty()) return {};
        return basekit2::make_iterator(m_facts.values);
    }
    std::string getInstanceTable() const override { return m_facts.table; }
    std::string getAttributeTable() const override { return m_facts.path; }
    std::string getAttributeName() const override { return m_facts.attr; }
    std::string getDisplayText() const override { return "text of " + m_facts.id; }
    bool getBandColumn(std::string&, const std::string&, int) const override { return false; }
    std::string getFlatGroupingName() const override { return {}; }
    sptr_t<dataface_1::IExpression> getMinExpression() const override { return m_facts.min; }
    sptr_t<dataface_1::IExpression> getMaxExpression() const override { return m_facts.max; }
    sptr_t<IQuery> restricted(const basekit2::generic_iterator_t<variant_t>&) override {
        return {};
    }
};

template <class Kind>
class FakeData : public Fake<Kind> {
public:
    using Fake<Kind>::Fake;
    std::string getInstanceTable() const override { return this->m_facts.table; }
    sptr_t<dataface_1::IExpression> getMinExpression() const override { return this->m_facts.min; }
    sptr_t<dataface_1::IExpression> getMaxExpression() const override { return this->m_facts.max; }
    std::string getGrouping() const override { return {}; }
    bool isGlobalGrouping() const override { return false; }
};

class FakeDerived : public Fake<dataface_1::IDerivedQuery> {
public:
    using Fake::Fake;
    basekit2::generic_iterator_t<sptr_t<IQuery>> getQueries(int) const override {
        return basekit2::make_iterator(m_facts.members);
    }
};

class FakeVector : public Fake<dataface_1::IVectorQuery> {
public:
    using Fake::Fake;
    basekit2::generic_iterator_t<sptr_t<IQuery>> getQueries() const override {
        return basekit2::make_iterator(m_facts.members);
    }
    sptr_t<IQuery> getDefaultQuery() const override {
        return m_facts.members.empty() ? sptr_t<IQuery>() : m_facts.members.front();
    }
    int getCount() const override { return static_cast<int>(m_facts.members.size()); }
};

// A vector that denies being one.
class UncastableVector : public FakeVector {
public:
    using FakeVector::FakeVector;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int) override { return {}; }
};

template <class Query>
sptr_t<IQuery> make(const Facts& facts) {
    return basekit2::make_object<Query>(facts);
}
inline sptr_t<IQuery> info(const Facts& facts) {
    return make<FakeInfo>(facts);
}
inline sptr_t<dataface_1::IVectorQuery> vectorOf(
    Queries members, const std::map<std::string, variant_t>& attributes = {}) {
    Facts facts;
    facts.id = "vector";
    facts.members = std::move(members);
    facts.attributes = attributes;
    return basekit2::make_object<FakeVector>(facts);
}

// A number, or a failure; nothing without a result.
class FakeExpression : public dataface_1::IExpression {
public:
    FakeExpression(variant_t value, bool succeeds)
        : m_value(std::move(value)), m_succeeds(succeeds) {}
    bool evaluate(variant_t& out, const sptr_t<dataface_1::IInputData>& input) override {
        out = m_value;
        return m_succeeds && !input.is_null();
    }

private:
    variant_t m_value;
    bool m_succeeds;
};
inline sptr_t<dataface_1::IExpression> expression(const variant_t& value, bool succeeds = true) {
    return basekit2::make_object<FakeExpression>(value, succeeds);
}

// Knows vectors by the attribute "query" of an element, and remembers what it was asked with whose
// messenger.
class FakeLibrary : public dataface_1::IQueryLibrary {
public:
    sptr_t<dataface_1::IVectorQuery> resolveQuery(const basekit2::variant_bag_t& element,
                                                  relay2::IMessenger* messenger) override {
        const auto* key = element.get<variant_t>("query");
        const std::string name = key == nullptr ? std::string() : key->get<std::string>();
        asked.push_back(element.get_name() + " " + name);
        messengers.insert(messenger);
        const auto found = known.find(name);
        return found == known.end() ? sptr_t<dataface_1::IVectorQuery>() : found->second;
    }
    sptr_t<IQuery> findQuery(const std::string&, relay2::IMessenger*) override { return {}; }
    // Makes a query that counts, whose id is that of the bag, unless it refuses.
    bool createQuery(const basekit2::variant_bag_t& bag,
                     sptr_t<IQuery>& out,
                     relay2::IMessenger*) override {
        created.push_back(bag);
        if (refuses) return false;
        Facts facts;
        facts.id = bag.get<variant_t>("id")->get<std::string>();
        out = make<FakeData<dataface_1::IInstanceCountQuery>>(facts);
        return true;
    }

    std::map<std::string, sptr_t<dataface_1::IVectorQuery>> known;
    std::vector<std::string> asked;
    std::vector<basekit2::variant_bag_t> created;
    bool refuses = false;
    std::set<relay2::IMessenger*> messengers;
};

// A result that holds nothing.
class FakeResult : public dataface_1::IInputData {};

class FakeMessenger : public relay2::IMessenger {};

}  // namespace lanefeed_1::fakes
