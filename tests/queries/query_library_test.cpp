// How elements of a viewpoint name queries, and the bags that the library is handed by programs.
#include "library_text.h"
#include "support/captured_log.h"

#include <gmock/gmock.h>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::IDataQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using ::testing::ElementsAre;

const char* const kDefinitions = R"(
    <infoQuery id="a"/><infoQuery id="b"/>
    <timeQuery id="time"><dbPath>slice_data</dbPath></timeQuery>)";

sptr_t<IVectorQuery> resolve(const std::string& xml) {
    return loadLibrary({kDefinitions}).library->resolveQuery(element(xml), nullptr);
}

TEST(QueryLibrary, AnElementNamesQueriesByAttributeAndByChildren) {
    EXPECT_THAT(memberIds(resolve("<rowBy useGridQuery='false' query='a'/>")), ElementsAre("a"));
    EXPECT_THAT(memberIds(resolve("<tooltipBy query='b, a'/>")), ElementsAre("b", "a"));
    EXPECT_THAT(memberIds(resolve("<drawBy><queryRef> time </queryRef></drawBy>")),
                ElementsAre("time"));
    EXPECT_THAT(memberIds(resolve("<tooltipBy query='a'><queryRef>b</queryRef>"
                                  "<infoQuery id='own'/></tooltipBy>")),
                ElementsAre("a", "b", "own"));
    EXPECT_THAT(memberIds(resolve("<infoQuery id='self'/>")), ElementsAre("self"));
    EXPECT_THAT(memberIds(resolve("<queryRef>a</queryRef>")), ElementsAre("a"));
}

TEST(QueryLibrary, UnknownQueriesAreNullAloneAndKeepTheirPlaceAmongOthers) {
    EXPECT_EQ(resolve("<drawBy query='nobody'/>"), nullptr);
    EXPECT_EQ(resolve("<drawBy/>"), nullptr);
    const sptr_t<IVectorQuery> some =
        resolve("<tooltipBy query='a,nobody'><queryRef>b</queryRef></tooltipBy>");
    EXPECT_THAT(memberIds(some), ElementsAre("a", "nobody", "b"));
    const auto it = some->getQueries();
    it.next();
    EXPECT_EQ(IInfoQuery::cast(it.current()), nullptr);
    EXPECT_EQ(IDataQuery::cast(it.current()), nullptr);
}

TEST(QueryLibrary, DisplayAttributesOfAnElementGoBeforeThoseOfItsQuery) {
    const sptr_t<IVectorQuery> outer = resolve(
        "<drawBy query='time'><displayAttributes timelineGraphColor='1,2,3' "
        "text:hideZeroDataOnExpansion='true'/></drawBy>");
    EXPECT_EQ(attribute(outer, "timelineGraphColor").get<std::string>(), "1,2,3");
    EXPECT_EQ(attribute(outer, "hideZeroDataOnExpansion").get_type(), basekit2::vtBool);
    EXPECT_TRUE(attribute(outer->getDefaultQuery(), "timelineGraphColor").is_null());
}

TEST(QueryLibrary, ABrokenInnerDefinitionIsLoggedAndCountsAsUnknown) {
    CapturedLog log;
    EXPECT_EQ(resolve("<drawBy><timeQuery id='mine'/></drawBy>"), nullptr);
    EXPECT_THAT(log.lines(40000), ElementsAre("<timeQuery> \"mine\": it needs a table; write "
                                              "<dbPath>TABLE</dbPath>"));
    log.clear();
    EXPECT_NE(resolve("<drawBy query='a'><displayAttributes markerSize='x'/></drawBy>"), nullptr);
    EXPECT_EQ(log.count("display attribute \"markerSize\" is \"x\""), 1);
}

TEST(QueryLibrary, CreateQueryLeavesItsAnswerAloneWhenItFails) {
    const LibraryText loaded = loadLibrary({kDefinitions});
    const sptr_t<IQuery> before = loaded.find("a");
    sptr_t<IQuery> query = before;
    EXPECT_FALSE(loaded.library->createQuery(element("<column/>"), query, nullptr));
    EXPECT_EQ(query, before);
    EXPECT_TRUE(loaded.library->createQuery(element("<queryRef>b</queryRef>"), query, nullptr));
    EXPECT_EQ(query, loaded.find("b"));
    EXPECT_EQ(loaded.find("nobody"), nullptr);
}

}  // namespace
}  // namespace lanefeed_test
