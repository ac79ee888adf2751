#include "support/captured_log.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
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
