// Bars and tasks on the real store, a whole table at a time; and what each refusal says.

#include "provider_fixture.h"
#include "store/result_writer.h"
#include "support/cancel_at_poll.h"
#include "support/slice_pane.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <fstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::ITableTree;
using lanefeed_1::QueryParam;
using Forest = std::vector<sptr_t<ITableTree>>;

class Intervals : public testing::Test {
protected:
    std::string result(const std::string& trace) {
        const std::string file = m_folder.file("t.lft");
        writeTraceText(file, trace);
        return file;
    }
    // The tables of all rows one after the other; or "refused".
    static std::string bars(const SlicePane& pane, const QueryParam& param) {
        Forest trees;
        if (!pane.provider->getIntervalData(param, trees, nullptr)) return "refused";
        return textOf(trees);
    }
    static std::string tasks(const SlicePane& pane, const QueryParam& param) {
        Forest trees;
        if (!pane.provider->getTaskData(param, trees, nullptr)) return "refused";
        return textOf(trees, {"startTime", "endTime", "duplicateCount", "depth", "name"});
    }
    static std::string textOf(const Forest& trees, const std::vector<std::string>& columns = {}) {
        std::string text;
        for (const auto& tree : trees)
            text += tableText(tree, {false, false, columns});
        return text;
    }
    // The request is refused with this text among those of failed checks.
    void expectRefusal(const SlicePane& pane, const QueryParam& param, const std::string& text) {
        m_log.clear();
        EXPECT_EQ(bars(pane, param), "refused") << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    }

    TempDirectory m_folder;
    CapturedLog m_log;
};

