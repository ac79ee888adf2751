#include "support/captured_log.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::FakeDataQuery;
using basekit2::sptr_t;
using basekit2::variant_t;
using lanefeed_test::CapturedLog;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::FakeVectorQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::makeQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::vectorOf;

// A vector that denies being one.
class UncastableVector : public FakeVectorQuery {
public:
    using FakeVectorQuery::FakeVectorQuery;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int) override { return {}; }
};

// A value, or a failure; nothing without a result.
class FakeExpression : public dataface_1::IExpression {
public:
    FakeExpression(variant_t value, bool succeeds)
        : m_value(std::move(value)), m_succeeds(succeeds) {}
    bool evaluate(variant_t& out, const sptr_t<dataface_1::IInputData>& input) override {
        out = m_value;
        return m_succeeds && !input.is_null();
    }

private:
    variant_t m_value;
    bool m_succeeds;
};

sptr_t<dataface_1::IExpression> expression(const variant_t& value, bool succeeds = true) {
    return basekit2::make_object<FakeExpression>(value, succeeds);
}

class Resolving : public fakes::ViewpointTest {
protected:
    void SetUp() override {
        m_library->vectors["holes"] = vectorOf({infoQuery({}), nullptr, infoQuery({})});
        m_library->vectors["strange"] = basekit2::make_object<UncastableVector>(QueryFacts());
        m_library->vectors["empty"] = vectorOf({});
    }
};

TEST_F(Resolving, AsksForRulerRowsAndLayersInAFixedOrder) {
    parse(R"(<area><rowSet>
               <layer><highlightBy query="2"/><tooltipBy query="1"/><diveBy query="0"/>
                      <drawBy query="draw"/></layer>
               <layer><diveBy query="never"/><colorBy query="color"/></layer>
               <rowBy useGridQuery="false" query="row"/></rowSet></area>
             <area/>
             <ruler><layer><tooltipBy query="ruler"/></layer></ruler>)");
    EXPECT_EQ(m_library->resolved,
              (std::vector<std::string>{"colorBy color", "tooltipBy ruler", "rowBy row",
                                        "drawBy draw", "diveBy 0", "tooltipBy 1", "highlightBy 2"}))
        << "colours while they are read, all else afterwards";
    EXPECT_EQ(m_library->messengers, std::set<relay2::IMessenger*>{m_messenger.get()});
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
    m_parser.resolveQueries();
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
    QueryFacts facts;
    facts.attributes = {{"timelineGraphColor", 7}};
    m_library->vectors["colored"] = vectorOf({infoQuery(facts)});
    const CapturedLog log;
    parse(R"(<area><rowSet><rowBy useGridQuery="false" query="colored"/></rowSet></area>)");
    EXPECT_FALSE(m_parser.m_areas.at(0).rowSets.at(0).rowBys.at(0).hasColor);
    EXPECT_EQ(log.count("can_get<const char*>()"), 1);
}

// A query of several kinds: each case takes one more kind in front.
TEST_F(Resolving, TakesTheFirstKindOfADrawQueryThatHolds) {
    const auto also = [](const sptr_t<dataface_1::IQuery>& other) {
        QueryFacts facts;
        facts.otherKind = other;
        facts.members = {infoQuery({}), infoQuery({})};
        return facts;
    };
    sptr_t<dataface_1::IQuery> query = makeQuery<FakeDataQuery<dataface_1::IDataQuery>>({});
    const std::pair<int, sptr_t<dataface_1::IQuery>> cases[] = {
        {2, query},
        {0, query = makeQuery<FakeVectorQuery>(also(query))},
        {6, query = makeQuery<FakeDerivedQuery>(also(query))},
        {5, query = makeQuery<FakeDataQuery<dataface_1::IInstanceCountQuery>>(also(query))},
        {4, query = makeQuery<FakeDataQuery<dataface_1::ICountQuery>>(also(query))},
        {3, query = makeQuery<FakeDataQuery<dataface_1::ITimeQuery>>(also(query))},
        {1, query = infoQuery(also(query))}};
    for (const auto& [type, several] : cases) {
        m_library->vectors["it"] = vectorOf({several});
        EXPECT_EQ(parseOneLayer("", R"(<drawBy query="it"/>)").drawBy.ds.m_dataType, type);
    }
}

TEST_F(Resolving, WantsTwoMembersOfALifetimePair) {
    const CapturedLog log;
    TLViewpointParser::DrawBy drawBy;
    EXPECT_FALSE(m_parser.resolveLifetimeQuery(m_library->vectors["holes"], drawBy));
    EXPECT_EQ(log.count("bk2::iterator_util::get_item_count(it) == 2 "
                        "'Not enough items in the lifetime vector query!'"),
              1);
    EXPECT_FALSE(m_parser.resolveLifetimeQuery(vectorOf({infoQuery({}), nullptr}), drawBy));
    EXPECT_EQ(log.count("it.current()"), 1);
    EXPECT_EQ(drawBy.displayName, "");
}

TEST_F(Resolving, TakesWhatCannotBeEvaluatedForZero) {
    EXPECT_EQ(m_parser.evaluateExpression(expression(9)), 0.0) << "no result";
    m_parser.m_result = m_result;
    EXPECT_EQ(m_parser.evaluateExpression(expression(9)), 9.0);
    EXPECT_EQ(m_parser.evaluateExpression(expression("9")), 0.0);
    EXPECT_EQ(m_parser.evaluateExpression(expression(basekit2::u64_t{1} << 63U)), 0x1p63);
    QueryFacts facts;
    facts.max = expression(9, false);
    TLViewpointParser::DrawBy drawBy;
    drawBy.ds.m_min = drawBy.ds.m_max = 4;
    m_parser.getMinMax(basekit2::make_object<lanefeed_test::FakeInfoQuery>(facts).get(), drawBy);
    EXPECT_EQ(drawBy.ds.m_min, 4) << "no expression leaves the value";
    EXPECT_EQ(drawBy.ds.m_max, 0);
}

TEST_F(Resolving, AsksTheDefaultQueryForADisplayAttributeThatDoesNotFit) {
    QueryFacts facts;
    facts.attributes = {{"timelineFormat", "inner"}, {"timelinePenWidth", 5}, {"markerSize", 5}};
    m_library->vectors["it"] = vectorOf({makeQuery<FakeDerivedQuery>(facts)},
                                        {{"timelineFormat", 3}, {"markerSize", "7"}});
    auto& drawBy = parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    EXPECT_EQ(drawBy.format, "inner");
    EXPECT_EQ(drawBy.lineWidth, 2) << "a number is no text";
    EXPECT_EQ(drawBy.markerSize, 0) << "only the pane asks for it";
    m_parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    drawBy.ds = DicerDataSource();
    const CapturedLog log;
    m_parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    EXPECT_EQ(log.count("drawBy.ds.m_vectorQuery"), 1);
    EXPECT_EQ(log.count("drawBy.ds.m_defaultQuery"), 1);
}

}  // namespace
}  // namespace lanefeed_1
