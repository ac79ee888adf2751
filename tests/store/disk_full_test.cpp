// A disk that fails at any write leaves no new file and the old result as it was.
#include "support/store_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace lanefeed_runtime {
namespace {

// Small memories, so that pages and runs go to disk while rows still come: starts 1 .. 3000.
StoreError write(const std::string& file) {
    StoreError error;
    const auto writer = ResultWriter::create({file, "trace text", false, 20000, 16384}, error);
    if (writer == nullptr) return error;
    for (int i = 0; i < 3000; ++i) {
        InstanceRow row;
        row.begin = i * 37 % 3000;
        row.attr = writer->named(TableId::task, "task " + std::to_string(i % 500));
        row.args = writer->addArgs("{\"number\":" + std::to_string(i) + "}");
        writer->add(TableId::sliceData, row);
    }
    writer->setFact(result_keys::kTicksPerSecond, "1000");
    const bool isDone = writer->finish();
    EXPECT_EQ(isDone, !writer->error().failed());
    return writer->error();
}

std::string startsOf(const std::string& file) {
    StoreError error;
    const OpenStore store = openStore(file, error);
    return lanefeed_test::rowsOf(*store.database, "slice_data", {"start_tsc"});
}

// The write that goes beyond the limit fails, be it into the result or into a file of sorted runs.
TEST(DiskFullTest, FailsAtAnySizeAlike) {
    const lanefeed_test::TempDirectory directory;
    const std::string file = directory.file("r.lft");
    lanefeed_test::writeTraceText(file, "thread old 0..5 old");
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit limit = before;
    for (limit.rlim_cur = 0;; limit.rlim_cur += 10000) {
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const StoreError error = write(file);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        if (!error.failed()) break;
        ASSERT_EQ(error.kind, StoreError::Kind::cannotWrite) << limit.rlim_cur;
        ASSERT_NE(error.text.find(file), std::string::npos) << error.text;
        ASSERT_EQ(directory.names(), std::vector<std::string>{"r.lft"}) << limit.rlim_cur;
        ASSERT_EQ(startsOf(file), "1\n") << limit.rlim_cur;
    }
    std::signal(SIGXFSZ, oldAction);
    // Otherwise the loop has not tried much.
    EXPECT_GT(limit.rlim_cur, 100000U);
    EXPECT_NE(startsOf(file).find("\n2999\n3000\n"), std::string::npos);
}

}  // namespace
}  // namespace lanefeed_runtime
