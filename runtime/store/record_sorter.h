#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Sorts records of a fixed number of 64-bit cells by their first cell; of equal ones that with the
// greater cell `second` comes first, the others stay in the order in which they came. What doesn't
// fit into memory goes to a file without a name in `directory`, which vanishes by itself. Records
// that come in order cost nothing but their copy. One thread.
class RecordSorter {
public:
    // second: 0 for none.
    RecordSorter(std::size_t cells, std::size_t second, std::string directory);
    ~RecordSorter();
    RecordSorter(const RecordSorter&) = delete;
    RecordSorter& operator=(const RecordSorter&) = delete;

    void add(const std::int64_t* record);
    std::uint64_t size() const { return m_added; }
    std::size_t bytesInMemory() const { return m_records.size() * sizeof(std::int64_t); }
    // Moves what is in memory to the file. False when it can't be written: see errno.
    bool spill();

    // Ends adding. Then next() gives the records in order, null at the end or on failure.
    bool startReading();
    const std::int64_t* next();
    bool failed() const { return m_failed; }

private:
    struct Run;

    void sortMemory();
    const std::int64_t* nextInMemory();
    const std::int64_t* nextOfRuns();
    bool refill(Run& run);
    bool isBefore(const std::int64_t* a, const std::int64_t* b) const;
    bool runIsLess(std::size_t a, std::size_t b) const;
    void siftDown(std::size_t place);

    std::size_t m_cells;
    std::size_t m_second;
    std::string m_directory;
    std::vector<std::int64_t> m_records;
    std::vector<std::uint32_t> m_order;  // empty when the records stand in order
    bool m_inOrder = true;
    std::uint64_t m_added = 0;
    std::size_t m_read = 0;
    int m_file = -1;
    std::int64_t m_fileEnd = 0;
    std::vector<Run> m_runs;
    std::vector<std::size_t> m_heap;  // runs that have records left, least first
    bool m_started = false;
    bool m_failed = false;
};

}  // namespace lanefeed_runtime
