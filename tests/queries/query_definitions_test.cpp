// Definitions to objects, what is said of those that have errors, how elements of a viewpoint name
// them, and how queries and their chains are folded, narrowed and compared.
#include "library_text.h"
#include "support/captured_log.h"

#include <facekit_1_x/conversions.h>

#include <gmock/gmock.h>

#include <fmt/format.h>
#include <fstream>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IDataQuery;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using ::testing::ElementsAre;

// Everything that a query answers: its chain, name, unit and kinds.
std::string textOf(const sptr_t<IQuery>& query) {
    std::string text =
        chainIds(query) + "'" + query->getName() + "' " + std::to_string(query->getUnitKind());
    if (const auto info = IInfoQuery::cast(query)) {
        text += fmt::format(" info {}::{}.{} shown as {} flat {}", info->getInstanceTable(),
                            info->getAttributeTable(), info->getAttributeName(),
                            info->getDisplayText(), info->getFlatGroupingName());
        for (auto it = info->getValues(0); !it.at_end(); it.next())
            text += " =" + it.current().get<std::string>();
    }
    if (const auto data = IDataQuery::cast(query))
        text += fmt::format(" data {} {} {}", data->getInstanceTable(), data->getGrouping(),
                            data->isGlobalGrouping());
    if (dataface_1::ITimeQuery::cast(query)) text += " time";
    if (dataface_1::ICountQuery::cast(query)) text += " count";
    if (dataface_1::IInstanceCountQuery::cast(query)) text += " instances";
    if (const auto vector = IVectorQuery::cast(query))
        text += " vector " + memberIds(vector) + vector->getDefaultQuery()->getName();
    return text;
}

TEST(QueryDefinitions, BecomeQueriesThatHoldAllThatTheirElementsSay) {
    const LibraryText loaded = loadLibrary({R"(
        <infoQuery id="owner" displayName="%Owner" flatGrouping="flat" unit="value">
          <dbPath>dd_band::dd_thread.dd_process</dbPath>
          <displayDbPathSuffix>label</displayDbPathSuffix>
          <valueType>text</valueType>
          <values><value>viewer</value><value> editor </value></values>
        </infoQuery>
        <infoQuery id="shown"><dbPath>slice_data::dd_task</dbPath>
          <displayDbPath>dd_task.dd_group</displayDbPath></infoQuery>
        <dataQuery id="data" grouping="cores"><dbPath>t</dbPath></dataQuery>
        <timeQuery id="time" globalGrouping="true"><dbPath>t</dbPath></timeQuery>
        <countQuery id="count"><dbPath>t</dbPath></countQuery>
        <instanceCountQuery id="instances"><dbPath>t::dd_x</dbPath></instanceCountQuery>
        <derivedQuery id="ratio" unit="percent"><formula>percent(time, count)</formula>
          <queryRef>time</queryRef><queryRef>count</queryRef></derivedQuery>
        <vectorQuery id="pair"><queryRef>replaced</queryRef><infoQuery id="inner"/></vectorQuery>
        <timeQuery id="late"><dbPath>t</dbPath>
          <expand><queryRef>a</queryRef><queryRef>b</queryRef></expand></timeQuery>
        <infoQuery id="a"><expand><queryRef>dropped</queryRef></expand></infoQuery>
        <infoQuery id="b"><expand><infoQuery id="c"/></expand></infoQuery>
        <infoQuery id="dropped"/>
        <infoQuery id="replaced" displayName="old"/>)",
                                            // A later document replaces a definition.
                                            R"(<infoQuery id="replaced" displayName="new"/>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    const std::pair<const char*, const char*> queries[] = {
        {"owner",
         "owner '%Owner' 3 info dd_band::dd_thread.dd_process.label shown as "
         "dd_thread.dd_process flat flat =viewer =editor"},
        {"shown", "shown 'shown' 0 info slice_data::dd_task. shown as dd_task.dd_group flat "},
        {"data", "data 'data' 0 data t cores false"},
        {"time", "time 'time' 1 data t  true time"},
        {"count", "count 'count' 2 data t  false count"},
        {"instances", "instances 'instances' 2 data t  false instances"},
        {"ratio", "ratio 'ratio' 1"},
        {"pair", "pair 'pair' 0 vector replaced inner new"},
        {"late", "late a b c 'late' 1 data t  false time"},
        {"a", "a dropped 'a' 0 info ::. shown as  flat "}};
    for (const auto& [id, text] : queries)
        EXPECT_EQ(textOf(loaded.find(id)), text);
    EXPECT_EQ(attribute(loaded.find("owner"), "valueType").get<std::string>(), "text");
    EXPECT_EQ(loaded.find("inner"), nullptr) << "an inner definition is known to its owner alone";
    EXPECT_EQ(facekit_1_x::toXmlString(loaded.find("replaced"))
                  .rfind(R"(<infoQuery id="replaced" displayName="new")", 0),
              0U)
        << "as it was written";
}

