// Answers under a filter are those over a result that was cut by hand, in plain SQL on a copy of
// the file: of the instances that the filter keeps, in the time that it keeps.
#include "agreement/viewpoint_result.h"
#include "store/open_store.h"
#include "store/sqlite_handle.h"
#include "support/filter_words.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <map>

namespace lanefeed_test {
namespace {

using basekit2::u64_t;
using lanefeed_runtime::Connection;
using lanefeed_runtime::OpenStore;
using storelink1::ITimelineQuery;

// "table type sample-point rows expansion window row series bucket" to value.
using Cells = std::map<std::string, double>;

// Table, rows and expansion of what is asked.
const char* const kQuestions[][3] = {{"slice_data", "dd_band::dd_thread", ""},
                                     {"slice_data", "dd_band::dd_thread", "attr"},
                                     {"slice_data", "dd_band::dd_thread.dd_process", ""},
                                     {"slice_data", "dd_band::dd_thread.dd_process", "dd_category"},
                                     {"slice_data", "", "attr"},
                                     {"async_data", "dd_band::dd_track", "attr"},
                                     {"marker_data", "dd_band::dd_thread", "attr"},
                                     {"counter_data", "dd_band::dd_counter", ""}};

// Answers of bucketed queries over all instance tables. A null `timeline` asks the raw result.
// `required` is a filter that the queries require.
Cells cellsOf(const OpenStore& store,
              const basekit2::sptr_t<storelink1::ITimelineDatabase>& timeline,
              const std::string& required = "") {
    Cells cells;
    u64_t first = 0;
    u64_t last = 0;
    store.database->getTimeRange(first, last, 0);
    const u64_t third = (last - first) / 3;
    // Sample point 0 is an interval object, 2 a point object at its end.
    const auto ask = [&](const char* const(&question)[3], ITimelineQuery::QueryType type,
                         int samplePoint, u64_t start, u64_t end, int bins) {
        const auto& [table, row, expansion] = question;
        const auto query = store.database->createTimelineQuery();
        if (*row != 0) query->addRowBy(row, "label");
        query->setSource(type, table, type == ITimelineQuery::qtAttribute ? "value" : "", "");
        query->setTimelineDatabase(timeline);
        query->setRequiredFilter(required);
        if (*expansion != 0) query->addExpansion(table, expansion, "name", {}, true, "name", true);
        query->setObjectType(samplePoint == 0 ? ITimelineQuery::otInterval
                                              : ITimelineQuery::otPoint);
        query->setSamplePoint(samplePoint);
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        EXPECT_TRUE(query->getOverTimeData(start, end, bins, data, metadata, nullptr).succeeded());
        for (const auto& record : data)
            for (std::size_t i = 0; i < metadata.size(); ++i)
                for (const auto& cell : record.series[i])
                    cells[fmt::format("{} {} {} {} {} {} {} {} {}", table, type, samplePoint, row,
                                      expansion, start, record.key.empty() ? 0 : record.key.front(),
                                      metadata[i].name, cell.first)] += cell.second;
    };
    for (const auto& question : kQuestions)
        for (const auto type :
             {ITimelineQuery::qtTime, ITimelineQuery::qtCount, ITimelineQuery::qtInstanceCount,
              ITimelineQuery::qtCountOverTime, ITimelineQuery::qtAttribute}) {
            const bool isCounter = &question == &kQuestions[7];
            if (!store.database->isTableExist(question[0]) ||
                isCounter != (type == ITimelineQuery::qtAttribute))
                continue;
            for (const int samplePoint : {0, 2}) {
                ask(question, type, samplePoint, first, last + 1, 37);
                ask(question, type, samplePoint, first + third, first + 2 * third, 10);
            }
        }
    return cells;
}

void expectEqual(const Cells& found, const Cells& expected, const char* road) {
    SCOPED_TRACE(road);
    const auto [other, missed] =
        std::mismatch(found.begin(), found.end(), expected.begin(), expected.end(),
                      [](const auto& a, const auto& b) {
                          return a.first == b.first &&
                                 std::abs(a.second - b.second) <= 1e-9 * (1 + std::abs(b.second));
                      });
    EXPECT_TRUE(other == found.end()) << other->first << " is " << other->second;
    EXPECT_TRUE(missed == expected.end()) << missed->first << " is not " << missed->second;
}

// A filter, and the same by hand.
struct Cut {
    std::string words;
    std::string bandsGone;                          // SQL condition on instances of any kind
    std::string namesGone;                          // on slices and asynchronous ones
    std::vector<std::pair<double, double>> left{};  // parts of the time; empty: all
    std::string required{};                         // the rest of the filter's words
};

// A result and its cuts.
class FilteredResult {
public:
    explicit FilteredResult(std::string file) : m_file(std::move(file)), m_store(open(m_file)) {
        m_store.database->getTimeRange(m_first, m_last, 0);
    }

    void expectToBeCut() {
        storelink1::IDatabase& database = *m_store.database;
        const Cells first = cellsOf(m_store, database.getTimelineDatabase());
        ASSERT_FALSE(first.empty());
        for (const Cut& cut : cuts()) {
            SCOPED_TRACE(cut.words);
            ASSERT_TRUE(setFilter(*m_store.filters, "global", cut.words + cut.required));
            const TempDirectory folder;
            const OpenStore byHand = cutByHand(cut, folder.file("cut.lft"));
            const Cells cells = cellsOf(byHand, byHand.database->getTimelineDatabase());
            expectEqual(cellsOf(m_store, database.getFilteredTimelineDatabase()), cells,
                        "filtered");
            if (!cut.required.empty()) expectOnOtherRoads(cut, cells);
            EXPECT_NE(cells, first);
            m_store.filters->clearFilter("global");
        }
        EXPECT_TRUE(cellsOf(m_store, database.getFilteredTimelineDatabase()) == first);
    }

private:
    static OpenStore open(const std::string& file) {
        lanefeed_runtime::StoreError error;
        OpenStore store = lanefeed_runtime::openStore(file, error);
        EXPECT_FALSE(store.failed()) << error.text;
        return store;
    }

