// A trace text of the instances, opened once for each kind of rows. The filter is kept twice: as a
// host sets it, and by hand on the list.
#include "agreement/random_slices.h"

#include "support/filter_words.h"
#include "support/trace_text.h"

#include <fmt/format.h>
#include <fstream>

namespace lanefeed_test {

using basekit2::u64_t;

namespace {

constexpr int kThreads = 4;
constexpr int kNames = 4;
constexpr int kSpan = 300;
const char* const kRowSets[] = {SlicePane::kByThread,
                                "<rowBy useGridQuery='false' query='process'/>",
                                "<gridQuery><rowBy query='processAndThread'/></gridQuery>"};
constexpr char kMergedCount[] = R"(<queryLibrary>
  <instanceCountQuery id="mergedCount" displayName="Merged">
    <dbPath>slice_data</dbPath>
    <displayAttributes timelineMergeDataMode="true"/>
  </instanceCountQuery>
</queryLibrary>)";

}  // namespace

SliceRequest::SliceRequest(std::mt19937& random)
    : rows(static_cast<Rows>(pick(random, 0, 2))),
      expansions(pick(random, 0, 2)),
      start(static_cast<u64_t>(pick(random, 0, kSpan - 1))),
      end(start + static_cast<u64_t>(pick(random, 0, kSpan))) {
    const int ticks = static_cast<int>(end - start) + 1;
    bins = static_cast<unsigned>(pick(random, 1, pick(random, 0, 1) == 0 ? ticks : 12));
}

std::ostream& operator<<(std::ostream& out, const SliceRequest& request) {
    return out << request.start << ".." << request.end << " in " << request.bins << ", rows "
               << request.rows << ", expansions " << request.expansions;
}

RandomSlices::RandomSlices(std::mt19937& random, int count)
    : m_instances(randomInstances(random, count, kThreads, kNames, kSpan)) {
    for (int thread = kThreads; thread > 0; --thread)
        m_instances.insert(m_instances.begin(), {1, 1, thread, thread, 5});
    std::string text;
    for (const Instance& slice : m_instances)
        text += fmt::format("process p{}\nthread t{} {}..{} {}*{}@{}\n", slice.band % 2, slice.band,
                            slice.start - 1, slice.end, slice.attr < 0 ? "-" : nameOf(slice),
                            slice.count, categoryOf(slice));
    writeTraceText(m_folder.file("t.lft"), text);
    sortAsWritten(m_instances);
    std::ofstream(m_folder.file("merged.queries.xml")) << kMergedCount;
    for (const char* rowSet : kRowSets)
        m_panes.emplace_back(m_folder.file("t.lft"), rowSet, m_folder.file("merged.queries.xml"));
}

void RandomSlices::filter(std::mt19937& random) {
    const int parts = pick(random, 1, 3);
    std::string words;
    m_kept = {{0, ~0ULL}};
    m_withoutName.clear();
    if ((parts & 1) != 0) {
        m_kept.clear();
        u64_t at = 1;
        for (int i = pick(random, 1, 3); i > 0; --i) {
            const u64_t start = at + static_cast<u64_t>(pick(random, 0, kSpan / 3));
            at = start + static_cast<u64_t>(pick(random, 1, kSpan / 3));
            words += fmt::format("@{}..{} ", start, at);
            m_kept.push_back({start, at++});
        }
    }
    if ((parts & 2) != 0) {
        m_withoutName = "a" + std::to_string(pick(random, 1, kNames));
        words += "slice_data::attr/name!='" + m_withoutName + "'";
    }
    for (const SlicePane& pane : m_panes) {
        setFilter(*pane.filters, "global", words);
        pane.provider->filterChanged("global");
    }
}

SlicePane& RandomSlices::pane(const SliceRequest& request) {
    SlicePane& pane = m_panes.at(request.rows);
    pane.slices.m_extras.clear();
    if (request.expansions > 0) pane.expandBy("sliceName");
    if (request.expansions > 1) pane.expandBy("sliceCategory");
    return pane;
}

std::vector<Instance> RandomSlices::instances() const {
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

std::string RandomSlices::nameOf(const Instance& slice) {
    return slice.attr < 0 ? "" : "a" + std::to_string(slice.attr);
}

// The same for absolute ticks and those of the pane.
std::string RandomSlices::categoryOf(const Instance& slice) {
    return "c" + std::to_string((slice.start + slice.end) % 2);
}

std::vector<std::size_t> RandomSlices::rowsOf(const SliceRequest& request, const Instance& slice) {
    const auto thread = static_cast<std::size_t>(slice.band) - 1;
    const std::size_t process = thread % 2;
    if (request.rows == SliceRequest::threads) return {thread};
    if (request.rows == SliceRequest::processes) return {process};
    return {3 * process, 3 * process + 1 + thread / 2};
}

}  // namespace lanefeed_test
