// Opening a result: what it hands out, and what is said when it cannot be opened.
#include "session/open_result.h"

#include "session/shipped_viewpoints.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <dataface_1/filters.h>
#include <dataface_1/manipulator.h>
#include <dataface_1/query_library.h>
#include <settingstore2/message_catalogs.h>
#include <storelink1/database.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::IInputData;
using lanefeed_runtime::OpenOptions;
using lanefeed_runtime::OpenOutcome;
using lanefeed_runtime::openResult;

class OpenResult : public ::testing::Test {
protected:
    std::string trace(const std::string& text) {
        std::string file = m_directory.file("trace" + std::to_string(m_files++) + ".lft");
        writeTraceText(file, text);
        return file;
    }
    std::string write(const std::string& name, const std::string& text) {
        std::ofstream(m_directory.file(name)) << text;
        return m_directory.file(name);
    }
    sptr_t<IInputData> open(const std::string& file, const OpenOptions& options = {}) {
        return openResult(file, options, m_outcome);
    }

    TempDirectory m_directory;
    int m_files = 0;
    OpenOutcome m_outcome;
};

const char* const kSlices = "thread main 0..100 a 10..20 b";

TEST_F(OpenResult, HandsOutWhatTheLibraryAsksFor) {
    const sptr_t<IInputData> result = open(trace(kSlices));
    ASSERT_TRUE(m_outcome.isOpened()) << m_outcome.text;
    sptr_t<dataface_1::IQueryLibrary> library;
    sptr_t<dataface_1::IFilterRegistry> filters;
    sptr_t<storelink1::IPerfDatabase> performance;
    sptr_t<dataface_1::IManipulatorMapperFactory> mappers;
    ASSERT_TRUE(dataface_1::lookup(result, library));
    ASSERT_TRUE(dataface_1::lookup(result, filters));
    ASSERT_TRUE(dataface_1::lookup(result, performance));
    EXPECT_TRUE(dataface_1::lookup(result, mappers));

    const sptr_t<storelink1::IDatabase> database = performance->getDatabase(result);
    EXPECT_TRUE(database->isTableExist("slice_data"));
    EXPECT_NE(library->findQuery("busyTime", nullptr), nullptr);
    filters->setTimeFilter("selection", filters->createTimeFilterBuilder()->build());
    EXPECT_EQ(filters->hasFilter("selection"),
              database->getFilterRegistry()->hasFilter("selection"));
    EXPECT_NE(settingstore2::getMessageCatalogSource(), nullptr);
}

TEST_F(OpenResult, QueriesAskTheStoreForBandColumns) {
    const sptr_t<IInputData> result = open(trace(kSlices));
    sptr_t<dataface_1::IQueryLibrary> library;
    ASSERT_TRUE(dataface_1::lookup(result, library));
    const auto bandColumn = [&](const std::string& path) {
        basekit2::variant_bag_t bag("infoQuery");
        basekit2::variant_bag_t& dbPath = bag.add("dbPath", basekit2::variant_bag_t());
        dbPath.add("#text", basekit2::variant_t("dd_band::" + path));
        sptr_t<dataface_1::IQuery> query;
        EXPECT_TRUE(library->createQuery(bag, query, nullptr));
        std::string column;
        dataface_1::IInfoQuery::cast(query)->getBandColumn(column, "dd_band", 2);
        return column;
    };
    EXPECT_EQ(bandColumn("dd_thread"), "dd_band::dd_thread");
    EXPECT_EQ(bandColumn("dd_nothing"), "");
}

TEST_F(OpenResult, DefinitionsOfTheUserJoinAndReplaceTheShippedOnes) {
    OpenOptions options;
    options.queryFiles = {write("mine.xml", "<queryLibrary><infoQuery id='mine'/></queryLibrary>"),
                          write("later.xml",
                                "<queryLibrary><infoQuery id='thread' displayName='Lane'/>"
                                "</queryLibrary>")};
    const sptr_t<IInputData> result = open(trace(kSlices), options);
    ASSERT_TRUE(m_outcome.isOpened()) << m_outcome.text;
    sptr_t<dataface_1::IQueryLibrary> library;
    ASSERT_TRUE(dataface_1::lookup(result, library));
    EXPECT_NE(library->findQuery("mine", nullptr), nullptr);
    EXPECT_EQ(library->findQuery("thread", nullptr)->getName(), "Lane");
}

TEST_F(OpenResult, FilesThatCannotBeReadAreToldApartFromWhatIsNotUnderstood) {
    EXPECT_EQ(open(m_directory.file("nobody.lft")), nullptr);
    EXPECT_EQ(m_outcome.kind, OpenOutcome::failed);
    EXPECT_THAT(m_outcome.text, ::testing::HasSubstr("nobody.lft"));

    EXPECT_EQ(open(write("text.lft", "no result at all")), nullptr);
    EXPECT_EQ(m_outcome.kind, OpenOutcome::notUnderstood);
    EXPECT_THAT(m_outcome.text, ::testing::HasSubstr("text.lft"));
}

TEST_F(OpenResult, BadDefinitionFilesAreToldWithTheirPlace) {
    const std::string file = trace(kSlices);
    OpenOptions options;
    for (const std::string& name : {m_directory.file("nobody.xml"), m_directory.path()}) {
        options.queryFiles = {name};
        EXPECT_EQ(open(file, options), nullptr);
        EXPECT_EQ(m_outcome.kind, OpenOutcome::failed);
        EXPECT_THAT(m_outcome.text, ::testing::HasSubstr(name));
    }

    options.queryFiles = {
        write("bad.xml", "<queryLibrary>\n<timeQuery id='a'/>\n<infQuery/></queryLibrary>")};
    EXPECT_EQ(open(file, options), nullptr);
    EXPECT_EQ(m_outcome.kind, OpenOutcome::notUnderstood);
    EXPECT_THAT(m_outcome.text, ::testing::HasSubstr("bad.xml:3: <infQuery> defines no query"));
    ASSERT_EQ(m_outcome.more.size(), 1U);
    EXPECT_THAT(m_outcome.more.front(), ::testing::HasSubstr("bad.xml:2: timeQuery \"a\""));

    EXPECT_NE(open(file), nullptr);
    EXPECT_EQ(m_outcome.text, "") << "an old outcome is cleared";
}

TEST_F(OpenResult, TheViewpointThatFitsHasSomethingToShow) {
    const auto fitting = [&](const std::string& text) {
        return lanefeed_runtime::fittingViewpoint(open(trace(text)));
    };
    EXPECT_EQ(fitting("thread main 0..100 a\ncounter load 0=5 10=7"), "trace_events");
    EXPECT_EQ(fitting("counter load 0=5 10=7"), "counters");
    EXPECT_EQ(fitting("track upload 3..9 part"), "asynchronous");
    EXPECT_EQ(fitting("thread main 0..100 a\nstate main 0..50 Running"), "scheduler");
    EXPECT_EQ(fitting("core 0 0..100 -\ninterrupt 0 1..2 timer"), "scheduler");
    EXPECT_EQ(fitting("counter load 0=5\nmarker main 5 tick"), "trace_events");
    EXPECT_EQ(fitting(""), "trace_events");
}

}  // namespace
}  // namespace lanefeed_test
