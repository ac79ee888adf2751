// Definitions to objects, and what is said of those that have errors.
#include "library_text.h"

#include <facekit_1_x/conversions.h>

#include <gmock/gmock.h>

#include <fstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::ICountQuery;
using dataface_1::IDataQuery;
using dataface_1::IDerivedQuery;
using dataface_1::IInfoQuery;
using dataface_1::IInstanceCountQuery;
using dataface_1::IQuery;
using dataface_1::ITimeQuery;
using dataface_1::IVectorQuery;
using ::testing::ElementsAre;

TEST(QueryDefinitions, InfoQueryHoldsAllThatItsElementSays) {
    const LibraryText loaded = loadLibrary({R"(
        <infoQuery id="owner" displayName="%Owner" flatGrouping="flat" unit="value">
          <dbPath>dd_band::dd_thread.dd_process</dbPath>
          <displayDbPathSuffix>label</displayDbPathSuffix>
          <valueType>text</valueType>
          <values><value>viewer</value><value> editor </value></values>
        </infoQuery>
        <infoQuery id="shown"><dbPath>slice_data::dd_task</dbPath>
          <displayDbPath>dd_task.dd_group</displayDbPath></infoQuery>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    const sptr_t<IInfoQuery> owner = loaded.info("owner");
    EXPECT_EQ(owner->getName(), "%Owner");
    EXPECT_EQ(owner->getInstanceTable(), "dd_band");
    EXPECT_EQ(owner->getAttributeTable(), "dd_thread.dd_process");
    EXPECT_EQ(owner->getAttributeName(), "label");
    EXPECT_EQ(owner->getDisplayText(), "dd_thread.dd_process");
    EXPECT_EQ(owner->getFlatGroupingName(), "flat");
    EXPECT_EQ(attribute(owner, "valueType").get<std::string>(), "text");
    const auto values = owner->getValues(0);
    EXPECT_EQ(values.current().get<std::string>(), "viewer");
    values.next();
    EXPECT_EQ(values.current().get<std::string>(), "editor");

    const sptr_t<IInfoQuery> shown = loaded.info("shown");
    EXPECT_EQ(shown->getName(), "shown");
    EXPECT_EQ(shown->getDisplayText(), "dd_task.dd_group");
    EXPECT_TRUE(shown->getValues(1).is_null());
}

TEST(QueryDefinitions, EveryKindAnswersItsOwnCastsAlone) {
    const LibraryText loaded = loadLibrary({R"(
        <infoQuery id="info"/>
        <dataQuery id="data" grouping="cores"><dbPath>t</dbPath></dataQuery>
        <timeQuery id="time" globalGrouping="true"><dbPath>t</dbPath></timeQuery>
        <countQuery id="count"><dbPath>t</dbPath></countQuery>
        <instanceCountQuery id="instances"><dbPath>t::dd_x</dbPath></instanceCountQuery>
        <derivedQuery id="ratio" unit="percent"><formula>percent(time, count)</formula>
          <queryRef>time</queryRef><queryRef>count</queryRef></derivedQuery>
        <vectorQuery id="pair"><queryRef>info</queryRef><infoQuery id="inner"/></vectorQuery>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    // In the order info, data, time, count, instance count, derived, vector.
    const auto casts = [&](const std::string& id) {
        const sptr_t<IQuery> q = loaded.find(id);
        const auto mark = [](const auto& cast) { return cast.is_null() ? '-' : '+'; };
        return std::string{mark(IInfoQuery::cast(q)),          mark(IDataQuery::cast(q)),
                           mark(ITimeQuery::cast(q)),          mark(ICountQuery::cast(q)),
                           mark(IInstanceCountQuery::cast(q)), mark(IDerivedQuery::cast(q)),
                           mark(IVectorQuery::cast(q))};
    };
    EXPECT_EQ(casts("info"), "+------");
    EXPECT_EQ(casts("data"), "-+-----");
    EXPECT_EQ(casts("time"), "-++----");
    EXPECT_EQ(casts("count"), "-+-+---");
    EXPECT_EQ(casts("instances"), "-+--+--");
    EXPECT_EQ(casts("ratio"), "-----+-");
    EXPECT_EQ(casts("pair"), "------+");

    EXPECT_EQ(IDataQuery::cast(loaded.find("data"))->getGrouping(), "cores");
    EXPECT_TRUE(IDataQuery::cast(loaded.find("time"))->isGlobalGrouping());
    EXPECT_EQ(IDataQuery::cast(loaded.find("instances"))->getInstanceTable(), "t");
    EXPECT_EQ(loaded.find("time")->getUnitKind(), 1);
    EXPECT_NE(loaded.find("count")->getUnitKind(), 1);
    EXPECT_EQ(loaded.find("ratio")->getUnitKind(), 1);
    const sptr_t<IVectorQuery> pair = IVectorQuery::cast(loaded.find("pair"));
    EXPECT_THAT(memberIds(pair), ElementsAre("info", "inner"));
    EXPECT_EQ(pair->getDefaultQuery(), loaded.find("info"));
    EXPECT_EQ(loaded.find("inner"), nullptr) << "an inner definition is known to its owner alone";
}

TEST(QueryDefinitions, DisplayAttributesGetTheTypeThatTheirReadersAskFor) {
    const LibraryText loaded = loadLibrary({R"(
        <timeQuery id="q"><dbPath>t</dbPath>
          <displayAttributes hideZeroDataOnExpansion="true" text:allowCollapse="false"
            markerSize="8" int:sortValueType="4" int:timelinePenWidth="3" timelineBinMult="0.5"
            marker="true" double:mine="1.5" other="7"/></timeQuery>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    const auto type = [&](const char* name) {
        return attribute(loaded.find("q"), name).get_type();
    };
    EXPECT_EQ(type("hideZeroDataOnExpansion"), basekit2::vtBool);
    EXPECT_EQ(type("allowCollapse"), basekit2::vtBool);
    EXPECT_EQ(type("markerSize"), basekit2::vtS32);
    EXPECT_EQ(type("sortValueType"), basekit2::vtS32);
    EXPECT_EQ(type("timelinePenWidth"), basekit2::vtString);
    EXPECT_EQ(type("timelineBinMult"), basekit2::vtString);
    EXPECT_EQ(type("marker"), basekit2::vtString);
    EXPECT_EQ(type("mine"), basekit2::vtDouble);
    EXPECT_EQ(type("other"), basekit2::vtString);
    EXPECT_EQ(type("absent"), basekit2::vtNull);
}

TEST(QueryDefinitions, ChainsFollowTheExpansionsOfADefinition) {
    const LibraryText loaded = loadLibrary({R"(
        <timeQuery id="late"><dbPath>t</dbPath>
          <expand><queryRef>a</queryRef><queryRef>b</queryRef></expand></timeQuery>
        <infoQuery id="a"><expand><queryRef>dropped</queryRef></expand></infoQuery>
        <infoQuery id="b"><expand><infoQuery id="c"/></expand></infoQuery>
        <infoQuery id="dropped"/>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    EXPECT_THAT(chainIds(loaded.find("late")), ElementsAre("late", "a", "b", "c"));
    EXPECT_THAT(chainIds(loaded.find("a")), ElementsAre("a", "dropped"));
}

TEST(QueryDefinitions, ALaterDocumentReplacesADefinition) {
    const LibraryText loaded = loadLibrary({R"(<infoQuery id="a" displayName="old"/>
                        <infoQuery id="user"><expand><queryRef>a</queryRef></expand></infoQuery>)",
                                            R"(<infoQuery id="a" displayName="new"/>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    EXPECT_EQ(loaded.find("a")->getName(), "new");
    EXPECT_EQ(loaded.find("user")->getExpansionQuery(), loaded.find("a"));
}

TEST(QueryDefinitions, DefinitionIsShownAsItWasWritten) {
    const LibraryText loaded = loadLibrary({R"(<infoQuery id="a" displayName="A"/>)"});
    const std::string text = facekit_1_x::toXmlString(loaded.find("a"));
    EXPECT_EQ(text.find(R"(<infoQuery id="a" displayName="A")"), 0U) << text;
}

TEST(QueryDefinitions, BrokenOnesAreToldWithFileLineAndIdAndLeftOut) {
    std::ifstream file(LANEFEED_SOURCE_DIR "/tests/queries/broken_definitions.txt");
    std::string line;
    std::string inside;
    std::vector<std::string> errors;
    int cases = 0;
    for (bool more = true; more;) {
        more = static_cast<bool>(std::getline(file, line));
        if (more && line.rfind("! ", 0) == 0) errors.push_back(line.substr(2));
        if (more && !line.empty() && line.find_first_of("#!") != 0) inside += line + "\n";
        if ((more && !line.empty()) || inside.empty()) continue;
        SCOPED_TRACE(inside);
        const LibraryText loaded = loadLibrary({"\n<infoQuery id='good'/>\n" + inside});
        EXPECT_THAT(loaded.errors, ::testing::ElementsAreArray(errors));
        EXPECT_NE(loaded.find("good"), nullptr) << "the others stay";
        EXPECT_EQ(loaded.find("x"), nullptr);
        inside.clear();
        errors.clear();
        ++cases;
    }
    EXPECT_GE(cases, 20);
}

TEST(QueryDefinitions, DocumentThatIsNoXmlIsToldWithItsPlace) {
    const LibraryText loaded = loadLibrary({"<infoQuery id='good'/>", "\n<infoQuery id='x'"});
    ASSERT_EQ(loaded.errors.size(), 1U);
    EXPECT_EQ(loaded.errors.front().find("b.xml:2:"), 0U) << loaded.errors.front();
    EXPECT_NE(loaded.find("good"), nullptr);
}

// Each definition expands to the next one; the last one has no chain.
std::string longChain(int links) {
    std::string text;
    for (int i = 1; i <= links; ++i) {
        const std::string next =
            "<expand><queryRef>q" + std::to_string(i + 1) + "</queryRef></expand>";
        text += "<infoQuery id='q" + std::to_string(i) + "'>" + (i < links ? next : "") +
                "</infoQuery>\n";
    }
    return text;
}

TEST(QueryDefinitions, ChainsEndAtThirtyTwoLinks) {
    const LibraryText fits = loadLibrary({longChain(32)});
    EXPECT_THAT(fits.errors, ElementsAre());
    EXPECT_EQ(chainIds(fits.find("q1")).size(), 32U);

    const LibraryText longer = loadLibrary({longChain(33)});
    EXPECT_THAT(longer.errors,
                ElementsAre("a.xml:1: infoQuery \"q1\": its chain of expansions has more than 32 "
                            "links; shorten it"));
    EXPECT_EQ(chainIds(longer.find("q2")).size(), 32U);
}

TEST(QueryDefinitions, ManyDefinitionsInALineAndDeepNestingAreRefusedWithoutHarm) {
    const LibraryText line = loadLibrary({longChain(20000)});
    EXPECT_EQ(line.errors.size(), 20000U - 32U);

    std::string nested;
    for (int i = 0; i < 200; ++i)
        nested = "<infoQuery id='x'><expand>" + (nested.empty() ? "<infoQuery/>" : nested) +
                 "</expand></infoQuery>";
    const LibraryText deep = loadLibrary({nested});
    EXPECT_THAT(deep.errors, ElementsAre("a.xml:1: infoQuery \"x\": definitions stand inside each "
                                         "other too deeply"));
}

}  // namespace
}  // namespace lanefeed_test
