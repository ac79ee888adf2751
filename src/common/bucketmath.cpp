// Change of the number of buckets, and folding of records: arithmetic that needs neither a store
// nor tables. The expressions keep their order, so that equal requests give equal bits. Indexes are
// cut from doubles, hence each is brought into range before it is used; no value is clamped beyond
// that. Tested by tests/unit/bucketmath_test.cpp.

#include "common/bucketmath.h"

#include "common/check.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace lanefeed_1::bucketmath {

namespace {

using basekit2::u32_t;
using basekit2::u64_t;

// Cut towards zero. Positions that no int holds become one that is out of every array.
int indexOf(double position) {
    constexpr double kBound = std::numeric_limits<int>::max();
    if (!(position > -kBound)) return std::numeric_limits<int>::min();
    if (position >= kBound) return std::numeric_limits<int>::max();
    return static_cast<int>(position);
}

// How the buckets of a request lie in those that were read.
struct Stretch {
    double binWidth;     // ticks of a requested bucket
    double actualRange;  // ticks of the span that was read
    double offset;       // from the start of that span to the requested start
    double offsetEnd;    // one tick less, so that the end of a bucket belongs to it
};

std::vector<double> stretched(const std::vector<double>& values,
                              int requestedCount,
                              const Stretch& stretch) {
    const int fromCount = static_cast<int>(values.size());
    const double fromWidth = stretch.actualRange / fromCount;
    const double ratio = stretch.binWidth / fromWidth;
    std::vector<double> result(static_cast<std::size_t>(requestedCount));
    for (int i = 0; i < requestedCount; ++i) {
        // Rounding on a huge span may put the first index behind the last bucket.
        const int first = std::clamp(indexOf((i * stretch.binWidth + stretch.offset) / fromWidth),
                                     0, fromCount - 1);
        const int last = indexOf(((i + 1) * stretch.binWidth + stretch.offsetEnd) / fromWidth);
        const double left = values[static_cast<std::size_t>(first)];
        // In buckets narrower than a tick the last index may lie before the first one, which counts
        // as straddling too.
        const bool straddles = first != last && last >= 0 && last < fromCount;
        const double value =
            straddles ? (left + values[static_cast<std::size_t>(last)]) * 0.5 : left;
        result[static_cast<std::size_t>(i)] = value * ratio;
    }
    return result;
}

// Target of a fold. A share for a bucket that is not there is dropped.
class FoldedSeries {
public:
    FoldedSeries(int count, aggregation_type_t type)
        : m_values(static_cast<std::size_t>(std::max(count, 0))), m_type(type) {}

    void add(int bucket, double value, double fraction) {
        if (bucket < 0 || static_cast<std::size_t>(bucket) >= m_values.size()) return;
        aggregateValue(m_values[static_cast<std::size_t>(bucket)], value, fraction, m_type);
    }
    std::vector<double> take() { return std::move(m_values); }

private:
    std::vector<double> m_values;
    aggregation_type_t m_type;
};

std::vector<double> folded(const std::vector<double>& values,
                           int toCount,
                           double startD,
                           double range,
                           aggregation_type_t type) {
    const double toBinWidth = range / toCount;
    const double startEnd = startD - 1.0;
    const double fromBinWidth = range / static_cast<int>(values.size());
    const double ratio = fromBinWidth / toBinWidth;
    FoldedSeries target(toCount, type);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double binStart = static_cast<double>(i) * fromBinWidth + startD;
        const int first = indexOf((binStart - startD) / toBinWidth);
        const double binEndRel = static_cast<double>(i + 1) * fromBinWidth + startEnd - startD;
        const int last = indexOf(binEndRel / toBinWidth);
        if (first == last) {
            target.add(first, values[i], ratio);
            continue;
        }
        target.add(first, values[i],
                   ((startEnd - binStart) + (first + 1.0) * toBinWidth) / toBinWidth);
        target.add(last, values[i], (binEndRel - last * toBinWidth) / toBinWidth);
    }
    return target.take();
}

double nonZero(double value) {
    return value != 0.0 ? 1.0 : 0.0;
}

// The first record with series gives the shape of the sum.
void startAggregation(OverTimeData& data, const OverTimeData& first, aggregation_type_t type) {
    data.row = first.row;
    data.seriesSet = first.seriesSet;
    data.rowFlag = first.rowFlag;
    data.dbIndexes = first.dbIndexes;
    if (type != agCountNonZero) return;
    for (OverTimeDataSeries& series : data.seriesSet)
        std::transform(series.values.begin(), series.values.end(), series.values.begin(), nonZero);
}

