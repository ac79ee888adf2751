// Filters in the file of a result: what is written is read back to the same meaning, and what can't
// be written leaves the old ones whole.
#include "store/filter_file.h"

#include "store/filter_registry.h"
#include "store/result_facts.h"
#include "store/sqlite_handle.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

namespace fs = std::filesystem;
using basekit2::sptr_t;
using basekit2::variant_t;
using Condition = QueryFilter::Condition;
using Group = QueryFilter::Group;

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

    StoreError write(const FilterMap& filters, bool* readOnly = nullptr) {
        bool isReadOnly = false;
        const StoreError error = writeFilters(*open().facts, filters, isReadOnly);
        if (readOnly != nullptr) *readOnly = isReadOnly;
        return error;
    }

    // Names of the filters that an opened result has.
    std::vector<std::string> names() {
        const OpenStore store = open();
        return dynamic_cast<FilterRegistry&>(*store.filters).names();
    }

    NamedFilter read(const std::string& name) {
        const OpenStore store = open();
        EXPECT_FALSE(store.filterError.failed()) << store.filterError.text;
        return dynamic_cast<FilterRegistry&>(*store.filters).filter(name);
    }

    void change(const std::string& sql) {
        std::string error;
        const auto connection = Connection::open(m_file, Connection::Mode::write, error);
        ASSERT_NE(connection, nullptr) << error;
        ASSERT_TRUE(connection->run(sql)) << connection->message();
    }

    static NamedFilter rich() {
        const std::vector<variant_t> values = {variant_t(),
                                               variant_t(std::int64_t{-1}),
                                               variant_t(std::int64_t{1} << 62),
                                               variant_t(0.1),
                                               variant_t(""),
                                               variant_t("it's \"\xF0\x9F\x99\x82\"\n"),
                                               variant_t(std::string(100000, 'x'))};
        Group inner;
        for (const variant_t& value : values)
            inner.conditions.push_back({"slice_data", "dd_task", "name", false, value});
        Group group;
        group.kind = 2;
        group.groups = {inner, Group()};
        group.groups.back().kind = 0;
        group.filters = {basekit2::make_object<QueryFilter>(Group()),
                         basekit2::make_object<QueryFilter>(inner)};
        Group root;
        root.groups = {group};
        root.conditions.push_back({"dd_band", "dd_thread", "", true, variant_t(std::int64_t{3})});
        NamedFilter out;
        out.query = basekit2::make_object<QueryFilter>(root);
        out.time = basekit2::make_object<TimeFilter>(std::vector<TimeFilter::Range>{
            {{5, 9}, false}, {{7, 8}, true}, {{0, ~basekit2::u64_t{0}}, false}});
        return out;
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("trace.lft");
};

TEST_F(FilterFileTest, ReadsBackWhatWasWritten) {
    NamedFilter onlyTime;
    onlyTime.time = basekit2::make_object<TimeFilter>(std::vector<TimeFilter::Range>());
    const FilterMap filters = {{"global", rich()},
                               {"it's", onlyTime},
                               {"empty", {}},
                               {"timeline_filter_v_area_3", onlyTime},
                               {"required_data_filter_94021", rich()},
                               {"lnfd_intervals_140737488355327", rich()},
                               {"restrictions_filter_dd_task", rich()}};
    const StoreError error = write(filters);
    EXPECT_FALSE(error.failed()) << error.text;
    EXPECT_EQ(names(), (std::vector<std::string>{"global", "it's", "timeline_filter_v_area_3"}));
    const NamedFilter global = read("global");
    const NamedFilter written = rich();
    ASSERT_FALSE(global.isEmpty());
    EXPECT_TRUE(global.query->root() == written.query->root());
    ASSERT_EQ(global.time->ranges().size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(global.time->ranges()[i].ticks.start, written.time->ranges()[i].ticks.start);
        EXPECT_EQ(global.time->ranges()[i].ticks.end, written.time->ranges()[i].ticks.end);
        EXPECT_EQ(global.time->ranges()[i].excluded, written.time->ranges()[i].excluded);
    }
    EXPECT_FALSE(read("it's").time.is_null());
    // None is none, and leaves nothing beside the file.
    EXPECT_FALSE(write({}).failed());
    EXPECT_EQ(names(), std::vector<std::string>());
    EXPECT_EQ(m_directory.names(), std::vector<std::string>{"trace.lft"});
}

