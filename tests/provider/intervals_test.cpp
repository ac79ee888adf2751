// Bars and tasks on the real store, a whole table at a time; and what each refusal says. Random
// instances are in tests/agreement/intervals_test.cpp.

#include "provider_fixture.h"
#include "store/result_writer.h"
#include "support/fake_mapper.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace lanefeed_test {
namespace {

using lanefeed_1::QueryParam;
using lanefeed_runtime::TableId;
using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;

class Intervals : public testing::Test {
protected:
    std::string result(const std::string& trace) {
        writeTraceText(m_file, trace);
        return m_file;
    }
    // The tables of all rows one after the other; or "refused".
    static std::string ask(const SlicePane& pane,
                           const QueryParam& param,
                           const TableTextOptions& options = {}) {
        Forest trees;
        const bool isServed = param.taskMode
                                  ? pane.provider->getTaskData(param, trees, nullptr)
                                  : pane.provider->getIntervalData(param, trees, nullptr);
        if (!isServed) return "refused";
        std::string text;
        for (const auto& tree : trees)
            text += tableText(tree, options);
        return text;
    }
    // Starts of the bars, "|" before each table and "-" for a row without one.
    static std::string starts(const SlicePane& pane, const QueryParam& param) {
        std::string text = ask(pane, param, {false, false, {"startTime"}});
        for (const auto& [head, mark] : {std::pair("no table\n", "-"), {"startTime\n", "|"}})
            for (std::size_t at = 0; (at = text.find(head)) != std::string::npos;)
                text.replace(at, std::strlen(head), mark);
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    }
    void expectRefusal(const SlicePane& pane, const QueryParam& param, const std::string& text) {
        m_log.clear();
        EXPECT_EQ(ask(pane, param), "refused") << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    }

