// Spans on the time axis: those that filters and pauses leave, merged per bin, and the test for a
// bucket that lies in a pause. Tested by tests/provider/timefilters_test.cpp.

#include "common/pauseranges.h"

#include "common/check.h"

#include <algorithm>

namespace lanefeed_1 {

namespace {

void dropIfNarrow(std::vector<SBInterval>& merged, basekit2::u64_t minWidth) {
    if (merged.back().end - merged.back().start < minWidth) merged.pop_back();
}

bool readTick(const basekit2::sptr_t<dataface_1::ITableRow>& row,
              const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
              basekit2::u64_t& tick) {
    basekit2::variant_t cell;
    const bool read =
        row->getContent(column, dataface_1::ccValue, cell) && cell.can_get<basekit2::u64_t>();
    if (!LF_CHECK_AS(read, "bRet")) return false;
    tick = cell.get<basekit2::u64_t>();
    return true;
}

}  // namespace

bool sbIntervalCompare(const SBInterval& a, const SBInterval& b) {
    return a.start < b.start;
}

void mergeIntervals(std::vector<SBInterval>& intervals, basekit2::u64_t minWidth) {
    if (intervals.empty()) return;
    std::stable_sort(intervals.begin(), intervals.end(), sbIntervalCompare);
    std::vector<SBInterval> merged{intervals.front()};
    for (auto next = intervals.begin() + 1; next != intervals.end(); ++next) {
        if (next->start <= merged.back().end) {
            merged.back().end = std::max(merged.back().end, next->end);
            continue;
        }
        dropIfNarrow(merged, minWidth);
        merged.push_back(*next);
    }
    dropIfNarrow(merged, minWidth);
    intervals = std::move(merged);
}

void fillPauserangesSet(std::set<TimeRange>& ranges,
                        const basekit2::sptr_t<dataface_1::ITableTree>& tree) {
    if (tree.is_null()) return;
    const auto colIt = tree->getColumns(nullptr);
    if (!LF_CHECK(!colIt.at_end())) return;
    const auto startColumn = colIt.current();
    colIt.next();
    if (!LF_CHECK(!colIt.at_end())) return;
    const auto endColumn = colIt.current();
    for (auto rows = tree->getRows(nullptr); !rows.at_end(); rows.next()) {
        const auto row = rows.current();
        if (!LF_CHECK(row)) return;
        TimeRange range;
        if (!readTick(row, startColumn, range.start) || !readTick(row, endColumn, range.end))
            return;
        ranges.insert(range);
    }
}

bool isInPause(const std::set<TimeRange>& ranges, basekit2::u64_t start, basekit2::u64_t end) {
    const auto range = ranges.lower_bound(TimeRange{0, end});
    return range != ranges.end() && start >= range->start;
}

}  // namespace lanefeed_1
