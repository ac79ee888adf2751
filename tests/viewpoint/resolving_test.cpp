#include "viewpoint_text.h"

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using fakes::Facts;
using fakes::info;
using fakes::sptr_t;
using fakes::vectorOf;
using lanefeed_test::CapturedLog;

class Resolving : public fakes::ViewpointTest {
protected:
    void SetUp() override {
        library->known["holes"] = vectorOf({info({}), nullptr, info({})});
        library->known["strange"] = basekit2::make_object<fakes::UncastableVector>(Facts());
        library->known["empty"] = vectorOf({});
    }
};

TEST_F(Resolving, AsksForRulerRowsAndLayersInAFixedOrder) {
    parse(R"(<area><rowSet>
               <layer><highlightBy query="2"/><tooltipBy query="1"/><diveBy query="0"/>
                      <drawBy query="draw"/></layer>
               <layer><diveBy query="never"/></layer>
               <rowBy useGridQuery="false" query="row"/></rowSet></area>
             <area/>
             <ruler><layer><tooltipBy query="ruler"/></layer></ruler>)");
    EXPECT_EQ(library->asked,
              (std::vector<std::string>{"tooltipBy ruler", "rowBy row", "drawBy draw", "diveBy 0",
                                        "tooltipBy 1", "highlightBy 2"}));
}

TEST_F(Resolving, PassesOverMissingMembersOfATooltipAndEndsADiveThere) {
    const CapturedLog log;
    parseOneLayer("", R"(<tooltipBy query="holes"/><highlightBy query="strange"/>
                         <drawBy query="holes"/><diveBy query="holes"/>)");
    EXPECT_EQ(firstLayer().tooltipBy.ds.m_extras.size(), 2U);
    EXPECT_EQ(firstLayer().drawBy.ds.m_infoQueries.size(), 1U);
    const std::string messages = this->messages();
    for (const char* expected :
         {"layer 1/1: <tooltipBy> <query> = holes\\n is empty or doesn't resolve to an info "
          "query.  Query ID: NULL\n",
          "layer 1/1: <tooltipBy> <query> = strange\\n resolves to a NULL vector query.\n",
          "layer 0/1: <diveBy> <query> = holes\\n is invalid or doesn't resolve to an info query. "
          "Query ID is: NULL\n"})
        EXPECT_NE(messages.find(expected), std::string::npos) << expected;
    EXPECT_EQ(log.count("NULL"), 1) << "single members are no severe reports";
    parser.resolveQueries();
    EXPECT_EQ(firstLayer().tooltipBy.ds.m_extras.size(), 4U) << "nothing is reset";
}

TEST_F(Resolving, TellsADiveThatIsNoVectorAndADrawQueryThatIsEmpty) {
    parseOneLayer("", R"(<drawBy query="empty"/><diveBy query="strange"/>)");
    EXPECT_EQ(messages(),
              "layer 0/1: <diveBy> <query> = empty\\n resolves to a NULL vector query.\n"
              "layer 1/1: <drawBy> <query> = empty\\n resolves to a NULL default query. "
              "Layer won't be created\n");
}

TEST_F(Resolving, ReportsAColourOfARowThatIsNoText) {
    Facts facts;
    facts.attributes = {{"timelineGraphColor", 7}};
    library->known["colored"] = vectorOf({info(facts)});
    const CapturedLog log;
    parse(R"(<area><rowSet><rowBy useGridQuery="false" query="colored"/></rowSet></area>)");
    EXPECT_FALSE(parser.m_areas.at(0).rowSets.at(0).rowBys.at(0).hasColor);
    EXPECT_EQ(log.count("can_get<const char*>()"), 1);
}

// A query of several kinds: each case takes one more kind in front.
TEST_F(Resolving, TakesTheFirstKindOfADrawQueryThatHolds) {
    using namespace dataface_1;
    const auto also = [](const sptr_t<IQuery>& other) {
        Facts facts;
        facts.otherKind = other;
        facts.members = {info({}), info({})};
        return facts;
    };
    sptr_t<IQuery> query = fakes::make<fakes::FakeData<IDataQuery>>({});
    const std::pair<int, sptr_t<IQuery>> cases[] = {
        {2, query},
        {0, query = fakes::make<fakes::FakeVector>(also(query))},
        {6, query = fakes::make<fakes::FakeDerived>(also(query))},
        {5, query = fakes::make<fakes::FakeData<IInstanceCountQuery>>(also(query))},
        {4, query = fakes::make<fakes::FakeData<ICountQuery>>(also(query))},
        {3, query = fakes::make<fakes::FakeData<ITimeQuery>>(also(query))},
        {1, query = info(also(query))}};
    for (const auto& [type, several] : cases) {
        library->known["it"] = vectorOf({several});
        EXPECT_EQ(parseOneLayer("", R"(<drawBy query="it"/>)").drawBy.ds.m_dataType, type);
    }
}

TEST_F(Resolving, WantsTwoMembersOfALifetimePair) {
    const CapturedLog log;
    TLViewpointParser::DrawBy drawBy;
    EXPECT_FALSE(parser.resolveLifetimeQuery(library->known["holes"], drawBy));
    EXPECT_EQ(log.count("bk2::iterator_util::get_item_count(it) == 2 "
                        "'Not enough items in the lifetime vector query!'"),
              1);
    EXPECT_FALSE(parser.resolveLifetimeQuery(vectorOf({info({}), nullptr}), drawBy));
    EXPECT_EQ(log.count("it.current()"), 1);
    EXPECT_EQ(drawBy.displayName, "");
}

TEST_F(Resolving, TakesWhatCannotBeEvaluatedForZero) {
    using fakes::expression;
    EXPECT_EQ(parser.evaluateExpression(expression("9")), 0.0);
    EXPECT_EQ(parser.evaluateExpression(expression(basekit2::u64_t{1} << 63U)), 0x1p63);
    Facts facts;
    facts.max = expression(9, false);
    TLViewpointParser::DrawBy drawBy;
    drawBy.ds.m_min = drawBy.ds.m_max = 4;
    parser.getMinMax(basekit2::make_object<fakes::FakeInfo>(facts).get(), drawBy);
    EXPECT_EQ(drawBy.ds.m_min, 4) << "no expression leaves the value";
    EXPECT_EQ(drawBy.ds.m_max, 0);
}

TEST_F(Resolving, AsksTheDefaultQueryForADisplayAttributeThatDoesNotFit) {
    Facts facts;
    facts.attributes = {{"timelineFormat", "inner"}, {"timelinePenWidth", 5}, {"markerSize", 5}};
    library->known["it"] = vectorOf({fakes::make<fakes::FakeDerived>(facts)},
                                    {{"timelineFormat", 3}, {"markerSize", "7"}});
    auto& drawBy = parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    EXPECT_EQ(drawBy.format, "inner");
    EXPECT_EQ(drawBy.lineWidth, 2) << "a number is no text";
    EXPECT_EQ(drawBy.markerSize, 0) << "only the pane asks for it";
    parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    drawBy.ds = DicerDataSource();
    const CapturedLog log;
    parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    EXPECT_EQ(log.count("drawBy.ds.m_vectorQuery"), 1);
    EXPECT_EQ(log.count("drawBy.ds.m_defaultQuery"), 1);
}

}  // namespace
}  // namespace lanefeed_1
