// Bulk reads against the record sets of the same paths.
#include "store/instance_reader.h"

#include "support/cancel_at_poll.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lanefeed_runtime {
namespace {

using Outcome = InstanceReader::Outcome;

constexpr const char* kTrace = R"(
    process viewer
    thread main    0..100 a  10..12 b*3
    process other
    thread worker  5..50 c
    counter load   0=5  10=7.5
    marker worker  5 gc
)";

class InstanceReaderTest : public testing::Test {
protected:
    InstanceColumns read(const InstanceRequest& request, Outcome expected = Outcome::done) {
        InstanceColumns columns;
        m_error.clear();
        EXPECT_EQ(m_result.store().instances->read(request, columns, nullptr, m_error), expected)
            << m_error;
        return columns;
    }

    lanefeed_test::TextResult m_result{kTrace};
    std::string m_error;
};

TEST_F(InstanceReaderTest, ReadsWhatQueriesRead) {
    const std::vector<std::string> paths = {"dd_band::dd_thread", "dd_band::dd_thread.dd_process",
                                            "attr", "dd_band.start_tsc", "dd_band::dd_counter"};
    for (const char* table : {"slice_data", "counter_data", "marker_data"}) {
        const InstanceColumns columns = read({table, paths, "", true});
        const auto query = m_result.database().createQuery(table, 0);
        for (const char* column : {"start_tsc", "end_tsc", "attr", "dd_band", "count"})
            query->addColumn(column);
        for (const std::string& path : paths)
            query->addColumn(path);
        std::size_t row = 0;
        const auto idOf = [](const basekit2::variant_t& value) {
            return value.is_null() ? -1 : value.get<basekit2::s32_t>();
        };
        for (const auto set = query->execute(); !set->atEnd(); set->next(), ++row) {
            const storelink1::IConstRecord& record = *set->current();
            ASSERT_LT(row, columns.start.size());
            EXPECT_EQ(columns.start[row], record[0].get<basekit2::u64_t>());
            EXPECT_EQ(columns.end[row], record[1].get<basekit2::u64_t>());
            EXPECT_EQ(static_cast<int>(columns.attr[row]), idOf(record[2]));
            EXPECT_EQ(columns.band[row], idOf(record[3]));
            EXPECT_EQ(columns.count[row], record[4].get<basekit2::s64_t>());
            for (std::size_t i = 0; i < paths.size(); ++i) {
                EXPECT_EQ(columns.ids[i][row], idOf(record[static_cast<basekit2::u16_t>(5 + i)]))
                    << paths[i];
            }
        }
        EXPECT_EQ(columns.start.size(), row);
        EXPECT_EQ(m_result.store().instances->rowCount(table), row);
    }
}

TEST_F(InstanceReaderTest, ReadsNumbersAlongAPath) {
    EXPECT_EQ(read({"counter_data", {}, "value", false}).number, (std::vector<double>{5, 7.5}));
    EXPECT_EQ(read({"slice_data", {}, "dd_band::dd_thread.dd_process.pid", false}).number,
              (std::vector<double>{1, 2, 1}));
    const std::vector<double> none = read({"slice_data", {}, "dd_category", false}).number;
    ASSERT_EQ(none.size(), 3U);
    EXPECT_TRUE(std::isnan(none[0]));
    EXPECT_TRUE(read({"slice_data", {}, "", false}).number.empty());
}

TEST_F(InstanceReaderTest, TellsWhyThereIsNothing) {
    EXPECT_TRUE(read({"flow_data", {}, "", false}, Outcome::noTable).start.empty());
    read({"nothing", {}, "", false}, Outcome::noTable);
    read({"dd_task", {}, "", false}, Outcome::noTable);
    read({"slice_data", {"attr", "nothing"}, "", false}, Outcome::unknownPath);
    EXPECT_NE(m_error.find("nothing"), std::string::npos);
    read({"slice_data", {}, "nothing", false}, Outcome::unknownPath);
    InstanceColumns columns;
    const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
    EXPECT_EQ(m_result.store().instances->read({"slice_data", {}, "", false}, columns,
                                               progress.get(), m_error),
              Outcome::cancelled);
    EXPECT_TRUE(columns.start.empty());
}

TEST_F(InstanceReaderTest, KnowsPathsTablesAndTexts) {
    InstanceReader& reader = *m_result.store().instances;
    EXPECT_TRUE(reader.knowsPath("slice_data", "dd_band::dd_thread"));
    EXPECT_TRUE(reader.knowsPath("flow_data", "multi_band_index.dd_thread"));
    EXPECT_FALSE(reader.knowsPath("slice_data", "dd_band::nothing"));
    EXPECT_FALSE(reader.knowsPath("nothing", "attr"));
    EXPECT_EQ(reader.leafTable("slice_data", "dd_band::dd_thread.dd_process"), "dd_process");
    EXPECT_EQ(reader.leafTable("slice_data", "attr"), "dd_task");
    EXPECT_EQ(reader.leafTable("slice_data", "attr.name"), "");
    EXPECT_EQ(reader.leafTable("slice_data", "nothing"), "");
    EXPECT_EQ(reader.texts("dd_task.name"), (std::vector<std::string>{"", "a", "b", "c"}));
    EXPECT_EQ(reader.texts("dd_band::dd_thread.dd_process.name"),
              (std::vector<std::string>{"", "viewer", "other", ""}));
    EXPECT_TRUE(reader.texts("nothing").empty());
}

TEST_F(InstanceReaderTest, OutlivesTheDatabase) {
    std::shared_ptr<InstanceReader> reader;
    {
        lanefeed_test::TextResult result(kTrace);
        reader = result.store().instances;
    }
    InstanceColumns columns;
    EXPECT_EQ(reader->read({"slice_data", {}, "", false}, columns, nullptr, m_error),
              Outcome::done);
    EXPECT_EQ(columns.start.size(), 3U);
}

}  // namespace
}  // namespace lanefeed_runtime
