#pragma once

#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>
#include <slicekit_1_0/rpn_formula.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// QueryList of every kind from a few facts, and a library that hands them out. For tests that need
// to see calls or a query that no definition makes; definitions are tested on the bundled library.

using Query = basekit2::sptr_t<dataface_1::IQuery>;
using QueryList = std::vector<Query>;

// What a fake query answers.
struct QueryFacts {
    std::string id;
    std::string name;
    std::string table;
    std::string path;
    std::string attr;
    std::map<std::string, basekit2::variant_t> attributes;
    std::vector<basekit2::variant_t> values;  // what it is restricted to
    Query next;
    std::string grouping;
    bool globalGrouping = false;
    std::string bandColumn;                         // of a grouping by band; empty: it has none
    std::string flatGrouping;                       // name of a flat grouping
    QueryList members;                              // of a derived or vector query
    std::vector<slicekit_1_0::rpn_step_t> formula;  // of a derived query
};

// Facts of a path such as "dd_band::dd_thread.dd_process.name"; the attribute is a last part that
// is no table "dd_*".
inline QueryFacts factsAt(const std::string& path) {
    QueryFacts facts;
    const std::size_t colons = path.find("::");
    facts.table = path.substr(0, colons);
    facts.path = path.substr(colons + 2);
    const std::size_t last = facts.path.rfind('.') + 1;
    if (facts.path.compare(last, 3, "dd_") == 0) return facts;
    facts.attr = facts.path.substr(last);
    facts.path.resize(last > 0 ? last - 1 : 0);
    return facts;
}

// The operations of every query, out of its facts.
template <class Kind>
class FakeQuery : public Kind {
public:
    explicit FakeQuery(QueryFacts queryFacts) : facts(std::move(queryFacts)) {}
    std::string getId() const override { return facts.id; }
    std::string getName() const override { return facts.name; }
    Query getExpansionQuery() const override { return facts.next; }
    void getAttribute(const std::string& name, basekit2::variant_t& out) const override {
        const auto found = facts.attributes.find(name);
        out = found != facts.attributes.end() ? found->second : basekit2::variant_t();
    }
    int getUnitKind() const override { return 0; }

    QueryFacts facts;
};

class FakeInfoQuery : public FakeQuery<dataface_1::IInfoQuery> {
public:
    using FakeQuery::FakeQuery;
    basekit2::generic_iterator_t<basekit2::variant_t> getValues(int /*kind*/) const override {
        if (facts.values.empty()) return {};
        return basekit2::make_iterator(facts.values);
    }
    std::string getInstanceTable() const override { return facts.table; }
    std::string getAttributeTable() const override { return facts.path; }
    std::string getAttributeName() const override { return facts.attr; }
    std::string getDisplayText() const override { return facts.path; }
    bool getBandColumn(std::string& out, const std::string& table, int flags) const override {
        if (facts.bandColumn.empty() || table != "dd_band" || flags != 2) return false;
        out = facts.bandColumn;
        return true;
    }
    std::string getFlatGroupingName() const override { return facts.flatGrouping; }
    basekit2::sptr_t<dataface_1::IExpression> getMinExpression() const override { return {}; }
    basekit2::sptr_t<dataface_1::IExpression> getMaxExpression() const override { return {}; }
    Query restricted(const basekit2::generic_iterator_t<basekit2::variant_t>& values) override {
        QueryFacts narrowed = facts;
        narrowed.values.clear();
        for (; !values.at_end(); values.next())
            narrowed.values.push_back(values.current());
        return basekit2::make_object<FakeInfoQuery>(narrowed);
    }
};

// A query on instances: ITimeQuery, ICountQuery ...
template <class Kind>
class FakeDataQuery : public FakeQuery<Kind> {
public:
    using FakeQuery<Kind>::FakeQuery;
    std::string getInstanceTable() const override { return this->facts.table; }
    basekit2::sptr_t<dataface_1::IExpression> getMinExpression() const override { return {}; }
    basekit2::sptr_t<dataface_1::IExpression> getMaxExpression() const override { return {}; }
    std::string getGrouping() const override { return this->facts.grouping; }
    bool isGlobalGrouping() const override { return this->facts.globalGrouping; }
};

