// Answers under a filter are those over a result that was cut by hand: of the instances that the
// filter keeps, clipped to the time that it keeps. On bundled traces and on small random ones.
#include "agreement/cut_result.h"
#include "importer.h"
#include "support/fake_queries.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u64_t;
using dataface_1::IQueryFilterBuilder;
using storelink1::time_interval_t;

using Builder = IQueryFilterBuilder;
using Statements = std::vector<std::string>;

// A filter, and the same by hand.
struct Cut {
    std::string name;
    std::function<void(Builder&)> rows;  // none: a filter on time alone
    std::vector<time_interval_t> kept;   // empty: no time part
    std::vector<time_interval_t> excluded;
    Statements statements;
    // Clipped ends move sample points and leave buckets as wide as they are.
    bool byPauses = true;
};

sptr_t<dataface_1::IQuery> attribute(const char* table, const char* path) {
    QueryFacts facts;
    facts.table = table;
    facts.path = path;
    facts.attr = "name";
    return basekit2::make_object<FakeInfoQuery>(facts);
}

sptr_t<dataface_1::IQuery> thread() {
    return attribute("dd_band", "dd_thread");
}
sptr_t<dataface_1::IQuery> process() {
    return attribute("dd_band", "dd_thread.dd_process");
}
sptr_t<dataface_1::IQuery> name() {
    return attribute("slice_data", "attr");
}

const char* const kOfThread1 = "dd_band in (select rowid from dd_band where dd_thread = 1)";
const char* const kOfProcess1 =
    "dd_band in (select b.rowid from dd_band b join dd_thread t on t.rowid = b.dd_thread"
    " where t.dd_process = 1)";

class HandCuts {
public:
    explicit HandCuts(std::string file)
        : m_file(std::move(file)), m_tables(instanceTables(m_file)) {
        m_first = static_cast<u64_t>(numberIn(m_file, fact("first_tick")));
        m_last = static_cast<u64_t>(numberIn(m_file, fact("last_tick")));
        m_name = static_cast<int>(
            numberIn(m_file, "select attr from slice_data group by attr order by count(*) desc"));
    }

    std::vector<Cut> all() const {
        std::vector<Cut> cuts = {clip(), outOfTheMiddle(), rangesWithAHole()};
        cuts.push_back({"thread",
                        [](Builder& filter) { filter.addCondition(thread(), false, 1); },
                        {},
                        {},
                        drop(m_tables, allBut(kOfThread1))});
        cuts.push_back({"not the process",
                        [](Builder& filter) {
                            filter.beginGroup(Builder::groupExcluded);
                            filter.addCondition(process(), false, 1);
                            filter.endGroup();
                        },
                        {},
                        {},
                        drop(m_tables, kOfProcess1)});
        cuts.push_back({"name",
                        [this](Builder& filter) { filter.addCondition(name(), false, m_name); },
                        {},
                        {},
                        drop({"slice_data", "async_data"}, allBut(ofName()))});
        cuts.push_back({"not the name, by its text",
                        [this](Builder& filter) {
                            filter.beginGroup(Builder::groupNegated);
                            filter.addCondition(name(), false, nameText());
                            filter.endGroup();
                        },
                        {},
                        {},
                        drop({"slice_data", "async_data"}, ofName())});
        cuts.push_back(allAtOnce());
        return cuts;
    }

private:
    static std::string fact(const std::string& key) {
        return "select value from result where key = '" + key + "'";
    }
    static std::string allBut(const std::string& condition) { return "not (" + condition + ")"; }
    std::string ofName() const {
        return "attr in (select rowid from dd_task where name = (select name from dd_task where"
               " rowid = " +
               std::to_string(m_name) + "))";
    }
    basekit2::variant_t nameText() const {
        return basekit2::variant_t(
            textIn(m_file, "select name from dd_task where rowid = " + std::to_string(m_name))
                .c_str());
    }
    u64_t at(double part) const {
        return m_first + static_cast<u64_t>(static_cast<double>(m_last - m_first) * part);
    }
    Statements drop(const Statements& from, const std::string& condition) const {
        Statements statements;
        for (const std::string& table : m_tables)
            if (std::find(from.begin(), from.end(), table) != from.end())
                statements.push_back("delete from " + table + " where " + condition);
        return statements;
    }
    // What touches none of the spans goes.
    void dropOutside(const std::vector<time_interval_t>& spans, Statements& statements) const {
        std::string touches = "0";
        for (const time_interval_t& span : spans)
            touches.append(" or (end_tsc >= ")
                .append(std::to_string(span.start))
                .append(" and start_tsc < ")
                .append(std::to_string(span.end))
                .append(")");
        for (const std::string& statement : drop(m_tables, allBut(touches)))
            statements.push_back(statement);
    }
    // Time of nothing becomes a pause.
    static void pause(const std::vector<time_interval_t>& spans, Statements& statements) {
        statements.emplace_back(
            "create table if not exists pauses (start_tsc integer, end_tsc integer)");
        for (const time_interval_t& span : spans)
            statements.push_back("insert into pauses (start_tsc, end_tsc) values (" +
                                 std::to_string(span.start) + ", " + std::to_string(span.end - 1) +
                                 ")");
    }

