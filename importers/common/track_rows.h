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
    // Adds all processes and threads that have events, in the order in which they are shown.
    TrackRows(const TrackNames& tracks, lanefeed_runtime::ResultWriter& writer);

    // Added to the result when it is first asked for; a thread without instances has no band.
    int threadBand(std::uint32_t thread);
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
    std::vector<int> m_threadRows;
    std::vector<int> m_threadBands;  // -1 as long as nobody asked
    std::unordered_map<std::string, int> m_trackBands;
};

}  // namespace lanefeed_importers