// Has a formula when its facts do.
class FakeDerivedQuery : public FakeQuery<dataface_1::IDerivedQuery> {
public:
    using FakeQuery::FakeQuery;
    basekit2::generic_iterator_t<Query> getQueries(int /*kind*/) const override {
        return basekit2::make_iterator(facts.members);
    }
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (facts.formula.empty() || type != basekit2::type_id_t<slicekit_1_0::IRpnFormula>::id())
            return FakeQuery::adapt_to_pointer(type);
        return basekit2::notype_ptr_t(basekit2::make_object<Formula>(facts.formula).get());
    }

private:
    class Formula : public slicekit_1_0::IRpnFormula {
    public:
        explicit Formula(std::vector<slicekit_1_0::rpn_step_t> steps) : m_steps(std::move(steps)) {}
        std::vector<slicekit_1_0::rpn_step_t> getSteps() const override { return m_steps; }

    private:
        const std::vector<slicekit_1_0::rpn_step_t> m_steps;
    };
};

// A vector of queries with display attributes of its own.
class FakeVectorQuery : public FakeQuery<dataface_1::IVectorQuery> {
public:
    using FakeQuery::FakeQuery;
    FakeVectorQuery(QueryList queries, QueryFacts own) : FakeQuery(std::move(own)) {
        facts.members = std::move(queries);
    }
    basekit2::generic_iterator_t<Query> getQueries() const override {
        return basekit2::make_iterator(facts.members);
    }
    Query getDefaultQuery() const override {
        return facts.members.empty() ? nullptr : facts.members.front();
    }
    int getCount() const override { return static_cast<int>(facts.members.size()); }
};

template <class Made>
Query makeQuery(QueryFacts facts) {
    return basekit2::make_object<Made>(std::move(facts));
}
inline Query infoQuery(QueryFacts facts) {
    return makeQuery<FakeInfoQuery>(std::move(facts));
}
// An info query that has its name for an id.
inline Query namedQuery(const std::string& name) {
    QueryFacts facts;
    facts.id = facts.name = name;
    return infoQuery(facts);
}
inline basekit2::sptr_t<dataface_1::IVectorQuery> vectorOf(
    QueryList members, const std::map<std::string, basekit2::variant_t>& attributes = {}) {
    QueryFacts facts;
    facts.id = "vector";
    facts.attributes = attributes;
    return basekit2::make_object<FakeVectorQuery>(std::move(members), facts);
}

// Knows vectors by the attribute "query" of an element, makes info queries and instance counts of
// bags, and remembers what was asked.
class FakeLibrary : public dataface_1::IQueryLibrary {
public:
    basekit2::sptr_t<dataface_1::IVectorQuery> resolveQuery(
        const basekit2::variant_bag_t& element, relay2::IMessenger* messenger) override {
        const std::string name = textOf(element, "query");
        resolved.push_back(element.get_name() + " " + name);
        messengers.insert(messenger);
        return vectors.count(name) != 0 ? vectors[name] : nullptr;
    }
    Query findQuery(const std::string& /*id*/, relay2::IMessenger* /*messenger*/) override {
        return {};
    }
    bool createQuery(const basekit2::variant_bag_t& bag,
                     Query& out,
                     relay2::IMessenger* /*messenger*/) override {
        created.push_back(bag);
        if (refuses) return false;
        QueryFacts facts;
        facts.id = textOf(bag, "id");
        facts.name = textOf(bag, "displayName");
        const std::string path = textIn(bag, "dbPath");
        const std::size_t colons = path.find("::");
        facts.table = path.substr(0, colons);
        if (colons != std::string::npos) facts.path = path.substr(colons + 2);
        facts.attr = textIn(bag, "displayDbPathSuffix");
        out = bag.get_name() == "instanceCountQuery"
                  ? makeQuery<FakeDataQuery<dataface_1::IInstanceCountQuery>>(facts)
                  : infoQuery(facts);
        return true;
    }

    std::map<std::string, basekit2::sptr_t<dataface_1::IVectorQuery>> vectors;
    std::vector<std::string> resolved;  // name of the element and its query
    std::set<relay2::IMessenger*> messengers;
    std::vector<basekit2::variant_bag_t> created;
    bool refuses = false;

private:
    static std::string textOf(const basekit2::variant_bag_t& bag, const char* name) {
        const auto* value = bag.get<basekit2::variant_t>(name);
        return value != nullptr ? value->get<std::string>() : std::string();
    }
    static std::string textIn(const basekit2::variant_bag_t& bag, const char* name) {
        const auto* inner = bag.get<basekit2::variant_bag_t>(name);
        return inner != nullptr ? textOf(*inner, "#text") : std::string();
    }
};

}  // namespace lanefeed_test
