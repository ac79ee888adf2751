// Joins the forests of several queries row by row. Tested by
// tests/provider/timelinequery_test.cpp.

#include "timelinedbproviderimpl.h"

#include "common/check.h"

#include <facekit_1_x/table_helpers.h>

namespace lanefeed_1 {

void TimelineDbProviderImpl::mergeForest(Forest& target, const Forest& source) {
    if (target.empty()) {
        target = source;
        return;
    }
    // One tree per row on both sides as a rule; a longer side keeps its tail.
    for (std::size_t i = 0; i < source.size(); ++i) {
        if (i < target.size())
            target[i] = mergeTrees(target[i], source[i]);
        else
            target.push_back(source[i]);
    }
}

basekit2::sptr_t<dataface_1::ITableTree> TimelineDbProviderImpl::mergeTrees(
    const basekit2::sptr_t<dataface_1::ITableTree>& first,
    const basekit2::sptr_t<dataface_1::ITableTree>& second) {
    if (first.is_null() || second.is_null()) return first.is_null() ? second : first;
    const auto merger = facekit_1_x::createTableTreeMerger();
    if (!LF_CHECK_AS(!merger.is_null() && merger->init(1, 0).succeeded(), "err.succeeded()"))
        return {};
    if (!LF_CHECK_AS(getFilterRegistry(), "filterRegistry")) return {};
    for (const auto& tree : {first, second}) {
        const auto err = merger->addTree(tree, tree->getColumns(nullptr));
        if (!LF_CHECK(err.succeeded())) return {};
    }
    basekit2::sptr_t<dataface_1::ITableTree> merged;
    const auto err = merger->getMergedTree(merged);
    if (!LF_CHECK(err.succeeded())) return {};
    return merged;
}

}  // namespace lanefeed_1
