// Definitions to objects, and what is said of those that have errors.
#include "library_text.h"

#include <facekit_1_x/conversions.h>

#include <gmock/gmock.h>

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
        <derivedQuery id="ratio" unit="percent"><formula>0 1 /</formula>
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

struct BrokenCase {
    const char* what;
    const char* inside;
    std::vector<std::string> errors;
};

class BrokenDefinition : public ::testing::TestWithParam<BrokenCase> {};

TEST_P(BrokenDefinition, IsToldWithFileLineAndIdAndLeftOut) {
    const std::string good = "<infoQuery id='good'/>";
    const LibraryText loaded = loadLibrary({"\n" + good + "\n" + GetParam().inside});
    EXPECT_THAT(loaded.errors, ::testing::ElementsAreArray(GetParam().errors));
    EXPECT_NE(loaded.find("good"), nullptr) << "the others stay";
    EXPECT_EQ(loaded.find("x"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    All,
    BrokenDefinition,
    ::testing::Values(
        BrokenCase{"unknown kind",
                   "<infQuery id='x'/>",
                   {"a.xml:3: <infQuery> defines no query; write infoQuery, dataQuery, timeQuery, "
                    "countQuery, instanceCountQuery, derivedQuery, vectorQuery"}},
        BrokenCase{
            "no id",
            "<infoQuery/>",
            {"a.xml:3: <infoQuery> has no id, so that nothing can refer to it; give it one"}},
        BrokenCase{"id twice",
                   "<infoQuery id='y'/>\n<timeQuery id='y'/>",
                   {"a.xml:4: timeQuery \"y\": the id stands at a.xml:3 already; choose another"}},
        BrokenCase{
            "unknown attribute",
            "<infoQuery id='x' dispalyName='n'/>",
            {"a.xml:3: infoQuery \"x\": unknown attribute \"dispalyName\"; write id, displayName, "
             "help, unit, flatGrouping, grouping, globalGrouping"}},
        BrokenCase{"unknown element",
                   "<infoQuery id='x'><dbpath>a</dbpath></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": unknown element <dbpath>; write dbPath, "
                    "displayDbPathSuffix, displayDbPath, valueType, minExpression, maxExpression, "
                    "formula, values, expand or displayAttributes"}},
        BrokenCase{"stray text",
                   "<infoQuery id='x'>slice_data</infoQuery>",
                   {"a.xml:3: infoQuery \"x\": text stands between its elements; take it out"}},
        BrokenCase{"no table",
                   "\n<timeQuery id='x'/>",
                   {"a.xml:4: timeQuery \"x\": it needs a table; write <dbPath>TABLE</dbPath>"}},
        BrokenCase{"unit",
                   "<infoQuery id='x' unit='ms'/>",
                   {"a.xml:3: infoQuery \"x\": unknown unit \"ms\"; write percent, count, value or "
                    "none"}},
        BrokenCase{"flag",
                   "<infoQuery id='x'><displayAttributes lifetimeStart='yes'/></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": display attribute \"lifetimeStart\" is \"yes\"; "
                    "write true or false"}},
        BrokenCase{
            "number",
            "<infoQuery id='x'><displayAttributes markerSize='big'/></infoQuery>",
            {"a.xml:3: infoQuery \"x\": display attribute \"markerSize\" is \"big\"; write a "
             "whole number"}},
        BrokenCase{"expression",
                   "<infoQuery id='x'><maxExpression>2 *</maxExpression></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": <maxExpression> 2 *: a number, \"(\" or one of "
                    "count, min, max, duration, ticksPerSecond is expected at character 4"}},
        BrokenCase{"values of a time",
                   "<timeQuery id='x'><dbPath>t</dbPath><values/></timeQuery>",
                   {"a.xml:3: timeQuery \"x\": only an infoQuery has <values>"}},
        BrokenCase{"values without value",
                   "<infoQuery id='x'><values>main</values></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": <values> holds no <value>TEXT</value>"}},
        BrokenCase{"display attribute as element",
                   "<infoQuery id='x'><displayAttributes><marker>end</marker></displayAttributes>"
                   "</infoQuery>",
                   {"a.xml:3: infoQuery \"x\": <displayAttributes> holds text or elements; write "
                    "NAME=\"VALUE\" in its tag"}},
        BrokenCase{"empty list",
                   "<vectorQuery id='x'/>",
                   {"a.xml:3: vectorQuery \"x\": it has no member; write a <queryRef> or a "
                    "definition into it"}},
        BrokenCase{"no formula",
                   "<derivedQuery id='x'><queryRef>good</queryRef></derivedQuery>",
                   {"a.xml:3: derivedQuery \"x\": it needs a <formula>"}},
        BrokenCase{"unknown reference",
                   "<infoQuery id='x'><expand><queryRef>nobody</queryRef></expand></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": refers to \"nobody\", which is no query that can be "
                    "used"}},
        BrokenCase{"itself",
                   "<infoQuery id='x'><expand><queryRef>x</queryRef></expand></infoQuery>",
                   {"a.xml:3: infoQuery \"x\": meets itself: x -> x; break this circle"}},
        BrokenCase{"circle",
                   "<infoQuery id='x'><expand><queryRef>y</queryRef></expand></infoQuery>\n"
                   "<infoQuery id='y'><expand><infoQuery><expand><queryRef>x</queryRef></expand>"
                   "</infoQuery></expand></infoQuery>",
                   {"a.xml:4: infoQuery \"y\": meets itself: x -> y -> x; break this circle",
                    "a.xml:3: infoQuery \"x\": refers to \"y\", which is no query that can be "
                    "used"}},
        BrokenCase{
            "list in itself",
            "<vectorQuery id='x'><queryRef>good</queryRef><queryRef>x</queryRef></vectorQuery>",
            {"a.xml:3: vectorQuery \"x\": meets itself: x -> x; break this circle"}}),
    [](const auto& tested) {
        std::string name = tested.param.what;
        for (char& c : name)
            if (c == ' ') c = '_';
        return name;
    });

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
