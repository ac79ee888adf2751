// What the writer makes of what it is given: times, order, rows, facts.
#include "store/result_writer.h"

#include "store/open_store.h"
#include "store/result_facts.h"
#include "support/cancel_at_poll.h"
#include "support/store_text.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::rowsOf;

class ResultWriterTest : public testing::Test {
protected:
    ResultWriterTest() {
        WriterOptions options;
        options.target = m_directory.file("r.lft");
        options.sourceIdentity = "source";
        m_writer = ResultWriter::create(options, m_error);
        m_writer->setFact(result_keys::kTicksPerSecond, "1000");
    }

    storelink1::IDatabase& finish() {
        EXPECT_TRUE(m_writer->finish()) << m_writer->error().text;
        m_store = openStore(m_directory.file("r.lft"), m_error);
        EXPECT_FALSE(m_store.failed()) << m_error.text;
        return *m_store.database;
    }

    int thread(const std::string& name) {
        return m_writer->band(TableId::thread,
                              m_writer->attribute(TableId::thread, name, {{"name", name}}));
    }

    bool slice(std::int64_t begin, std::int64_t end, const std::string& name) {
        InstanceRow row;
        row.begin = begin;
        row.end = end;
        row.attr = m_writer->named(TableId::task, name);
        return m_writer->add(TableId::sliceData, row);
    }

    lanefeed_test::TempDirectory m_directory;
    StoreError m_error;
    std::unique_ptr<ResultWriter> m_writer;
    OpenStore m_store;
};

TEST_F(ResultWriterTest, TurnsTimesIntoTicksFromOne) {
    slice(-100, -40, "early");
    slice(0, 0, "point");
    slice(7, 3, "backward");
    slice(10, kToEnd, "open");
    m_writer->addPause(-50, -45);
    m_writer->addPause(-45, -40);  // touches
    storelink1::IDatabase& database = finish();
    // The last tick is that of "open" at least: its begin is the latest time seen.
    EXPECT_EQ(rowsOf(database, "slice_data", {"start_tsc", "end_tsc", "attr.name"}),
              "1 60 early\n101 101 point\n108 108 backward\n111 111 open\n");
    EXPECT_EQ(rowsOf(database, "pauses", {"start_tsc", "end_tsc"}), "51 60\n");
    EXPECT_EQ(m_store.facts->origin, -101);
    EXPECT_EQ(m_store.facts->firstTick, 1U);
    EXPECT_EQ(m_store.facts->lastTick, 111U);
}

TEST_F(ResultWriterTest, OrdersByStartAndTheLongestOfEqualOnesFirst) {
    slice(5, 9, "b1");
    slice(1, 2, "a");
    slice(5, 6, "b2");
    slice(3, 4, "c");
    slice(5, 99, "b3");
    slice(5, 9, "b4");
    EXPECT_EQ(rowsOf(finish(), "slice_data", {"rowid", "attr.name"}),
              "1 a\n2 c\n3 b3\n4 b1\n5 b4\n6 b2\n");
}

TEST_F(ResultWriterTest, AddsAnAttributeOnceByKey) {
    bool added = false;
    const int first = m_writer->attribute(TableId::thread, "k", {{"name", "one"}}, &added);
    EXPECT_TRUE(added);
    EXPECT_EQ(m_writer->attribute(TableId::thread, "k", {{"name", "two"}}, &added), first);
    EXPECT_FALSE(added);
    EXPECT_EQ(m_writer->find(TableId::thread, "k"), first);
    EXPECT_EQ(m_writer->find(TableId::thread, "other"), -1);
    EXPECT_EQ(m_writer->find(TableId::process, "k"), -1);
    EXPECT_TRUE(m_writer->update(TableId::thread, first, {"name", "late"}));
    EXPECT_FALSE(m_writer->update(TableId::thread, first, {"no column", "x"}));
    EXPECT_FALSE(m_writer->update(TableId::thread, first + 1, {"name", "x"}));
    EXPECT_EQ(m_writer->attribute(TableId::sliceData, "k", {}), -1);
    slice(0, 1, "a");
    EXPECT_EQ(rowsOf(finish(), "dd_thread", {"rowid", "name"}), "1 late\n");
}

TEST_F(ResultWriterTest, LabelsRowsByTheirProcess) {
    const int process = m_writer->attribute(TableId::process, "p", {{"name", "viewer"}});
    m_writer->attribute(TableId::thread, "1", {{"name", "main"}, {"dd_process", process}});
    m_writer->attribute(TableId::thread, "2", {{"name", "own"}, {"label", "my label"}});
    m_writer->attribute(TableId::thread, "3", {{"name", "orphan"}});
    slice(0, 1, "a");
    storelink1::IDatabase& database = finish();
    EXPECT_EQ(rowsOf(database, "dd_thread", {"label"}), "viewer / main\nmy label\norphan\n");
    EXPECT_EQ(rowsOf(database, "dd_process", {"label"}), "viewer\n");
}