    Cut clip() const {
        Cut cut{"one span", {}, {{at(0.21), at(0.64)}}, {}, {}, false};
        dropOutside(cut.kept, cut.statements);
        for (const std::string& table : m_tables)
            cut.statements.push_back("update " + table + " set start_tsc = max(start_tsc, " +
                                     std::to_string(cut.kept[0].start) +
                                     "), end_tsc = min(end_tsc, " +
                                     std::to_string(cut.kept[0].end - 1) + ")");
        return cut;
    }
    Cut outOfTheMiddle() const {
        Cut cut{"all but the middle", {}, {}, {{at(0.4), at(0.7)}}, {}};
        dropOutside({{0, at(0.4)}, {at(0.7), m_last + 1}}, cut.statements);
        pause(cut.excluded, cut.statements);
        return cut;
    }
    Cut rangesWithAHole() const {
        Cut cut{"ranges with a hole",
                {},
                {{at(0.1), at(0.5)}, {at(0.8), at(0.9)}},
                {{at(0.3), at(0.32)}},
                {}};
        dropOutside({{at(0.1), at(0.3)}, {at(0.32), at(0.5)}, {at(0.8), at(0.9)}}, cut.statements);
        pause({{m_first, at(0.1)}, {at(0.3), at(0.32)}, {at(0.5), at(0.8)}, {at(0.9), m_last + 1}},
              cut.statements);
        return cut;
    }
    Cut allAtOnce() const {
        Cut cut = outOfTheMiddle();
        cut.name = "time, thread and names";
        cut.rows = [this](Builder& filter) {
            filter.addCondition(thread(), true, 1);
            filter.beginGroup(Builder::groupExcluded);
            filter.addCondition(name(), false, m_name);
            filter.endGroup();
        };
        for (const std::string& statement : drop({"slice_data", "async_data"}, ofName()))
            cut.statements.push_back(statement);
        for (const std::string& statement : drop(m_tables, kOfThread1))
            cut.statements.push_back(statement);
        return cut;
    }

    std::string m_file;
    std::vector<std::string> m_tables;
    u64_t m_first = 0;
    u64_t m_last = 0;
    int m_name = 0;
};

void setFilter(dataface_1::IFilterRegistry& registry, const std::string& name, const Cut& cut) {
    if (cut.rows) {
        const auto builder = registry.createQueryFilterBuilder();
        cut.rows(*builder);
        registry.setQueryFilter(name, builder->build());
    }
    if (cut.kept.empty() && cut.excluded.empty()) return;
    const auto builder = registry.createTimeFilterBuilder();
    for (const time_interval_t& span : cut.kept)
        builder->addRange(span.start, span.end, false);
    for (const time_interval_t& span : cut.excluded)
        builder->addRange(span.start, span.end, true);
    registry.setTimeFilter(name, builder->build());
}

