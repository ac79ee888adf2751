// Bars and tasks: their tables, what narrows and colours them, and what each refusal says. Which
// ones are drawn, folded and nested: tests/agreement/intervals_test.cpp.

#include "provider_fixture.h"
#include "support/fake_mapper.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"

#include <algorithm>
#include <tuple>

namespace lanefeed_test {
namespace {

using lanefeed_1::QueryParam;

std::string filterOf(const lanefeed_1::DbiProviderImpl* provider) {
    return "lnfd_intervals_" + std::to_string(reinterpret_cast<std::uintptr_t>(provider));
}

class Intervals : public testing::Test {
protected:
    // The tables of all rows one after the other; or "refused".
    static std::string ask(const SlicePane& pane,
                           const QueryParam& param,
                           const TableTextOptions& options = {}) {
        Forest trees;
        if (!(param.taskMode ? pane.provider->getTaskData(param, trees, nullptr)
                             : pane.provider->getIntervalData(param, trees, nullptr)))
            return "refused";
        std::string text;
        for (const auto& tree : trees)
            text += tableText(tree, options);
        return text;
    }
    // Starts of the bars, "|" before each table and "-" for a row without one.
    static std::string starts(const SlicePane& pane, const QueryParam& param) {
        Forest trees;
        if (!pane.provider->getIntervalData(param, trees, nullptr)) return "refused";
        std::string text;
        for (const auto& tree : trees)
            text += tree.is_null() ? "-" : "|" + cellsText(tree, {false, false, {"startTime"}});
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    }
    void expectRefusal(const SlicePane& pane, const QueryParam& param, const std::string& text) {
        m_log.clear();
        EXPECT_EQ(ask(pane, param), "refused") << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    }

    CapturedLog m_log;
};

TEST_F(Intervals, AreATablePerRowOfTheLevelsThatAreAskedFor) {
    const TracePane flat("thread main  0..1 a  4..5 b  15..25 wide\nthread other 95..110 b");
    EXPECT_EQ(ask(flat, flat.request(0, 100, 10)),
              "startTime  endTime  dbAttrIdx  duplicateCount  seriesIdx  depth  name\n"
              "0          0        1          1               0          0      ''\n"
              "  4        4        2          0               0          0      ''\n"
              "15         24       3          0               0          0      ''\n"
              "startTime  endTime  dbAttrIdx  duplicateCount  seriesIdx  depth  name\n"
              "95         109      2          0               0          0      ''\n");
    EXPECT_TRUE(keepsTableContract([&] {
        Forest trees;
        EXPECT_TRUE(flat.provider->getIntervalData(flat.request(0, 100, 10), trees, nullptr));
        return trees.at(0);
    }));
    const TracePane nested("process p\nthread main 0..10 a 5..6 b\nthread other 20..30 a",
                           TracePane::kNested);
    QueryParam param = nested.request(0, 49, 50);
    EXPECT_EQ(starts(nested, param), "|0 5 20 |0 5 |20 ");
    param.applicableRowLevels = {1};
    EXPECT_EQ(starts(nested, param), "-|0 5 |20 ");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, OfNarrowedSourcesAreThoseOfTheirValuesAlone) {
    TracePane pane("thread main  0..1 a  10..11 b  20..21 c", "");
    const auto of = [&](const std::vector<basekit2::variant_t>& values) {
        pane.slices.m_defaultQuery = dataface_1::IInfoQuery::restrict(
            pane.query("sliceName"), basekit2::make_iterator(values));
        return starts(pane, pane.request(0, 99, 10));
    };
    EXPECT_EQ(of({"a", "c"}), "|0 20 ");
    EXPECT_TRUE(pane.filters->hasFilter(filterOf(pane.provider.get())));
    EXPECT_EQ(of({"!a", "c"}), "|10 ");
    EXPECT_EQ(of({}), "|0 10 20 ") << "nothing of the last request stays behind";
    EXPECT_FALSE(pane.filters->hasFilter(filterOf(pane.provider.get())));
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(of({"a", ""}), "|0 10 20 ");
    EXPECT_EQ(m_log.count("!rName.empty()"), 1);
    pane.expandBy("sliceName", {"b", "c"});
    EXPECT_EQ(of({}), "|10 20 ");
}

TEST_F(Intervals, SayWhatIsMissing) {
    TracePane pane("thread main  0..100 a");
    QueryParam param = pane.request(0, 99, 10);
    for (const auto& [path, table, text] :
         {std::tuple("dd_task", "gone_data", "query"),
          {"name", "dd_thread", "startId != sl1::InvalidFieldId"},
          {"dd_thread", "dd_band", "attrId != sl1::InvalidFieldId"},
          {"gone", "slice_data", "infoId != sl1::InvalidFieldId"},
          {"gone", "slice_data", "nameId != sl1::InvalidFieldId"}}) {
        param.taskMode = *text == 'n';
        pane.slices.set(path, table, "", "");
        expectRefusal(pane, param, text);
        EXPECT_TRUE(m_log.contains("bRet"));
    }
    pane.slices.set("dd_task", "slice_data", "name", "");
    param = pane.request(0, 99, 10);
    const auto nothing = pane.filters->createTimeFilterBuilder();
    nothing->addRange(500, 600, false);
    pane.filters->setTimeFilter("global", nothing->build());
    expectRefusal(pane, param, "Failed to get sorted intervals. Error: , SQL: ");
    EXPECT_TRUE(m_log.contains("rs && !rs->atEnd()"));
}

// Slices of threads 1 and 2 on a fake store, from tick 0 to 1: their task, their kind, and an
// attribute that is ten more than the task.
class FakeIntervals : public ProviderTest {
protected:
    FakeIntervals() {
        bindRows({1, 2});
        m_source.set("dd_task", "slice_data", "name", "");
        m_param = request();
        m_param.rowByDS = &m_rowBySource;
    }
    void put(int thread, int task, int kind = 5) {
        m_db->tables["slice_data"].push_back({{"start_tsc", 1000},
                                              {"end_tsc", 1001},
                                              {"attr", task + 10},
                                              {"dd_task", task},
                                              {"dd_task.name", task},
                                              {"slice_data::dd_task", task},
                                              {"slice_data::dd_kind", kind},
                                              {"slice_data::dd_thread", thread}});
    }
    bool ask() { return m_provider->getIntervalData(m_param, m_trees, nullptr); }

