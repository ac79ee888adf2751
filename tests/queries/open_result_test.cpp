// Opening a result: what it hands out, and what is said when it cannot be opened; and that the
// definitions, viewpoints and texts that come with the runtime fit each other. That layers find
// their queries, tables, columns and tooltips is seen by
// tests/agreement/shipped_viewpoints_test.cpp.
#include "session/open_result.h"

#include "messages/message_catalogs.h"
#include "queries/query_library.h"
#include "queries/query_listing.h"
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
             {write("mine.xml",
                    "<queryLibrary><infoQuery id='mine'/><infoQuery id='asBand'>"
                    "<dbPath>dd_band::dd_thread</dbPath></infoQuery></queryLibrary>"),
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
    filters->setTimeFilter("selection", filters->createTimeFilterBuilder()->build());
    EXPECT_TRUE(database->getFilterRegistry()->hasFilter("selection"));

    // Definitions of the user join and replace the shipped ones.
    EXPECT_EQ(library->findQuery("thread", nullptr)->getName(), "Lane");
    // Queries ask the store for band columns.
    const auto hasBand = [&](const char* id, const std::string& table) {
        std::string column;
        const auto info = dataface_1::IInfoQuery::cast(library->findQuery(id, nullptr));
        return info->getBandColumn(column, table, 2) && column == "dd_band::dd_thread";
    };
    EXPECT_TRUE(hasBand("asBand", "dd_band"));
    EXPECT_FALSE(hasBand("asBand", "slice_data") || hasBand("mine", "dd_band"));
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

TEST(Shipped, DefinitionsViewpointsAndTextsFitEachOther) {
    const auto definitions = lanefeed_runtime::shippedDefinitions();
    std::vector<std::string> errors;
    lanefeed_runtime::loadQueryLibrary(definitions, {}, errors);
    const auto listings = lanefeed_runtime::listQueries(definitions, errors);
    EXPECT_THAT(errors, ElementsAre());
    for (const lanefeed_runtime::QueryListing& listing : listings) {
        EXPECT_FALSE(listing.help.empty()) << listing.id;
        EXPECT_EQ(listing.help.find('\n'), std::string::npos) << listing.id;
        if (listing.id == "process") {
            EXPECT_EQ(listing.kind + listing.table + listing.path,
                      "infoQuerydd_banddd_thread.dd_process.label");
        }
    }
    std::string texts;
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames())
        texts += lanefeed_runtime::shippedViewpointText(name);
    for (const auto& definition : definitions)
        texts += definition.text;
    const auto catalogs = lanefeed_runtime::shippedCatalogs();
    EXPECT_EQ(catalogs->getCatalog("slicer2")->message("%BusyTime").as_ustring({}), "Busy time");
    int captions = 0;
    for (std::size_t at = 0; (at = texts.find("\"%", at)) != std::string::npos; ++captions) {
        const std::size_t end = texts.find('"', ++at);
        const std::string key = texts.substr(at, end - at);
        bool found = false;
        for (const char* catalog : {"slicer2", "viewpoint", "storelink1"})
            found = found || catalogs->getCatalog(catalog)->has_message(key);
        EXPECT_TRUE(found) << key;
    }
    EXPECT_GT(captions, 50);
}

TEST(Shipped, ViewpointThatIsNoneIsToldWithItsPlace) {
    basekit2::variant_bag_t bag;
    std::string error;
    EXPECT_FALSE(lanefeed_runtime::readViewpoint("<viewpoint>\n<area", bag, error));
    EXPECT_EQ(error.find("2:"), 0U) << error;
    EXPECT_FALSE(lanefeed_runtime::readViewpoint("<areas/>", bag, error));
    EXPECT_EQ(lanefeed_runtime::shippedViewpointText("nobody"), "");
}

TEST(MessageCatalogs, BrokenDocumentIsLeftOutAndDocumentsOfOneNameAdd) {
    std::vector<std::string> errors;
    const auto source = lanefeed_runtime::readCatalogs(
        {"<messageCatalog name='a'><message key='x'>one</message></messageCatalog>",
         "<messageCatalog name='a'>\n<message",
         "<messageCatalog name='a'><message key='y'>two</message></messageCatalog>"},
        errors);
    EXPECT_THAT(errors, ::testing::ElementsAre(::testing::StartsWith("2:")));
    EXPECT_TRUE(source->getCatalog("a")->has_message("x"));
    EXPECT_TRUE(source->getCatalog("a")->has_message("y"));
}

}  // namespace
}  // namespace lanefeed_test
