#pragma once

#include "support/slice_pane.h"
#include "support/temp_directory.h"
#include "timeline/random_instances.h"

#include <storelink1/database.h>

#include <ostream>
#include <string>
#include <vector>

// Results of slices that nest, cross and touch, with panes on them, for reckonings without
// shortcuts.
namespace lanefeed_test {

// What a pane may ask for, at random.
struct SliceRequest {
    enum Rows { threads, processes, both };  // both: processes with their threads below them

    explicit SliceRequest(std::mt19937& random);

    Rows rows;
    int expansions;         // 0 none, 1 by name, 2 by category too
    basekit2::u64_t start;  // of the pane, both included
    basekit2::u64_t end;
    unsigned bins;
};
std::ostream& operator<<(std::ostream& out, const SliceRequest& request);

// Slices on four threads of two processes, of four names and of none, in two categories. Each
// thread has one at the begin, so that rows stand in the order of the threads and names in that of
// their ids.
class RandomSlices {
public:
    RandomSlices(std::mt19937& random, int count);

    // Keeps to some spans, leaves out a name, or both.
    void filter(std::mt19937& random);

    // The rows of the request, with slices split as it says, under the filter.
    SlicePane& pane(const SliceRequest& request);
    // Those that the filter keeps, in the order of the result; ticks of the pane.
    std::vector<Instance> instances() const;
    // Without a filter on time the one that holds everything; absolute ticks.
    const std::vector<storelink1::time_interval_t>& kept() const { return m_kept; }

    static std::string nameOf(const Instance& slice);  // empty for none
    static std::string categoryOf(const Instance& slice);
    // Numbers of the rows that a slice belongs to.
    static std::vector<std::size_t> rowsOf(const SliceRequest& request, const Instance& slice);

private:
    TempDirectory m_folder;
    std::vector<Instance> m_instances;  // absolute
    std::vector<SlicePane> m_panes;     // by rows
    std::vector<storelink1::time_interval_t> m_kept = {{0, ~0ULL}};
    std::string m_withoutName;
};

}  // namespace lanefeed_test
