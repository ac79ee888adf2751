// Bulk reads against the record sets of the same paths.
#include "store/instance_reader.h"

#include "support/cancel_at_poll.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fmt/format.h>

namespace lanefeed_runtime {
namespace {

using Outcome = InstanceReader::Outcome;
using Texts = std::vector<std::string>;

class InstanceReaderTest : public testing::Test {
protected:
    InstanceColumns read(const InstanceRequest& request, Outcome expected = Outcome::done) {
        InstanceColumns columns;
        m_error.clear();
        EXPECT_EQ(m_reader->read(request, columns, nullptr, m_error), expected) << m_error;
        return columns;
    }

    lanefeed_test::TextResult m_result{R"(
        process viewer
        thread main    0..100 a  10..12 b*3
        process other
        thread worker  5..50 c
        counter load   0=5  10=7.5
        marker worker  5 gc
    )"};
    std::shared_ptr<InstanceReader> m_reader = m_result.store().instances;
    std::string m_error;
};

TEST_F(InstanceReaderTest, ReadsWhatQueriesRead) {
    const Texts paths = {"dd_band::dd_thread", "dd_band::dd_thread.dd_process", "attr",
                         "dd_band.start_tsc", "dd_band::dd_counter"};
    Texts columns = {"start_tsc", "end_tsc", "attr", "dd_band", "count"};
    columns.insert(columns.end(), paths.begin(), paths.end());
    for (const char* table : {"slice_data", "counter_data", "marker_data"}) {
        const InstanceColumns read = this->read({table, paths, "", true});
        std::string text;
        for (std::size_t row = 0; row < read.start.size(); ++row) {
            text += fmt::format("{} {} {} {} {}", read.start[row], read.end[row],
                                static_cast<int>(read.attr[row]), read.band[row], read.count[row]);
            for (const auto& ids : read.ids)
                text += ids[row] == -1 ? " -" : fmt::format(" {}", ids[row]);
            text += "\n";
        }
        EXPECT_EQ(text, lanefeed_test::rowsOf(m_result.database(), table, columns));
        EXPECT_EQ(m_reader->rowCount(table), read.start.size());
    }
}

TEST_F(InstanceReaderTest, ReadsNumbersAlongAPath) {
    EXPECT_EQ(read({"counter_data", {}, "value", false}).number, (std::vector<double>{5, 7.5}));
    EXPECT_EQ(read({"slice_data", {}, "dd_band::dd_thread.dd_process.pid", false}).number,
              (std::vector<double>{1, 2, 1}));
    EXPECT_TRUE(std::isnan(read({"slice_data", {}, "dd_category", false}).number.at(2)));
    EXPECT_TRUE(read({"slice_data", {}, "", false}).number.empty());
}

TEST_F(InstanceReaderTest, TellsWhyThereIsNothing) {
    for (const char* table : {"flow_data", "nothing", "dd_task"})
        EXPECT_TRUE(read({table, {}, "", false}, Outcome::noTable).start.empty());
    read({"slice_data", {"attr", "nothing"}, "", false}, Outcome::unknownPath);
    EXPECT_NE(m_error.find("nothing"), std::string::npos);
    read({"slice_data", {}, "nothing", false}, Outcome::unknownPath);
    InstanceColumns columns;
    const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
    EXPECT_EQ(m_reader->read({"slice_data", {}, "", false}, columns, progress.get(), m_error),
              Outcome::cancelled);
    EXPECT_TRUE(columns.start.empty());
}

TEST_F(InstanceReaderTest, KnowsPathsTablesAndTextsAndOutlivesTheDatabase) {
    EXPECT_TRUE(m_reader->knowsPath("slice_data", "dd_band::dd_thread"));
    EXPECT_TRUE(m_reader->knowsPath("flow_data", "multi_band_index.dd_thread"));
    EXPECT_FALSE(m_reader->knowsPath("slice_data", "dd_band::nothing"));
    EXPECT_FALSE(m_reader->knowsPath("nothing", "attr"));
    EXPECT_EQ(m_reader->leafTable("slice_data", "dd_band::dd_thread.dd_process"), "dd_process");
    EXPECT_EQ(m_reader->leafTable("slice_data", "attr"), "dd_task");
    EXPECT_EQ(m_reader->leafTable("slice_data", "attr.name"), "");
    EXPECT_EQ(m_reader->leafTable("slice_data", "nothing"), "");
    EXPECT_EQ(m_reader->texts("dd_task.name"), (Texts{"", "a", "b", "c"}));
    EXPECT_EQ(m_reader->texts("dd_band::dd_thread.dd_process.name"),
              (Texts{"", "viewer", "other", ""}));
    EXPECT_TRUE(m_reader->texts("nothing").empty());
    m_result.store() = {};
    EXPECT_EQ(read({"slice_data", {}, "", false}).start.size(), 3U);
}

}  // namespace
}  // namespace lanefeed_runtime
