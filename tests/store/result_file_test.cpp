// Which old files give way to a new result, and what is left behind when things go wrong.
#include "store/result_facts.h"
#include "store/result_writer.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

namespace fs = std::filesystem;
using Kind = StoreError::Kind;

class ResultFileTest : public testing::Test {
protected:
    // Tries to put a result of one slice in place.
    StoreError write(const std::string& identity, bool force = false) {
        StoreError error;
        const auto writer = ResultWriter::create({m_file, identity, force}, error);
        if (writer == nullptr) return error;
        lanefeed_test::addTraceText(*writer, "thread main 0..1 a");
        writer->setFact(result_keys::kTicksPerSecond, "1000");
        if (!m_inBetween.empty()) put("r.lft", m_inBetween);
        writer->finish();
        return writer->error();
    }

    void put(const std::string& name, const std::string& text) {
        std::ofstream(m_directory.file(name)) << text;
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("r.lft");
    std::string m_inBetween;  // what comes to stand there while a result is written
};

TEST_F(ResultFileTest, ReplacesTheSameSourceAndAnotherWhenTold) {
    ASSERT_FALSE(write("a").failed());
    const StoreError refused = write("b");
    EXPECT_EQ(refused.kind, Kind::exists);
    EXPECT_NE(refused.text.find(m_file), std::string::npos);
    EXPECT_FALSE(write("a").failed()) << "still that of a";
    EXPECT_FALSE(write("", true).failed());
    EXPECT_EQ(write("").kind, Kind::exists) << "no identity is none to agree on";
    EXPECT_EQ(m_directory.names(), std::vector<std::string>{"r.lft"});
}

TEST_F(ResultFileTest, NeverReplacesWhatIsNoResult) {
    for (const std::string& text : {std::string(), std::string(200, 'x')}) {
        put("r.lft", text);
        EXPECT_EQ(write("a", true).kind, Kind::exists) << text;
        EXPECT_EQ(fs::file_size(m_file), text.size());
    }
    fs::remove(m_file);
    m_inBetween = "came in between";
    EXPECT_EQ(write("a").kind, Kind::exists);
    EXPECT_EQ(fs::file_size(m_file), m_inBetween.size());
    fs::remove(m_file);
    fs::create_directory(m_file);
    EXPECT_EQ(write("a", true).kind, Kind::exists);
    EXPECT_TRUE(fs::is_directory(m_file));
}

TEST_F(ResultFileTest, ReplacesWhatALinkPointsTo) {
    const std::string real = m_directory.file("real.lft");
    fs::create_symlink("real.lft", m_directory.file("near.lft"));
    fs::create_symlink(m_directory.file("near.lft"), m_file);
    // At first there is nothing behind the links.
    for (int i = 0; i < 2; ++i) {
        ASSERT_FALSE(write("a").failed());
        EXPECT_TRUE(fs::is_symlink(m_file) && fs::is_regular_file(fs::symlink_status(real)));
    }
}

TEST_F(ResultFileTest, ClearsWhatADeadProcessLeft) {
    char host[256] = {};
    ASSERT_EQ(::gethostname(host, sizeof host - 1), 0);
    std::string name = host;
    std::replace(name.begin(), name.end(), '.', '-');
    // No process has a number above the system's limit of 2^22.
    const std::string dead = "r.lft." + name + ".99999999.1.part";
    put(dead, "dead");
    put("r.lft." + name + "." + std::to_string(::getpid()) + ".77.part", "alive");
    put("r.lft.elsewhere.99999999.1.part", "another host");
    put("other.lft." + name + ".99999999.1.part", "another target");
    put("r.lft." + name + ".99999999x.part", "no name of ours");
    ASSERT_FALSE(write("a").failed());
    EXPECT_EQ(m_directory.names().size(), 5U);
    EXPECT_FALSE(fs::exists(m_directory.file(dead)));
}

TEST_F(ResultFileTest, SaysWhereItCannotBeWritten) {
    m_file = m_directory.file("no/such/r.lft");
    const StoreError error = write("a");
    EXPECT_EQ(error.kind, Kind::cannotWrite);
    EXPECT_NE(error.text.find(m_file), std::string::npos);
    EXPECT_NE(error.text.find("No such file"), std::string::npos);
}

}  // namespace
}  // namespace lanefeed_runtime
