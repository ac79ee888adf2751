// Cursors over the instances of a row.
//
// A cursor is a number between the bounds of a segment of shared, immutable columns, so any number
// of them walk at once, and each outlives the grouper that made it.
// Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/grouper.h"

#include <atomic>
#include <utility>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::sptr_t;
using storelink1::ITimelineInstanceRecord;

namespace {

using Cursor = storelink1::ITimelineIterator<ITimelineInstanceRecord>;

class InstanceCursor : public Cursor {
public:
    InstanceCursor(std::shared_ptr<const GrouperData> data, std::size_t place)
        : m_data(std::move(data)), m_place(place) {
        read();
    }

    bool valid() override { return m_valid; }
    void next() override {
        ++m_place;
        read();
    }
    void previous() override {
        if (m_place == m_data->segment.begin) m_valid = false;
        --m_place;
        read();
    }
    ITimelineInstanceRecord* current() override { return m_valid ? &m_record : nullptr; }

private:
    void read() {
        m_valid = m_valid && m_place < m_data->segment.end;
        if (!m_valid) return;
        const GroupedInstances& instances = *m_data->instances;
        std::size_t position = instances.position(m_place);
        if (m_data->positions != nullptr) position = (*m_data->positions)[position];
        m_record.start = instances.start(m_place);
        m_record.end = instances.end(m_place);
        m_record.attr = m_data->table->attr(position);
        m_record.attr2 = m_data->table->bandAttr(position);
        m_record.attr3 = InstanceColumns::kNoAttr;
        m_record.index = static_cast<basekit2::s64_t>(m_place - m_data->segment.begin);
    }

    std::shared_ptr<const GrouperData> m_data;
    std::size_t m_place;
    bool m_valid = true;
    ITimelineInstanceRecord m_record;
};

class InstanceGrouper : public storelink1::ITimelineGrouper {
public:
    explicit InstanceGrouper(GrouperData data)
        : m_data(std::make_shared<const GrouperData>(std::move(data))) {}

    error_code_t seek(basekit2::u64_t tick, sptr_t<Cursor>& out) override {
        out = basekit2::make_object<InstanceCursor>(
            m_data, m_data->instances->firstFrom(m_data->segment, tick));
        return error_code_t::success;
    }
    error_code_t getLast(sptr_t<Cursor>& out) override {
        const GroupedInstances::Segment& segment = m_data->segment;
        out = basekit2::make_object<InstanceCursor>(
            m_data, segment.begin == segment.end ? segment.end : segment.end - 1);
        return error_code_t::success;
    }
    error_code_t open() override {
        m_opened.fetch_add(1, std::memory_order_relaxed);
        return error_code_t::success;
    }
    void close() override { m_opened.fetch_sub(1, std::memory_order_relaxed); }

private:
    std::shared_ptr<const GrouperData> m_data;
    std::atomic<int> m_opened{0};
};

}  // namespace

sptr_t<storelink1::ITimelineGrouper> makeGrouper(GrouperData data) {
    return basekit2::make_object<InstanceGrouper>(std::move(data));
}

}  // namespace lanefeed_runtime
