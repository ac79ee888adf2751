// Builders of filters: they collect what a client says, in its nesting. A group that was not ended
// when the filter is built ends there. Tested by tests/store/filter_registry_test.cpp.
#include "store/filter_parts.h"

#include <utility>

namespace lanefeed_runtime {
namespace {

class QueryFilterBuilder : public dataface_1::IQueryFilterBuilder {
public:
    void setMode(int) override {}

    void beginGroup(int kind) override {
        m_open.emplace_back();
        m_open.back().kind = kind;
    }

    void addCondition(const basekit2::sptr_t<dataface_1::IQuery>& query,
                      bool excluded,
                      const basekit2::variant_t& value) override {
        if (!query.is_null()) m_open.back().conditions.push_back({query, excluded, value});
    }

    void addFilter(const basekit2::sptr_t<dataface_1::IQueryFilter>& filter) override {
        if (!filter.is_null()) m_open.back().filters.push_back(filter);
    }

    void endGroup() override {
        if (m_open.size() < 2) return;
        QueryFilter::Group ended = std::move(m_open.back());
        m_open.pop_back();
        m_open.back().groups.push_back(std::move(ended));
    }

    basekit2::sptr_t<dataface_1::IQueryFilter> build() override {
        while (m_open.size() > 1)
            endGroup();
        return basekit2::make_object<QueryFilter>(m_open.front());
    }

private:
    std::vector<QueryFilter::Group> m_open{1};  // outermost first
};

class TimeFilterBuilder : public dataface_1::ITimeFilterBuilder {
public:
    void addRange(basekit2::u64_t start, basekit2::u64_t end, bool exclude) override {
        m_ranges.push_back({{start, end}, exclude});
    }

    basekit2::sptr_t<dataface_1::ITimeFilter> build() override {
        return basekit2::make_object<TimeFilter>(m_ranges);
    }

private:
    std::vector<TimeFilter::Range> m_ranges;
};

}  // namespace

basekit2::sptr_t<dataface_1::IQueryFilterBuilder> makeQueryFilterBuilder() {
    return basekit2::make_object<QueryFilterBuilder>();
}

basekit2::sptr_t<dataface_1::ITimeFilterBuilder> makeTimeFilterBuilder() {
    return basekit2::make_object<TimeFilterBuilder>();
}

}  // namespace lanefeed_runtime
