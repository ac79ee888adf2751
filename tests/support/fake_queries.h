#pragma once

#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// What a fake query answers.
struct QueryFacts {
    std::string id;
    std::string name;
    std::string table;
    std::string path;
    std::string attr;
    std::map<std::string, basekit2::variant_t> attributes;
    std::vector<basekit2::variant_t> values;  // what it is restricted to
    basekit2::sptr_t<dataface_1::IQuery> next;
    std::string grouping;
    bool globalGrouping = false;
    std::string bandColumn;    // of a grouping by band; empty: it has none
    std::string flatGrouping;  // name of a flat grouping
};

// The operations of every query, out of its facts.
template <class Kind>
class FakeQuery : public Kind {
public:
    explicit FakeQuery(QueryFacts queryFacts) : facts(std::move(queryFacts)) {}
    std::string getId() const override { return facts.id; }
    std::string getName() const override { return facts.name; }
    basekit2::sptr_t<dataface_1::IQuery> getExpansionQuery() const override { return facts.next; }
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
    basekit2::sptr_t<dataface_1::IQuery> restricted(
        const basekit2::generic_iterator_t<basekit2::variant_t>& values) override {
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

// A derived query without members.
class FakeDerivedQuery : public FakeQuery<dataface_1::IDerivedQuery> {
public:
    using FakeQuery::FakeQuery;
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IQuery>> getQueries(
        int /*kind*/) const override {
        return {};
    }
};

// A vector of queries with display attributes of its own.
class FakeVectorQuery : public FakeQuery<dataface_1::IVectorQuery> {
public:
    FakeVectorQuery(std::vector<basekit2::sptr_t<dataface_1::IQuery>> queries, QueryFacts own)
        : FakeQuery(std::move(own)), members(std::move(queries)) {}
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IQuery>> getQueries() const override {
        return basekit2::make_iterator(members);
    }
    basekit2::sptr_t<dataface_1::IQuery> getDefaultQuery() const override {
        return members.empty() ? nullptr : members.front();
    }
    int getCount() const override { return static_cast<int>(members.size()); }

    std::vector<basekit2::sptr_t<dataface_1::IQuery>> members;
};

// Makes info queries of the bags it is given, and remembers what was asked.
class FakeLibrary : public dataface_1::IQueryLibrary {
public:
    basekit2::sptr_t<dataface_1::IVectorQuery> resolveQuery(const basekit2::variant_bag_t& element,
                                                            relay2::IMessenger* messenger) override;
    basekit2::sptr_t<dataface_1::IQuery> findQuery(const std::string& id,
                                                   relay2::IMessenger* messenger) override;
    bool createQuery(const basekit2::variant_bag_t& bag,
                     basekit2::sptr_t<dataface_1::IQuery>& out,
                     relay2::IMessenger* messenger) override;

    std::map<std::string, basekit2::sptr_t<dataface_1::IQuery>> known;
    std::vector<basekit2::variant_bag_t> created;
    bool refuses = false;
};

}  // namespace lanefeed_test
