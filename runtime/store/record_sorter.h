#pragma once

#include "store/packed_run.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Sorts records of a fixed number of 64-bit cells by their first cell; of equal ones that with the
// greater cell `second` comes first, the others stay in the order in which they came. Records are
// kept packed, as a rule in two bytes a cell; what doesn't fit into memory goes to a file without a
// name in `directory`, which vanishes by itself. One thread.
class RecordSorter {
public:
    // second: 0 for none.
    RecordSorter(std::size_t cells, std::size_t second, std::string directory);
    ~RecordSorter();
    RecordSorter(const RecordSorter&) = delete;
    RecordSorter& operator=(const RecordSorter&) = delete;

    void add(const std::int64_t* record);
    std::uint64_t size() const { return m_added; }
    std::size_t bytesInMemory() const {
        return m_packedBytes + m_block.size() * sizeof(m_block[0]);
    }
    // Moves what is in memory to the file. False when it can't be written: see errno.
    bool spill();

    // Ends adding. Then next() gives the records in order, each until the next call; null at the
    // end or on failure.
    bool startReading();
    const std::int64_t* next();
    bool failed() const { return m_failed; }

private:
    // What the order of runs is decided by.
    struct Head {
        std::int64_t first;
        std::int64_t second;
        std::size_t run;
    };

    std::vector<std::size_t> sortedBlock() const;
    void packBlock();
    bool startMerge(std::vector<PackedRun>& runs);
    Head headOf(std::size_t run) const;
    static bool isBefore(const Head& a, const Head& b);
    void siftDown();
    void stepOver();
    bool writeOut();

    std::size_t m_cells;
    std::size_t m_second;
    std::string m_directory;
    std::vector<std::int64_t> m_block;  // the latest records, as they came
    bool m_inOrder = true;              // those of the block
    RecordPacker m_packer;
    std::vector<PackedRun> m_inMemory;
    std::size_t m_packedBytes = 0;
    std::vector<PackedRun> m_onDisk;
    std::uint64_t m_added = 0;
    int m_file = -1;
    std::int64_t m_fileEnd = 0;
    std::vector<PackedRun>* m_merged = nullptr;  // those that are read
    std::vector<Head> m_heap;                    // runs with records left, the least in front
    bool m_frontTaken = false;
    bool m_failed = false;
};

}  // namespace lanefeed_runtime
