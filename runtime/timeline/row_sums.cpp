// Sums of a row by bucket and series.
//
// One class for each kind of number, all over the same grid of cells. Ticks and numbers of
// instances are summed as integers and become doubles once, when a row is handed over; so splitting
// a window changes no sum. Tested by tests/timeline/bucket_query_test.cpp.

#include "timeline/row_sums.h"

#include "timeline/cell_grid.h"
#include "timeline/nesting.h"

namespace lanefeed_runtime {

using basekit2::u64_t;
using storelink1::ITimelineQuery;
using storelink1::OverTimeDataSeries;
using Segment = GroupedInstances::Segment;

namespace {

template <class T>
class GridSums : public RowSums {
public:
    explicit GridSums(const SumRequest& request)
        : m_request(request),
          m_cells(request.plan.count(), request.buckets.count()),
          m_cursor(request.buckets) {}

    bool take(std::vector<OverTimeDataSeries>& out, std::vector<double>& totals) override {
        bool any = false;
        std::vector<OverTimeDataSeries> row;
        if (!m_cells.empty()) row.resize(m_request.plan.count());
        for (std::size_t series = 0; series < row.size(); ++series) {
            std::size_t cells = 0;
            m_cells.each(series, [&](int, const T& value) { cells += handsOut(value) ? 1U : 0U; });
            if (cells == 0) continue;
            any = true;
            row[series].reserve(cells);
            m_cells.each(series, [&](int bucket, const T& value) {
                if (!handsOut(value)) return;
                row[series].emplace(bucket, static_cast<double>(value));
                totals[series] += static_cast<double>(value);
            });
        }
        m_cells.clear();
        if (any) out = std::move(row);
        return any;
    }

protected:
    // The mean of a counter may well be 0; a sum of 0 says nothing.
    bool handsOut(const T& value) const {
        return value != T() || m_request.keepZeros || m_request.type == ITimelineQuery::qtAttribute;
    }
    int series(std::size_t i) const {
        return m_request.plan.seriesOf(m_request.instances.position(i));
    }
    T& cell(int series, int bucket) { return m_cells.at(static_cast<std::size_t>(series), bucket); }
    double count(std::size_t i) const {
        return static_cast<double>(m_request.table.count(m_request.instances.position(i)));
    }

    // Shares ticks among the buckets, without those that don't count: add(bucket, ticks).
    template <class Add>
    void share(u64_t first, u64_t last, Add&& add) {
        m_request.kept.each(first, last,
                            [&](u64_t from, u64_t to) { m_cursor.share(from, to, add); });
    }
    // Calls visit(i, first, last) for the instances that touch the window, clipped to it.
    template <class Visit>
    void eachInterval(const Segment& segment, Visit&& visit) {
        const Buckets& buckets = m_request.buckets;
        const GroupedInstances& instances = m_request.instances;
        instances.overlapping(segment, buckets.start(), buckets.end(), [&](std::size_t i) {
            ++m_visited;
            visit(i, std::max(instances.start(i), buckets.start()),
                  std::min(instances.end(i), buckets.end() - 1));
        });
    }
    // Calls visit(i, series, bucket) for the instances whose sample point counts in the window.
    template <class Visit>
    void eachSample(const Segment& segment, Visit&& visit) {
        const GroupedInstances& instances = m_request.instances;
        eachInterval(segment, [&](std::size_t i, u64_t, u64_t) {
            const u64_t tick = m_request.sampleAtEnd ? instances.end(i) : instances.start(i);
            if (!m_request.buckets.contains(tick) || !m_request.kept.keeps(tick)) return;
            const int wanted = series(i);
            if (wanted < 0) return;
            m_cursor.moveTo(tick);
            visit(i, wanted, m_cursor.bucket());
        });
    }
    // Hands each tick of the window to the innermost instance: own(i, first, last).
    template <class Wanted, class Own>
    void eachInnermost(const Segment& segment, Wanted&& wanted, Own&& own) {
        const GroupedInstances& instances = m_request.instances;
        InnermostSweep sweep(m_request.buckets.start(), m_request.buckets.end());
        instances.overlapping(segment, m_request.buckets.start(), m_request.buckets.end(),
                              [&](std::size_t i) {
                                  ++m_visited;
                                  if (wanted(i))
                                      sweep.open(i, instances.start(i), instances.end(i), own);
                              });
        sweep.finish(own);
    }

    const SumRequest& m_request;
    CellGrid<T> m_cells;
    BucketCursor m_cursor;
};

class TimeSums : public GridSums<u64_t> {
public:
    using GridSums::GridSums;

    void add(const Segment& segment) override {
        if (m_request.objectType == ITimelineQuery::otPoint)
            addPoints(segment);
        else if (m_request.plan.expanded())
            addInnermost(segment);
        else
            addUnion(segment);
    }

private:
    void addUnion(const Segment& segment) {
        u64_t covered = m_request.buckets.start();  // first tick that is not counted yet
        eachInterval(segment, [&](std::size_t, u64_t first, u64_t last) {
            if (last < covered) return;
            share(std::max(first, covered), last,
                  [&](int bucket, u64_t ticks) { cell(0, bucket) += ticks; });
            covered = last + 1;
        });
    }
    void addInnermost(const Segment& segment) {
        eachInnermost(
            segment, [](std::size_t) { return true; },
            [&](std::size_t i, u64_t first, u64_t last) {
                const int wanted = series(i);
                if (wanted < 0) return;
                share(first, last, [&](int bucket, u64_t ticks) { cell(wanted, bucket) += ticks; });
            });
    }
    void addPoints(const Segment& segment) {
        const GroupedInstances& instances = m_request.instances;
        eachSample(segment, [&](std::size_t i, int wanted, int bucket) {
            cell(wanted, bucket) += m_request.kept.count(instances.start(i), instances.end(i));
        });
    }
};

class InstanceCountSums : public GridSums<u64_t> {
public:
    using GridSums::GridSums;

