#pragma once

#include <basekit2/variant.h>

#include <algorithm>

// Where the buckets of a window lie. Every road to bucketed numbers asks here, so that all of them
// agree to the tick and windows that follow each other add up.
//
// A window [start, end) in ticks is cut into `count` buckets of W = (end - start) / count ticks, in
// whole ticks. Bucket i covers [start + i*W, start + (i+1)*W); the last one reaches to `end`, and
// so takes what the division left over.
namespace lanefeed_runtime {

class Buckets {
public:
    // A window without ticks, no bucket, or more buckets than ticks: not valid.
    Buckets(basekit2::u64_t start, basekit2::u64_t end, int count)
        : m_start(start), m_end(end), m_count(count) {
        if (count > 0 && end > start) m_width = (end - start) / static_cast<unsigned>(count);
    }

    bool valid() const { return m_width > 0; }
    basekit2::u64_t start() const { return m_start; }
    basekit2::u64_t end() const { return m_end; }
    int count() const { return m_count; }
    // W; the last bucket may be wider.
    basekit2::u64_t width() const { return m_width; }

    bool contains(basekit2::u64_t tick) const { return tick >= m_start && tick < m_end; }
    // Bucket of a tick of the window.
    int at(basekit2::u64_t tick) const {
        return static_cast<int>(std::min<basekit2::u64_t>((tick - m_start) / m_width, last()));
    }
    // First tick of a bucket.
    basekit2::u64_t first(int bucket) const {
        return m_start + static_cast<basekit2::u64_t>(bucket) * m_width;
    }
    // First tick behind a bucket.
    basekit2::u64_t behind(int bucket) const {
        return bucket + 1 < m_count ? first(bucket + 1) : m_end;
    }

private:
    basekit2::u64_t last() const { return static_cast<basekit2::u64_t>(m_count) - 1; }

    basekit2::u64_t m_start;
    basekit2::u64_t m_end;
    basekit2::u64_t m_width = 0;
    int m_count;
};

// A position among the buckets that is moved to tick after tick: cheap as long as they go up in
// small steps, right for any order.
class BucketCursor {
public:
    explicit BucketCursor(const Buckets& buckets)
        : m_buckets(buckets), m_first(buckets.first(0)), m_behind(buckets.behind(0)) {}

    int bucket() const { return m_bucket; }
    basekit2::u64_t behind() const { return m_behind; }
    void moveTo(basekit2::u64_t tick) {
        if (tick >= m_first && tick < m_behind) return;
        set(tick == m_behind ? m_bucket + 1 : m_buckets.at(tick));
    }
    // Calls add(bucket, ticks) for every bucket that the ticks first..last touch; they lie in the
    // window.
    template <class Add>
    void share(basekit2::u64_t first, basekit2::u64_t last, Add&& add) {
        moveTo(first);
        while (last >= m_behind) {
            add(m_bucket, m_behind - first);
            first = m_behind;
            set(m_bucket + 1);
        }
        add(m_bucket, last - first + 1);
    }

private:
    void set(int bucket) {
        m_bucket = bucket;
        m_first = m_buckets.first(bucket);
        m_behind = m_buckets.behind(bucket);
    }

    const Buckets& m_buckets;
    int m_bucket = 0;
    basekit2::u64_t m_first;
    basekit2::u64_t m_behind;
};

}  // namespace lanefeed_runtime
