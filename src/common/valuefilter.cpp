// Lists of values as filters, as restrictions of viewpoints and of queries write them. Tested by
// tests/provider/selection_test.cpp and tests/provider/intervals_test.cpp.

#include "common/valuefilter.h"

#include "common/check.h"

namespace lanefeed_1 {

namespace {

using dataface_1::IQueryFilterBuilder;

constexpr char kExclusionMark = '!';

}  // namespace

basekit2::sptr_t<dataface_1::IQueryFilter> valueFilter(
    const std::vector<std::string>& values,
    const basekit2::sptr_t<dataface_1::IInfoQuery>& query,
    IQueryFilterBuilder& builder) {
    builder.setMode(IQueryFilterBuilder::modeValueList);
    if (!LF_CHECK_AS(!values.empty() && !values.front().empty(), "!rName.empty()")) return {};
    const bool excluded = values.front().front() == kExclusionMark;
    builder.beginGroup(excluded ? IQueryFilterBuilder::groupExcluded
                                : IQueryFilterBuilder::groupIncluded);
    for (const std::string& rName : values) {
        if (!LF_CHECK(!rName.empty())) return {};
        const bool marked = rName.front() == kExclusionMark;
        builder.addCondition(query, excluded, marked ? rName.substr(1) : rName);
    }
    builder.endGroup();
    return builder.build();
}

}  // namespace lanefeed_1
