// External merge sort of fixed records. Traces come nearly sorted per thread but not over all
// threads; sorting here is several times cheaper than in the database.
// Tested by tests/store/record_sorter_test.cpp.
#include "store/record_sorter.h"

#include "store/unnamed_file.h"

#include <algorithm>
#include <numeric>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

constexpr std::size_t kCellBytes = sizeof(std::int64_t);
// Memory of the read buffers of all runs together, in cells.
constexpr std::size_t kReadCells = std::size_t{4} << 20;

}  // namespace

// A sorted stretch of the file with its read buffer.
struct RecordSorter::Run {
    std::int64_t begin = 0;  // bytes still unread
    std::int64_t end = 0;
    std::vector<std::int64_t> buffer;
    std::size_t at = 0;
};

RecordSorter::RecordSorter(std::size_t cells, std::size_t second, std::string directory)
    : m_cells(cells), m_second(second), m_directory(std::move(directory)) {}

RecordSorter::~RecordSorter() {
    if (m_file >= 0) ::close(m_file);
}

void RecordSorter::add(const std::int64_t* record) {
    if (!m_records.empty() && isBefore(record, &m_records[m_records.size() - m_cells]))
        m_inOrder = false;
    m_records.insert(m_records.end(), record, record + m_cells);
    ++m_added;
}

bool RecordSorter::isBefore(const std::int64_t* a, const std::int64_t* b) const {
    return a[0] != b[0] ? a[0] < b[0] : a[m_second] > b[m_second];
}

void RecordSorter::sortMemory() {
    m_order.clear();
    if (m_inOrder) return;
    struct Key {
        std::int64_t first;
        std::uint32_t place;
    };
    std::vector<Key> keys(m_records.size() / m_cells);
    for (std::uint32_t i = 0; i < keys.size(); ++i)
        keys[i] = {m_records[i * m_cells], i};
    // The records themselves are looked at for equal first cells alone.
    std::sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
        if (a.first != b.first) return a.first < b.first;
        const std::int64_t* recordA = &m_records[a.place * m_cells];
        const std::int64_t* recordB = &m_records[b.place * m_cells];
        if (recordA[m_second] != recordB[m_second]) return recordA[m_second] > recordB[m_second];
        return a.place < b.place;
    });
    m_order.resize(keys.size());
    std::transform(keys.begin(), keys.end(), m_order.begin(), [](const Key& k) { return k.place; });
}

bool RecordSorter::spill() {
    if (m_records.empty()) return true;
    if (m_file < 0) m_file = openUnnamedFile(m_directory);
    if (m_file < 0) return false;
    sortMemory();
    std::vector<std::int64_t> sorted;
    if (!m_order.empty()) {
        sorted.reserve(m_records.size());
        for (const std::uint32_t place : m_order) {
            const auto from = m_records.begin() + static_cast<std::ptrdiff_t>(place * m_cells);
            sorted.insert(sorted.end(), from, from + static_cast<std::ptrdiff_t>(m_cells));
        }
    }
    const std::vector<std::int64_t>& out = sorted.empty() ? m_records : sorted;
    const auto bytes = static_cast<std::int64_t>(out.size() * kCellBytes);
    if (!writeAt(m_file, out.data(), out.size() * kCellBytes, m_fileEnd)) return false;
    m_runs.push_back({m_fileEnd, m_fileEnd + bytes, {}, 0});
    m_fileEnd += bytes;
    m_records.clear();
    m_inOrder = true;
    return true;
}

bool RecordSorter::startReading() {
    m_started = true;
    if (m_runs.empty()) {
        sortMemory();
        return true;
    }
    m_failed = !spill();
    std::vector<std::int64_t>().swap(m_records);
    for (std::size_t run = 0; run < m_runs.size() && !m_failed; ++run) {
        m_failed = !refill(m_runs[run]);
        m_heap.push_back(run);
    }
    std::make_heap(m_heap.begin(), m_heap.end(),
                   [this](std::size_t a, std::size_t b) { return runIsLess(b, a); });
    return !m_failed;
}

const std::int64_t* RecordSorter::next() {
    if (m_failed || !m_started) return nullptr;
    return m_runs.empty() ? nextInMemory() : nextOfRuns();
}

const std::int64_t* RecordSorter::nextInMemory() {
    if (m_read >= m_records.size() / m_cells) return nullptr;
    const std::size_t place = m_order.empty() ? m_read : m_order[m_read];
    ++m_read;
    return &m_records[place * m_cells];
}

// The record handed out last still stands at the head of the least run; step over it first.
const std::int64_t* RecordSorter::nextOfRuns() {
    if (m_read > 0 && !m_heap.empty()) {
        Run& run = m_runs[m_heap.front()];
        run.at += m_cells;
        if (run.at >= run.buffer.size()) {
            if (run.begin >= run.end) {
                // Several tables are read one after the other; none keeps its buffers.
                std::vector<std::int64_t>().swap(run.buffer);
                m_heap.front() = m_heap.back();
                m_heap.pop_back();
            } else if (!refill(run)) {
                m_failed = true;
                return nullptr;
            }
        }
        siftDown(0);
    }
    m_read = 1;
    if (m_heap.empty()) return nullptr;
    const Run& least = m_runs[m_heap.front()];
    return &least.buffer[least.at];
}

bool RecordSorter::refill(Run& run) {
    const std::size_t wanted = std::max<std::size_t>(kReadCells / m_runs.size() / m_cells, 16);
    const auto left = static_cast<std::size_t>(run.end - run.begin) / kCellBytes;
    run.buffer.resize(std::min(wanted * m_cells, left));
    run.at = 0;
    const std::size_t bytes = run.buffer.size() * kCellBytes;
    if (!readAt(m_file, run.buffer.data(), bytes, run.begin)) return false;
    run.begin += static_cast<std::int64_t>(bytes);
    return true;
}

bool RecordSorter::runIsLess(std::size_t a, std::size_t b) const {
    const std::int64_t* recordA = &m_runs[a].buffer[m_runs[a].at];
    const std::int64_t* recordB = &m_runs[b].buffer[m_runs[b].at];
    return isBefore(recordA, recordB) || (a < b && !isBefore(recordB, recordA));
}

void RecordSorter::siftDown(std::size_t place) {
    for (;;) {
        std::size_t least = 2 * place + 1;
        if (least >= m_heap.size()) return;
        if (least + 1 < m_heap.size() && runIsLess(m_heap[least + 1], m_heap[least])) ++least;
        if (!runIsLess(m_heap[least], m_heap[place])) return;
        std::swap(m_heap[least], m_heap[place]);
        place = least;
    }
}

}  // namespace lanefeed_runtime