TEST_F(Intervals, NarrowOnesShareTheRowOfTheirBin) {
    // Bins of ten ticks; the last one takes the tick that is left over.
    const SlicePane pane(
        result("thread main  0..1 a  1..2 b  2..3 a  4..5 a  6..7 a  9..10 a\n"
               "thread main  15..25 wide  29..30 b  30..31 b  200..201 late\n"
               "thread worker  95..110 b  100..101 a"));
    EXPECT_EQ(bars(pane, pane.request(0, 100, 10)),
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

// However the bins lie: what began before is never taken for narrow.
TEST_F(Intervals, OnesThatBeganBeforeTheWindowAreWide) {
    const SlicePane pane(result("thread main  0..60 a  47..58 b  58..59 b\nthread idle 0..1 a"));
    const std::string head =
        "startTime  endTime  dbAttrIdx  duplicateCount  seriesIdx  depth  name\n";
    EXPECT_EQ(bars(pane, pane.request(50, 61, 4)),
              head + "0          59       1          0               0          0      ''\n" +
                  "47         57       2          0               0          0      ''\n" +
                  "58         58       2          0               0          0      ''\n" +
                  "no table\n");
    for (basekit2::u32_t bins = 1; bins <= 12; ++bins) {
        Forest trees;
        ASSERT_TRUE(pane.provider->getIntervalData(pane.request(50, 61, bins), trees, nullptr));
        EXPECT_EQ(allRows(trees.at(0)).size(), 3U) << bins;
        EXPECT_EQ(tableText(trees[0], {false, false, {"duplicateCount"}}),
                  "duplicateCount\n0\n0\n0\n")
            << bins;
    }
}

TEST_F(Intervals, TasksAreToldTheirDepth) {
    // Whole slices, back to back ones, and one that starts on another's last tick.
    const SlicePane pane(
        result("thread main  0..101 outer  10..21 x  30..41 y  31..35 z  35..36 z  36..40 z\n"
               "thread main  100..120 next\n"
               // Ended before the window, and yet what starts below it is nested.
               "thread worker  0..45 gone  40..60 below  42..44 gone  43..50 deep  50..60 flat"));
    EXPECT_EQ(tasks(pane, pane.request(0, 119, 120)),
              "startTime  endTime  duplicateCount  depth  name\n"
              "0          100      0               0      outer\n"
              "10         20       0               1      x\n"
              "30         40       0               1      y\n"
              "31         34       0               2      z\n"
              "35         35       0               2      z\n"
              "36         39       0               2      z\n"
              "100        119      0               0      next\n"
              "startTime  endTime  duplicateCount  depth  name\n"
              "0          44       0               0      gone\n"
              "40         59       0               1      below\n"
              "42         43       0               2      gone\n"
              "43         49       0               2      deep\n"
              "50         59       0               2      flat\n");
    // Depths have cells of their own.
    EXPECT_EQ(tasks(pane, pane.request(0, 199, 1)),
              "startTime  endTime  duplicateCount  depth  name\n"
              "0          100      1               0      outer\n"
              "  100      119      0               0      next\n"
              "10         20       1               1      x\n"
              "  30       40       0               1      y\n"
              "31         34       2               2      z\n"
              "  35       35       0               2      z\n"
              "  36       39       0               2      z\n"
              "startTime  endTime  duplicateCount  depth  name\n"
              "0          44       0               0      gone\n"
              "40         59       0               1      below\n"
              "42         43       2               2      gone\n"
              "  43       49       0               2      deep\n"
              "  50       59       0               2      flat\n");
    EXPECT_EQ(tasks(pane, pane.request(46, 119, 74)).find("gone"), std::string::npos);
    EXPECT_NE(tasks(pane, pane.request(46, 119, 74)).find("40         59       0               1"),
              std::string::npos);
}

TEST_F(Intervals, SeriesHaveCellsOfTheirOwnAndRestrictionsLeaveOut) {
    SlicePane pane(result("thread main  0..1 a  1..2 b  2..3 a  3..4 c"), "");
    pane.expandBy("sliceName");
    const auto text = [&] {
        Forest trees;
        EXPECT_TRUE(pane.provider->getIntervalData(pane.request(0, 99, 1), trees, nullptr));
        return textOf(trees, {"startTime", "duplicateCount", "seriesIdx"});
    };
    EXPECT_EQ(text(),
              "startTime  duplicateCount  seriesIdx\n"
              "0          1               0\n"
              "  2        0               0\n"
              "1          0               1\n"
              "3          0               2\n");
    EXPECT_TRUE(m_log.empty());
    pane.slices.m_extras.clear();
    pane.expandBy("sliceName", {"b", "c"});
    EXPECT_EQ(text(),
              "startTime  duplicateCount  seriesIdx\n"
              "1          0               0\n"
              "3          0               1\n");
}

TEST_F(Intervals, RowsInLevelsHaveTheirOwn) {
    const SlicePane pane(result("process p\nthread main 0..10 a  5..6 b\nthread other 20..30 a\n"
                                "process q\nthread single 40..50 a"),
                         "<gridQuery><rowBy query='processAndThread'/>"
                         "<columnBy query='busyTime'/></gridQuery>");
    const auto starts = [&](const std::set<int>& levels) {
        QueryParam param = pane.request(0, 49, 50);
        param.applicableRowLevels = levels;
        Forest trees;
        EXPECT_TRUE(pane.provider->getIntervalData(param, trees, nullptr));
        std::string text;
        for (const auto& tree : trees) {
            const std::string rows = tableText(tree, {false, false, {"startTime"}});
            text += "[" + rows.substr(rows.find('\n') + 1) + "]";
        }
        std::replace(text.begin(), text.end(), '\n', ' ');
        return text;
    };
    EXPECT_EQ(starts({}), "[0 5 20 ][0 5 ][20 ][40 ][40 ]");
    EXPECT_EQ(starts({1}), "[][0 5 ][20 ][][40 ]");
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
    const auto styles = [&] {
        Forest trees;
        EXPECT_TRUE(pane.provider->getIntervalData(param, trees, nullptr));
        return tableText(trees.at(0), {false, true, {"startTime"}});
    };
    const std::string plain =
        "startTime  style\n0          -\n  1        -\n10         -\n"
        "20         -\n";
    EXPECT_EQ(styles(), plain);
    param.colorByDS = &names;
    EXPECT_EQ(styles(),
              "startTime  style\n0          -\n  1        4278387201\n"
              "10         4278387201\n20         -\n");
    names.m_defaultQuery.reset();
    EXPECT_EQ(styles(), plain);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, NarrowedSourcesShowTheirValuesAlone) {
    SlicePane pane(result("thread main  0..1 a  10..11 b  20..21 c"), "");
    const auto starts = [&](const std::vector<basekit2::variant_t>& values) {
        pane.slices.m_defaultQuery = dataface_1::IInfoQuery::restrict(
            pane.query("sliceName"), basekit2::make_iterator(values));
        Forest trees;
        EXPECT_TRUE(pane.provider->getIntervalData(pane.request(0, 99, 10), trees, nullptr));
        return textOf(trees, {"startTime"});
    };
    const std::string name =
        "lnfd_intervals_" + std::to_string(reinterpret_cast<std::uintptr_t>(pane.provider.get()));
    EXPECT_EQ(starts({"a", "c"}), "startTime\n0\n20\n");
    EXPECT_TRUE(pane.filters->hasFilter(name));
    EXPECT_EQ(starts({"!a", "c"}), "startTime\n10\n");
    EXPECT_EQ(starts({"b", "!c"}), "startTime\n10\n20\n");
    // Nothing of the last request stays behind.
    EXPECT_EQ(starts({}), "startTime\n0\n10\n20\n");
    EXPECT_FALSE(pane.filters->hasFilter(name));
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(starts({"a", ""}), "startTime\n0\n10\n20\n");
    EXPECT_EQ(m_log.count("!rName.empty()"), 1);
}

TEST_F(Intervals, OnesThatReferToNothingAreLeftOutWithOneLine) {
    lanefeed_runtime::StoreError error;
    lanefeed_runtime::WriterOptions options;
    options.target = m_folder.file("t.lft");
    const auto writer = lanefeed_runtime::ResultWriter::create(options, error);
    ASSERT_NE(writer, nullptr) << error.text;
    addTraceText(*writer, "thread main  0..100 a");
    lanefeed_runtime::InstanceRow row;
    row.begin = 10;
    row.end = 20;
    row.attr = writer->named(lanefeed_runtime::TableId::task, "a");
    ASSERT_TRUE(writer->add(lanefeed_runtime::TableId::sliceData, row));  // on no band
    row.attr = -1;
    row.band = 1;
    ASSERT_TRUE(writer->add(lanefeed_runtime::TableId::sliceData, row));
    ASSERT_TRUE(writer->add(lanefeed_runtime::TableId::sliceData, row));
    writer->setFact("ticks_per_second", "1000000000");
    ASSERT_TRUE(writer->finish()) << writer->error().text;
    const SlicePane pane(options.target);
    EXPECT_EQ(tasks(pane, pane.request(0, 99, 10)),
              "startTime  endTime  duplicateCount  depth  name\n"
              "0          99       0               0      a\n");
    EXPECT_EQ(m_log.lines(),
              std::vector<std::string>{"Empty references found in slice_data instance table"});
}

TEST_F(Intervals, WindowsWithMoreBinsThanTicksShowNothing) {
    const SlicePane pane(result("thread main  0..100 a"));
    for (const QueryParam& param :
         {pane.request(0, 99, 0), pane.request(10, 12, 4), pane.request(10, 9, 1)})
        EXPECT_EQ(bars(pane, param), "no table\n");
    EXPECT_NE(bars(pane, pane.request(10, 12, 3)), "no table\n");
    const SlicePane single(m_folder.file("t.lft"), "");
    EXPECT_EQ(bars(single, single.request(0, 9, 11)), "no table\n");
    // Nor does one without an instance in it.
    EXPECT_EQ(bars(single, single.request(200, 300, 10)), "no table\n");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Intervals, RefusalsSayWhatIsMissing) {
    SlicePane pane(result("thread main  0..100 a"));
    QueryParam param = pane.request(0, 99, 10);
    param.dds = nullptr;
    expectRefusal(pane, param, "dds");
    param = pane.request(0, 99, 10);
    const auto changed = [&](const std::string& path, const std::string& table,
                             const std::string& text) {
        pane.slices.set(path, table, "", "");
        expectRefusal(pane, param, text);
        EXPECT_TRUE(m_log.contains("bRet"));
    };
    changed("dd_task", "gone_data", "query");
    changed("name", "dd_thread", "startId != sl1::InvalidFieldId");
    changed("dd_thread", "dd_band", "attrId != sl1::InvalidFieldId");
    changed("gone", "slice_data", "infoId != sl1::InvalidFieldId");
    param.taskMode = true;
    changed("gone", "slice_data", "nameId != sl1::InvalidFieldId");
    param.taskMode = false;
    pane.slices.set("dd_task", "slice_data", "name", "");

    lanefeed_1::DicerDataSource other;
    other.set("dd_gone", "slice_data", "", "");
    param.rowByDS = &other;
    expectRefusal(pane, param, "rowById != sl1::InvalidFieldId");
    other.m_defaultQuery = pane.query("busyTime");
    expectRefusal(pane, param, "infoQuery");
    // Rows that are known by their path alone are for an area of one row.
    other.set("dd_task", "slice_data", "", "");
    other.m_defaultQuery.reset();
    EXPECT_NE(bars(pane, param), "refused");
    param.rowByDS = nullptr;
    other.set("dd_gone", "slice_data", "", "");
    other.m_defaultQuery = pane.query("sliceName");
    param.colorByDS = &other;
    expectRefusal(pane, param, "colorId != sl1::InvalidFieldId");
    param.colorByDS = nullptr;

    const auto nothing = pane.filters->createTimeFilterBuilder();
    nothing->addRange(500, 600, false);
    pane.filters->setTimeFilter("global", nothing->build());
    expectRefusal(pane, param, "Failed to get sorted intervals. Error: , SQL: ");
    EXPECT_TRUE(m_log.contains("rs && !rs->atEnd()"));
}

TEST_F(Intervals, CancelsQuietlyAtAnyPoint) {
    const std::string file = result("thread main  0..10 a  20..30 b\nthread worker 5..6 a");
    for (const char* rows : {SlicePane::byThread, ""}) {
        const SlicePane pane(file, rows);
        int polls = 1;
        for (bool isServed = false; !isServed && polls < 1000; ++polls) {
            const auto cancel = basekit2::make_object<CancelAtPoll>(polls);
            pane.provider->setProgress(cancel.get());
            Forest trees;
            isServed = pane.provider->getTaskData(pane.request(0, 99, 10), trees, nullptr);
            EXPECT_EQ(isServed, cancel->polls() < polls) << polls;
        }
        EXPECT_GT(polls, 4);
        pane.provider->setProgress(nullptr);
    }
    EXPECT_TRUE(m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
