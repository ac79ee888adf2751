// Files that are no good: each gets its own words, none gets the process down.
#include "store/open_store.h"

#include "store/instance_reader.h"
#include "store/result_facts.h"
#include "store/schema.h"
#include "support/captured_log.h"
#include "support/random_seed.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

namespace fs = std::filesystem;
using Kind = StoreError::Kind;

class OpenStoreTest : public testing::Test {
protected:
    static std::string result() {
        std::string text = "process p\n";
        for (int i = 0; i < 300; ++i) {
            const std::string n = std::to_string(i);
            text += "thread t" + std::to_string(i % 7) + " " + n + ".." + std::to_string(i + 9) +
                    " task" + n + "{\"n\":" + n + "}\n";
        }
        const lanefeed_test::TempDirectory directory;
        lanefeed_test::writeTraceText(directory.file("r.lft"), text + "pause 3..5\n");
        std::ostringstream out;
        out << std::ifstream(directory.file("r.lft"), std::ios::binary).rdbuf();
        return out.str();
    }

    StoreError open(const std::string& bytes) {
        std::ofstream(m_file, std::ios::binary | std::ios::trunc) << bytes;
        StoreError error;
        const OpenStore store = openStore(m_file, error);
        EXPECT_EQ(store.failed(), error.failed());
        return error;
    }

    // Bytes of a result with one number of its head changed.
    static std::string withNumber(std::string bytes, std::size_t at, std::uint32_t number) {
        for (int i = 0; i < 4; ++i)
            bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(number >> (24 - 8 * i));
        return bytes;
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("x.lft");
};

TEST_F(OpenStoreTest, OpensAWholeResult) {
    const std::string whole = result();
    const StoreError error = open(whole);
    EXPECT_FALSE(error.failed()) << error.text;
    StoreError again;
    const OpenStore store = openStore(m_file, again);
    EXPECT_EQ(store.facts->ticksPerSecond, 1000000000U);
    EXPECT_EQ(store.facts->entry("source_identity"), "trace text");
    EXPECT_EQ(store.facts->entry("no such key"), "");
    // Reading leaves the file and its folder alone.
    lanefeed_test::rowsOf(*store.database, "slice_data", {"attr.name"});
    EXPECT_EQ(m_directory.names(), std::vector<std::string>{"x.lft"});
    EXPECT_EQ(fs::file_size(m_file), whole.size());
}

TEST_F(OpenStoreTest, TellsWrongFilesApart) {
    const std::string whole = result();
    StoreError error;
    openStore(m_directory.file("none.lft"), error);
    EXPECT_EQ(error.kind, Kind::cannotRead);
    EXPECT_NE(error.text.find("none.lft"), std::string::npos);
    openStore(m_directory.path(), error);
    EXPECT_EQ(error.kind, Kind::cannotRead);
    EXPECT_NE(error.text.find("is no file"), std::string::npos);
    struct Case {
        std::string bytes;
        const char* words;
    };
    const std::vector<Case> cases = {
        {"", "is empty"},
        {"{\"traceEvents\":[]}", "is no result"},
        {std::string(5000, '\0'), "is no result"},
        {withNumber(whole, 68, 0), "is no result"},
        {withNumber(whole, 60, 99), "has schema version 99"},
        {whole.substr(0, whole.size() - 1), "is cut off"},
        {whole.substr(0, 4096), "is cut off"},
    };
    for (const Case& c : cases) {
        error = open(c.bytes);
        EXPECT_EQ(error.kind, Kind::notUnderstood) << c.words;
        EXPECT_NE(error.text.find(c.words), std::string::npos) << error.text;
        EXPECT_NE(error.text.find(m_file), std::string::npos) << error.text;
    }
}

TEST_F(OpenStoreTest, DoesNotWaitForAPipe) {
    ASSERT_EQ(::mkfifo(m_file.c_str(), 0600), 0);
    StoreError error;
    EXPECT_TRUE(openStore(m_file, error).failed());
    EXPECT_EQ(error.kind, Kind::cannotRead);
}

TEST_F(OpenStoreTest, TellsThatAFileMayNotBeRead) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may read everything";
    open(result());
    ::chmod(m_file.c_str(), 0);
    StoreError error;
    EXPECT_TRUE(openStore(m_file, error).failed());
    EXPECT_EQ(error.kind, Kind::cannotRead);
}

TEST_F(OpenStoreTest, RefusesADatabaseThatIsNoWholeResult) {
    // The head of a result on a database without its tables: cut down to one empty page.
    std::string bytes = withNumber(result().substr(0, 4096), 28, 1);
    std::fill(bytes.begin() + 100, bytes.end(), '\0');
    bytes[100] = 13;  // an empty leaf page
    bytes[105] = 16;  // its content starts at 4096
    const StoreError error = open(bytes);
    EXPECT_EQ(error.kind, Kind::notUnderstood) << error.text;
    EXPECT_NE(error.text.find("is damaged"), std::string::npos) << error.text;
}

// Whatever stands in the file: an answer or an error, and a word in the log when a read broke off.
TEST_F(OpenStoreTest, StandsDamagedFiles) {
    const std::string whole = result();
    std::mt19937 random(lanefeed_test::randomSeed());
    const lanefeed_test::CapturedLog log;
    int broken = 0;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        const int changes = 1 + static_cast<int>(random() % 40);
        for (int i = 0; i < changes; ++i)
            bytes[100 + random() % (bytes.size() - 100)] = static_cast<char>(random());
        StoreError error;
        std::ofstream(m_file, std::ios::binary | std::ios::trunc) << bytes;
        OpenStore store = openStore(m_file, error);
        if (store.failed()) {
            EXPECT_NE(error.kind, Kind::none);
            ++broken;
            continue;
        }
        lanefeed_test::rowsOf(*store.database, "slice_data",
                              {"start_tsc", "attr.name", "args.json", "dd_band::dd_thread.label"});
        InstanceColumns columns;
        std::string text;
        const InstanceRequest request = {"slice_data", {"dd_band::dd_thread"}, "", true};
        if (store.instances->read(request, columns, nullptr, text) ==
            InstanceReader::Outcome::failed) {
            EXPECT_FALSE(text.empty());
            EXPECT_TRUE(columns.start.empty());
            ++broken;
        }
        const auto names = store.database->createAttributeRetriever("dd_task.name", true);
        basekit2::variant_t value;
        if (!names.is_null()) names->getValue(5, value);
    }
    // Otherwise the files were not damaged where it matters.
    EXPECT_GT(broken, 10);
}

}  // namespace
}  // namespace lanefeed_runtime
