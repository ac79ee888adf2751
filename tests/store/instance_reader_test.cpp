// Bulk reads: numbers along paths, and why there are none. Whole answers that are made of them are
// compared with plain statements in tests/agreement.
#include "store/instance_reader.h"

#include "support/cancel_at_poll.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lanefeed_runtime {
namespace {

using Outcome = InstanceReader::Outcome;

class InstanceReaderTest : public testing::Test {
protected:
    InstanceColumns read(const InstanceRequest& request, Outcome expected = Outcome::done) {
        InstanceColumns columns;
        m_error.clear();
        EXPECT_EQ(m_reader->read(request, columns, m_progress.get(), m_error), expected) << m_error;
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
    basekit2::sptr_t<relay2::IProgress> m_progress;
    std::string m_error;
};

TEST_F(InstanceReaderTest, ReadsNumbersAlongAPath) {
    EXPECT_EQ(read({"counter_data", {}, "value", false}).number, (std::vector<double>{5, 7.5}));
    EXPECT_EQ(read({"slice_data", {}, "dd_band::dd_thread.dd_process.pid", false}).number,
              (std::vector<double>{1, 2, 1}));
    EXPECT_TRUE(std::isnan(read({"slice_data", {}, "dd_category", false}).number.at(2)));
    EXPECT_TRUE(read({"slice_data", {}, "", false}).number.empty());
}

TEST_F(InstanceReaderTest, TellsWhyThereIsNothing) {
    for (const char* table : {"flow_data", "nothing", "dd_task"})
        read({table, {}, "", false}, Outcome::noTable);
    read({"slice_data", {"attr", "nothing"}, "", false}, Outcome::unknownPath);
    EXPECT_NE(m_error.find("nothing"), std::string::npos);
    read({"slice_data", {}, "nothing", false}, Outcome::unknownPath);
    m_progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
    EXPECT_TRUE(read({"slice_data", {}, "", false}, Outcome::cancelled).start.empty());
}

}  // namespace
}  // namespace lanefeed_runtime
