#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
}

namespace lanefeed_importers {

class TrackNames;

// Puts processes, threads and other tracks into a result, and finds their bands. Ids and bands are
// those of the writer, -1 after one of its failures.
class TrackRows {
public:
    // Adds all processes that have events and all threads that have a band, with these, in the
    // order in which they are shown. A thread of async events or counters alone is no row.
    TrackRows(const TrackNames& tracks, lanefeed_runtime::ResultWriter& writer);

    int threadBand(std::uint32_t thread) const { return m_threadBands[thread]; }
    // Of what runs across threads, by process and name.
    int trackBand(std::uint32_t process, const std::string& name);
    // Row of a curve; its band is that of the same row.
    int counter(std::uint32_t process, std::string_view key, const std::string& name);
    int counterBand(int counter);

private:
    void addProcesses();
    void addThreads();
    std::string ownLabel(std::uint32_t process, const std::string& name) const;

    const TrackNames& m_tracks;
    lanefeed_runtime::ResultWriter& m_writer;
    std::vector<int> m_processRows;  // by number of the process; -1 for those without events
    std::vector<int> m_threadBands;  // by number of the thread; -1 for those without
    std::unordered_map<std::string, int> m_trackBands;
};

}  // namespace lanefeed_importers
