// Answers under a filter are those over a result that was cut by hand: of the instances that the
// filter keeps, clipped to the time that it keeps. On bundled traces and on small random ones.
#include "agreement/cut_result.h"
#include "agreement/imported_trace.h"
#include "support/filter_words.h"
#include "support/trace_text.h"

#include <cmath>
#include <fmt/format.h>
#include <random>

namespace lanefeed_test {
namespace {

using basekit2::u64_t;

// As parts of the result's time.
struct Span {
    double start;
    double end;
};
using Spans = std::vector<Span>;

// A filter, and the same by hand.
struct Cut {
    const char* name;
    std::string words;      // the filter without time
    std::string bandsGone;  // SQL condition on instances of any kind
    std::string namesGone;  // on slices and asynchronous ones
    Spans kept = {};
    Spans excluded = {};
    Spans left = {};  // what the two leave of time; empty: all
    // Clipped ends move sample points and leave buckets as wide as they are.
    bool byPauses = true;
};

// Cuts of a result by its commonest name, its first thread and first process.
std::vector<Cut> cutsOf(const std::string& file) {
    const std::string id = runSql(file,
                                  "select attr from slice_data where attr in (select rowid from "
                                  "dd_task where name not like '% %') group by attr "
                                  "order by count(*) desc")
                               .at(0);
    const std::string name = runSql(file, "select name from dd_task where rowid = " + id).at(0);
    const std::string ofName = "attr in (select rowid from dd_task where name = '" + name + "')";
    const std::string ofThread = "dd_band in (select rowid from dd_band where dd_thread = 1)";
    const std::string ofProcess =
        "dd_band in (select b.rowid from dd_band b join dd_thread t on t.rowid = b.dd_thread"
        " where t.dd_process = 1)";
    const std::string named = "slice_data::attr=" + id;
    const Spans middle = {{.4, .7}};
    const Spans ends = {{0, .4}, {.7, 1}};
    const Spans ranges = {{.1, .5}, {.8, .9}};
    const Spans holed = {{.1, .3}, {.32, .5}, {.8, .9}};
    return {{"one span", "", "", "", {{.21, .64}}, {}, {{.21, .64}}, false},
            {"all but the middle", "", "", "", {}, middle, ends},
            {"ranges with a hole", "", "", "", ranges, {{.3, .32}}, holed},
            {"thread", "dd_band::dd_thread=1", "not " + ofThread, ""},
            {"not the process", "none( dd_band::dd_thread.dd_process=1 )", ofProcess, ""},
            {"name", named, "", "not " + ofName},
            {"not the name", "not( slice_data::attr/name='" + name + "' )", "", ofName},
            {"time, thread and names",
             "dd_band::dd_thread!=1 none( " + named + " )",
             ofThread,
             ofName,
             {},
             middle,
             ends}};
}

// A result and its cuts.
class FilteredResult {
public:
    explicit FilteredResult(std::string file) : m_file(std::move(file)) {
        lanefeed_runtime::StoreError error;
        m_store = lanefeed_runtime::openStore(m_file, error);
        EXPECT_FALSE(m_store.failed()) << error.text;
        m_store.database->getTimeRange(m_first, m_last, 0);
    }

    void expectToBeCut() {
        storelink1::IDatabase& database = *m_store.database;
        const Cells first = cellsOf(database, database.getTimelineDatabase(), true);
        ASSERT_FALSE(first.empty());
        for (const Cut& cut : cutsOf(m_file)) {
            SCOPED_TRACE(cut.name);
            ASSERT_TRUE(setFilter(*m_store.filters, "global", wordsOf(cut)));
            CutResult byHand(m_file, statements(cut));
            const auto expected = byHand.database().getTimelineDatabase();
            const Cells cells = cellsOf(byHand.database(), expected, cut.byPauses);
            const auto filtered = database.getFilteredTimelineDatabase();
            expectEqual(cellsOf(database, filtered, cut.byPauses), cells, "filtered");
            if (cut.excluded.empty()) {
                EXPECT_EQ(drawingsOf(*filtered), drawingsOf(*expected));
            }
            if (!cut.words.empty() && !cut.excluded.empty()) expectOnOtherRoads(cut, cells);
            EXPECT_NE(cells, first);
            m_store.filters->clearFilter("global");
        }
        EXPECT_TRUE(cellsOf(database, database.getFilteredTimelineDatabase(), true) == first)
            << "bit by bit";
    }

private:
    u64_t at(double part) const {
        return part < 1 ? m_first + static_cast<u64_t>(static_cast<double>(m_last - m_first) * part)
                        : m_last + 1;
    }

