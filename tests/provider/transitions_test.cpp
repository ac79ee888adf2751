// Lines between rows, on real results: which are drawn, how those of one cell are folded, and that
// random ones are what a plain count gives. Failures on a fake store.
#include "provider_fixture.h"
#include "session/open_result.h"
#include "session/shipped_viewpoints.h"
#include "support/cancel_at_poll.h"
#include "support/random_seed.h"
#include "support/table_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <basekit2/variant_bag.h>

#include <map>
#include <random>
#include <tuple>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u32_t;
using basekit2::u64_t;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;

// The second area has processes at level 0 and their threads at level 1.
const char* const kViewpoint = R"(<viewpoint>
    <area id="flat"><rowSet><rowBy useGridQuery="false" query="thread"/></rowSet></area>
    <area id="nested"><rowSet><gridQuery><rowBy query="processAndThread"/></gridQuery></rowSet>
    </area></viewpoint>)";

class Lines : public testing::Test {
protected:
    void open(const std::string& trace) {
        writeTraceText(m_directory.file("t.lft"), trace);
        lanefeed_runtime::OpenOutcome outcome;
        m_result = lanefeed_runtime::openResult(m_directory.file("t.lft"), {}, outcome);
        ASSERT_TRUE(outcome.isOpened()) << outcome.text;
        sptr_t<dataface_1::IQueryLibrary> library;
        ASSERT_TRUE(dataface_1::lookup(m_result, library));
        basekit2::variant_bag_t viewpoint;
        std::string error;
        ASSERT_TRUE(lanefeed_runtime::readViewpoint(kViewpoint, viewpoint, error)) << error;
        m_parser.parseViewpoint(viewpoint, library, nullptr, m_result,
                                basekit2::make_object<lanefeed_1::ParseLogger>());
        bind(0);
    }
    // To the rows of an area.
    void bind(std::size_t area) {
        TLViewpointParser::RowSet& rowSet = m_parser.m_areas.at(area).rowSets.at(0);
        m_provider = IDicerProvider::create(m_result);
        m_provider->setResult(1, m_result, &rowSet, "lines", 0);
        sptr_t<ITableTree> rows;
        ASSERT_TRUE(m_provider->getRowSummary(rows, -1, true, true));
        m_rows = rowSet.rowBys.at(0).ds;
        m_source.set("dd_flow", "flow_data", "name", "");
        m_param = {};
        m_param.dds = &m_source;
        m_param.rowByDS = &m_rows;
        m_param.endTime = 100;
        m_param.binCount = 10;
    }
    // Lines into a row as "leaves-arrives attr source>target", "+n" for those that were folded into
    // it; in brackets those that are told of.
    std::string into(int row) {
        m_param.rowLevel = row;
        sptr_t<ITableTree> tree;
        if (!m_provider->getTransitionData(m_param, tree)) return "failed";
        std::string text;
        for (auto lines = tree->getRows(nullptr); !lines.at_end(); lines.next()) {
            text += (text.empty() ? "" : ", ") + lineText(tree, lines.current());
            basekit2::generic_iterator_t<sptr_t<dataface_1::ITableRow>> kept;
            lines.current()->getChildren(kept, nullptr, false);
            for (; !kept.at_end(); kept.next())
                text += " [" + lineText(tree, kept.current()) + "]";
        }
        return text;
    }
    static std::string lineText(const sptr_t<ITableTree>& tree,
                                const sptr_t<dataface_1::ITableRow>& row) {
        std::vector<u64_t> cells;
        for (auto columns = tree->getColumns(nullptr); !columns.at_end(); columns.next()) {
            basekit2::variant_t cell;
            EXPECT_TRUE(row->getContent(columns.current(), dataface_1::ccValue, cell));
            cells.push_back(cell.get<u64_t>());
        }
        const auto text = [&](std::size_t i) { return std::to_string(cells.at(i)); };
        return text(0) + "-" + text(1) + " " + text(2) + " " + text(3) + ">" + text(4) +
               (cells.at(5) != 0 ? " +" + text(5) : "");
    }

