// Which layers a result can show.
#include "idicerprovider.h"
#include "session/open_result.h"
#include "support/fake_store.h"
#include "support/trace_text.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

TEST(Applicable, NeedsTheTablesOfALayerAndOfItsTooltip) {
    const lanefeed_test::TextResult trace("thread main 0..100 a");
    lanefeed_runtime::OpenOptions options;
    options.queryFiles = {LANEFEED_SOURCE_DIR "/tests/viewpoint/golden/queries.xml"};
    lanefeed_runtime::OpenOutcome outcome;
    const auto input = lanefeed_runtime::openResult(trace.file(), options, outcome);
    ASSERT_TRUE(outcome.isOpened()) << outcome.text;
    basekit2::sptr_t<dataface_1::IQueryLibrary> library;
    ASSERT_TRUE(dataface_1::lookup(input, library));
    const std::pair<const char*, bool> cases[] = {
        {R"(<drawBy query="busy"/>)", true},
        {R"(<drawBy query="task"/><tooltipBy query="task"/>)", true},
        {R"(<drawBy query="sum"/>)", false},
        {R"(<drawBy query="task"/><tooltipBy query="counted"/>)", false},
        {R"(<drawBy query="byCounter"/>)", false},
        {R"(<drawBy query="task"/><highlightBy query="counted"/>)", true},
        {R"(<drawBy query="share"/><tooltipBy query="task"/>)", true},
        {R"(<drawBy query="sumShare"/>)", false},
        {R"(<drawBy query="share"/><tooltipBy query="counted"/>)", false},
        {R"(<drawBy query="missing"/>)", false},
        {R"(<drawBy query="life"/>)", true}};
    std::string layers;
    for (const auto& [layer, applies] : cases)
        layers += "<layer>" + std::string(layer) + "</layer>";
    fakes::HostParser parser;
    parser.parseViewpoint(
        fakes::element("<viewpoint><area><rowSet>" + layers + "</rowSet></area></viewpoint>"),
        library, nullptr, input, basekit2::make_object<ParseLogger>());
    TLViewpointParser::RowSet& rowSet = parser.m_areas.at(0).rowSets.at(0);
    const auto provider = IDicerProvider::create(input);
    provider->setResult(0, input, &rowSet, "", 0);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(parser.isApplicable(rowSet.layers.at(i), provider.get()), cases[i].second)
            << cases[i].first;
    EXPECT_FALSE(parser.isApplicable(rowSet.layers.at(0), nullptr));
}
}  // namespace
}  // namespace lanefeed_1