    void add(const Segment& segment) override {
        if (m_request.objectType == ITimelineQuery::otPoint)
            eachSample(segment,
                       [&](std::size_t, int wanted, int bucket) { ++cell(wanted, bucket); });
        else
            eachInterval(segment, [&](std::size_t i, u64_t first, u64_t last) {
                const int wanted = series(i);
                if (wanted >= 0) addTouched(wanted, first, last);
            });
    }

private:
    void addTouched(int wanted, u64_t first, u64_t last) {
        int counted = -1;  // a pause within a bucket gives it in two pieces
        share(first, last, [&](int bucket, u64_t) {
            if (bucket != counted) ++cell(wanted, bucket);
            counted = bucket;
        });
    }
};

class CountSums : public GridSums<double> {
public:
    using GridSums::GridSums;

    void add(const Segment& segment) override {
        if (m_request.objectType == ITimelineQuery::otPoint)
            eachSample(segment, [&](std::size_t i, int wanted, int bucket) {
                cell(wanted, bucket) += count(i);
            });
        else
            eachInterval(segment, [&](std::size_t i, u64_t first, u64_t last) {
                const int wanted = series(i);
                if (wanted >= 0) addShares(i, wanted, first, last);
            });
    }

private:
    void addShares(std::size_t i, int wanted, u64_t first, u64_t last) {
        const GroupedInstances& instances = m_request.instances;
        const auto length =
            static_cast<double>(m_request.kept.count(instances.start(i), instances.end(i)));
        share(first, last, [&](int bucket, u64_t ticks) {
            cell(wanted, bucket) += count(i) * (static_cast<double>(ticks) / length);
        });
    }
};

// How much is going on: the mean over a bucket of the counts of what is active at each tick.
class ActiveSums : public GridSums<double> {
public:
    explicit ActiveSums(const SumRequest& request) : GridSums(request) {
        const Buckets& buckets = request.buckets;
        for (int bucket = 0; bucket < buckets.count(); ++bucket)
            m_ticks.push_back(static_cast<double>(
                request.kept.count(buckets.first(bucket), buckets.behind(bucket) - 1)));
    }

    void add(const Segment& segment) override {
        eachInterval(segment, [&](std::size_t i, u64_t first, u64_t last) {
            const int wanted = series(i);
            if (wanted < 0) return;
            share(first, last, [&](int bucket, u64_t ticks) {
                cell(wanted, bucket) += count(i) * static_cast<double>(ticks) /
                                        m_ticks[static_cast<std::size_t>(bucket)];
            });
        });
    }

private:
    std::vector<double> m_ticks;  // of each bucket that count
};

// Values of counters. A segment is one track; the tracks of a row add up.
class ValueSums : public GridSums<double> {
public:
    explicit ValueSums(const SumRequest& request)
        : GridSums(request), m_track(request.plan.count(), request.buckets.count()) {}

    void add(const Segment& segment) override {
        if (m_request.objectType == ITimelineQuery::otPoint)
            eachSample(segment, [&](std::size_t i, int wanted, int bucket) {
                if (hasValue(i)) addValue(wanted, bucket, value(i), 1);
            });
        else
            eachInnermost(
                segment, [&](std::size_t i) { return hasValue(i); },
                [&](std::size_t i, u64_t first, u64_t last) {
                    const int wanted = series(i);
                    if (wanted < 0) return;
                    share(first, last, [&](int bucket, u64_t ticks) {
                        addValue(wanted, bucket, value(i), ticks);
                    });
                });
        takeTrack();
    }

private:
    struct Mean {
        double sum = 0;
        u64_t weight = 0;
    };

    double value(std::size_t i) const {
        return m_request.numbers != nullptr ? (*m_request.numbers)[m_request.instances.position(i)]
                                            : count(i);
    }
    bool hasValue(std::size_t i) const {
        const double number = value(i);
        return number == number;  // NaN stands for none
    }
    void addValue(int wanted, int bucket, double number, u64_t weight) {
        Mean& mean = m_track.at(static_cast<std::size_t>(wanted), bucket);
        mean.sum += number * static_cast<double>(weight);
        mean.weight += weight;
    }
    void takeTrack() {
        if (m_track.empty()) return;
        for (std::size_t series = 0; series < m_request.plan.count(); ++series)
            m_track.each(series, [&](int bucket, const Mean& mean) {
                m_cells.at(series, bucket) += mean.sum / static_cast<double>(mean.weight);
            });
        m_track.clear();
    }

    CellGrid<Mean> m_track;
};

}  // namespace

std::unique_ptr<RowSums> makeRowSums(const SumRequest& request) {
    switch (request.type) {
    case ITimelineQuery::qtTime: return std::make_unique<TimeSums>(request);
    case ITimelineQuery::qtCount: return std::make_unique<CountSums>(request);
    case ITimelineQuery::qtInstanceCount: return std::make_unique<InstanceCountSums>(request);
    case ITimelineQuery::qtAttribute: return std::make_unique<ValueSums>(request);
    case ITimelineQuery::qtCountOverTime:
        if (request.objectType == ITimelineQuery::otPoint)
            return std::make_unique<CountSums>(request);
        return std::make_unique<ActiveSums>(request);
    }
    return nullptr;
}

}  // namespace lanefeed_runtime
