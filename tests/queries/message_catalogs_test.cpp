// The shipped catalogs, and what becomes of broken ones.
#include "messages/message_catalogs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using platkit_2_18::generic::varg_list;

TEST(MessageCatalogs, ShippedCatalogsHaveTheTextsOfTheirKeys) {
    const auto source = lanefeed_runtime::shippedCatalogs();
    const auto text = [&](const std::string& catalog, const std::string& key) {
        return source->getCatalog(catalog)->message(key).as_ustring(varg_list());
    };
    EXPECT_EQ(text("slicer2", "%BusyTime"), "Busy time");
    EXPECT_EQ(text("viewpoint", "%ThreadsArea"), "Threads");
    EXPECT_EQ(text("storelink1", "[Unknown]"), "(unknown)");
    EXPECT_FALSE(source->getCatalog("slicer2")->has_message("BusyTime")) << "the % is part of it";
    EXPECT_EQ(text("slicer2", "nothing"), "");
    EXPECT_EQ(source->getCatalog("other"), nullptr);
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

TEST(MessageCatalogs, InstallingLeavesTheSourceOfTheHostAlone) {
    const auto before = settingstore2::getMessageCatalogSource();
    std::vector<std::string> errors;
    const auto host = lanefeed_runtime::readCatalogs({}, errors);
    settingstore2::setMessageCatalogSource(host);
    lanefeed_runtime::installShippedCatalogs();
    EXPECT_EQ(settingstore2::getMessageCatalogSource(), host);
    settingstore2::setMessageCatalogSource(nullptr);
    lanefeed_runtime::installShippedCatalogs();
    EXPECT_NE(settingstore2::getMessageCatalogSource()->getCatalog("slicer2"), nullptr);
    settingstore2::setMessageCatalogSource(before);
}

}  // namespace
}  // namespace lanefeed_test
