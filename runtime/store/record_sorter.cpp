// External merge sort of fixed records. Traces come nearly sorted per thread but not over all
// threads; sorting here is several times cheaper than in the database. Blocks of records that fit
// into the processor's cache are sorted and packed, and the merge of all of them is a walk along
// one after the other as long as they don't overlap.
// Tested by tests/store/record_sorter_test.cpp.
#include "store/record_sorter.h"

#include "store/unnamed_file.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace lanefeed_runtime {
namespace {

constexpr std::size_t kBlockRecords = 8192;
// Memory of the read buffers of all runs of a file together.
constexpr std::size_t kReadBytes = std::size_t{8} << 20;
constexpr std::size_t kWritePiece = std::size_t{256} << 10;

}  // namespace

RecordSorter::RecordSorter(std::size_t cells, std::size_t second, std::string directory)
    : m_cells(cells), m_second(second), m_directory(std::move(directory)), m_packer(cells) {}

RecordSorter::~RecordSorter() {
    if (m_file >= 0) ::close(m_file);
}

void RecordSorter::add(const std::int64_t* record) {
    const std::size_t size = m_block.size();
    if (size > 0) {
        const std::int64_t* const last = &m_block[size - m_cells];
        m_inOrder = m_inOrder && (last[0] < record[0] ||
                                  (last[0] == record[0] && last[m_second] >= record[m_second]));
    }
    m_block.insert(m_block.end(), record, record + m_cells);
    ++m_added;
    if (m_block.size() >= kBlockRecords * m_cells) packBlock();
}

// Places of the records of the block, in their order.
std::vector<std::size_t> RecordSorter::sortedBlock() const {
    struct Key {
        std::int64_t first;
        std::size_t place;
    };
    std::vector<Key> keys(m_block.size() / m_cells);
    for (std::size_t i = 0; i < keys.size(); ++i)
        keys[i] = {m_block[i * m_cells], i};
    // The records themselves are looked at for equal first cells alone.
    std::sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
        if (a.first != b.first) return a.first < b.first;
        const std::int64_t secondA = m_block[a.place * m_cells + m_second];
        const std::int64_t secondB = m_block[b.place * m_cells + m_second];
        return secondA != secondB ? secondA > secondB : a.place < b.place;
    });
    std::vector<std::size_t> order(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(), [](const Key& k) { return k.place; });
    return order;
}

void RecordSorter::packBlock() {
    if (m_block.empty()) return;
    const std::size_t records = m_block.size() / m_cells;
    m_packer.restart();
    if (m_inOrder) {
        for (std::size_t i = 0; i < records; ++i)
            m_packer.add(&m_block[i * m_cells]);
    } else {
        for (const std::size_t place : sortedBlock())
            m_packer.add(&m_block[place * m_cells]);
    }
    m_inMemory.emplace_back(m_cells, records, m_packer);
    m_packedBytes += m_packer.size();
    m_block.clear();
    m_inOrder = true;
}

bool RecordSorter::spill() {
    packBlock();
    if (m_inMemory.empty()) return true;
    if (m_file < 0) m_file = openUnnamedFile(m_directory);
    if (m_file < 0) return false;
    std::uint64_t records = 0;
    for (const PackedRun& run : m_inMemory)
        records += run.records();
    const std::int64_t begin = m_fileEnd;
    m_packer.restart();
    if (!startMerge(m_inMemory)) return false;
    while (const std::int64_t* const record = next()) {
        m_packer.add(record);
        if (m_packer.size() >= kWritePiece && !writeOut()) return false;
    }
    if (!writeOut()) return false;
    m_onDisk.emplace_back(m_cells, records, m_file, begin, m_fileEnd);
    m_inMemory.clear();
    m_packedBytes = 0;
    m_merged = nullptr;
    return true;
}

bool RecordSorter::writeOut() {
    if (!writeAt(m_file, m_packer.data(), m_packer.size(), m_fileEnd)) return false;
    m_fileEnd += static_cast<std::int64_t>(m_packer.size());
    m_packer.clearBytes();
    return true;
}

bool RecordSorter::startReading() {
    packBlock();
    std::vector<std::int64_t>().swap(m_block);
    if (m_onDisk.empty()) return startMerge(m_inMemory);
    m_failed = !spill();
    for (PackedRun& run : m_onDisk)
        run.setBuffer(kReadBytes / m_onDisk.size());
    return !m_failed && startMerge(m_onDisk);
}

// Runs were made one after the other, so of equal heads that of the first run comes first.
bool RecordSorter::startMerge(std::vector<PackedRun>& runs) {
    m_merged = &runs;
    m_heap.clear();
    m_frontTaken = false;
    for (std::size_t run = 0; run < runs.size(); ++run) {
        if (runs[run].advance()) m_heap.push_back(headOf(run));
        m_failed = m_failed || runs[run].failed();
    }
    std::sort(m_heap.begin(), m_heap.end(), isBefore);
    return !m_failed;
}

const std::int64_t* RecordSorter::next() {
    if (m_failed || m_merged == nullptr) return nullptr;
    if (m_frontTaken) stepOver();
    if (m_failed || m_heap.empty()) return nullptr;
    m_frontTaken = true;
    return (*m_merged)[m_heap.front().run].record();
}

// The record handed out last still stands at the head of the least run.
void RecordSorter::stepOver() {
    m_frontTaken = false;
    PackedRun& run = (*m_merged)[m_heap.front().run];
    if (run.advance()) {
        m_heap.front() = headOf(m_heap.front().run);
    } else {
        m_failed = run.failed();
        m_heap.front() = m_heap.back();
        m_heap.pop_back();
    }
    siftDown();
}

RecordSorter::Head RecordSorter::headOf(std::size_t run) const {
    const std::int64_t* const record = (*m_merged)[run].record();
    return {record[0], record[m_second], run};
}

bool RecordSorter::isBefore(const Head& a, const Head& b) {
    if (a.first != b.first) return a.first < b.first;
    return a.second != b.second ? a.second > b.second : a.run < b.run;
}

void RecordSorter::siftDown() {
    std::size_t place = 0;
    for (;;) {
        std::size_t least = 2 * place + 1;
        if (least >= m_heap.size()) return;
        if (least + 1 < m_heap.size() && isBefore(m_heap[least + 1], m_heap[least])) ++least;
        if (!isBefore(m_heap[least], m_heap[place])) return;
        std::swap(m_heap[least], m_heap[place]);
        place = least;
    }
}

}  // namespace lanefeed_runtime