    // What touches no time that is left goes; the time of nothing becomes a pause.
    std::string statements(const Cut& cut) const {
        std::string touches = "0";
        std::string text = "create table if not exists pauses (start_tsc, end_tsc);";
        u64_t end = m_first;
        const auto pause = [&](u64_t to) {
            if (cut.byPauses && !cut.left.empty() && end < to)
                text += fmt::format("insert into pauses (start_tsc, end_tsc) values ({}, {});", end,
                                    to - 1);
        };
        for (const Span& span : cut.left) {
            touches +=
                fmt::format(" or (end_tsc >= {} and start_tsc < {})", at(span.start), at(span.end));
            pause(at(span.start));
            end = at(span.end);
        }
        pause(m_last + 1);
        for (const std::string table :
             {"slice_data", "async_data", "marker_data", "counter_data"}) {
            if (!m_store.database->isTableExist(table)) continue;
            const bool isNamed = table == "slice_data" || table == "async_data";
            if (!cut.left.empty()) text += "delete from " + table + " where not (" + touches + ");";
            for (const std::string& gone : {cut.bandsGone, isNamed ? cut.namesGone : ""})
                if (!gone.empty()) text += "delete from " + table + " where " + gone + ";";
            if (!cut.byPauses)
                text += fmt::format(
                    "update {} set start_tsc = max(start_tsc, {}), end_tsc = min(end_tsc, {});",
                    table, at(cut.left[0].start), at(cut.left[0].end) - 1);
        }
        return text;
    }

    std::string wordsOf(const Cut& cut) const {
        std::string words = cut.words;
        for (const Span& span : cut.kept)
            words += fmt::format(" @{}..{}", at(span.start), at(span.end));
        for (const Span& span : cut.excluded)
            words += fmt::format(" @-{}..{}", at(span.start), at(span.end));
        return words;
    }

    // A query on the raw result, and one that requires the half of the filter that "global" lacks.
    void expectOnOtherRoads(const Cut& cut, const Cells& expected) {
        storelink1::IDatabase& database = *m_store.database;
        expectEqual(cellsOf(database, nullptr, cut.byPauses), expected, "raw result");
        setFilter(*m_store.filters, "required", cut.words);
        m_store.filters->setQueryFilter("global", nullptr);
        const auto filtered = database.getFilteredTimelineDatabase();
        expectEqual(cellsOf(database, nullptr, cut.byPauses, "required"), expected,
                    "required, raw");
        expectEqual(cellsOf(database, filtered, cut.byPauses, "required"), expected, "required");
        m_store.filters->removeFilter("required");
    }

    static void expectEqual(const Cells& found, const Cells& expected, const char* road) {
        SCOPED_TRACE(road);
        auto other = found.begin();
        for (const auto& [place, value] : expected) {
            ASSERT_NE(other, found.end()) << "lacks " << place;
            ASSERT_EQ(other->first, place) << "else " << value;
            ASSERT_NEAR(other->second, value, 1e-9 * (1 + std::abs(value))) << place;
            ++other;
        }
        ASSERT_EQ(other, found.end()) << "has " << other->first;
    }

    std::string m_file;
    lanefeed_runtime::OpenStore m_store;
    u64_t m_first = 0;
    u64_t m_last = 0;
};

TEST(FilteredResult, IsTheResultCutByHandOnBundledTraces) {
    for (const char* trace : {"node20-workers.json", "flow.json.gz"}) {
        SCOPED_TRACE(trace);
        const TempDirectory folder;
        FilteredResult(importedTrace(folder, trace)).expectToBeCut();
    }
}

// Slices that nest, of few names.
void addSlices(std::mt19937& random, int from, int to, int depth, std::string& text) {
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    while (to - from > 2 && depth < 5) {
        const int begin = pick(from, to - 2);
        const int end = pick(begin + 1, to);
        text += fmt::format("  {}..{} {}*{}{}", begin, end, static_cast<char>('a' + pick(0, 3)),
                            pick(0, 5), pick(0, 1) == 0 ? "@ui" : "");
        addSlices(random, begin, end, depth + 1, text);
        from = end;
    }
}

TEST(FilteredResult, IsTheResultCutByHandOnRandomOnes) {
    for (unsigned seed = 1; seed <= 2; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::string text = "pause 130..140\nmarker main 0 start 90 gc 299 end\n";
        for (const char* row :
             {"thread main", "thread worker", "process other\nthread main", "track upload"}) {
            text += row;
            addSlices(random, 0, 300, 0, text);
            text += "\n";
        }
        const TextResult result(text + "counter load 3=5 90=7.5 170=1 260=0\n");
        FilteredResult(result.file()).expectToBeCut();
    }
}

}  // namespace
}  // namespace lanefeed_test
