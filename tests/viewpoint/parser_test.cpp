// What a parse does apart from the records that it makes: its order, its messages, what becomes of
// a library that gives odd answers and of a caller that does; and the small parts that it is made
// of.
#include "support/captured_log.h"
#include "viewpoint_text.h"

#include <boost/lexical_cast.hpp>

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::makeQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::vectorOf;

// A vector that denies being one.
class UncastableVector : public lanefeed_test::FakeVectorQuery {
public:
    using FakeVectorQuery::FakeVectorQuery;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int) override { return {}; }
};

class Parser : public fakes::ViewpointTest {
protected:
    void SetUp() override {
        m_library->vectors["holes"] = vectorOf({infoQuery({}), nullptr, infoQuery({})});
        m_library->vectors["strange"] = basekit2::make_object<UncastableVector>(QueryFacts());
        m_library->vectors["empty"] = vectorOf({});
    }
};

TEST_F(Parser, AsksForRulerRowsAndLayersInAFixedOrder) {
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

TEST_F(Parser, TellsOfQueriesThatTheLibraryGivesWithHoles) {
    const CapturedLog log;
    const auto& layer =
        parseOneLayer("", R"(<tooltipBy query="holes"/><highlightBy query="strange"/>
                                             <drawBy query="holes"/><diveBy query="holes"/>)");
    for (const char* message :
         {"layer 0/1: <diveBy> <query> = holes\n is invalid or doesn't resolve to an info query. "
          "Query ID is: NULL\n",
          "layer 1/1: <tooltipBy> <query> = holes\n is empty or doesn't resolve to an info query.  "
          "Query ID: NULL\n",
          "layer 1/1: <tooltipBy> <query> = strange\n resolves to a NULL vector query.\n"})
        EXPECT_NE(messages().find(message), std::string::npos) << message;
    EXPECT_EQ(log.count("NULL"), 1) << "single members are no severe reports";
    EXPECT_EQ(layer.drawBy.ds.m_infoQueries.size(), 1U);
    EXPECT_EQ(layer.tooltipBy.ds.m_extras.size(), 2U);
    m_parser.resolveQueries();
    EXPECT_EQ(layer.tooltipBy.ds.m_extras.size(), 4U) << "nothing is reset";

    m_logger = basekit2::make_object<ParseLogger>();
    parseOneLayer("", R"(<drawBy query="empty"/><diveBy query="strange"/>)");
    EXPECT_EQ(messages(),
              "layer 0/1: <diveBy> <query> = empty\n resolves to a NULL vector query.\n"
              "layer 1/1: <drawBy> <query> = empty\n resolves to a NULL default query. "
              "Layer won't be created\n");
}

TEST_F(Parser, WantsTwoMembersOfALifetimePair) {
    const CapturedLog log;
    TLViewpointParser::DrawBy drawBy;
    EXPECT_FALSE(m_parser.resolveLifetimeQuery(m_library->vectors["holes"], drawBy));
    EXPECT_FALSE(m_parser.resolveLifetimeQuery(vectorOf({infoQuery({}), nullptr}), drawBy));
    EXPECT_EQ(log.count("bk2::iterator_util::get_item_count(it) == 2 "
                        "'Not enough items in the lifetime vector query!'"),
              1);
    EXPECT_EQ(log.count("it.current()"), 1);
    EXPECT_EQ(drawBy.displayName, "");
}

TEST_F(Parser, AsksTheDefaultQueryForADisplayAttributeThatDoesNotFit) {
    QueryFacts facts;
    facts.attributes = {{"timelineFormat", "inner"}, {"timelinePenWidth", 5}, {"markerSize", 5}};
    m_library->vectors["it"] = vectorOf({makeQuery<FakeDerivedQuery>(facts)},
                                        {{"timelineFormat", 3}, {"markerSize", "7"}});
    auto& drawBy = parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    EXPECT_EQ(drawBy.format, "inner");
    EXPECT_EQ(drawBy.lineWidth, 2) << "a number is no text";
    EXPECT_EQ(drawBy.markerSize, 0) << "only the pane asks for it";
    const CapturedLog log;
    m_parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    EXPECT_TRUE(log.empty());
    drawBy.ds = DicerDataSource();
    m_parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    EXPECT_EQ(log.count("drawBy.ds.m_vectorQuery") + log.count("drawBy.ds.m_defaultQuery"), 2);
}

TEST_F(Parser, TakesOneRulerAndReadsAreasAnew) {
    parse("<ruler><layer/></ruler><area/>");
    parse("<ruler><layer/></ruler><area/><area/>");
    EXPECT_EQ(m_parser.m_rulerLayers.size(), 1U);
    EXPECT_EQ(m_parser.m_areas.size(), 2U);
    EXPECT_EQ(messages(), "Multiple <ruler> found. Only the first <ruler> will be used.\n");
    const CapturedLog log;
    m_parser.parseViewpoint({}, nullptr, nullptr, m_result, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, nullptr, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, m_result, nullptr);
    EXPECT_EQ(m_parser.m_areas.size(), 2U) << "all is as it was";
    EXPECT_EQ(log.count("library && result && logger"), 3);
    EXPECT_EQ(log.entries().size(), 3U);
}

TEST_F(Parser, WantsAnAreaBeforeAnythingIsResolved) {
    const CapturedLog log;
    parse(R"(<ruler><layer><drawBy query="busy"/></layer></ruler>)");
    EXPECT_TRUE(m_library->resolved.empty());
    const std::string message =
        "Timeline: At least one <area> was expectedbut could not be found. "
        "Timeline will appear empty.";
    EXPECT_EQ(messages(), message + "\n");
    EXPECT_EQ(log.count(message), 1);
}

// A host may read a layer again into the record that it has; only the type stays.
TEST_F(Parser, ForgetsWhatALayerHeldBefore) {
    TLViewpointParser::LayerInfo layer;
    layer.type = TLViewpointParser::Overtime;
    layer.typeGiven = layer.showText = layer.showTextGiven = true;
    layer.tooltipBy.valid = layer.highlightBy.valid = layer.hatchBy.valid = true;
    TLViewpointParser::DrawBy& draw = layer.drawBy;
    draw.valid = draw.hasDive = draw.required = draw.isLifetime = draw.hierarchical = true;
    draw.hasDisplayColor = draw.hasFilterColor = draw.hasDecimationColor = true;
    draw.lineWidth = 9;
    draw.binMult = 0.5;
    draw.samplePoint = TLViewpointParser::markerEnd;
    draw.ds.m_dataType = DicerDataSource::dsDerived;
    draw.ds.m_derivedQuery = basekit2::make_object<FakeDerivedQuery>(QueryFacts());
    m_parser.parseLayer(1, 1, layer, fakes::element("<layer><drawBy/></layer>"), 0);
    m_parser.m_rulerLayers = {layer};
    EXPECT_EQ(fakes::recordText(m_parser),
              "ruler\n"
              "    layer 0 type=1 visible visibleSeriesCount=-1 maxLabels\n"
              "      draw width=2 binMult=1 sample=0\n"
              "        display=0,0,0,0 filter=0,0,0,0 decimation=0,0,0,0\n"
              "        source type=0 min=0 max=0 resolution=0 scale=0\n");
    m_parser.parseLayer(1, 1, layer, fakes::element("<layer/>"), 0);
    EXPECT_FALSE(layer.hasDrawBy);
}

TEST_F(Parser, FindsALifetimePairApplicableWhateverTheResultHolds) {
    TLViewpointParser::LayerInfo layer;
    const CapturedLog log;
    EXPECT_FALSE(m_parser.isApplicable(layer, nullptr));
    EXPECT_EQ(log.count("provider"), 1);
    layer.drawBy.isLifetime = true;
    EXPECT_TRUE(m_parser.isApplicable(layer, nullptr));
}

TEST_F(Parser, ThrowsANumberThatCannotBeRead) {
    for (const char* attribute :
         {"visibleSeriesCount='abc'", "visibleSeriesCount='9999999999'", "visibleSeriesCount=''",
          "rowByLevels='1,,2'", "rowByLevels='1, 2'"}) {
        EXPECT_THROW(parseOneLayer(attribute, ""), boost::bad_lexical_cast) << attribute;
        EXPECT_TRUE(m_parser.m_areas.empty()) << "the area being read is not kept";
    }
}

TEST(DicerDataSource, TakesTheBandOfABandTableOnly) {
    DicerDataSource ds;
    ds.set("dd_thread.dd_process.name", "dd_band", "name", "value");
    EXPECT_EQ(ds.m_value, "value");
    EXPECT_EQ(ds.m_band, "dd_thread");
    ds.set("dd_core", "slice_data", "", "");
    EXPECT_EQ(ds.m_band, "dd_thread");
    const CapturedLog log;
    ds.set("", "dd_band", "", "");
    EXPECT_EQ(ds.m_band, "dd_thread");
    EXPECT_EQ(log.count("!parts.empty()"), 1);
}

// Each entry is less than the next by an earlier field, while all later fields say the opposite.
TEST(DicerDataSource, OrdersExtrasByQueryThenTextsThenValues) {
    auto low = infoQuery({});
    auto high = infoQuery({});
    if (std::less<>()(high.get(), low.get())) std::swap(low, high);
    const std::vector<DicerDataSource::ExtraArgs> ascending = {
        {low, "b", "b", "b", {"b"}, "b"},       {high, "a", "b", "b", {"b"}, "b"},
        {high, "b", "a", "b", {"b"}, "b"},      {high, "b", "b", "a", {"b"}, "b"},
        {high, "b", "b", "b", {"b"}, "a"},      {high, "b", "b", "b", {}, "b"},
        {high, "b", "b", "b", {"a", "c"}, "b"}, {high, "b", "b", "b", {"b"}, "b"},
    };
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " " << j;
}

}  // namespace
}  // namespace lanefeed_1