TEST(QueryDefinitions, DisplayAttributesGetTheTypeThatTheirReadersAskFor) {
    const LibraryText loaded = loadLibrary({R"(
        <timeQuery id="q"><dbPath>t</dbPath>
          <displayAttributes hideZeroDataOnExpansion="true"
            int:sortValueType="4"
            timelinePenWidth="3" double:mine="1.5" other="7"/></timeQuery>)"});
    ASSERT_THAT(loaded.errors, ElementsAre());
    const auto typeOf = [&](const char* name) {
        return attribute(loaded.find("q"), name).get_type();
    };
    EXPECT_EQ(typeOf("hideZeroDataOnExpansion"), basekit2::vtBool);
    EXPECT_EQ(typeOf("sortValueType"), basekit2::vtS32);
    EXPECT_EQ(typeOf("other"), basekit2::vtString);
    EXPECT_EQ(typeOf("mine"), basekit2::vtDouble);
    EXPECT_EQ(typeOf("absent"), basekit2::vtNull);
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
    const LibraryText loaded = loadLibrary({"<infoQuery id='good'/>", "\n<infoQuery id='x'"});
    EXPECT_THAT(loaded.errors, ElementsAre(::testing::StartsWith("b.xml:2:")));
    EXPECT_NE(loaded.find("good"), nullptr);
}

// Each definition expands to the next one; the last one has no chain.
std::string longChain(int links) {
    std::string text;
    for (int i = 1; i <= links; ++i)
        text += fmt::format(i < links ? "<infoQuery id='q{}'><expand><queryRef>q{}</queryRef>"
                                        "</expand></infoQuery>\n"
                                      : "<infoQuery id='q{}'/>\n",
                            i, i + 1);
    return text;
}

TEST(QueryDefinitions, ChainsEndAtThirtyTwoLinksAndDeepNestingIsRefused) {
    EXPECT_THAT(loadLibrary({longChain(32)}).errors, ElementsAre());
    const LibraryText longer = loadLibrary({longChain(33)});
    EXPECT_THAT(longer.errors,
                ElementsAre("a.xml:1: infoQuery \"q1\": its chain of expansions has more than 32 "
                            "links; shorten it"));
    EXPECT_EQ(loadLibrary({longChain(20000)}).errors.size(), 20000U - 32U);
    std::string nested = "<infoQuery/>";
    for (int i = 0; i < 200; ++i)
        nested = "<infoQuery id='x'><expand>" + nested + "</expand></infoQuery>";
    EXPECT_THAT(loadLibrary({nested}).errors,
                ElementsAre("a.xml:1: infoQuery \"x\": definitions stand inside each other too "
                            "deeply"));
}

const char* const kDefinitions = R"(
    <infoQuery id="a"/><infoQuery id="b"/>
    <timeQuery id="time" displayName="%Time"><dbPath>slice_data</dbPath>
      <expand><queryRef>category</queryRef><queryRef>name</queryRef></expand>
      <displayAttributes timelineGraphColor="1,2,3"/></timeQuery>
    <infoQuery id="category"><dbPath>slice_data::dd_category</dbPath>
      <expand><queryRef>name</queryRef></expand></infoQuery>
    <infoQuery id="name" displayName="%Name"/>)";

struct QueryLibrary : testing::Test {
    sptr_t<IVectorQuery> resolve(const std::string& xml) {
        return m_loaded.library->resolveQuery(element(xml), nullptr);
    }
    sptr_t<IQuery> find(const char* id) const { return m_loaded.find(id); }

