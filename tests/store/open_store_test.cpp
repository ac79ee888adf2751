// Files that are no good: each gets its own words, none gets the process down.
#include "store/open_store.h"

#include "store/instance_reader.h"
#include "store/sqlite_handle.h"
#include "support/captured_log.h"
#include "support/random_seed.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

using Kind = StoreError::Kind;

// Bytes of a result.
std::string wholeResult() {
    std::string text = "process p\n";
    for (int i = 0; i < 300; ++i) {
        const std::string n = std::to_string(i);
        text += "thread t" + std::to_string(i % 7) + " " + n + ".." + std::to_string(i + 9) +
                " task" + n + "{\"n\":" + n + "}\n";
    }
    const lanefeed_test::TextResult result(text + "pause 3..5\n");
    std::ostringstream out;
    out << std::ifstream(result.file(), std::ios::binary).rdbuf();
    return out.str();
}

// With one number of the head changed.
std::string withNumber(std::string bytes, std::size_t at, std::uint32_t number) {
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>(number >> (24 - 8 * i));
    return bytes;
}

class OpenStoreTest : public testing::Test {
protected:
    OpenStore open() {
        m_error = {};
        OpenStore store = openStore(m_file, m_error);
        EXPECT_EQ(store.failed(), m_error.failed());
        return store;
    }
    OpenStore open(const std::string& bytes) {
        std::ofstream(m_file, std::ios::binary | std::ios::trunc) << bytes;
        return open();
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("x.lft");
    StoreError m_error;
    const std::string m_whole = wholeResult();
};

TEST_F(OpenStoreTest, TellsWrongFilesApart) {
    const std::pair<std::string, const char*> cases[] = {
        {"", "is empty"},
        {"{\"traceEvents\":[]}", "is no result"},
        {std::string(5000, '\0'), "is no result"},
        {withNumber(m_whole, 68, 0), "is no result"},
        {withNumber(m_whole, 60, 99), "has schema version 99"},
        {m_whole.substr(0, m_whole.size() - 1), "is cut off"},
        {m_whole.substr(0, 4096), "is cut off"},
        {m_whole.substr(0, 100) + std::string(m_whole.size() - 100, '\0'), "is damaged"}};
    for (const auto& [bytes, words] : cases) {
        open(bytes);
        EXPECT_EQ(m_error.kind, Kind::notUnderstood) << words;
        EXPECT_NE(m_error.text.find(words), std::string::npos) << m_error.text;
        EXPECT_NE(m_error.text.find(m_file), std::string::npos) << m_error.text;
    }
}

TEST_F(OpenStoreTest, TellsWhatCannotBeRead) {
    ASSERT_EQ(::mkfifo(m_directory.file("pipe").c_str(), 0600), 0);
    for (const auto& [file, words] : {std::pair{m_directory.file("none.lft"), "none.lft"},
                                      {m_directory.path(), "is no file"},
                                      {m_directory.file("pipe"), "pipe"}}) {
        m_file = file;
        open();
        EXPECT_EQ(m_error.kind, Kind::cannotRead) << file;
        EXPECT_NE(m_error.text.find(words), std::string::npos) << m_error.text;
    }
    if (::geteuid() == 0) return;  // may read everything
    m_file = m_directory.file("x.lft");
    open(m_whole);
    ::chmod(m_file.c_str(), 0);
    open();
    EXPECT_EQ(m_error.kind, Kind::cannotRead);
}

TEST_F(OpenStoreTest, RefusesNumbersThatCannotBe) {
    for (const char* change :
         {"update result set value = '9223372036854775807' where key = 'origin'",
          "update result set value = '18446744073709551615' where key = 'last_tick'",
          "update pauses set end_tsc = 1", "update pauses set start_tsc = null",
          "update dd_band set rowid = 268435455 where rowid = 2"}) {
        std::ofstream(m_file, std::ios::binary | std::ios::trunc) << m_whole;
        std::string error;
        ASSERT_TRUE(Connection::open(m_file, Connection::Mode::write, error)->run(change));
        open();
        EXPECT_NE(m_error.text.find("is damaged"), std::string::npos) << change;
    }
}

// Whatever stands in the file: an answer or an error, and a word in the log when a read broke off.
TEST_F(OpenStoreTest, StandsDamagedFiles) {
    std::mt19937 random(lanefeed_test::randomSeed());
    const lanefeed_test::CapturedLog log;
    int broken = 0;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = m_whole;
        for (std::size_t changes = 1 + random() % 40; changes > 0; --changes)
            bytes[100 + random() % (bytes.size() - 100)] = static_cast<char>(random());
        const OpenStore store = open(bytes);
        if (store.failed()) {
            ++broken;
            continue;
        }
        lanefeed_test::rowsOf(*store.database, "slice_data",
                              {"start_tsc", "attr.name", "args.json", "dd_band::dd_thread.label"});
        InstanceColumns columns;
        std::string text;
        if (store.instances->read({"slice_data", {"dd_band::dd_thread"}, "", true}, columns,
                                  nullptr, text) == InstanceReader::Outcome::failed) {
            EXPECT_TRUE(!text.empty() && columns.start.empty());
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
