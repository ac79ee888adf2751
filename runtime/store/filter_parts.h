#pragma once

#include <dataface_1/filters.h>
#include <storelink1/records.h>

#include <vector>

namespace lanefeed_runtime {

// A finished filter on attribute values: a tree of groups, whose leaves are values of queries.
// Immutable.
class QueryFilter : public dataface_1::IQueryFilter {
public:
    struct Condition {
        basekit2::sptr_t<dataface_1::IQuery> query;
        bool excluded = false;
        basekit2::variant_t value;
    };
    struct Group {
        int kind = dataface_1::IQueryFilterBuilder::groupIncluded;
        std::vector<Condition> conditions;
        std::vector<basekit2::sptr_t<dataface_1::IQueryFilter>> filters;
        std::vector<Group> groups;
    };

    // The members of the outermost group are combined with AND.
    explicit QueryFilter(Group root) : m_root(std::move(root)) {}
    const Group& root() const { return m_root; }

private:
    Group m_root;
};

// A finished filter on time. Immutable.
class TimeFilter : public dataface_1::ITimeFilter {
public:
    struct Range {
        storelink1::time_interval_t ticks;  // absolute
        bool excluded = false;
    };

    explicit TimeFilter(std::vector<Range> ranges) : m_ranges(std::move(ranges)) {}
    const std::vector<Range>& ranges() const { return m_ranges; }

private:
    std::vector<Range> m_ranges;
};

basekit2::sptr_t<dataface_1::IQueryFilterBuilder> makeQueryFilterBuilder();
basekit2::sptr_t<dataface_1::ITimeFilterBuilder> makeTimeFilterBuilder();

}  // namespace lanefeed_runtime