    LibraryText m_loaded = loadLibrary({kDefinitions});
};

TEST_F(QueryLibrary, FindsTheQueriesThatAnElementNames) {
    const std::pair<const char*, const char*> elements[] = {
        {"<rowBy useGridQuery='false' query='a'/>", "a "},
        {"<drawBy><queryRef> time </queryRef></drawBy>", "time "},
        {"<tooltipBy query='a'><queryRef>b</queryRef><infoQuery id='own'/></tooltipBy>",
         "a b own "},
        {"<infoQuery id='self'/>", "self "},
        {"<drawBy query='nobody'/>", "null"},
        // Unknown ones keep their place among others.
        {"<tooltipBy query='a,nobody'><queryRef>b</queryRef></tooltipBy>", "a nobody b "}};
    for (const auto& [xml, ids] : elements)
        EXPECT_EQ(memberIds(resolve(xml)), ids) << xml;
    const auto unknown = resolve("<tooltipBy query='nobody,a'/>")->getDefaultQuery();
    EXPECT_TRUE(IInfoQuery::cast(unknown).is_null() && IDataQuery::cast(unknown).is_null());

    // The attributes of an element go before those of its query.
    const auto outer = resolve(
        "<drawBy query='a'><displayAttributes timelineGraphColor='1,2,3' "
        "text:hideZeroDataOnExpansion='true'/></drawBy>");
    EXPECT_EQ(attribute(outer, "timelineGraphColor").get<std::string>(), "1,2,3");
    EXPECT_TRUE(attribute(outer->getDefaultQuery(), "timelineGraphColor").is_null());

    const CapturedLog log;
    EXPECT_EQ(resolve("<drawBy><timeQuery id='mine'/></drawBy>"), nullptr);
    EXPECT_NE(resolve("<drawBy query='a'><displayAttributes markerSize='x'/></drawBy>"), nullptr);
    EXPECT_THAT(log.lines(40000),
                ElementsAre("<timeQuery> \"mine\": it needs a table; write <dbPath>TABLE</dbPath>",
                            ::testing::HasSubstr("display attribute \"markerSize\" is \"x\"")));
}

TEST_F(QueryLibrary, CreateQueryLeavesItsAnswerAloneWhenItFails) {
    sptr_t<IQuery> query = find("a");
    EXPECT_FALSE(m_loaded.library->createQuery(element("<column/>"), query, nullptr));
    EXPECT_EQ(query, find("a"));
    EXPECT_TRUE(m_loaded.library->createQuery(element("<queryRef>b</queryRef>"), query, nullptr));
    EXPECT_EQ(query, find("b"));
}

TEST_F(QueryLibrary, CombinationIsTheFirstLinkWithoutAChain) {
    const auto combined = IQuery::combineExpansion(find("time"), nullptr);
    EXPECT_EQ(textOf(combined).substr(textOf(combined).find('\'')),
              "'%Time' 1 data slice_data  false time");
    EXPECT_TRUE(IQuery::areEqual(combined, find("time"), true, true));
    EXPECT_EQ(IQuery::combineExpansion(find("a"), nullptr), find("a")) << "nothing to fold";
    EXPECT_EQ(IQuery::combineExpansion(nullptr, nullptr), nullptr);
}

TEST_F(QueryLibrary, EqualityByIdWithRestrictionsAndNamesOnRequest) {
    const auto narrow = [&] {
        return IInfoQuery::restrict(find("name"),
                                    basekit2::make_iterator(std::vector<variant_t>{"a"}));
    };
    const auto renamed = resolve("<infoQuery id='name' displayName='other'/>")->getDefaultQuery();
    const auto name = find("name");
    EXPECT_TRUE(IQuery::areEqual(name, narrow(), false, true));
    EXPECT_FALSE(IQuery::areEqual(name, narrow(), true, false));
    EXPECT_TRUE(IQuery::areEqual(narrow(), narrow(), true, true));
    EXPECT_TRUE(IQuery::areEqual(name, renamed, true, false));
    EXPECT_FALSE(IQuery::areEqual(name, renamed, true, true));
    EXPECT_FALSE(IQuery::areEqual(name, find("category"), false, false));
}

}  // namespace
}  // namespace lanefeed_test
