#pragma once

#include "queryparam.h"

#include <basekit2/object.h>
#include <basekit2/variant.h>
#include <dataface_1/table_tree.h>

#include <set>
#include <vector>

namespace lanefeed_1 {

// One span on the time axis, in pane ticks.
struct SBInterval {
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
};

// Order by start alone.
bool sbIntervalCompare(const SBInterval& a, const SBInterval& b);

// Sorts the spans, joins those that touch or overlap, and drops what is shorter than `minWidth`
// after the joining.
void mergeIntervals(std::vector<SBInterval>& intervals, basekit2::u64_t minWidth);

// Adds the spans of a table of pause ranges, whose first two columns are start and end.
void fillPauserangesSet(std::set<TimeRange>& ranges,
                        const basekit2::sptr_t<dataface_1::ITableTree>& tree);
// Whether a span lies wholly inside one range: the first that ends at or after its end.
bool isInPause(const std::set<TimeRange>& ranges, basekit2::u64_t start, basekit2::u64_t end);

}  // namespace lanefeed_1
