// Opening a result: what it hands out, and what is said when it cannot be opened.
#include "session/open_result.h"

#include "session/shipped_viewpoints.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/filters.h>
#include <dataface_1/manipulator.h>
#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>
#include <settingstore2/message_catalogs.h>
#include <storelink1/database.h>

#include <gmock/gmock.h>

#include <fstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using lanefeed_runtime::OpenOutcome;
using lanefeed_runtime::openResult;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class OpenResult : public ::testing::Test {
protected:
    std::string write(const std::string& name, const std::string& text) {
        std::ofstream(m_folder.file(name)) << text;
        return m_folder.file(name);
    }
    sptr_t<dataface_1::IInputData> open(const std::string& file,
                                        const std::vector<std::string>& queryFiles = {}) {
        return openResult(file, {queryFiles, true}, m_outcome);
    }

    TempDirectory m_folder;
    TextResult m_trace{"thread main 0..100 a 10..20 b"};
    OpenOutcome m_outcome;
};

TEST_F(OpenResult, HandsOutWhatTheLibraryAsksFor) {
    const auto result =
        open(m_trace.file(),
             {write("mine.xml", "<queryLibrary><infoQuery id='mine'/></queryLibrary>"),
              write("later.xml",
                    "<queryLibrary><infoQuery id='thread' displayName='Lane'/></queryLibrary>")});
    ASSERT_TRUE(m_outcome.isOpened()) << m_outcome.text;
    sptr_t<dataface_1::IQueryLibrary> library;
    sptr_t<dataface_1::IFilterRegistry> filters;
    sptr_t<storelink1::IPerfDatabase> performance;
    sptr_t<dataface_1::IManipulatorMapperFactory> mappers;
    ASSERT_TRUE(dataface_1::lookup(result, library));
    ASSERT_TRUE(dataface_1::lookup(result, filters));
    ASSERT_TRUE(dataface_1::lookup(result, performance));
    EXPECT_TRUE(dataface_1::lookup(result, mappers));
    const auto database = performance->getDatabase(result);
    EXPECT_TRUE(database->isTableExist("slice_data"));
    filters->setTimeFilter("selection", filters->createTimeFilterBuilder()->build());
    EXPECT_TRUE(filters->hasFilter("selection"));
    EXPECT_TRUE(database->getFilterRegistry()->hasFilter("selection"));
    EXPECT_NE(settingstore2::getMessageCatalogSource(), nullptr);

    // Definitions of the user join and replace the shipped ones.
    EXPECT_NE(library->findQuery("busyTime", nullptr), nullptr);
    EXPECT_NE(library->findQuery("mine", nullptr), nullptr);
    EXPECT_EQ(library->findQuery("thread", nullptr)->getName(), "Lane");
    // Queries ask the store for band columns.
    for (const std::string column : {"dd_band::dd_thread", "dd_band::dd_nothing"}) {
        basekit2::variant_bag_t bag("infoQuery");
        bag.add("dbPath", basekit2::variant_bag_t())
            .add("#text", basekit2::variant_t(column.c_str()));
        sptr_t<dataface_1::IQuery> query;
        EXPECT_TRUE(library->createQuery(bag, query, nullptr));
        std::string found = "none";
        dataface_1::IInfoQuery::cast(query)->getBandColumn(found, "dd_band", 2);
        EXPECT_EQ(found, column == "dd_band::dd_thread" ? column : "none");
    }
}

TEST_F(OpenResult, WhatCannotBeReadIsToldApartFromWhatIsNotUnderstood) {
    const struct {
        std::string file;
        std::vector<std::string> queryFiles;
        OpenOutcome::Kind kind;
        std::string text;
    } cases[] = {
        {m_folder.file("nobody.lft"), {}, OpenOutcome::failed, "nobody.lft"},
        {write("text.lft", "no result at all"), {}, OpenOutcome::notUnderstood, "text.lft"},
        {m_trace.file(), {m_folder.file("nobody.xml")}, OpenOutcome::failed, "nobody.xml"},
        {m_trace.file(), {m_folder.path()}, OpenOutcome::failed, m_folder.path()},
        {m_trace.file(),
         {write("bad.xml", "<queryLibrary>\n<timeQuery id='a'/>\n<infQuery/></queryLibrary>")},
         OpenOutcome::notUnderstood,
         "bad.xml:3: <infQuery> defines no query"}};
    for (const auto& c : cases) {
        EXPECT_EQ(open(c.file, c.queryFiles), nullptr);
        EXPECT_EQ(m_outcome.kind, c.kind) << c.text;
        EXPECT_THAT(m_outcome.text, HasSubstr(c.text));
    }
    EXPECT_THAT(m_outcome.more, ElementsAre(HasSubstr("bad.xml:2: timeQuery \"a\"")));
    EXPECT_NE(open(m_trace.file()), nullptr);
    EXPECT_EQ(m_outcome.text, "") << "an old outcome is cleared";
}

TEST_F(OpenResult, TheViewpointThatFitsHasSomethingToShow) {
    const std::pair<const char*, const char*> traces[] = {
        {"thread main 0..100 a\ncounter load 0=5 10=7", "trace_events"},
        {"counter load 0=5 10=7", "counters"},
        {"track upload 3..9 part", "asynchronous"},
        {"thread main 0..100 a\nstate main 0..50 Running", "scheduler"},
        {"core 0 0..100 -\ninterrupt 0 1..2 timer", "scheduler"},
        {"counter load 0=5\nmarker main 5 tick", "trace_events"},
        {"", "trace_events"}};
    for (const auto& [text, viewpoint] : traces)
        EXPECT_EQ(lanefeed_runtime::fittingViewpoint(open(TextResult(text).file())), viewpoint)
            << text;
}

}  // namespace
}  // namespace lanefeed_test
