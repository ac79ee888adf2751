#pragma once

#include <dataface_1/filters.h>

#include <set>
#include <string>
#include <vector>

namespace lanefeed_test {

// A filter known by a text, such as "{1 dd_band::dd_thread=5}".
template <class Face>
class FakeFilter : public Face {
public:
    explicit FakeFilter(std::string what) : text(std::move(what)) {}

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
    enum Step { timeBuilder, timeFilter, queryBuilder, queryFilter, filterOfFilter };

    basekit2::sptr_t<dataface_1::IQueryFilterBuilder> createQueryFilterBuilder() override;
    void removeFilter(const std::string& name) override;
    void setQueryFilter(const std::string& name,
                        const basekit2::sptr_t<dataface_1::IQueryFilter>& filter) override;
    basekit2::sptr_t<dataface_1::ITimeFilterBuilder> createTimeFilterBuilder() override;
    void clearFilter(const std::string& name) override;
    void setTimeFilter(const std::string& name,
                       const basekit2::sptr_t<dataface_1::ITimeFilter>& filter) override;
    bool hasFilter(const std::string& name) override { return names.count(name) != 0; }

    // The calls since the last time they were taken.
    std::vector<std::string> takeCalls();

    std::set<std::string> names;
    std::set<Step> refused;
    std::vector<std::string> calls;
};

}  // namespace lanefeed_test
