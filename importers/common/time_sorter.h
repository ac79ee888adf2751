#pragma once

#include "common/import_error.h"
#include "common/trace_time.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_importers {

// Puts records of any size into the order of their time; equal times stay in the order in which
// they were added. Keeps at most `memory` bytes; more go to a nameless file in `folder`, in sorted
// runs that are merged as they are read. One thread.
class TimeSorter {
public:
    TimeSorter(std::string folder, std::size_t memory);
    ~TimeSorter();
    TimeSorter(const TimeSorter&) = delete;
    TimeSorter& operator=(const TimeSorter&) = delete;

    // False on failure, see error().
    bool add(const TraceTime& time, std::string_view record);
    // Ends the adding; to be called once before the first next().
    bool sort();
    // False at the end and on failure. The record is valid until the next call.
    bool next(TraceTime& time, std::string_view& record);

    std::uint64_t size() const { return m_size; }
    std::size_t runs() const { return m_runs.size(); }
    const ImportError& error() const { return m_error; }

private:
    struct Key {
        TraceTime time;
        std::uint32_t offset = 0;
        std::uint32_t length = 0;
    };
    class Run;

    std::string_view recordOf(const Key& key) const;
    void sortKeys();
    bool spill();
    bool writeOut(const std::string& bytes);
    bool nextOfRuns(TraceTime& time, std::string_view& record);
    bool fail(const char* what);

    std::string m_folder;
    std::size_t m_memory;
    std::vector<char> m_records;
    std::vector<Key> m_keys;
    std::size_t m_nextKey = 0;
    std::uint64_t m_size = 0;
    int m_file = -1;
    std::int64_t m_fileEnd = 0;
    std::vector<std::unique_ptr<Run>> m_runs;
    std::vector<std::size_t> m_heap;  // runs with records left, the earliest in front
    bool m_frontTaken = false;
    ImportError m_error;
};

}  // namespace lanefeed_importers
