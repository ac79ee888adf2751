// What the writer makes of what it is given: times, order, rows, facts.
#include "store/result_facts.h"
#include "support/cancel_at_poll.h"
#include "support/store_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::rowsOf;

class ResultWriterTest : public testing::Test {
protected:
    ResultWriterTest() { start(); }

    void start() {
        m_writer = ResultWriter::create({m_directory.file("r.lft"), "source"}, m_error);
        m_writer->setFact(result_keys::kTicksPerSecond, "1000");
    }

    void add(const std::string& text) { lanefeed_test::addTraceText(*m_writer, text); }

    storelink1::IDatabase& finish() {
        EXPECT_TRUE(m_writer->finish()) << m_writer->error().text;
        m_store = openStore(m_directory.file("r.lft"), m_error);
        EXPECT_FALSE(m_store.failed()) << m_error.text;
        return *m_store.database;
    }

    void expectNoFile(StoreError::Kind kind) {
        EXPECT_EQ(m_writer->error().kind, kind);
        EXPECT_FALSE(m_writer->add(TableId::sliceData, {}) || m_writer->finish());
        m_writer.reset();
        EXPECT_TRUE(m_directory.names().empty());
    }

    lanefeed_test::TempDirectory m_directory;
    StoreError m_error;
    std::unique_ptr<ResultWriter> m_writer;
    OpenStore m_store;
};

TEST_F(ResultWriterTest, TurnsTimesIntoTicksFromOne) {
    add("thread t -100..-40 early 0..0 point 7..3 backward 10.. open\npause -45..-40  # touches\n"
        "pause -50..-45\npause -48..-47\npause -110..-105  # before all else");
    storelink1::IDatabase& database = finish();
    // The last tick is that of "open" at least: its begin is the latest time seen.
    EXPECT_EQ(rowsOf(database, "slice_data", {"start_tsc", "end_tsc", "attr.name"}),
              "11 70 early\n111 111 point\n118 118 backward\n121 121 open\n");
    EXPECT_EQ(rowsOf(database, "pauses", {"start_tsc", "end_tsc"}), "1 5\n61 70\n");
    EXPECT_EQ(rowsOf(database, "result", {"key", "value"}),
              "ticks_per_second 1000\norigin -111\nfirst_tick 1\nlast_tick 121\ninstances 4\n"
              "source_identity source\n");
    EXPECT_EQ(rowsOf(database, "marker_data", {}), "no table") << "it has no rows";
}

TEST_F(ResultWriterTest, OrdersByStartTheLongestOfEqualOnesFirstAndKeepsNullForWhatIsNotSet) {
    add("thread t 5..9 b1@io 1..2 a 5..6 b2 3..4 c 5..99 b3 5..9 b4\n"
        "wakeup main 5 worker 9 wake%0\nwakeup worker 9 main 5 wake");
    storelink1::IDatabase& database = finish();
    EXPECT_EQ(rowsOf(database, "slice_data", {"rowid", "attr.name", "dd_category.name", "args"}),
              "1 a - -\n2 c - -\n3 b3 - -\n4 b1 io -\n5 b4 - -\n6 b2 - -\n");
    EXPECT_EQ(rowsOf(database, "wakeup_data",
                     {"start_tsc", "dd_band", "multi_band_start_tsc", "multi_band_index",
                      "dd_core.number"}),
              "5 2 9 3 -\n9 3 5 2 0\n");
}

TEST_F(ResultWriterTest, AddsAnAttributeOnceByKey) {
    bool added = false;
    const auto add = [&](const char* name) {
        return m_writer->attribute(TableId::thread, "k", {{"name", name}}, &added);
    };
    EXPECT_TRUE(add("one") == 1 && added);
    EXPECT_TRUE(add("two") == 1 && !added);
    EXPECT_EQ(m_writer->find(TableId::thread, "k"), 1);
    EXPECT_EQ(m_writer->find(TableId::process, "k"), -1);
    EXPECT_TRUE(m_writer->update(TableId::thread, 1, {"name", "late"}));
    EXPECT_FALSE(m_writer->update(TableId::thread, 1, {"no column", "x"}));
    EXPECT_FALSE(m_writer->update(TableId::thread, 2, {"name", "x"}));
    EXPECT_EQ(m_writer->attribute(TableId::sliceData, "k", {}), -1);
    EXPECT_EQ(rowsOf(finish(), "dd_thread", {"rowid", "name"}), "1 late\n");
}

