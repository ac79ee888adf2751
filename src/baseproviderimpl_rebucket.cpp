// Change of bucket count and folding of records, as operations of the provider: doors to the
// arithmetic in common/bucketmath, which the flow of an over-time request and the reads of a store
// go through. Tested by tests/unit/bucketmath_test.cpp.

#include "baseproviderimpl.h"

#include "common/bucketmath.h"

namespace lanefeed_1 {

using basekit2::u64_t;

bool BaseProviderImpl::rebucket(OverTimeData& data,
                                int requestedCount,
                                u64_t requestedStart,
                                u64_t requestedEnd,
                                u64_t actualStart,
                                u64_t actualEnd) {
    return bucketmath::rebucket(data, requestedCount, requestedStart, requestedEnd, actualStart,
                                actualEnd);
}

void BaseProviderImpl::rebucketToLowerWidth(
    OverTimeData& data, int toCount, u64_t start, u64_t end, aggregation_type_t type) {
    bucketmath::rebucketToLowerWidth(data, toCount, start, end, type);
}

void BaseProviderImpl::aggregateValue(double& accumulator,
                                      double value,
                                      double fraction,
                                      aggregation_type_t type) {
    bucketmath::aggregateValue(accumulator, value, fraction, type);
}

bool BaseProviderImpl::aggregateOvertimeData(OverTimeData& data,
                                             const std::vector<OverTimeData>& dataArray,
                                             aggregation_type_t type) {
    return bucketmath::aggregateOvertimeData(data, dataArray, type);
}

bool BaseProviderImpl::isOvertimeArrayEmpty(const std::vector<OverTimeData>& dataArray) {
    return bucketmath::isOvertimeArrayEmpty(dataArray);
}

}  // namespace lanefeed_1
