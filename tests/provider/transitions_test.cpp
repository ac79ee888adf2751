// Lines between rows, on real results: which are drawn, how those of one cell are folded, and that
// random ones are what a plain count gives. Failures on a fake store.
#include "provider_fixture.h"
#include "support/cancel_at_poll.h"
#include "support/random_seed.h"
#include "support/slice_pane.h"
#include "support/table_text.h"

#include <map>
#include <random>
#include <tuple>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::u32_t;
using basekit2::u64_t;
using dataface_1::ITableTree;

class Lines : public testing::Test {
protected:
    // Flows on the rows of a trace.
    class Pane : public TracePane {
    public:
        explicit Pane(const std::string& trace, const char* rowSet = kByThread)
            : TracePane(trace, rowSet) {
            slices.set("dd_flow", "flow_data", "name", "");
        }
        // Lines into a row as "leaves arrives attr source target folded"; behind a blank those that
        // were folded into the one before and are told of.
        std::string into(int row, u64_t start = 0, u64_t end = 100, u32_t bins = 10) const {
            lanefeed_1::QueryParam param = request(start, end, bins);
            param.rowLevel = row;
            sptr_t<ITableTree> tree;
            if (!provider->getTransitionData(param, tree)) return "failed";
            return cellsText(tree);
        }
    };

    CapturedLog m_log;
};

const std::string kTwo = "thread a 0..100 x\nthread b 0..1 x\n";

// What a cell of three by three bins holds, worked out line by line: four of those that fall on it
// are kept, all are counted.
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
    const Strings threads = {"p/a", "p/b", "p/c", "q/d", "q/e"};
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
    const Pane flat(trace);
    const Pane nested(trace, TracePane::kNested);
    for (int round = 0; round < 60; ++round) {
        const bool isNested = round % 2 == 0;
        const u64_t start = pick(0, 500);
        const u64_t end = start + pick(10, 600);
        const auto bins = static_cast<u32_t>(pick(1, 10));
        const int target = static_cast<int>(pick(0, 4));
        const auto row = [&](int thread) { return isNested ? nestedRow.at(thread) : thread; };
        const auto cell = [&](u64_t tick) {
            const int bin = static_cast<int>((tick - start) / ((end - start) / bins));
            return static_cast<std::int16_t>(bin - bin % 3);
        };
        std::map<std::tuple<int, int, int>, Strings> cells;
        std::vector<std::tuple<int, int, int>> order;
        for (const Line& line : lines) {
            const bool areSiblings = !isNested || (line.source < 3) == (target < 3);
            const bool isSeen = std::max(line.leaves, line.arrives) >= start &&
                                std::min(line.leaves, line.arrives) <= end;
            if (line.target != target || line.source == target || !areSiblings || !isSeen) continue;
            const std::tuple<int, int, int> key{line.source, cell(line.leaves), cell(line.arrives)};
            if (cells[key].empty()) order.push_back(key);
            cells[key].push_back(std::to_string(line.leaves) + " " + std::to_string(line.arrives) +
                                 " 1 " + std::to_string(row(line.source)) + " " +
                                 std::to_string(row(target)) + " ");
        }
        std::string expected;
        for (const auto& key : order) {
            const Strings& texts = cells[key];
            expected += texts[0] + std::to_string(texts.size() - 1) + "\n";
            for (std::size_t i = 1; i < texts.size() && i <= 4; ++i)
                expected += " " + texts[i] + "0\n";
        }
        EXPECT_EQ((isNested ? nested : flat).into(row(target), start, end, bins), expected)
            << "round " << round;
    }
    EXPECT_EQ(nested.into(0), "") << "a row of another level than the bands";
    EXPECT_EQ(flat.into(1, 20, 80, 61), "") << "more bins than ticks";
    EXPECT_EQ(flat.into(1, 20, 80, 0), "");
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(nested.into(7), "failed");
    EXPECT_TRUE(m_log.contains("summaryRow"));
}

