#pragma once

#include <dataface_1/filters.h>
#include <storelink1/records.h>

#include <string>
#include <utility>
#include <vector>

namespace lanefeed_runtime {

// A finished filter on attribute values: a tree of groups, whose leaves are values of attributes.
// Attributes are held by their path, so that a filter outlives the queries that it was made of and
// can be written down. Immutable; may be read from any thread.
class QueryFilter : public dataface_1::IQueryFilter {
public:
    struct Condition {
        std::string table;   // of the query: "dd_band", an instance table, an attribute table
        std::string path;    // in that table, to what an index means; empty for its own row
        std::string suffix;  // from there to the display text; may be empty
        bool excluded = false;
        // Signed 64-bit integer: database index; narrow text: display text; a double is compared
        // with numbers, null stands for no value.
        basekit2::variant_t value;
    };
    struct Group {
        int kind = dataface_1::IQueryFilterBuilder::groupIncluded;
        std::vector<Condition> conditions;
        std::vector<basekit2::sptr_t<QueryFilter>> filters;
        std::vector<Group> groups;
    };

    // Groups inside each other, those of filters inside included, that a filter may have. The
    // engine of the store takes no more parentheses than that.
    static constexpr int kMostLevels = 20;

    // The members of the outermost group are combined with AND; its kind says nothing.
    explicit QueryFilter(Group root);
    const Group& root() const { return m_root; }
    int levels() const { return m_levels; }

private:
    Group m_root;
    int m_levels;
};

// The same tree of the same values.
bool operator==(const QueryFilter::Condition& a, const QueryFilter::Condition& b);
bool operator==(const QueryFilter::Group& a, const QueryFilter::Group& b);

// A finished filter on time. Immutable.
class TimeFilter : public dataface_1::ITimeFilter {
public:
    struct Range {
        storelink1::time_interval_t ticks;  // absolute, half open
        bool excluded = false;
    };

    explicit TimeFilter(std::vector<Range> ranges) : m_ranges(std::move(ranges)) {}
    const std::vector<Range>& ranges() const { return m_ranges; }

private:
    std::vector<Range> m_ranges;
};

// What stands under one name at one moment. Both parts must hold; a null part keeps everything.
struct NamedFilter {
    basekit2::sptr_t<QueryFilter> query;
    basekit2::sptr_t<TimeFilter> time;

    bool isEmpty() const { return query.is_null() && time.is_null(); }
};

// A builder fails, and build() is null, after a condition on what is no attribute of a table, after
// a filter that was not made here, and for more levels than a filter may have.
basekit2::sptr_t<dataface_1::IQueryFilterBuilder> makeQueryFilterBuilder();
basekit2::sptr_t<dataface_1::ITimeFilterBuilder> makeTimeFilterBuilder();

}  // namespace lanefeed_runtime