    u64_t at(double part) const {
        return part < 1 ? m_first + static_cast<u64_t>(static_cast<double>(m_last - m_first) * part)
                        : m_last + 1;
    }

    // By the commonest name, the first thread and the first process.
    std::vector<Cut> cuts() const {
        std::string error;
        const auto connection = Connection::open(m_file, Connection::Mode::read, error);
        auto commonest = connection->prepare(
            "select attr, name from slice_data join dd_task t on t.rowid = attr where name not "
            "like '% %' group by attr order by count(*) desc, attr");
        EXPECT_EQ(commonest.step(), lanefeed_runtime::Statement::Step::row);
        const std::string named = fmt::format("slice_data::attr={}", commonest.text(0));
        const std::string name(commonest.text(1));
        const std::string ofName =
            "attr in (select rowid from dd_task where name = '" + name + "')";
        const std::string ofThread = "dd_band in (select rowid from dd_band where dd_thread = 1)";
        const std::string ofProcess =
            "dd_band in (select b.rowid from dd_band b join dd_thread t on t.rowid = b.dd_thread"
            " where t.dd_process = 1)";
        const auto span = [&](const char* sign, double from, double to) {
            return fmt::format("{}{}..{} ", sign, at(from), at(to));
        };
        const std::string middle = span("@-", .4, .7);
        return {{span("@", .21, .64), "", "", {{.21, .64}}},
                {span("@", .1, .5) + span("@", .8, .9) + span("@-", .3, .32),
                 "",
                 "",
                 {{.1, .3}, {.32, .5}, {.8, .9}}},
                {"none( dd_band::dd_thread.dd_process=1 )", ofProcess, ""},
                {named, "", "not " + ofName},
                {"not( slice_data::attr/name='" + name + "' )", "", ofName},
                {middle,
                 ofThread,
                 ofName,
                 {{0, .4}, {.7, 1}},
                 "dd_band::dd_thread!=1 none( " + named + " )"}};
    }

    // What touches no time that is left goes; the time of nothing becomes a pause.
    OpenStore cutByHand(const Cut& cut, const std::string& copy) const {
        std::string touches = "0";
        std::string text = "begin; create table if not exists pauses (start_tsc, end_tsc);";
        u64_t end = m_first;
        const auto pause = [&](u64_t to) {
            if (!cut.left.empty() && end < to)
                text += fmt::format("insert into pauses (start_tsc, end_tsc) values ({}, {});", end,
                                    to - 1);
        };
        for (const auto& [from, to] : cut.left) {
            touches += fmt::format(" or (end_tsc >= {} and start_tsc < {})", at(from), at(to));
            pause(at(from));
            end = at(to);
        }
        pause(m_last + 1);
        for (const std::string table :
             {"slice_data", "async_data", "marker_data", "counter_data"}) {
            if (!m_store.database->isTableExist(table)) continue;
            const bool isNamed = table == "slice_data" || table == "async_data";
            if (!cut.left.empty()) text += "delete from " + table + " where not (" + touches + ");";
            for (const std::string& gone : {cut.bandsGone, isNamed ? cut.namesGone : ""})
                if (!gone.empty()) text += "delete from " + table + " where " + gone + ";";
        }
        std::filesystem::copy_file(m_file, copy);
        std::string error;
        const auto connection = Connection::open(copy, Connection::Mode::write, error);
        EXPECT_TRUE(connection->run(text + "commit;")) << connection->message();
        return open(copy);
    }

    // A query on the raw result, and one that requires the half of the filter that "global" lacks.
    void expectOnOtherRoads(const Cut& cut, const Cells& expected) {
        expectEqual(cellsOf(m_store, nullptr), expected, "raw result");
        setFilter(*m_store.filters, "required", cut.required);
        m_store.filters->setQueryFilter("global", nullptr);
        expectEqual(cellsOf(m_store, nullptr, "required"), expected, "required, raw");
        expectEqual(cellsOf(m_store, m_store.database->getFilteredTimelineDatabase(), "required"),
                    expected, "required");
        m_store.filters->removeFilter("required");
    }

    std::string m_file;
    OpenStore m_store;
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

TEST(FilteredResult, IsTheResultCutByHandOnOneOfAllKinds) {
    const TextResult result(R"(
        thread main  0..120 a*2@ui  3..60 b*3  5..20 c@ui  20..21 c*0  60..119 a  125..180 d*5@ui
        thread main  190..300 b  195..250 b@ui  200..201 a  210..240 a*4  260..299 c@ui
        thread worker  10..135 c  30..90 a@ui  91..134 b*2  138..139 d  145..290 a*3  150..289 d
        process other
        thread main  0..299 d@ui  1..150 a  2..80 b  3..9 c*2  81..100 a@ui  160..298 b  161..170 a
        track upload  0..40 a@ui  41..210 b*2  100..120 a  220..300 c
        counter load  3=5  90=7.5  170=1  260=0
        marker main 0 start  90 gc  299 end
        pause 130..140)");
    FilteredResult(result.file()).expectToBeCut();
}

}  // namespace
}  // namespace lanefeed_test