TEST_F(Lines, ThatWereReadStayAfterACancel) {
    const Pane pane(kTwo + "flow b 5 a 9 w\nflow b 5 a 50 w\nflow b 5 a 90 w");
    const std::string all = pane.into(0);
    std::set<std::string> answers;
    for (int poll = 1; poll < 50; ++poll) {
        const auto progress = basekit2::make_object<CancelAtPoll>(poll);
        pane.provider->clearCaches();
        pane.provider->setProgress(progress.get());
        answers.insert(pane.into(0));
        pane.provider->setProgress(nullptr);
        EXPECT_EQ(pane.into(0), all) << "of a map that was cut at " << poll;
    }
    EXPECT_EQ(answers,
              (std::set<std::string>{"", "5 9 1 1 0 0\n", "5 9 1 1 0 0\n5 50 1 1 0 0\n", all}));
    EXPECT_TRUE(m_log.empty());
}

// A flow into thread 40 on a fake store.
class FakeLines : public ProviderTest {
protected:
    FakeLines() {
        bindRows({30, 40, 0});
        m_rowBySource = rowBy(factsAt("dd_band::dd_thread")).ds;
        m_source.set("dd_flow", "flow_data", "", "");
        m_param = request();
        m_param.rowByDS = &m_rowBySource;
        m_param.rowLevel = 1;
        m_db->tables["dd_band"] = tableOf("rowid dd_band::dd_thread\n1 30\n3 99");
        putFlows({1});
    }
    // From these bands.
    void putFlows(const std::vector<int>& bands) {
        std::string flows = "end_tsc dd_flow multi_band_start_tsc multi_band_index";
        for (const int band : bands)
            flows += "\n1500 7 1400 " + std::to_string(band);
        m_db->tables["flow_data"] = tableOf(flows);
    }
    // Number of lines, -1 for a failure.
    int ask() {
        m_log.clear();
        m_db->reads.clear();
        sptr_t<ITableTree> tree;
        if (!m_provider->getTransitionData(m_param, tree)) return -1;
        return static_cast<int>(allRows(tree).size());
    }
    void expectFailure(const std::string& text) {
        m_provider->clearCaches();
        ProviderTest::expectFailure(text, [this] { return ask() != -1; });
    }

    lanefeed_1::QueryParam m_param;
};

TEST_F(FakeLines, SayWhatIsMissing) {
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(m_db->reads,
              (Strings{"dd_band rowid dd_band::dd_thread",
                       "flow_data filtered filter=global end_tsc dd_flow "
                       "multi_band_start_tsc multi_band_index dd_band::dd_thread=40"}));
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(m_db->reads.size(), 1U) << "bands are read once";
    for (const char* column : {"end_tsc", "dd_flow", "multi_band_start_tsc", "multi_band_index"}) {
        m_db->tables["flow_data"][0].erase(column);
        expectFailure("sl1::InvalidColIdx != attrId");
        putFlows({1});
    }
    // Of a band between the known ones, of one without a row, behind them, and of none.
    putFlows({2, 3, 4, -1});
    EXPECT_EQ(ask(), 0);
    EXPECT_EQ(m_log.lines().size(), 1U);
    EXPECT_TRUE(m_log.contains("for bands: (2, 3, 4, -1, )"));
    m_db->tables["flow_data"].clear();
    EXPECT_EQ(ask(), 0) << "no records are no failure";
    m_db->brokenTables.insert("flow_data");
    expectFailure("Failed to get transition data. Error: disk on fire, SQL: SELECT");
    m_db->brokenTables.insert("dd_band");
    expectFailure("Failed to get band->attr mapping. Error: disk on fire, SQL: SELECT");
    m_db->tables["dd_band"] = tableOf("rowid\n1");
    expectFailure("sl1::InvalidColIdx != attrId");
    m_db->tables.erase("flow_data");
    expectFailure("query");
}

TEST_F(FakeLines, NeedALevelOfBands) {
    // What else rows tell bands apart by is another map.
    EXPECT_EQ(ask(), 1);
    m_db->tables["dd_band"] = tableOf("rowid dd_band::dd_core\n1 30");
    m_rowBySource = rowBy(factsAt("dd_band::dd_core")).ds;
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(m_db->reads.front(), "dd_band rowid dd_band::dd_core");
    // Where no level is one of bands the last one counts, and no column tells bands apart.
    m_rowBySource = rowBy(factsAt("flow_data::dd_thread")).ds;
    expectFailure("sl1::InvalidColIdx != attrId");
}

}  // namespace
}  // namespace lanefeed_test