    QueryParam m_param;
    Forest m_trees;
};

// What a request asks of the store and of what colours.
TEST_F(FakeIntervals, AskForAllTheirColumnsAndColours) {
    const auto factory = basekit2::make_object<FakeMapperFactory>();
    m_input->offer<dataface_1::IManipulatorMapperFactory>(factory);
    m_source.addExtra(infoQuery({}), "dd_kind", "slice_data", "", "", "");
    m_db->tables["dd_kind"] = tableOf("dd_kind\n4\n5");
    for (const int task : {1, 99, 97})
        put(2, task);
    put(2, 2, 6);
    m_param.colorByDS = &m_source;
    ASSERT_TRUE(m_provider->getTaskData(m_param, m_trees, nullptr)) << m_log.lines().front();
    EXPECT_EQ(m_db->reads.back(),
              "slice_data filtered filter=global start_tsc end_tsc attr rising=start_tsc"
              " dd_task.name slice_data::dd_thread slice_data::dd_kind dd_task slice_data::dd_task"
              " filter=" +
                  filterOf(m_provider.get()));
    EXPECT_TRUE(m_trees.at(0).is_null());
    EXPECT_EQ(tableText(m_trees.at(1), {false, true, {"dbAttrIdx", "depth", "name"}}),
              "dbAttrIdx  depth  name  style\n11         0      1     2150637578\n"
              "109        1      99    -\n107        2      97    -\n");
    EXPECT_EQ(m_log.count("Empty references found in slice_data instance table"), 1)
        << "for a kind that does not exist";

    // No mapper is no failure, whatever comes with that answer.
    factory->answer = basekit2::error_code_t::noResult;
    EXPECT_TRUE(ask());
    EXPECT_EQ(tableText(m_trees.at(1), {false, true, {"name"}}),
              "name  style\n''    -\n  ''  -\n  ''  -\n");
}

TEST_F(FakeIntervals, NeedTheirRowsAndAStoreThatAnswers) {
    put(-1, 1);
    EXPECT_TRUE(ask());
    EXPECT_EQ(m_log.count("Empty references found in slice_data instance table"), 1);
    m_db->brokenTables = {"slice_data"};
    m_param.rowByDS = nullptr;
    expectFailure("Failed to get sorted intervals. Error: disk on fire, SQL: SELECT",
                  [this] { return ask(); });
}

TEST_F(FakeIntervals, EndQuietlyWhenCancelledAtAnyPoint) {
    bindRows({1});
    for (int i = 0; i < 3; ++i)
        put(1, 7);
    for (const auto* rowBy : {static_cast<lanefeed_1::DicerDataSource*>(nullptr), &m_rowBySource}) {
        m_param.rowByDS = rowBy;
        expectQuietCancels(6,
                           [this] { return m_provider->getTaskData(m_param, m_trees, nullptr); });
        EXPECT_TRUE(m_provider->getTaskData(m_param, m_trees, nullptr));
        EXPECT_EQ(allRows(m_trees.at(0)).size(), 3U);
    }
}

}  // namespace
}  // namespace lanefeed_test
