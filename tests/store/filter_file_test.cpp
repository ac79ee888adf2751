// Filters in the file of a result: what is written is read back to the same meaning, and what can't
// be written leaves the old ones whole.
#include "store/filter_file.h"

#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "store/sqlite_handle.h"
#include "support/filter_words.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

NamedFilter filterOf(const std::string& words) {
    const auto registry = basekit2::make_object<FilterRegistry>();
    EXPECT_TRUE(lanefeed_test::setFilter(*registry, "f", words)) << words;
    return registry->filter("f");
}

// A filter with everything that there is.
NamedFilter rich() {
    const std::string name = " slice_data::dd_task/name=";
    const std::string values = name + "null" + name + "-1" + name + "4611686018427387904" + name +
                               "0.1" + name + "''" + name + "'it's_\"\xF0\x9F\x99\x82\"'" + name +
                               "'" + std::string(20000, 'x') + "'";
    return filterOf("dd_band::dd_thread!=3 not( filter( ) filter(" + values + " ) any(" + values +
                    " ) none( ) ) @5..9 @-7..8 @0..18446744073709551615");
}

class FilterFileTest : public testing::Test {
protected:
    void SetUp() override {
        lanefeed_test::writeTraceText(m_file, "thread main 0..9 a 10..19 b\n");
    }

    OpenStore open() {
        StoreError error;
        OpenStore store = openStore(m_file, error);
        EXPECT_FALSE(error.failed()) << error.text;
        return store;
    }

    StoreError write(const FilterMap& filters) {
        return writeFilters(*open().facts, filters, m_isReadOnly);
    }

    static FilterRegistry& registryOf(const OpenStore& store) {
        return dynamic_cast<FilterRegistry&>(*store.filters);
    }
    // Names of the filters that an opened result has.
    Names names() { return registryOf(open()).names(); }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("trace.lft");
    bool m_isReadOnly = false;
};

TEST_F(FilterFileTest, ReadsBackWhatWasWritten) {
    NamedFilter onlyTime;
    onlyTime.time = basekit2::make_object<TimeFilter>(std::vector<TimeFilter::Range>());
    const NamedFilter written = rich();
    EXPECT_FALSE(write({{"global", written},
                        {"it's", onlyTime},
                        {"empty", {}},
                        {"timeline_filter_v_area_3", onlyTime},
                        {"lnfd_intervals_140737488355327", written},
                        {"restrictions_filter_dd_task", written}})
                     .failed());
    const OpenStore store = open();
    EXPECT_FALSE(store.filterError.failed()) << store.filterError.text;
    FilterRegistry& registry = registryOf(store);
    EXPECT_EQ(registry.names(), (Names{"global", "it's", "timeline_filter_v_area_3"}));
    EXPECT_FALSE(registry.filter("it's").time.is_null());
    const NamedFilter global = registry.filter("global");
    EXPECT_TRUE(global.query->root() == written.query->root());
    std::string ranges;
    for (const TimeFilter::Range& range : global.time->ranges())
        ranges += (range.excluded ? "-" : "") + std::to_string(range.ticks.start) + ".." +
                  std::to_string(range.ticks.end) + " ";
    EXPECT_EQ(ranges, "5..9 -7..8 0..18446744073709551615 ");
    // None is none, and leaves nothing beside the file.
    EXPECT_FALSE(write({}).failed());
    EXPECT_EQ(names(), Names());
    EXPECT_EQ(m_directory.names(), Names{"trace.lft"});
}

// The write that goes beyond the limit fails, in the journal or in the file itself; the latter
// can't be taken back before the limit is gone.
TEST_F(FilterFileTest, KeepsTheOldOnesWhenTheDiskFails) {
    ASSERT_FALSE(write({{"old", filterOf("@1..2")}}).failed());
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit limit = before;
    const auto facts = open().facts;
    for (limit.rlim_cur = 0;; limit.rlim_cur += 10000) {
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        const StoreError error = writeFilters(*facts, {{"new", rich()}}, m_isReadOnly);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        if (!error.failed()) break;
        ASSERT_EQ(error.kind, StoreError::Kind::cannotWrite);
        ASSERT_NE(error.text.find(m_file), std::string::npos) << error.text;
        ASSERT_EQ(names(), Names{"old"}) << limit.rlim_cur;
    }
    std::signal(SIGXFSZ, oldAction);
    EXPECT_GT(limit.rlim_cur, 30000U);
    EXPECT_EQ(names(), Names{"new"});
}

TEST_F(FilterFileTest, TellsOfAFileInUseOrReplaced) {
    ASSERT_FALSE(write({{"old", rich()}}).failed());
    const OpenStore store = open();
    const auto problem = [&] {
        return writeFilters(*store.facts, {{"new", rich()}}, m_isReadOnly).text;
    };
    {
        std::string message;
        const auto other = Connection::open(m_file, Connection::Mode::write, message);
        ASSERT_TRUE(other->run("begin exclusive"));
        EXPECT_NE(problem().find("another program"), std::string::npos) << problem();
        StoreError opening;
        openStore(m_file, opening);
        EXPECT_NE(opening.text.find("another program"), std::string::npos) << opening.text;
    }
    fs::remove(m_file);
    lanefeed_test::writeTraceText(m_file, "thread main 0..9 c 10..19 d 30..40 e\n");
    EXPECT_NE(problem().find("another result"), std::string::npos) << problem();
    fs::remove(m_file);
    EXPECT_TRUE(problem() != "" && m_directory.names().empty());
}

TEST_F(FilterFileTest, TellsOfAFileThatMayNotBeWritten) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everything";
    ::chmod(m_file.c_str(), 0400);
    EXPECT_TRUE(write({{"new", rich()}}).failed());
    EXPECT_TRUE(m_isReadOnly);
}

TEST_F(FilterFileTest, OpensAResultWhoseFiltersAreNotUnderstood) {
    ASSERT_FALSE(write({{"global", rich()}}).failed());
    std::ifstream in(m_file, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(in)), {});
    for (const char* sql :
         {"update filters set kind = 'some of' where level = 1 and kind <> 'is not'",
          "update filters set level = 99 where level = 2", "update filters set level = null",
          "alter table filters drop column suffix", "update filters set kind = 'include'"}) {
        SCOPED_TRACE(sql);
        std::ofstream(m_file, std::ios::binary) << whole;
        std::string message;
        EXPECT_TRUE(Connection::open(m_file, Connection::Mode::write, message)->run(sql));
        const OpenStore store = open();
        EXPECT_EQ(store.filterError.kind, StoreError::Kind::notUnderstood);
        EXPECT_NE(store.filterError.text.find(m_file), std::string::npos);
        EXPECT_FALSE(store.filters->hasFilter("global"));
        // New ones take their place.
        EXPECT_FALSE(write({{"new", rich()}}).failed());
        EXPECT_EQ(names(), Names{"new"});
    }
}

}  // namespace
}  // namespace lanefeed_runtime
