// Folding, narrowing and comparing queries and their chains.
#include "library_text.h"

#include <gmock/gmock.h>

namespace lanefeed_test {
namespace {

using basekit2::make_iterator;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IDataQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::ITimeQuery;
using dataface_1::IVectorQuery;
using ::testing::ElementsAre;

const char* const kDefinitions = R"(
    <timeQuery id="time" displayName="%Time"><dbPath>slice_data</dbPath>
      <expand><queryRef>category</queryRef><queryRef>name</queryRef></expand>
      <displayAttributes timelineGraphColor="1,2,3"/></timeQuery>
    <infoQuery id="category"><dbPath>slice_data::dd_category</dbPath>
      <displayDbPathSuffix>name</displayDbPathSuffix>
      <expand><queryRef>name</queryRef></expand></infoQuery>
    <infoQuery id="name" displayName="%Name"><dbPath>slice_data::dd_task</dbPath>
      <displayDbPathSuffix>name</displayDbPathSuffix>
      <displayAttributes hideZeroDataOnExpansion="true"/></infoQuery>)";

sptr_t<IQuery> restrictTo(const sptr_t<IQuery>& query, const std::vector<variant_t>& values) {
    return IInfoQuery::restrict(query, make_iterator(values));
}

TEST(QueryChains, CombinationIsTheFirstLinkWithoutAChain) {
    const LibraryText loaded = loadLibrary({kDefinitions});
    const sptr_t<IQuery> time = loaded.find("time");
    const sptr_t<IQuery> combined = IQuery::combineExpansion(time, nullptr);
    EXPECT_FALSE(ITimeQuery::cast(combined).is_null());
    EXPECT_EQ(IDataQuery::cast(combined)->getInstanceTable(), "slice_data");
    EXPECT_EQ(combined->getName(), "%Time");
    EXPECT_EQ(attribute(combined, "timelineGraphColor").get<std::string>(), "1,2,3");
    EXPECT_EQ(combined->getExpansionQuery(), nullptr);
    EXPECT_THAT(chainIds(time), ElementsAre("time", "category", "name"));
    EXPECT_TRUE(IQuery::areEqual(combined, time, true, true));

    const sptr_t<IQuery> name = loaded.find("name");
    EXPECT_EQ(IQuery::combineExpansion(name, nullptr), name) << "nothing to fold";
    EXPECT_EQ(IQuery::combineExpansion(nullptr, nullptr), nullptr);
}

TEST(QueryChains, CombinationsWithoutIdsDifferByTheirChains) {
    const LibraryText loaded = loadLibrary({kDefinitions});
    const auto expandedBy = [&](const std::string& id) {
        sptr_t<IQuery> query;
        loaded.library->createQuery(
            element("<timeQuery><dbPath>slice_data</dbPath><expand><queryRef>" + id +
                    "</queryRef></expand></timeQuery>"),
            query, nullptr);
        return IQuery::combineExpansion(query, nullptr);
    };
    EXPECT_TRUE(IQuery::areEqual(expandedBy("name"), expandedBy("name"), true, true));
    EXPECT_FALSE(IQuery::areEqual(expandedBy("name"), expandedBy("category"), false, false));
}

TEST(QueryChains, EqualityByIdWithRestrictionsAndNamesOnRequest) {
    const LibraryText loaded = loadLibrary({kDefinitions});
    const sptr_t<IQuery> name = loaded.find("name");
    const sptr_t<IQuery> narrow = restrictTo(name, {variant_t("a")});
    EXPECT_TRUE(IQuery::areEqual(name, narrow, false, true));
    EXPECT_FALSE(IQuery::areEqual(name, narrow, true, false));
    EXPECT_TRUE(IQuery::areEqual(narrow, restrictTo(name, {variant_t("a")}), true, true));

    sptr_t<IQuery> renamed;
    ASSERT_TRUE(loaded.library->createQuery(element("<infoQuery id='name' displayName='other'/>"),
                                            renamed, nullptr));
    EXPECT_TRUE(IQuery::areEqual(name, renamed, true, false));
    EXPECT_FALSE(IQuery::areEqual(name, renamed, true, true));
    EXPECT_FALSE(IQuery::areEqual(name, loaded.find("category"), false, false));
    EXPECT_FALSE(IQuery::areEqual(name, nullptr, false, false));
}

TEST(QueryChains, BandColumnOfAGroupingIsAskedOfTheResult) {
    const auto has = [](const std::string& table, const std::string& column) {
        return table == "dd_band" && column == "dd_band::dd_thread";
    };
    const LibraryText loaded =
        loadLibrary({"<infoQuery id='thread'><dbPath>dd_band::dd_thread</dbPath></infoQuery>"
                     "<infoQuery id='core'><dbPath>dd_band::dd_core</dbPath></infoQuery>"},
                    has);
    std::string column = "untouched";
    EXPECT_FALSE(loaded.info("core")->getBandColumn(column, "dd_band", 2));
    EXPECT_FALSE(loaded.info("thread")->getBandColumn(column, "slice_data", 2));
    EXPECT_EQ(column, "untouched");
    EXPECT_TRUE(loaded.info("thread")->getBandColumn(column, "dd_band", 2));
    EXPECT_EQ(column, "dd_band::dd_thread");
}

}  // namespace
}  // namespace lanefeed_test