void expectEqual(const Cells& found, const Cells& expected, const char* road) {
    SCOPED_TRACE(road);
    auto other = found.begin();
    for (const auto& cell : expected) {
        ASSERT_NE(other, found.end()) << "lacks " << cell.first;
        ASSERT_EQ(other->first, cell.first) << "else " << cell.second;
        ASSERT_NEAR(other->second, cell.second, 1e-9 * (1 + std::abs(cell.second))) << cell.first;
        ++other;
    }
    ASSERT_EQ(other, found.end()) << "has " << other->first;
}

void expectSameDrawings(const Drawings& found, const Drawings& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (const auto& row : expected)
        EXPECT_TRUE(found.count(row.first) == 1 && found.at(row.first) == row.second) << row.first;
}

// A query on the raw result, and one that requires the half of the filter that "global" lacks.
void expectOnOtherRoads(const lanefeed_runtime::OpenStore& store,
                        const Cut& cut,
                        const Cells& expected) {
    storelink1::IDatabase& database = *store.database;
    expectEqual(cellsOf(database, nullptr, cut.byPauses), expected, "raw result");
    Cut half = cut;
    half.kept.clear();
    half.excluded.clear();
    setFilter(*store.filters, "required", half);
    store.filters->setQueryFilter("global", nullptr);
    expectEqual(cellsOf(database, nullptr, cut.byPauses, "required"), expected, "required, raw");
    expectEqual(cellsOf(database, database.getFilteredTimelineDatabase(), cut.byPauses, "required"),
                expected, "required");
    store.filters->removeFilter("required");
}

// All cuts of a result.
void expectFiltersToCut(const std::string& file) {
    lanefeed_runtime::StoreError error;
    const lanefeed_runtime::OpenStore store = lanefeed_runtime::openStore(file, error);
    ASSERT_FALSE(store.failed()) << error.text;
    storelink1::IDatabase& database = *store.database;
    const Cells first = cellsOf(database, database.getTimelineDatabase(), true);
    ASSERT_FALSE(first.empty());
    const HandCuts cuts(file);
    for (const Cut& cut : cuts.all()) {
        SCOPED_TRACE(cut.name);
        setFilter(*store.filters, "global", cut);
        CutResult result(file, cut.statements);
        storelink1::IDatabase& other = *result.store().database;
        const Cells expected = cellsOf(other, other.getTimelineDatabase(), cut.byPauses);
        const auto filtered = database.getFilteredTimelineDatabase();
        expectEqual(cellsOf(database, filtered, cut.byPauses), expected, "filtered");
        if (cut.excluded.empty())
            expectSameDrawings(drawingsOf(*filtered), drawingsOf(*other.getTimelineDatabase()));
        if (cut.rows && !cut.excluded.empty()) expectOnOtherRoads(store, cut, expected);
        EXPECT_NE(expected, first);
        store.filters->clearFilter("global");
    }
    EXPECT_TRUE(cellsOf(database, database.getFilteredTimelineDatabase(), true) == first)
        << "bit by bit";
}

TEST(FilteredResult, IsTheResultCutByHandOnBundledTraces) {
    for (const char* trace : {"node20-workers.json", "flow.json.gz"}) {
        SCOPED_TRACE(trace);
        const TempDirectory directory;
        lanefeed_importers::ImportRequest request;
        request.source = std::string(LANEFEED_TEST_DATA "/") + trace;
        request.target = directory.file("trace.lft");
        const auto outcome = lanefeed_importers::importTrace(request);
        ASSERT_FALSE(outcome.error.failed());
        expectFiltersToCut(request.target);
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
        text += "  " + std::to_string(begin) + ".." + std::to_string(end) + " " +
                std::string(1, static_cast<char>('a' + pick(0, 3))) + "*" +
                std::to_string(pick(0, 5)) + (pick(0, 1) == 0 ? "@ui" : "");
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
        text += "counter load 3=5 90=7.5 170=1 260=0\n";
        const TempDirectory directory;
        writeTraceText(directory.file("trace.lft"), text);
        expectFiltersToCut(directory.file("trace.lft"));
    }
}

}  // namespace
}  // namespace lanefeed_test
