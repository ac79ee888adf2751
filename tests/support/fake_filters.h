#pragma once

#include <dataface_1/filters.h>
#include <dataface_1/query_kinds.h>
#include <storelink1/utils.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// A filter known by a text, such as "{1 dd_band::dd_thread=5}".
template <class Face>
class FakeFilter : public Face {
public:
    explicit FakeFilter(std::string what) : text(std::move(what)) {}
    static std::string textOf(const basekit2::sptr_t<Face>& filter) {
        const auto* fake = dynamic_cast<const FakeFilter*>(filter.get());
        return fake != nullptr ? fake->text : "null";
    }

    std::string text;
};
using FakeQueryFilter = FakeFilter<dataface_1::IQueryFilter>;
using FakeTimeFilter = FakeFilter<dataface_1::ITimeFilter>;

// A registry that holds names, and writes down the calls that change it: "clear NAME", "remove
// NAME", "query NAME FILTER", "time NAME FILTER". Parts of a filter are written "{KIND" and "}" for
// a group, "table::path.attr=value" (texts quoted, "!=" for an exclusion), "mode N ", "+1..2" and
// "-1..2" for spans that are kept or cut out.
class FakeRegistry : public dataface_1::IFilterRegistry {
public:
    // What may be refused; the last is a query filter that another is part of.
    enum Step { timeFilter, queryBuilder, queryFilter, filterOfFilter };

    basekit2::sptr_t<dataface_1::IQueryFilterBuilder> createQueryFilterBuilder() override {
        if (refused.count(queryBuilder) != 0) return {};
        return basekit2::make_object<QueryBuilder>(refused);
    }
    basekit2::sptr_t<dataface_1::ITimeFilterBuilder> createTimeFilterBuilder() override {
        return basekit2::make_object<TimeBuilder>(refused.count(timeFilter) != 0);
    }
    void removeFilter(const std::string& name) override { drop("remove ", name); }
    void clearFilter(const std::string& name) override { drop("clear ", name); }
    void setQueryFilter(const std::string& name,
                        const basekit2::sptr_t<dataface_1::IQueryFilter>& filter) override {
        set("query ", name, FakeQueryFilter::textOf(filter));
    }
    void setTimeFilter(const std::string& name,
                       const basekit2::sptr_t<dataface_1::ITimeFilter>& filter) override {
        set("time ", name, FakeTimeFilter::textOf(filter));
    }
    bool hasFilter(const std::string& name) override { return names.count(name) != 0; }

    // The calls since the last time they were taken.
    std::vector<std::string> takeCalls() { return std::exchange(calls, {}); }

    std::set<std::string> names;
    std::set<Step> refused;
    std::vector<std::string> calls;

private:
    class QueryBuilder : public dataface_1::IQueryFilterBuilder {
    public:
        explicit QueryBuilder(std::set<Step> refused) : m_refused(std::move(refused)) {}
        void setMode(int mode) override { m_text += "mode " + std::to_string(mode) + " "; }
        void beginGroup(int kind) override { m_text += "{" + std::to_string(kind) + " "; }
        void addCondition(const basekit2::sptr_t<dataface_1::IQuery>& query,
                          bool excluded,
                          const basekit2::variant_t& value) override {
            if (const auto info = dataface_1::IInfoQuery::cast(query)) {
                m_text += info->getInstanceTable() + "::" + info->getAttributeTable();
                if (!info->getAttributeName().empty()) m_text += "." + info->getAttributeName();
            }
            const std::string quote = value.get_type() == basekit2::vtString ? "'" : "";
            m_text += excluded ? "!=" : "=";
            m_text += quote + storelink1::utils::variantToString(value) + quote + " ";
        }
        void addFilter(const basekit2::sptr_t<dataface_1::IQueryFilter>& filter) override {
            m_text += FakeQueryFilter::textOf(filter) + " ";
            if (m_refused.count(filterOfFilter) != 0) m_refused.insert(queryFilter);
        }
        void endGroup() override { m_text.replace(m_text.size() - 1, 1, "} "); }
        basekit2::sptr_t<dataface_1::IQueryFilter> build() override {
            if (m_refused.count(queryFilter) != 0) return {};
            return basekit2::make_object<FakeQueryFilter>(
                m_text.substr(0, m_text.find_last_not_of(' ') + 1));
        }

    private:
        std::set<Step> m_refused;
        std::string m_text;
    };

    class TimeBuilder : public dataface_1::ITimeFilterBuilder {
    public:
        explicit TimeBuilder(bool refuses) : m_refuses(refuses) {}
        void addRange(basekit2::u64_t start, basekit2::u64_t end, bool exclude) override {
            m_text += (exclude ? "-" : "+") + std::to_string(start) + ".." + std::to_string(end);
        }
        basekit2::sptr_t<dataface_1::ITimeFilter> build() override {
            if (m_refuses) return {};
            return basekit2::make_object<FakeTimeFilter>(m_text);
        }

    private:
        bool m_refuses;
        std::string m_text;
    };

    void drop(const std::string& call, const std::string& name) {
        calls.push_back(call + name);
        names.erase(name);
    }
    void set(const std::string& call, const std::string& name, const std::string& text) {
        calls.push_back(call + name + " " + text);
        names.insert(name);
    }
};

}  // namespace lanefeed_test