TEST_F(ResultWriterTest, GivesBandsTheWholeTraceOrTheirLifeTime) {
    add("thread a 10..50 x");
    EXPECT_EQ(m_writer->band(TableId::thread, 1), 1);
    EXPECT_EQ(m_writer->addBand(TableId::thread, 1, 20, 60), 2);
    EXPECT_EQ(m_writer->addBand(TableId::thread, 1, 20, 30), 3);
    EXPECT_EQ(m_writer->band(TableId::task, 1), -1);
    EXPECT_EQ(rowsOf(finish(), "dd_band", {"dd_thread", "dd_counter", "start_tsc", "end_tsc"}),
              "1 - 1 50\n1 - 11 50\n1 - 11 20\n");
}

TEST_F(ResultWriterTest, LeavesOutArgumentsThatAreTooLong) {
    const std::string most(ResultWriter::kMaxArgs, 'x');
    EXPECT_EQ(m_writer->addArgs(most), 1);
    EXPECT_EQ(m_writer->addArgs(most + "x"), -1);
    EXPECT_EQ(m_writer->droppedArgs(), 1U);
    EXPECT_EQ(rowsOf(finish(), "args", {"json"}), most + "\n");
}

TEST_F(ResultWriterTest, RefusesTimesWhoseDifferencesOverflow) {
    const auto slice = [this](std::int64_t begin, std::int64_t end) {
        return m_writer->add(TableId::sliceData, {begin, end});
    };
    EXPECT_FALSE(slice(kMaxTime + 1, kMaxTime + 2) || slice(-kMaxTime - 1, 0));
    EXPECT_FALSE(m_writer->addPause(0, kMaxTime + 1));
    InstanceRow flow;
    flow.sourceBegin = kMaxTime + 1;
    EXPECT_FALSE(m_writer->add(TableId::flowData, flow));
    EXPECT_TRUE(slice(-kMaxTime, -kMaxTime + 1) && slice(kMaxTime - 1, kMaxTime));
    EXPECT_FALSE(finish().isTableExist("flow_data"));
    EXPECT_EQ(m_store.facts->lastTick, std::uint64_t{1} << 62);
}

TEST_F(ResultWriterTest, RoundsValuesOfCountersIntoTheirCount) {
    InstanceRow row;
    for (const double value : {2.5, -0.4, 1e300, std::nan("")}) {
        row.value = value;
        m_writer->add(TableId::counterData, row);
    }
    EXPECT_EQ(rowsOf(finish(), "counter_data", {"count", "value"}),
              "3 2.5\n0 -0.4\n9200000000000000000 1e+300\n0 -\n");
}

TEST_F(ResultWriterTest, AsksForAClock) {
    m_writer->setFact(result_keys::kTicksPerSecond, "999");
    EXPECT_FALSE(m_writer->setFact(result_keys::kOrigin, "5"));
    EXPECT_FALSE(m_writer->finish());
    expectNoFile(StoreError::Kind::notUnderstood);
}

TEST_F(ResultWriterTest, LeavesNothingWhenCancelled) {
    // Between rows, and when all is written but not in its place.
    for (const int poll : {3, 5}) {
        start();
        for (int i = 0; i < 200; ++i)
            m_writer->add(TableId::sliceData, {i, i + 1});
        const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(poll);
        EXPECT_FALSE(m_writer->finish(progress.get()));
        EXPECT_EQ(progress->polls(), poll);
        expectNoFile(StoreError::Kind::cancelled);
    }
}

}  // namespace
}  // namespace lanefeed_runtime