    TempDirectory m_folder;
    const std::string m_file = m_folder.file("t.lft");
    CapturedLog m_log;
};

TEST_F(Intervals, NarrowOnesShareTheRowOfTheirBin) {
    // Bins of ten ticks; the last one takes the tick that is left over.
    const SlicePane pane(
        result("thread main  0..1 a  1..2 b  2..3 a  4..5 a  6..7 a  9..10 a\n"
               "thread main  15..25 wide  29..30 b  30..31 b  200..201 late\n"
               "thread worker  95..110 b  100..101 a"));
    EXPECT_EQ(ask(pane, pane.request(0, 100, 10)),
              "startTime  endTime  dbAttrIdx  duplicateCount  seriesIdx  depth  name\n"
              "0          0        1          5               0          0      ''\n"
              "  1        1        2          0               0          0      ''\n"
              "  2        2        1          0               0          0      ''\n"
              "  4        4        1          0               0          0      ''\n"
              "  6        6        1          0               0          0      ''\n"
              "15         24       3          0               0          0      ''\n"
              "29         29       2          0               0          0      ''\n"
              "30         30       2          0               0          0      ''\n"
              "startTime  endTime  dbAttrIdx  duplicateCount  seriesIdx  depth  name\n"
              "95         109      2          1               0          0      ''\n"
              "  100      100      1          0               0          0      ''\n");
    EXPECT_TRUE(keepsTableContract([&] {
        Forest trees;
        EXPECT_TRUE(pane.provider->getIntervalData(pane.request(0, 100, 10), trees, nullptr));
        return trees.at(0);
    }));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, TasksAreToldTheirDepthAndName) {
    // One in another, back to back, one that starts on another's last tick, one told before the one
    // that it starts with and lies in.
    const SlicePane pane(
        result("thread main  0..101 outer  10..21 x  30..41 y  31..35 z  35..36 z  36..40 z\n"
               "thread main  100..105 tail  100..120 next\n"
               // Over before the window begins, and yet what starts below it is nested.
               "thread worker  0..45 gone  40..60 below  42..44 gone  50..60 flat"));
    QueryParam param = pane.request(46, 119, 74);
    param.taskMode = true;
    const TableTextOptions shown = {false, false, {"startTime", "endTime", "depth", "name"}};
    EXPECT_EQ(ask(pane, param, shown),
              "startTime  endTime  depth  name\n"
              "0          100      0      outer\n"
              "100        119      0      next\n"
              "100        104      1      tail\n"
              "startTime  endTime  depth  name\n"
              "40         59       1      below\n"
              "50         59       2      flat\n");
    param.startTime = 0;
    const std::string whole = ask(pane, param, shown);
    EXPECT_EQ(whole.substr(0, whole.find("next")),
              "startTime  endTime  depth  name\n"
              "0          100      0      outer\n"
              "10         20       1      x\n"
              "30         40       1      y\n"
              "31         34       2      z\n"
              "35         35       2      z\n"
              "36         39       2      z\n"
              "100        119      0      ");
}

TEST_F(Intervals, RowsInLevelsHaveTheirOwn) {
    const SlicePane pane(result("process p\nthread main 0..10 a  5..6 b\nthread other 20..30 a\n"
                                "process q\nthread single 40..50 a"),
                         "<gridQuery><rowBy query='processAndThread'/>"
                         "<columnBy query='busyTime'/></gridQuery>");
    QueryParam param = pane.request(0, 49, 50);
    EXPECT_EQ(starts(pane, param), "|0 5 20 |0 5 |20 |40 |40 ");
    param.applicableRowLevels = {1};
    EXPECT_EQ(starts(pane, param), "-|0 5 |20 -|40 ");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, ColoursAreThoseOfTheValuesThatHaveOne) {
    std::ofstream(m_folder.file("styles.xml"))
        << "<queryLibrary><valueStyles query='sliceName'><style value='a' color='1,2,3'/>"
           "</valueStyles></queryLibrary>";
    const SlicePane pane(result("thread main  0..1 b  1..2 a  10..20 a  20..30 b"), "",
                         m_folder.file("styles.xml"));
    lanefeed_1::DicerDataSource names = pane.slices;
    QueryParam param = pane.request(0, 39, 10);
    param.colorByDS = &names;
    EXPECT_EQ(ask(pane, param, {false, true, {"startTime"}}),
              "startTime  style\n0          -\n  1        4278387201\n10         4278387201\n"
              "20         -\n");
    names.m_defaultQuery.reset();
    EXPECT_EQ(ask(pane, param, {false, true, {"startTime"}}).find("4278387201"), std::string::npos);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, NarrowedSourcesShowTheirValuesAlone) {
    SlicePane pane(result("thread main  0..1 a  10..11 b  20..21 c"), "");
    const auto of = [&](const std::vector<basekit2::variant_t>& values) {
        pane.slices.m_defaultQuery = dataface_1::IInfoQuery::restrict(
            pane.query("sliceName"), basekit2::make_iterator(values));
        return starts(pane, pane.request(0, 99, 10));
    };
    const auto* provider = static_cast<lanefeed_1::DbiProviderImpl*>(pane.provider.get());
    const std::string name =
        "lnfd_intervals_" + std::to_string(reinterpret_cast<std::uintptr_t>(provider));
    EXPECT_EQ(of({"a", "c"}), "|0 20 ");
    EXPECT_TRUE(pane.filters->hasFilter(name));
    EXPECT_EQ(of({"!a", "c"}), "|10 ");
    EXPECT_EQ(of({"b", "!c"}), "|10 20 ");
    // Nothing of the last request stays behind.
    EXPECT_EQ(of({}), "|0 10 20 ");
    EXPECT_FALSE(pane.filters->hasFilter(name));
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(of({"a", ""}), "|0 10 20 ");
    EXPECT_EQ(m_log.count("!rName.empty()"), 1);
    pane.expandBy("sliceName", {"b", "c"});
    EXPECT_EQ(of({}), "|10 20 ");
}

TEST_F(Intervals, OnesThatReferToNothingAreLeftOutWithOneLine) {
    for (const auto& [band, attr] : {std::make_pair(-1, 1), std::make_pair(1, -1)}) {
        lanefeed_runtime::StoreError error;
        lanefeed_runtime::WriterOptions options;
        options.target = m_file;
        options.force = true;
        const auto writer = lanefeed_runtime::ResultWriter::create(options, error);
        ASSERT_NE(writer, nullptr) << error.text;
        addTraceText(*writer, "thread main  0..100 a");
        lanefeed_runtime::InstanceRow row;
        row.begin = 10;
        row.end = 20;
        row.band = band;
        row.attr = attr;
        ASSERT_TRUE(writer->add(TableId::sliceData, row) && writer->add(TableId::sliceData, row));
        writer->setFact("ticks_per_second", "1000000000");
        ASSERT_TRUE(writer->finish()) << writer->error().text;
        m_log.clear();
        const SlicePane pane(m_file);
        EXPECT_EQ(starts(pane, pane.request(0, 99, 10)), "|0 ");
        EXPECT_EQ(m_log.lines(),
                  std::vector<std::string>{"Empty references found in slice_data instance table"});
    }
}

TEST_F(Intervals, WindowsWithMoreBinsThanTicksShowNothing) {
    for (const char* rows : {SlicePane::kByThread, ""}) {
        const SlicePane pane(result("thread main  0..100 a"), rows);
        for (const QueryParam& param :
             {pane.request(0, 99, 0), pane.request(10, 12, 4), pane.request(10, 9, 1)})
            EXPECT_EQ(starts(pane, param), "-");
        EXPECT_EQ(starts(pane, pane.request(10, 12, 3)), "|0 ");
        // Nor do those without an instance.
        EXPECT_EQ(starts(pane, pane.request(200, 300, 10)), "-");
    }
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, RefusalsSayWhatIsMissing) {
    SlicePane pane(result("thread main  0..100 a"));
    QueryParam param = pane.request(0, 99, 10);
    param.dds = nullptr;
    expectRefusal(pane, param, "dds");
    param = pane.request(0, 99, 10);
    const auto expectSourceRefused = [&](const std::string& path, const std::string& table,
                                         const std::string& text) {
        pane.slices.set(path, table, "", "");
        expectRefusal(pane, param, text);
        EXPECT_TRUE(m_log.contains("bRet"));
    };
    expectSourceRefused("dd_task", "gone_data", "query");
    expectSourceRefused("name", "dd_thread", "startId != sl1::InvalidFieldId");
    expectSourceRefused("dd_thread", "dd_band", "attrId != sl1::InvalidFieldId");
    expectSourceRefused("gone", "slice_data", "infoId != sl1::InvalidFieldId");
    param.taskMode = true;
    expectSourceRefused("gone", "slice_data", "nameId != sl1::InvalidFieldId");
    param.taskMode = false;
    pane.slices.set("dd_task", "slice_data", "name", "");

    lanefeed_1::DicerDataSource other;
    other.set("dd_gone", "slice_data", "", "");
    param.rowByDS = &other;
    expectRefusal(pane, param, "rowById != sl1::InvalidFieldId");
    other.m_defaultQuery = pane.query("busyTime");
    expectRefusal(pane, param, "infoQuery");
    param.rowByDS = nullptr;
    param.colorByDS = &other;
    expectRefusal(pane, param, "colorId != sl1::InvalidFieldId");
    param.colorByDS = nullptr;

    const auto nothing = pane.filters->createTimeFilterBuilder();
    nothing->addRange(500, 600, false);
    pane.filters->setTimeFilter("global", nothing->build());
    expectRefusal(pane, param, "Failed to get sorted intervals. Error: , SQL: ");
    EXPECT_TRUE(m_log.contains("rs && !rs->atEnd()"));
}

// The record of a slice that lasts from tick 0 to 1; its attribute is ten more than its task.
std::map<std::string, basekit2::variant_t> fakeSlice(int task, int thread, int kind = 5) {
    return {{"start_tsc", 1000},           {"end_tsc", 1001},
            {"attr", task + 10},           {"dd_task", task},
            {"dd_task.name", task},        {"slice_data::dd_task", task},
            {"slice_data::dd_kind", kind}, {"slice_data::dd_thread", thread}};
}

// What a request asks of the store and of what colours, and of which types its answer is.
TEST_F(ProviderTest, TasksAskForAllTheirColumnsAndAnswerInTheirTypes) {
    bindRows({1, 2});
    const auto factory = basekit2::make_object<FakeMapperFactory>();
    m_input->offer<dataface_1::IManipulatorMapperFactory>(factory);
    m_source.set("dd_task", "slice_data", "name", "");
    m_source.addExtra(infoQuery({}), "dd_kind", "slice_data", "", "", "");
    m_db->tables["dd_kind"] = {{{"dd_kind", 4}}, {{"dd_kind", 5}}};
    m_db->tables["slice_data"] = {fakeSlice(1, 2), fakeSlice(99, 2), fakeSlice(97, 2),
                                  fakeSlice(2, 2, 6)};
    QueryParam param = request();
    param.rowByDS = &m_rowBySource;
    param.colorByDS = &m_source;
    Forest trees;
    ASSERT_TRUE(m_provider->getTaskData(param, trees, nullptr)) << m_log.lines().front();
    const std::string filter = " filter=lnfd_intervals_" +
                               std::to_string(reinterpret_cast<std::uintptr_t>(
                                   static_cast<lanefeed_1::DbiProviderImpl*>(m_provider.get())));
    EXPECT_EQ(
        m_db->reads.back(),
        "slice_data filtered filter=global start_tsc end_tsc attr rising=start_tsc"
        " dd_task.name slice_data::dd_thread slice_data::dd_kind dd_task slice_data::dd_task" +
            filter);
    EXPECT_TRUE(trees.at(0).is_null());
    EXPECT_EQ(tableText(trees.at(1), {false, true, {"dbAttrIdx", "depth", "name"}}),
              "dbAttrIdx  depth  name  style\n11         0      1     2150637578\n"
              "109        1      99    -\n107        2      97    -\n");
    EXPECT_EQ(allRows(trees.at(1)).front()->getQuery()->getName(), "startTime");
    std::string types;
    for (const auto& column : allColumns(trees.at(1))) {
        basekit2::variant_t cell;
        EXPECT_TRUE(allRows(trees.at(1)).front()->getContent(column, dataface_1::ccValue, cell));
        types += column->getQuery()->getId().substr(std::strlen("timelineNameQuery_")) + " " +
                 std::to_string(cell.get_type()) + " " + std::to_string(column->getType()) + "\n";
    }
    EXPECT_EQ(types,
              "startTime_tsc 9 4\nendTime_tsc 9 4\ndbAttrIdx 6 4\nduplicateCount 6 4\n"
              "seriesIdx 7 4\ndepth 6 4\nname 12 4\n");

    EXPECT_EQ(m_log.count("Empty references found in slice_data instance table"), 1)
        << "for a kind that does not exist";

    // No mapper is no failure, whatever comes with that answer; a failure and no factory are.
    for (const auto answer : {basekit2::error_code_t::noResult, basekit2::error_code_t::failure}) {
        factory->answer = answer;
        EXPECT_EQ(m_provider->getIntervalData(param, trees, nullptr),
                  answer == basekit2::error_code_t::noResult);
        EXPECT_EQ(tableText(trees.at(1), {false, true, {"name"}}),
                  "name  style\n''    -\n  ''  -\n  ''  -\n");
    }
    EXPECT_TRUE(m_log.contains("err.succeeded()"));
    m_input->offered.erase(basekit2::type_id_t<dataface_1::IManipulatorMapperFactory>::id());
    EXPECT_FALSE(m_provider->getIntervalData(param, trees, nullptr));
    EXPECT_TRUE(m_log.contains("mapperFactory"));

    param.colorByDS = nullptr;
    const auto rows = m_provider->m_rowSummaryTable;
    m_provider->m_rowSummaryTable.reset();
    EXPECT_FALSE(m_provider->getIntervalData(param, trees, nullptr));
    EXPECT_TRUE(m_log.contains("m_rowSummaryTable"));
    m_provider->m_rowSummaryTable = rows;

    // Rows by a source without a query are one row, by its column.
    m_rowBySource.m_defaultQuery.reset();
    EXPECT_TRUE(m_provider->getIntervalData(param, trees, nullptr));
    EXPECT_EQ(allRows(trees.at(0)).size(), 3U);
    m_db->tables["slice_data"].push_back(fakeSlice(1, 1));
    EXPECT_FALSE(m_provider->getIntervalData(param, trees, nullptr));
    EXPECT_TRUE(m_log.contains("intervalDataCurrent.size() == 1"));
}

// A store that ends its reads by itself when they are cancelled, and one that fails.
TEST_F(ProviderTest, IntervalsEndQuietlyWhenCancelledAtAnyPoint) {
    bindRows({1});
    m_source.set("dd_task", "slice_data", "", "");
    m_db->tables["slice_data"] = FakeTable(3, fakeSlice(7, 1));
    m_db->endsCancelledReads = true;
    m_progress->asked = 0;
    for (const lanefeed_1::DicerDataSource* rowBy :
         {static_cast<lanefeed_1::DicerDataSource*>(nullptr), &m_rowBySource}) {
        QueryParam param = request();
        param.rowByDS = rowBy;
        Forest trees;
        const auto isServed = [&](int cancelsAt) {
            m_progress->cancelsAt = cancelsAt;
            m_progress->asked = 0;
            return m_provider->getTaskData(param, trees, nullptr);
        };
        ASSERT_TRUE(isServed(0));
        EXPECT_EQ(allRows(trees.at(0)).size(), 3U);
        const int polls = m_progress->asked;
        EXPECT_GE(polls, 6);
        for (int poll = 1; poll <= polls; ++poll)
            EXPECT_FALSE(isServed(poll)) << poll;
        EXPECT_TRUE(m_log.empty());
    }
    m_progress->cancelsAt = 0;
    m_db->brokenTables = {"slice_data"};
    Forest trees;
    EXPECT_FALSE(m_provider->getIntervalData(request(), trees, nullptr));
    EXPECT_TRUE(m_log.contains("Failed to get sorted intervals. Error: disk on fire, SQL: SELECT"));
}

}  // namespace
}  // namespace lanefeed_test
