#pragma once

#include <dataface_1/query_kinds.h>
#include <facekit_1_x/query_definition.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// What the fake queries of these tests have in common: an id, which is the name too, and
// attributes.
template <class Interface>
class FakeQuery : public Interface {
public:
    explicit FakeQuery(std::string id) : m_id(std::move(id)) {}

    std::string getId() const override { return m_id; }
    std::string getName() const override { return m_id; }
    basekit2::sptr_t<dataface_1::IQuery> getExpansionQuery() const override { return nullptr; }
    void getAttribute(const std::string& name, basekit2::variant_t& out) const override {
        const auto found = attributes.find(name);
        out = found == attributes.end() ? basekit2::variant_t() : found->second;
    }
    int getUnitKind() const override { return 0; }

    std::map<std::string, basekit2::variant_t> attributes;

private:
    std::string m_id;
};

using FakePlainQuery = FakeQuery<dataface_1::IQuery>;

// A query on an attribute: "table::path".
class FakeInfoQuery : public FakeQuery<dataface_1::IInfoQuery> {
public:
    FakeInfoQuery(std::string table, std::string path)
        : FakeQuery(table + "::" + path), m_table(std::move(table)), m_path(std::move(path)) {}

    basekit2::generic_iterator_t<basekit2::variant_t> getValues(int /*kind*/) const override {
        return {};
    }
    std::string getInstanceTable() const override { return m_table; }
    std::string getAttributeTable() const override { return m_path; }
    std::string getAttributeName() const override { return ""; }
    std::string getDisplayText() const override { return m_path; }
    bool getBandColumn(std::string&, const std::string&, int) const override { return false; }
    std::string getFlatGroupingName() const override { return ""; }
    basekit2::sptr_t<dataface_1::IExpression> getMinExpression() const override { return nullptr; }
    basekit2::sptr_t<dataface_1::IExpression> getMaxExpression() const override { return nullptr; }
    basekit2::sptr_t<dataface_1::IQuery> restricted(
        const basekit2::generic_iterator_t<basekit2::variant_t>& /*values*/) override {
        return this;
    }

private:
    std::string m_table;
    std::string m_path;
};

// A query on the instances of a table.
class FakeDataQuery : public FakeQuery<dataface_1::ICountQuery> {
public:
    explicit FakeDataQuery(std::string table) : FakeQuery(table), m_table(std::move(table)) {}

    std::string getInstanceTable() const override { return m_table; }
    basekit2::sptr_t<dataface_1::IExpression> getMinExpression() const override { return nullptr; }
    basekit2::sptr_t<dataface_1::IExpression> getMaxExpression() const override { return nullptr; }
    std::string getGrouping() const override { return ""; }
    bool isGlobalGrouping() const override { return false; }

private:
    std::string m_table;
};

class FakeDerivedQuery : public FakeQuery<dataface_1::IDerivedQuery> {
public:
    explicit FakeDerivedQuery(std::vector<basekit2::sptr_t<dataface_1::IQuery>> members)
        : FakeQuery("derived"), m_members(std::move(members)) {}

    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IQuery>> getQueries(
        int /*kind*/) const override {
        return basekit2::make_iterator(m_members);
    }

private:
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> m_members;
};

inline basekit2::sptr_t<FakePlainQuery> fakeQuery(const std::string& id) {
    return basekit2::make_object<FakePlainQuery>(id);
}

}  // namespace lanefeed_test
