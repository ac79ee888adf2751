// Traces out of a seed.
//
// Each row gets its share of the calls and spreads them over the whole span: stacks of random
// depth, whose widths follow from how many calls are left for the time that is left. Own arithmetic
// on the raw random numbers, since the distributions of the standard library differ between
// libraries.

#include "traces.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace lanefeed_bench {

namespace {

constexpr std::uint64_t kTicksPerCall = 2000;

class RowMaker {
public:
    RowMaker(const TraceShape& shape, int row, std::vector<Call>& calls)
        : m_shape(shape), m_row(row), m_calls(calls), m_random(shape.seed * 1000003 + row) {}

    void make(std::size_t count, std::uint64_t behind) {
        std::uint64_t now = 1 + below(kTicksPerCall);
        while (count > 0 && now < behind) {
            // A burst takes its part of what is left; the rest of that part is idle.
            const std::uint64_t part = (behind - now) / count;
            const int levels =
                1 + static_cast<int>(below(static_cast<std::uint64_t>(m_shape.depth)));
            const std::size_t calls = std::min<std::size_t>(count, 1 + below(2 * levels));
            const std::uint64_t room = std::max<std::uint64_t>(part * calls, 2 * calls);
            m_left = calls;
            const std::uint64_t busy = std::max<std::uint64_t>(room / 4 + below(room / 2), calls);
            nest(now, now + busy, levels);
            count -= calls - m_left;
            now += room + below(8);
        }
    }

private:
    std::uint64_t below(std::uint64_t bound) { return bound == 0 ? 0 : m_random() % bound; }

    // A call over [begin, end) and calls inside it.
    void nest(std::uint64_t begin, std::uint64_t end, int levels) {
        if (m_left == 0 || begin >= end) return;
        --m_left;
        const auto spread = static_cast<double>(below(1 << 20)) / (1 << 20);
        const int name = static_cast<int>(std::pow(m_shape.names, spread)) - 1;
        m_calls.push_back({begin, end, m_row, name});
        while (levels > 1 && m_left > 0 && end - begin > 4) {
            const std::uint64_t width = 1 + below(end - begin - 1);
            nest(begin, begin + width, levels - 1);
            begin += width + 1;
            if (begin >= end || below(3) == 0) break;
        }
    }

    const TraceShape& m_shape;
    int m_row;
    std::vector<Call>& m_calls;
    std::mt19937_64 m_random;
    std::size_t m_left = 0;
};

}  // namespace

Trace makeTrace(const TraceShape& shape) {
    Trace trace;
    trace.shape = shape;
    trace.behind = 1 + kTicksPerCall * shape.instances;
    double weights = 0;
    for (int row = 0; row < shape.rows; ++row)
        weights += std::pow(row + 1, -0.8);
    std::size_t given = 0;
    for (int row = 0; row < shape.rows; ++row) {
        auto share = static_cast<std::size_t>(static_cast<double>(shape.instances) *
                                              std::pow(row + 1, -0.8) / weights);
        if (row + 1 == shape.rows) share = shape.instances - given;
        given += share;
        RowMaker(shape, row, trace.calls).make(share, trace.behind);
    }
    std::stable_sort(trace.calls.begin(), trace.calls.end(), [](const Call& a, const Call& b) {
        return a.begin != b.begin ? a.begin < b.begin : a.end > b.end;
    });
    for (Call& call : trace.calls)
        trace.behind = std::max(trace.behind, call.end);
    return trace;
}

}  // namespace lanefeed_bench