    TempDirectory m_directory;
    sptr_t<dataface_1::IInputData> m_result;
    TLViewpointParser m_parser;
    sptr_t<IDicerProvider> m_provider;
    lanefeed_1::DicerDataSource m_source;
    lanefeed_1::DicerDataSource m_rows;
    lanefeed_1::QueryParam m_param;
    CapturedLog m_log;
};

TEST_F(Lines, AreTablesOfTicksAndRows) {
    open("thread a 0..100 x\nthread b 0..1 x\nflow a 5 b 9 wake\nflow a 6 b 10 call");
    m_param.rowLevel = 1;
    sptr_t<ITableTree> tree;
    ASSERT_TRUE(m_provider->getTransitionData(m_param, tree));
    EXPECT_EQ(tableText(tree),
              "startTime  endTime  dbAttrIdx  startRow  endRow  duplicateCount\n"
              "5          9        1          0         1       1\n"
              "  6        10       2          0         1       0\n");
    std::string types;
    for (const auto& column : allColumns(tree)) {
        basekit2::variant_t cell;
        tree->getRows(nullptr).current()->getContent(column, dataface_1::ccValue, cell);
        types += std::to_string(cell.get_type()) + " ";
    }
    EXPECT_EQ(types, "9 9 6 6 6 7 ");
    EXPECT_TRUE(m_log.empty());
}

// Three bins make a cell, four of those that fall on it are kept, all are counted.
TEST_F(Lines, OfOneCellAreFolded) {
    open(
        "thread a 0..120 x\nthread b 0..1 x\nflow a 40 b 50 w\nflow a 45 b 59 w\nflow a 30 b 60 w");
    m_param.endTime = 120;
    m_param.binCount = 12;
    EXPECT_EQ(into(1), "40-50 1 0>1 +1 [45-59 1 0>1], 30-60 1 0>1");
    m_param.startTime = 10;  // 40 and 45 are in bin 3, 50 in bin 4, 59 too, 60 in 5, 30 in 2
    m_param.binCount = 11;
    EXPECT_EQ(into(1), "40-50 1 0>1 +1 [45-59 1 0>1], 30-60 1 0>1");

    std::string six = "thread a 0..100 x\nthread b 0..1 x\n";
    for (int i = 0; i < 6; ++i)
        six += "flow a 5 b 9 wake\n";
    open(six);
    EXPECT_EQ(into(1), "5-9 1 0>1 +5 [5-9 1 0>1] [5-9 1 0>1] [5-9 1 0>1] [5-9 1 0>1]");
}

// Bins are kept in 16 bits: far apart, two cells may meet.
TEST_F(Lines, OfCellsThatAre196608BinsApartAreFolded) {
    open(
        "thread a 0..300000 x\nthread b 0..1 x\nflow a 6 b 6 w\nflow a 65542 b 65542 w\n"
        "flow a 196614 b 196614 w");
    m_param.endTime = 300000;
    m_param.binCount = 300000;
    EXPECT_EQ(into(1), "6-6 1 0>1 +1 [196614-196614 1 0>1], 65542-65542 1 0>1");
}

TEST_F(Lines, AreDrawnBetweenSiblingsAlone) {
    open(
        "process p\nthread a 0..100 x\nthread b 0..1 x\nprocess q\nthread c 0..1 x\n"
        "flow p/a 5 p/b 9 w\nflow p/b 10 p/b 20 w\nflow q/c 50 p/b 59 w\nflow p/a 70 q/c 80 w\n"
        "flow p/b 70 p/a 90 w");
    EXPECT_EQ(into(1), "5-9 1 0>1, 50-59 1 2>1");
    EXPECT_EQ(into(2), "70-80 1 0>2");
    bind(1);  // 0 p, 1 a, 2 b, 3 q, 4 c
    EXPECT_EQ(into(2), "5-9 1 1>2");
    EXPECT_EQ(into(4), "");
    EXPECT_EQ(into(0), "") << "a row of another level than the bands";
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(into(5), "failed");
    EXPECT_TRUE(m_log.contains("summaryRow"));
}