// The write that goes beyond the limit fails, in the journal or in the file itself; the latter
// can't be taken back before the limit is gone.
TEST_F(FilterFileTest, KeepsTheOldOnesWhenTheDiskFails) {
    ASSERT_FALSE(write({{"old", {nullptr, rich().time}}}).failed());
    const auto oldAction = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto facts = open().facts;
    int failures = 0;
    for (bool isDone = false; !isDone && !HasFailure();) {
        rlimit limit = before;
        limit.rlim_cur = static_cast<rlim_t>(failures) * 10000;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        bool isReadOnly = false;
        const StoreError error = writeFilters(*facts, {{"new", rich()}}, isReadOnly);
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
        isDone = !error.failed();
        if (isDone) break;
        ++failures;
        EXPECT_EQ(error.kind, StoreError::Kind::cannotWrite);
        EXPECT_NE(error.text.find(m_file), std::string::npos) << error.text;
        EXPECT_EQ(names(), std::vector<std::string>{"old"}) << limit.rlim_cur;
    }
    std::signal(SIGXFSZ, oldAction);
    EXPECT_GT(failures, 3);
    EXPECT_EQ(names(), std::vector<std::string>{"new"});
}

TEST_F(FilterFileTest, TellsOfAFileInUseOrReplaced) {
    ASSERT_FALSE(write({{"old", rich()}}).failed());
    const OpenStore store = open();
    {
        std::string message;
        const auto other = Connection::open(m_file, Connection::Mode::write, message);
        ASSERT_TRUE(other->run("begin exclusive"));
        bool isReadOnly = true;
        const StoreError error = writeFilters(*store.facts, {{"new", rich()}}, isReadOnly);
        EXPECT_NE(error.text.find("another program"), std::string::npos) << error.text;
        EXPECT_FALSE(isReadOnly);
        StoreError opening;
        openStore(m_file, opening);
        EXPECT_NE(opening.text.find("another program"), std::string::npos) << opening.text;
        // A change in progress is waited for.
        std::thread end([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            other->run("rollback");
        });
        EXPECT_EQ(names(), std::vector<std::string>{"old"});
        end.join();
    }
    fs::remove(m_file);
    lanefeed_test::writeTraceText(m_file, "thread main 0..9 c 10..19 d 30..40 e\n");
    bool isReadOnly = true;
    StoreError error = writeFilters(*store.facts, {{"new", rich()}}, isReadOnly);
    EXPECT_NE(error.text.find("another result"), std::string::npos) << error.text;
    fs::remove(m_file);
    error = writeFilters(*store.facts, {{"new", rich()}}, isReadOnly);
    EXPECT_TRUE(error.failed());
    EXPECT_TRUE(m_directory.names().empty());
}

TEST_F(FilterFileTest, TellsOfAFileThatMayNotBeWritten) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everything";
    ::chmod(m_file.c_str(), 0400);
    bool isReadOnly = false;
    EXPECT_TRUE(write({{"new", rich()}}, &isReadOnly).failed());
    EXPECT_TRUE(isReadOnly);
}

TEST_F(FilterFileTest, OpensAResultWhoseFiltersAreNotUnderstood) {
    ASSERT_FALSE(write({{"global", rich()}}).failed());
    const char* const changes[] = {
        "update filters set kind = 'some of' where level = 1 and kind <> 'is not'",
        "update filters set level = 99 where level = 2",
        "update filters set level = null",
        "delete from filters where level = 0",
        "alter table filters drop column suffix",
        "update filters set kind = 'include'"};
    std::ifstream in(m_file, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(in)), {});
    for (const char* sql : changes) {
        SCOPED_TRACE(sql);
        std::ofstream(m_file, std::ios::binary) << whole;
        change(sql);
        const OpenStore store = open();
        EXPECT_FALSE(store.failed());
        EXPECT_EQ(store.filterError.kind, StoreError::Kind::notUnderstood);
        EXPECT_NE(store.filterError.text.find(m_file), std::string::npos);
        EXPECT_FALSE(store.filters->hasFilter("global"));
        EXPECT_EQ(lanefeed_test::rowsOf(*store.database, "slice_data", {"rowid"}), "1\n2\n");
        // New ones take their place.
        EXPECT_FALSE(write({{"new", rich()}}).failed());
        EXPECT_EQ(names(), std::vector<std::string>{"new"});
    }
}

}  // namespace
}  // namespace lanefeed_runtime
