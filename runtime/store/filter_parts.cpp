// Builders of filters: they collect what a client says, in its nesting. A group that was not ended
// when the filter is built ends there. Tested by tests/store/filter_sql_test.cpp.
#include "store/filter_parts.h"

#include <dataface_1/query_kinds.h>

#include <algorithm>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using dataface_1::IInfoQuery;

int levelsOf(const QueryFilter::Group& group) {
    int levels = 0;
    for (const auto& filter : group.filters)
        levels = std::max(levels, filter->levels());
    for (const QueryFilter::Group& inner : group.groups)
        levels = std::max(levels, levelsOf(inner));
    return levels + 1;
}

// A value as one of few types: signed 64-bit integer, double, narrow text, null.
basekit2::variant_t plain(const basekit2::variant_t& value) {
    if (value.is_null()) return value;
    const bool isInteger = value.can_get<basekit2::s64_t>();
    const auto integer = value.get<basekit2::s64_t>();
    // One that only the unsigned type holds equals no integer of a result.
    if (isInteger && value.get_type() == basekit2::vtU64 && integer < 0) return value.get<double>();
    if (isInteger) return integer;
    if (value.can_get<double>()) return value.get<double>();
    basekit2::variant_t text;
    basekit2::print_variant(value, text, false);
    return text;
}

// A list of queries stands for its first one.
sptr_t<IInfoQuery> attributeOf(const sptr_t<dataface_1::IQuery>& query) {
    sptr_t<IInfoQuery> info = IInfoQuery::cast(query);
    if (!info.is_null()) return info;
    const auto list = dataface_1::IVectorQuery::cast(query);
    return list.is_null() ? info : IInfoQuery::cast(list->getDefaultQuery());
}

class QueryFilterBuilder : public dataface_1::IQueryFilterBuilder {
public:
    // The type of a value says already what it is compared with.
    void setMode(int) override {}

    void beginGroup(int kind) override {
        const bool isTooDeep = m_open.size() >= QueryFilter::kMostLevels;
        if (isTooDeep || kind < groupExcluded || kind > groupNegated) m_isBroken = true;
        m_open.emplace_back();
        m_open.back().kind = kind;
    }

    void addCondition(const sptr_t<dataface_1::IQuery>& query,
                      bool excluded,
                      const basekit2::variant_t& value) override {
        const sptr_t<IInfoQuery> info = attributeOf(query);
        if (info.is_null() || value.get_type() == basekit2::vtObject) {
            m_isBroken = true;
            return;
        }
        m_open.back().conditions.push_back({info->getInstanceTable(), info->getAttributeTable(),
                                            info->getAttributeName(), excluded, plain(value)});
    }

    void addFilter(const sptr_t<dataface_1::IQueryFilter>& filter) override {
        const sptr_t<QueryFilter> own(dynamic_cast<QueryFilter*>(filter.get()));
        if (own.is_null()) {
            m_isBroken = true;
        } else {
            m_open.back().filters.push_back(own);
        }
    }

    void endGroup() override {
        if (m_open.size() < 2) return;
        QueryFilter::Group ended = std::move(m_open.back());
        m_open.pop_back();
        m_open.back().groups.push_back(std::move(ended));
    }

    sptr_t<dataface_1::IQueryFilter> build() override {
        if (m_isBroken) return nullptr;
        while (m_open.size() > 1)
            endGroup();
        auto filter = basekit2::make_object<QueryFilter>(m_open.front());
        if (filter->levels() > QueryFilter::kMostLevels) return nullptr;
        return filter;
    }

private:
    std::vector<QueryFilter::Group> m_open{1};  // outermost first
    bool m_isBroken = false;
};

class TimeFilterBuilder : public dataface_1::ITimeFilterBuilder {
public:
    void addRange(basekit2::u64_t start, basekit2::u64_t end, bool exclude) override {
        m_ranges.push_back({{start, end}, exclude});
    }

    sptr_t<dataface_1::ITimeFilter> build() override {
        return basekit2::make_object<TimeFilter>(m_ranges);
    }

private:
    std::vector<TimeFilter::Range> m_ranges;
};

}  // namespace

bool operator==(const QueryFilter::Condition& a, const QueryFilter::Condition& b) {
    return a.table == b.table && a.path == b.path && a.suffix == b.suffix &&
           a.excluded == b.excluded && a.value.get_type() == b.value.get_type() &&
           a.value == b.value;
}

bool operator==(const QueryFilter::Group& a, const QueryFilter::Group& b) {
    const auto isSame = [](const auto& x, const auto& y) { return x->root() == y->root(); };
    return a.kind == b.kind && a.conditions == b.conditions && a.groups == b.groups &&
           std::equal(a.filters.begin(), a.filters.end(), b.filters.begin(), b.filters.end(),
                      isSame);
}

QueryFilter::QueryFilter(Group root) : m_root(std::move(root)), m_levels(levelsOf(m_root)) {}

sptr_t<dataface_1::IQueryFilterBuilder> makeQueryFilterBuilder() {
    return basekit2::make_object<QueryFilterBuilder>();
}

sptr_t<dataface_1::ITimeFilterBuilder> makeTimeFilterBuilder() {
    return basekit2::make_object<TimeFilterBuilder>();
}

}  // namespace lanefeed_runtime
