// A disk that fails at any write leaves no new file and the old result as it was.
#include "store/open_store.h"
#include "store/result_writer.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <sys/resource.h>

namespace lanefeed_runtime {
namespace {

class DiskFullTest : public testing::Test {
protected:
    void SetUp() override { lanefeed_test::writeTraceText(m_file, "thread old 0..5 old"); }

    // Small memories, so that pages and runs go to disk while rows still come.
    StoreError write() {
        WriterOptions options;
        options.target = m_file;
        options.sourceIdentity = "trace text";
        options.sortMemory = 50000;
        options.cacheMemory = 16384;
        StoreError error;
        const auto writer = ResultWriter::create(options, error);
        if (writer == nullptr) return error;
        const int thread = writer->attribute(TableId::thread, "t", {{"name", "t"}});
        const int band = writer->band(TableId::thread, thread);
        for (int i = 0; i < 3000; ++i) {
            InstanceRow row;
            row.begin = i * 37 % 3000;
            row.end = row.begin + 5;
            row.band = band;
            row.attr = writer->named(TableId::task, "task " + std::to_string(i % 500));
            if (i % 3 == 0) row.args = writer->addArgs("{\"number\":" + std::to_string(i) + "}");
            writer->add(TableId::sliceData, row);
        }
        writer->addPause(10, 20);
        writer->setFact(result_keys::kTicksPerSecond, "1000");
        const bool finished = writer->finish();
        EXPECT_EQ(finished, !writer->error().failed());
        return writer->error();
    }

    std::string bytes() const {
        std::ostringstream out;
        out << std::ifstream(m_file, std::ios::binary).rdbuf();
        return out.str();
    }

    void expectOnlyOld(const std::string& old, const StoreError& error) const {
        EXPECT_EQ(error.kind, StoreError::Kind::cannotWrite);
        EXPECT_NE(error.text.find(m_file), std::string::npos);
        EXPECT_EQ(m_directory.names(), std::vector<std::string>{"r.lft"});
        EXPECT_TRUE(bytes() == old);
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("r.lft");
};

// The write that goes beyond the limit fails, be it into the result or into a file of sorted runs.
TEST_F(DiskFullTest, FailsAtAnySizeAlike) {
    const std::string old = bytes();
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlim_t allowed = 0;
    for (bool isDone = false; !isDone; allowed += 5000) {
        rlimit limit = before;
        limit.rlim_cur = allowed;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const StoreError error = write();
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        isDone = !error.failed();
        if (!isDone) expectOnlyOld(old, error);
        if (HasFailure()) FAIL() << "at " << allowed << " bytes: " << error.text;
    }
    std::signal(SIGXFSZ, oldAction);
    // Otherwise the loop has not tried much.
    EXPECT_GT(allowed, 100000U);
    EXPECT_FALSE(bytes() == old);
}

}  // namespace
}  // namespace lanefeed_runtime