TEST_F(Lines, ThatTouchTheWindowAreDrawn) {
    open(
        "thread a 0..100 x\nthread b 0..1 x\nflow a 10 b 19 w\nflow a 15 b 20 w\nflow a 10 b 90 w\n"
        "flow a 80 b 85 w\nflow a 81 b 90 w");
    m_param.startTime = 20;
    m_param.endTime = 80;
    m_param.binCount = 60;
    EXPECT_EQ(into(1), "15-20 1 0>1, 80-85 1 0>1, 10-90 1 0>1");
    m_param.binCount = 61;
    EXPECT_EQ(into(1), "") << "more bins than ticks";
    m_param.binCount = 0;
    EXPECT_EQ(into(1), "");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Lines, FromUnknownBandsAreToldOfOnce) {
    open("thread a 0..100 x\nthread b 0..1 x\nflow a 5 b 9 w\nflow a 6 b 90 w\nflow b 6 a 90 w");
    sptr_t<dataface_1::IFilterRegistry> filters;
    ASSERT_TRUE(dataface_1::lookup(m_result, filters));
    // The rows are those of the first thread; lines come from the bands of the second, too.
    const auto builder = filters->createQueryFilterBuilder();
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
    builder->addCondition(m_rows.m_defaultQuery, false, 1);
    builder->endGroup();
    filters->setQueryFilter("global", builder->build());
    m_provider->filterChanged("global");
    sptr_t<ITableTree> rows;
    ASSERT_TRUE(m_provider->getRowSummary(rows, -1, true, true));
    m_log.clear();
    EXPECT_EQ(into(0), "");
    EXPECT_EQ(m_log.lines().size(), 1U);
    EXPECT_TRUE(m_log.contains("Unmatched data rows while getting transitions for bands: (2, )"));
}

// What a cell holds, worked out line by line.
TEST_F(Lines, AreThoseOfAPlainCount) {
    struct Line {
        int source;
        int target;
        u64_t leaves;
        u64_t arrives;
    };
    std::mt19937 random(randomSeed());
    const auto pick = [&](u64_t from, u64_t to) {
        return std::uniform_int_distribution<u64_t>(from, to)(random);
    };
    const std::vector<std::string> threads = {"p/a", "p/b", "p/c", "q/d", "q/e"};
    const std::vector<int> nestedRow = {1, 2, 3, 5, 6};
    std::string trace =
        "process p\nthread a 0..1000 x\nthread b 0..1 x\nthread c 0..1 x\n"
        "process q\nthread d 0..1 x\nthread e 0..1 x\n";
    std::vector<Line> lines;
    for (u64_t arrives = 0; lines.size() < 400; arrives += pick(0, 4)) {
        lines.push_back({static_cast<int>(pick(0, 4)), static_cast<int>(pick(0, 4)),
                         arrives - std::min(arrives, pick(0, 60)), arrives});
        const Line& line = lines.back();
        trace += "flow " + threads.at(line.source) + " " + std::to_string(line.leaves) + " " +
                 threads.at(line.target) + " " + std::to_string(line.arrives) + " w\n";
    }
    open(trace);
    for (int round = 0; round < 60; ++round) {
        const bool isNested = round % 2 == 0;
        bind(isNested ? 1 : 0);
        m_param.startTime = pick(0, 500);
        m_param.endTime = m_param.startTime + pick(10, 600);
        m_param.binCount = static_cast<u32_t>(pick(1, 10));
        const u64_t width = (m_param.endTime - m_param.startTime) / m_param.binCount;
        const int target = static_cast<int>(pick(0, 4));
        const auto row = [&](int thread) { return isNested ? nestedRow.at(thread) : thread; };
        const auto cell = [&](u64_t tick) {
            const int bin = static_cast<int>((tick - m_param.startTime) / width);
            return static_cast<std::int16_t>(bin - bin % 3);
        };
        std::map<std::tuple<int, int, int>, std::vector<std::string>> cells;
        std::vector<std::tuple<int, int, int>> order;
        for (const Line& line : lines) {
            const bool areSiblings = !isNested || (line.source < 3) == (target < 3);
            const bool isSeen = std::max(line.leaves, line.arrives) >= m_param.startTime &&
                                std::min(line.leaves, line.arrives) <= m_param.endTime;
            if (line.target != target || line.source == target || !areSiblings || !isSeen) continue;
            const std::tuple<int, int, int> key{line.source, cell(line.leaves), cell(line.arrives)};
            if (cells[key].empty()) order.push_back(key);
            cells[key].push_back(std::to_string(line.leaves) + "-" + std::to_string(line.arrives) +
                                 " 1 " + std::to_string(row(line.source)) + ">" +
                                 std::to_string(row(target)));
        }
        std::string expected;
        for (const auto& key : order) {
            const std::vector<std::string>& texts = cells[key];
            expected += (expected.empty() ? "" : ", ") + texts[0];
            if (texts.size() > 1) expected += " +" + std::to_string(texts.size() - 1);
            for (std::size_t i = 1; i < texts.size() && i <= 4; ++i)
                expected += " [" + texts[i] + "]";
        }
        EXPECT_EQ(into(row(target)), expected) << "round " << round;
    }
}

