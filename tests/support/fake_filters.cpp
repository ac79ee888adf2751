#include "support/fake_filters.h"

#include <dataface_1/query_kinds.h>
#include <storelink1/utils.h>

namespace lanefeed_test {

namespace {

using basekit2::sptr_t;
using dataface_1::IInfoQuery;
using dataface_1::IQueryFilter;
using dataface_1::ITimeFilter;

template <class Face>
std::string textOf(const sptr_t<Face>& filter) {
    const auto* fake = dynamic_cast<const FakeFilter<Face>*>(filter.get());
    return fake != nullptr ? fake->text : "null";
}

class QueryBuilder : public dataface_1::IQueryFilterBuilder {
public:
    QueryBuilder(bool refuses, bool refusesFilters)
        : m_refuses(refuses), m_refusesFilters(refusesFilters) {}
    void setMode(int mode) override { m_text += "mode " + std::to_string(mode) + " "; }
    void beginGroup(int kind) override { m_text += "{" + std::to_string(kind) + " "; }
    void addCondition(const sptr_t<dataface_1::IQuery>& query,
                      bool excluded,
                      const basekit2::variant_t& value) override {
        const auto info = IInfoQuery::cast(query);
        if (!info.is_null()) {
            m_text += info->getInstanceTable() + "::" + info->getAttributeTable();
            if (!info->getAttributeName().empty()) m_text += "." + info->getAttributeName();
        }
        const std::string text = storelink1::utils::variantToString(value);
        const bool isText = value.get_type() == basekit2::vtString;
        m_text += (excluded ? "!=" : "=") + (isText ? "'" + text + "'" : text) + " ";
    }
    void addFilter(const sptr_t<IQueryFilter>& filter) override {
        m_text += textOf(filter) + " ";
        m_refuses = m_refuses || m_refusesFilters;
    }
    void endGroup() override {
        m_text.back() = '}';
        m_text += ' ';
    }
    sptr_t<IQueryFilter> build() override {
        if (m_refuses) return {};
        return basekit2::make_object<FakeQueryFilter>(
            m_text.substr(0, m_text.find_last_not_of(' ') + 1));
    }

private:
    bool m_refuses;
    bool m_refusesFilters;
    std::string m_text;
};

class TimeBuilder : public dataface_1::ITimeFilterBuilder {
public:
    explicit TimeBuilder(bool refuses) : m_refuses(refuses) {}
    void addRange(basekit2::u64_t start, basekit2::u64_t end, bool exclude) override {
        m_text += (exclude ? "-" : "+") + std::to_string(start) + ".." + std::to_string(end);
    }
    sptr_t<ITimeFilter> build() override {
        if (m_refuses) return {};
        return basekit2::make_object<FakeTimeFilter>(m_text);
    }

private:
    bool m_refuses;
    std::string m_text;
};

}  // namespace

sptr_t<dataface_1::IQueryFilterBuilder> FakeRegistry::createQueryFilterBuilder() {
    if (refused.count(queryBuilder) != 0) return {};
    return basekit2::make_object<QueryBuilder>(refused.count(queryFilter) != 0,
                                               refused.count(filterOfFilter) != 0);
}

sptr_t<dataface_1::ITimeFilterBuilder> FakeRegistry::createTimeFilterBuilder() {
    if (refused.count(timeBuilder) != 0) return {};
    return basekit2::make_object<TimeBuilder>(refused.count(timeFilter) != 0);
}

void FakeRegistry::removeFilter(const std::string& name) {
    calls.push_back("remove " + name);
    names.erase(name);
}

void FakeRegistry::clearFilter(const std::string& name) {
    calls.push_back("clear " + name);
    names.erase(name);
}

void FakeRegistry::setQueryFilter(const std::string& name, const sptr_t<IQueryFilter>& filter) {
    calls.push_back("query " + name + " " + textOf(filter));
    names.insert(name);
}

void FakeRegistry::setTimeFilter(const std::string& name, const sptr_t<ITimeFilter>& filter) {
    calls.push_back("time " + name + " " + textOf(filter));
    names.insert(name);
}

std::vector<std::string> FakeRegistry::takeCalls() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
}

}  // namespace lanefeed_test
