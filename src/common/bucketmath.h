#pragma once

#include "overtimedata.h"

#include <basekit2/variant.h>

#include <vector>

namespace lanefeed_1 {

// How values of several buckets or records become one.
enum aggregation_type_t {
    agAverage = 0,      // of buckets the weighted sum, of records the mean over all of them
    agSum = 1,          // plain sum
    agMax = 2,          // largest; of buckets only
    agCountNonZero = 3  // number of values that are not zero; of records only
};

// Arithmetic on series of buckets, in doubles, with an order of operations that stays: values are
// compared between requests. The width of a series is its number of buckets. NaN stands for no data
// and spreads. Spans are in ticks of one time axis. A failed check is logged.
namespace bucketmath {

// Ticks that a bucket covers: (end - start) / binCount in doubles, cut to whole ticks; 0 for no
// buckets.
basekit2::u64_t wholeBinWidth(basekit2::u64_t start, basekit2::u64_t end, basekit2::u32_t binCount);

// Stretches every series from the span that was read, which contains the requested one and has no
// more buckets, onto the requested span. False when a span or a width does not fit; series done by
// then keep their new form.
bool rebucket(OverTimeData& data,
              int requestedCount,
              basekit2::u64_t requestedStart,
              basekit2::u64_t requestedEnd,
              basekit2::u64_t actualStart,
              basekit2::u64_t actualEnd);

// Folds every series into fewer buckets of the same span.
void rebucketToLowerWidth(OverTimeData& data,
                          int toCount,
                          basekit2::u64_t start,
                          basekit2::u64_t end,
                          aggregation_type_t type);

// Adds a value to a target bucket; `fraction` is the share of the target that the source covers.
void aggregateValue(double& accumulator, double value, double fraction, aggregation_type_t type);

// Folds records of equal shape into `data`. False when there are none, or when their shapes differ.
bool aggregateOvertimeData(OverTimeData& data,
                           const std::vector<OverTimeData>& dataArray,
                           aggregation_type_t type);

// True when no record has a series, be it one without values.
bool isOvertimeArrayEmpty(const std::vector<OverTimeData>& dataArray);

}  // namespace bucketmath
}  // namespace lanefeed_1