TEST_F(Lines, ThatWereReadStayAfterACancel) {
    open("thread a 0..100 x\nthread b 0..1 x\nflow b 5 a 9 w\nflow b 5 a 50 w\nflow b 5 a 90 w");
    const std::string all = into(0);
    std::set<std::string> answers;
    for (int poll = 1; poll < 50; ++poll) {
        const auto progress = basekit2::make_object<CancelAtPoll>(poll);
        m_provider->clearCaches();
        m_provider->setProgress(progress.get());
        answers.insert(into(0));
        m_provider->setProgress(nullptr);
        EXPECT_EQ(into(0), all) << "of a map that was cut at " << poll;
    }
    EXPECT_EQ(answers, (std::set<std::string>{"", "5-9 1 1>0", "5-9 1 1>0, 5-50 1 1>0", all}));
    EXPECT_TRUE(m_log.empty());
}

// Requests that fail, by what is said of them.
class RefusedLines : public ProviderTest {
protected:
    RefusedLines() {
        bindRows({30, 40, 0});
        QueryFacts facts;
        facts.table = "dd_band";
        facts.path = "dd_thread";
        m_rowBySource = rowBy(facts).ds;
        m_source.set("dd_flow", "flow_data", "", "");
        m_db->tables["dd_band"] = {{{"rowid", 1}, {"dd_band::dd_thread", 30}},
                                   {{"rowid", 3}, {"dd_band::dd_thread", 99}}};
        m_db->tables["flow_data"] = {{{"end_tsc", u64_t{1500}},
                                      {"dd_flow", 7},
                                      {"multi_band_start_tsc", u64_t{1400}},
                                      {"multi_band_index", 1}}};
    }
    std::string ask(const lanefeed_1::DicerDataSource* rows,
                    const lanefeed_1::DicerDataSource* dds) {
        lanefeed_1::QueryParam param = request();
        param.dds = dds;
        param.rowByDS = rows;
        param.rowLevel = 1;
        m_log.clear();
        m_db->reads.clear();
        sptr_t<ITableTree> tree;
        if (!m_provider->getTransitionData(param, tree)) return "failed";
        return std::to_string(allRows(tree).size());
    }
    std::string ask() { return ask(&m_rowBySource, &m_source); }
    bool fails(const std::string& text) {
        m_provider->clearCaches();
        return ask() == "failed" && m_log.contains(text);
    }
};