TEST_F(ResultWriterTest, GivesBandsTheWholeTraceOrTheirLifeTime) {
    const int whole = thread("a");
    EXPECT_EQ(thread("a"), whole);
    const int id = m_writer->find(TableId::thread, "a");
    const int life = m_writer->addBand(TableId::thread, id, 20, 60);
    EXPECT_NE(life, whole);
    EXPECT_EQ(m_writer->band(TableId::task, 1), -1);
    slice(10, 50, "x");
    EXPECT_EQ(rowsOf(finish(), "dd_band", {"dd_thread", "dd_counter", "start_tsc", "end_tsc"}),
              "1 - 1 50\n1 - 11 50\n");
}

TEST_F(ResultWriterTest, MakesNoTableWithoutRows) {
    slice(0, 1, "a");
    storelink1::IDatabase& database = finish();
    EXPECT_TRUE(database.isTableExist("slice_data"));
    EXPECT_TRUE(database.isTableExist("dd_band"));
    for (const char* table : {"marker_data", "counter_data", "dd_counter", "args", "pauses"})
        EXPECT_FALSE(database.isTableExist(table)) << table;
}

TEST_F(ResultWriterTest, LeavesOutArgumentsThatAreTooLong) {
    EXPECT_GT(m_writer->addArgs(std::string(ResultWriter::kMaxArgs, 'x')), 0);
    EXPECT_EQ(m_writer->droppedArgs(), 0U);
    EXPECT_EQ(m_writer->addArgs(std::string(ResultWriter::kMaxArgs + 1, 'x')), -1);
    EXPECT_EQ(m_writer->droppedArgs(), 1U);
    EXPECT_FALSE(m_writer->error().failed());
}

TEST_F(ResultWriterTest, RefusesTimesWhoseDifferencesOverflow) {
    EXPECT_FALSE(slice(kMaxTime + 1, kMaxTime + 2, "late"));
    EXPECT_FALSE(slice(-kMaxTime - 1, 0, "early"));
    EXPECT_FALSE(m_writer->addPause(0, kMaxTime + 1));
    InstanceRow flow;
    flow.sourceBegin = kMaxTime + 1;
    EXPECT_FALSE(m_writer->add(TableId::flowData, flow));
    EXPECT_TRUE(slice(-kMaxTime, -kMaxTime + 1, "first"));
    EXPECT_TRUE(slice(kMaxTime - 1, kMaxTime, "last"));
    EXPECT_FALSE(finish().isTableExist("flow_data"));
    EXPECT_EQ(m_store.facts->lastTick, std::uint64_t{1} << 62);
}

TEST_F(ResultWriterTest, RoundsValuesOfCountersIntoTheirCount) {
    InstanceRow row;
    row.end = 1;
    for (const double value : {2.5, -0.4, 1e300, std::nan("")}) {
        row.value = value;
        m_writer->add(TableId::counterData, row);
    }
    EXPECT_EQ(rowsOf(finish(), "counter_data", {"count"}), "3\n0\n9200000000000000000\n0\n");
}

TEST_F(ResultWriterTest, AsksForAClock) {
    m_writer->setFact(result_keys::kTicksPerSecond, "999");
    EXPECT_FALSE(m_writer->setFact(result_keys::kOrigin, "5"));
    EXPECT_FALSE(m_writer->finish());
    EXPECT_EQ(m_writer->error().kind, StoreError::Kind::notUnderstood);
    m_writer.reset();
    EXPECT_TRUE(m_directory.names().empty());
}

TEST_F(ResultWriterTest, MakesAResultOfNothing) {
    finish();
    EXPECT_EQ(m_store.facts->firstTick, 1U);
    EXPECT_EQ(m_store.facts->lastTick, 1U);
}

TEST_F(ResultWriterTest, LeavesNothingWithoutFinish) {
    slice(0, 1, "a");
    EXPECT_EQ(m_directory.names().size(), 1U);
    m_writer.reset();
    EXPECT_TRUE(m_directory.names().empty());
}

TEST_F(ResultWriterTest, LeavesNothingWhenCancelled) {
    for (int i = 0; i < 200; ++i)
        slice(i, i + 1, "a");
    const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(3);
    EXPECT_FALSE(m_writer->finish(progress.get()));
    EXPECT_EQ(m_writer->error().kind, StoreError::Kind::cancelled);
    EXPECT_FALSE(slice(0, 1, "a"));
    EXPECT_FALSE(m_writer->finish());
    m_writer.reset();
    EXPECT_TRUE(m_directory.names().empty());
}

}  // namespace
}  // namespace lanefeed_runtime
