#pragma once

#include "support/filter_words.h"
#include "support/slice_pane.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"
#include "timeline/random_instances.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <string>
#include <vector>

// Results of slices that nest, cross and touch, with panes on them, for reckonings without
// shortcuts.
namespace lanefeed_test {

constexpr int kSliceThreads = 4;
constexpr int kSliceNames = 4;
constexpr int kSliceSpan = 300;

// What a pane may ask for, at random.
struct SliceRequest {
    enum Rows { threads, processes, both };  // both: processes with their threads below them

    explicit SliceRequest(std::mt19937& random)
        : rows(static_cast<Rows>(pick(random, 0, 2))),
          expansions(pick(random, 0, 2)),
          start(static_cast<basekit2::u64_t>(pick(random, 0, kSliceSpan - 1))),
          end(start + static_cast<basekit2::u64_t>(pick(random, 0, kSliceSpan))) {
        const int ticks = static_cast<int>(end - start) + 1;
        bins = static_cast<unsigned>(pick(random, 1, pick(random, 0, 1) == 0 ? ticks : 12));
    }

    Rows rows;
    int expansions;         // 0 none, 1 by name, 2 by category too
    basekit2::u64_t start;  // of the pane, both included
    basekit2::u64_t end;
    unsigned bins = 1;
};

// Slices on four threads of two processes, of four names and of none, in two categories. Each
// thread has one at the begin, so that rows stand in the order of the threads and names in that of
// their ids. The filter is kept twice: as a host sets it, and by hand on the list.
class RandomSlices {
public:
    RandomSlices(std::mt19937& random, int count)
        : m_instances(randomInstances(random, count, kSliceThreads, kSliceNames, kSliceSpan)) {
        for (int thread = kSliceThreads; thread > 0; --thread)
            m_instances.insert(m_instances.begin(), {1, 1, thread, thread, 5});
        std::string text;
        for (const Instance& slice : m_instances)
            text +=
                fmt::format("process p{}\nthread t{} {}..{} {}*{}@{}\n", slice.band % 2, slice.band,
                            slice.start - 1, slice.end, slice.attr < 0 ? "-" : nameOf(slice),
                            slice.count, categoryOf(slice));
        writeTraceText(m_folder.file("t.lft"), text);
        sortAsWritten(m_instances);
        std::ofstream(m_folder.file("merged.queries.xml"))
            << "<queryLibrary><instanceCountQuery id='mergedCount' displayName='Merged'>"
               "<dbPath>slice_data</dbPath><displayAttributes timelineMergeDataMode='true'/>"
               "</instanceCountQuery></queryLibrary>";
        for (const char* rows :
             {SlicePane::kByThread, "<rowBy useGridQuery='false' query='process'/>",
              "<gridQuery><rowBy query='processAndThread'/></gridQuery>"})
            m_panes.emplace_back(m_folder.file("t.lft"), rows, m_folder.file("merged.queries.xml"));
    }

    // Keeps to some spans, leaves out a name, or both.
    void filter(std::mt19937& random) {
        const int parts = pick(random, 1, 3);
        std::string words;
        m_kept = {{0, ~0ULL}};
        m_withoutName.clear();
        if ((parts & 1) != 0) {
            m_kept.clear();
            basekit2::u64_t at = 1;
            for (int i = pick(random, 1, 3); i > 0; --i) {
                const auto start =
                    at + static_cast<basekit2::u64_t>(pick(random, 0, kSliceSpan / 3));
                at = start + static_cast<basekit2::u64_t>(pick(random, 1, kSliceSpan / 3));
                words += fmt::format("@{}..{} ", start, at);
                m_kept.push_back({start, at++});
            }
        }
        if ((parts & 2) != 0) {
            m_withoutName = "a" + std::to_string(pick(random, 1, kSliceNames));
            words += "slice_data::attr/name!='" + m_withoutName + "'";
        }
        for (const SlicePane& pane : m_panes) {
            setFilter(*pane.filters, "global", words);
            pane.provider->filterChanged("global");
        }
    }

    // The rows of the request, with slices split as it says, under the filter.
    SlicePane& pane(const SliceRequest& request) {
        SlicePane& pane = m_panes.at(request.rows);
        pane.slices.m_extras.clear();
        if (request.expansions > 0) pane.expandBy("sliceName");
        if (request.expansions > 1) pane.expandBy("sliceCategory");
        return pane;
    }

    // Those that the filter keeps, in the order of the result; ticks of the pane.
    std::vector<Instance> instances() const {
        std::vector<Instance> kept;
        for (Instance slice : m_instances) {
            const bool isInTime = std::any_of(m_kept.begin(), m_kept.end(), [&](const auto& span) {
                return slice.start < span.end && slice.end >= span.start;
            });
            if (!isInTime || (!m_withoutName.empty() && nameOf(slice) == m_withoutName)) continue;
            --slice.start;
            --slice.end;
            kept.push_back(slice);
        }
        return kept;
    }

    // Empty for none.
    static std::string nameOf(const Instance& slice) {
        return slice.attr < 0 ? "" : "a" + std::to_string(slice.attr);
    }
    // The same for absolute ticks and those of the pane.
    static std::string categoryOf(const Instance& slice) {
        return "c" + std::to_string((slice.start + slice.end) % 2);
    }
    // Numbers of the rows that a slice belongs to.
    static std::vector<std::size_t> rowsOf(const SliceRequest& request, const Instance& slice) {
        const auto thread = static_cast<std::size_t>(slice.band) - 1;
        const std::size_t process = thread % 2;
        if (request.rows == SliceRequest::threads) return {thread};
        if (request.rows == SliceRequest::processes) return {process};
        return {3 * process, 3 * process + 1 + thread / 2};
    }

private:
    TempDirectory m_folder;
    std::vector<Instance> m_instances;  // absolute
    std::vector<SlicePane> m_panes;     // by rows
    std::vector<storelink1::time_interval_t> m_kept = {{0, ~0ULL}};
    std::string m_withoutName;
};

}  // namespace lanefeed_test