TEST_F(RefusedLines, SayWhatIsMissing) {
    EXPECT_EQ(ask(), "1");
    EXPECT_EQ(m_db->reads,
              (std::vector<std::string>{
                  "dd_band rowid dd_band::dd_thread",
                  "flow_data filtered filter=global end_tsc dd_flow multi_band_start_tsc "
                  "multi_band_index dd_band::dd_thread=40"}));
    EXPECT_EQ(ask(), "1");
    EXPECT_EQ(m_db->reads.size(), 1U) << "bands are read once";
    // What else rows tell bands apart by is another map.
    m_db->tables["dd_band"][0]["dd_band::dd_core"] = 30;
    QueryFacts cores;
    cores.table = "dd_band";
    cores.path = "dd_core";
    const auto byCore = rowBy(cores).ds;
    EXPECT_EQ(ask(&byCore, &m_source), "1");
    EXPECT_EQ(m_db->reads.front(), "dd_band rowid dd_band::dd_core");
    for (const char* column : {"end_tsc", "dd_flow", "multi_band_start_tsc", "multi_band_index"}) {
        auto cell = m_db->tables["flow_data"][0].extract(column);
        EXPECT_TRUE(fails("sl1::InvalidColIdx != attrId")) << column;
        m_db->tables["flow_data"][0].insert(std::move(cell));
    }
    // Of a band between the known ones, of one without a row, behind them, and of none.
    for (const int band : {2, 3, 4, -1}) {
        m_db->tables["flow_data"][0]["multi_band_index"] = band;
        EXPECT_EQ(ask(), "0");
        EXPECT_TRUE(m_log.contains("for bands: (" + std::to_string(band) + ", )"));
    }
    m_db->tables["flow_data"].clear();
    EXPECT_EQ(ask(), "0") << "no records are no failure";
    m_db->brokenTables.insert("flow_data");
    EXPECT_TRUE(fails("Failed to get transition data. Error: disk on fire, SQL: SELECT"));
    m_db->brokenTables.insert("dd_band");
    EXPECT_TRUE(fails("Failed to get band->attr mapping. Error: disk on fire, SQL: SELECT"));
    m_db->tables["dd_band"] = {{{"rowid", 1}}};
    EXPECT_TRUE(fails("sl1::InvalidColIdx != attrId"));
    m_db->tables.erase("flow_data");
    EXPECT_TRUE(fails("query"));
    EXPECT_EQ(ask(nullptr, &m_source), "failed");
    EXPECT_TRUE(m_log.contains("rowByDS"));
    EXPECT_EQ(ask(&m_rowBySource, nullptr), "failed");
    EXPECT_TRUE(m_log.contains("dds"));
    m_provider->m_rowSummaryTable.reset();
    EXPECT_TRUE(fails("m_rowSummaryTable"));
}

TEST_F(RefusedLines, NeedALevelOfBands) {
    m_rowBySource.m_defaultQuery = nullptr;
    EXPECT_TRUE(fails("level >= 0 && level <= m_rowSummaryTable->getRowMaxLevel()"));
    // No level is one of bands: the last one counts, and no column tells bands apart.
    m_db->tables["dd_band"][0]["dd_band::dd_thread.dd_process"] = 30;
    QueryFacts facts;
    facts.table = "dd_band";
    facts.path = "dd_thread.dd_process";
    m_rowBySource = rowBy(facts).ds;
    EXPECT_TRUE(fails("sl1::InvalidColIdx != attrId"));
    facts.table = "flow_data";
    facts.path = "dd_thread";
    m_rowBySource = rowBy(facts).ds;
    EXPECT_TRUE(fails("sl1::InvalidColIdx != attrId"));
    facts.table = "dd_band";
    // Below what is no info query and what is an attribute of bands, at a level without rows.
    facts.path = "dd_thread";
    facts.next = infoQuery(facts);
    facts.path = "dd_thread.dd_process";
    facts.next = infoQuery(facts);
    m_rowBySource.m_defaultQuery = timeQuery(facts);
    EXPECT_TRUE(fails("level >= 0 && level <= m_rowSummaryTable->getRowMaxLevel()"));
}

}  // namespace
}  // namespace lanefeed_test