bool addSeries(std::vector<double>& sum,
               const std::vector<double>& values,
               aggregation_type_t type) {
    if (values.empty()) return true;
    // A late first series is taken as it stands, also when non-zero values are counted.
    if (sum.empty()) {
        sum = values;
        return true;
    }
    if (!LF_CHECK_AS(type == agAverage || type == agSum || type == agCountNonZero,
                     "Unsupported aggregation type"))
        return false;
    const std::size_t count = std::min(sum.size(), values.size());
    for (std::size_t i = 0; i < count; ++i)
        sum[i] += type == agCountNonZero ? nonZero(values[i]) : values[i];
    return true;
}

bool addRecord(OverTimeData& data, const OverTimeData& record, aggregation_type_t type) {
    if (!LF_CHECK_AS(data.seriesSet.size() == record.seriesSet.size(),
                     "data.seriesSet.size() == dataArray[i].seriesSet.size()"))
        return false;
    for (std::size_t i = 0; i < data.seriesSet.size(); ++i) {
        if (!addSeries(data.seriesSet[i].values, record.seriesSet[i].values, type)) return false;
    }
    return true;
}

}  // namespace

u64_t wholeBinWidth(u64_t start, u64_t end, u32_t binCount) {
    if (binCount == 0) return 0;
    const double width = static_cast<double>(end - start) / static_cast<double>(binCount);
    // Only one bucket over the whole of the axis rounds up to what 64 bits don't hold.
    constexpr double kBound = 18446744073709551616.0;
    return width < kBound ? static_cast<u64_t>(width) : std::numeric_limits<u64_t>::max();
}

bool rebucket(OverTimeData& data,
              int requestedCount,
              u64_t requestedStart,
              u64_t requestedEnd,
              u64_t actualStart,
              u64_t actualEnd) {
    if (!LF_CHECK(actualEnd >= requestedEnd)) return false;
    if (!LF_CHECK(actualStart <= requestedStart)) return false;
    const auto startD = static_cast<double>(requestedStart);
    const auto actualD = static_cast<double>(actualStart);
    const Stretch stretch{static_cast<double>(requestedEnd - requestedStart) / requestedCount,
                          static_cast<double>(actualEnd - actualStart), startD - actualD,
                          startD - 1.0 - actualD};
    const int toWidth = requestedCount;
    for (OverTimeDataSeries& series : data.seriesSet) {
        const int fromWidth = static_cast<int>(series.values.size());
        if (!LF_CHECK(toWidth >= fromWidth)) return false;
        if (fromWidth == 0 || fromWidth == toWidth) continue;
        series.values = stretched(series.values, toWidth, stretch);
    }
    return true;
}

void rebucketToLowerWidth(
    OverTimeData& data, int toCount, u64_t start, u64_t end, aggregation_type_t type) {
    const auto range = static_cast<double>(end - start);
    for (OverTimeDataSeries& series : data.seriesSet) {
        const int fromCount = static_cast<int>(series.values.size());
        if (fromCount == 0 || fromCount == toCount) continue;
        series.values = folded(series.values, toCount, static_cast<double>(start), range, type);
    }
}

void aggregateValue(double& accumulator, double value, double fraction, aggregation_type_t type) {
    switch (type) {
    case agAverage: accumulator += fraction * value; break;
    case agSum: accumulator += value; break;
    case agMax:
        if (value > accumulator) accumulator = value;
        break;
    default: LF_ALERT("Unsupported aggregation function");
    }
}

bool aggregateOvertimeData(OverTimeData& data,
                           const std::vector<OverTimeData>& dataArray,
                           aggregation_type_t type) {
    if (!LF_CHECK(!dataArray.empty())) return false;
    bool started = false;
    for (const OverTimeData& record : dataArray) {
        if (record.seriesSet.empty()) continue;
        if (!started) {
            startAggregation(data, record, type);
            started = true;
        } else if (!addRecord(data, record, type)) {
            return false;
        }
    }
    if (!started) startAggregation(data, dataArray.front(), type);
    if (type != agAverage) return true;
    const auto count = static_cast<double>(dataArray.size());
    for (OverTimeDataSeries& series : data.seriesSet) {
        for (double& value : series.values)
            value /= count;
    }
    return true;
}

bool isOvertimeArrayEmpty(const std::vector<OverTimeData>& dataArray) {
    return std::all_of(dataArray.begin(), dataArray.end(),
                       [](const OverTimeData& data) { return data.seriesSet.empty(); });
}

}  // namespace lanefeed_1::bucketmath
