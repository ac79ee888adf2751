#include "viewpoint_text.h"

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using fakes::expression;
using fakes::Facts;
using fakes::FakeData;
using fakes::info;
using fakes::make;
using fakes::Queries;
using fakes::vectorOf;
using lanefeed_test::CapturedLog;
using Query = basekit2::sptr_t<dataface_1::IQuery>;

class DrawByQueries : public fakes::ViewpointTest {
protected:
    const TLViewpointParser::DrawBy& resolve(const Queries& members) {
        library->known["it"] = vectorOf(members);
        return parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    }
    // A query that is of no kind that can be drawn.
    static Query plain(const Facts& facts = {}) {
        return make<fakes::Fake<dataface_1::IQuery>>(facts);
    }
};

Facts busy() {
    Facts facts;
    facts.id = "busy";
    facts.table = "slice_data";
    facts.path = "dd_task";
    facts.attr = "name";
    facts.expansion = info({});
    facts.min = expression(1);
    facts.max = expression(2.5);
    return facts;
}

std::string sourceText(const TLViewpointParser::DrawBy& drawBy) {
    const DicerDataSource& ds = drawBy.ds;
    return std::to_string(ds.m_dataType) + " " + ds.m_path + "/" + ds.m_table + "/" + ds.m_attr +
           " " + drawBy.displayName + " extras " + std::to_string(ds.m_extras.size()) + " max " +
           printVariant(ds.m_max);
}

TEST_F(DrawByQueries, FillTheSourceByTheirKind) {
    using namespace dataface_1;
    const std::string series = " /slice_data/ [%busy] extras 1 max 2.5";
    EXPECT_EQ(sourceText(resolve({info(busy())})),
              "1 dd_task/slice_data/name [%busy] extras 1 max 2.5");
    EXPECT_EQ(sourceText(resolve({make<FakeData<IDataQuery>>(busy())})),
              "2 /slice_data/  extras 0 max 2.5");
    EXPECT_EQ(sourceText(resolve({make<FakeData<ITimeQuery>>(busy())})), "3" + series);
    EXPECT_EQ(sourceText(resolve({make<FakeData<ICountQuery>>(busy())})), "4" + series);
    EXPECT_EQ(sourceText(resolve({make<FakeData<IInstanceCountQuery>>(busy())})), "5" + series);
    EXPECT_EQ(sourceText(resolve({make<fakes::FakeDerived>(busy())})), "6 //  extras 0 max 0");
    EXPECT_EQ(messages(), "");
    EXPECT_EQ(firstLayer().drawBy.ds.m_derivedQuery, library->known["it"]->getDefaultQuery());
    EXPECT_EQ(firstLayer().drawBy.ds.m_resolutionMs, 100.0);
    EXPECT_TRUE(firstLayer().hasDrawBy);
}

// A query of several kinds: each step takes one away from the front.
TEST_F(DrawByQueries, TakeTheFirstKindThatHolds) {
    using namespace dataface_1;
    const auto also = [](Query other) {
        Facts facts = busy();
        facts.otherKind = std::move(other);
        return facts;
    };
    Query query = make<FakeData<IDataQuery>>(busy());
    Facts vector = also(query);
    vector.members = {info({}), info({})};
    const std::vector<std::pair<int, Query>> cases = {
        {0, query = make<fakes::FakeVector>(vector)},
        {6, query = make<fakes::FakeDerived>(also(query))},
        {5, query = make<FakeData<IInstanceCountQuery>>(also(query))},
        {4, query = make<FakeData<ICountQuery>>(also(query))},
        {3, query = make<FakeData<ITimeQuery>>(also(query))},
        {1, query = info(also(query))}};
    for (const auto& [type, several] : cases)
        EXPECT_EQ(resolve({several}).ds.m_dataType, type);
}

TEST_F(DrawByQueries, ReportWhatCannotBeDrawn) {
    Facts tableless;
    tableless.path = "dd_task";
    const std::string prefix = "layer 1/1: <drawBy> <query> = it\\n";
    const std::string noTable = prefix + " resolved to unexpected instance table: (empty string)\n";
    const std::pair<Queries, std::string> cases[] = {
        {{}, prefix + " resolves to a NULL default query. Layer won't be created\n"},
        {{plain()}, prefix + "did not resolve to a valid query. Layer won't be created\n"},
        {{info(busy()), plain()},
         prefix + "resolves to multiple queries. Only the first query will be used.\n"},
        {{make<FakeData<dataface_1::ITimeQuery>>({})}, noTable},
        {{info(tableless)}, noTable},
        {{info({})},
         prefix + " resolved to unexpected attribute table: (empty string)\n" + noTable},
        {{make<fakes::FakeDerived>({})}, ""},
        {{vectorOf({info({})})}, ""}};
    for (const auto& [members, expected] : cases) {
        logger = basekit2::make_object<ParseLogger>();
        const CapturedLog log;
        resolve(members);
        EXPECT_EQ(messages(), expected);
        const bool severe = expected.find("unexpected") == std::string::npos && !expected.empty();
        EXPECT_EQ(log.count("Area #1 Layer #1 <drawBy> <query> = it\n"), severe ? 1 : 0);
    }
    EXPECT_TRUE(firstLayer().drawBy.valid);
}

TEST_F(DrawByQueries, FollowTheExpansionChain) {
    const auto link = [](const char* path, Query next, std::vector<basekit2::variant_t> values) {
        Facts facts;
        facts.path = path;
        facts.expansion = std::move(next);
        facts.values = std::move(values);
        return facts;
    };
    Facts facts = busy();
    const Query last = info(link("dd_core", nullptr, {}));
    facts.expansion =
        info(link("dd_task", plain(link("", info(link("dd_thread", last, {})), {})), {3, "a"}));
    const auto& extras = resolve({make<FakeData<dataface_1::ITimeQuery>>(facts)}).ds.m_extras;
    ASSERT_EQ(extras.size(), 3U);
    EXPECT_EQ(extras[0].path + " " + extras[1].path + " " + extras[2].path,
              "dd_task dd_thread dd_core");
    EXPECT_EQ(extras[0].values, (std::vector<std::string>{"3", "a"}));
    EXPECT_EQ(extras[2].query, last);
    EXPECT_EQ(extras[2].suffix, "");
}

TEST_F(DrawByQueries, TakeWhatCannotBeEvaluatedForZero) {
    const std::pair<basekit2::sptr_t<dataface_1::IExpression>, double> cases[] = {
        {expression(9, false), 0.0},
        {expression("9"), 0.0},
        {expression(true), 1.0},
        {expression(basekit2::u64_t{1} << 63U), 9223372036854775808.0}};
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(parser.evaluateExpression(value), expected);
    TLViewpointParser::DrawBy drawBy;
    drawBy.ds.m_min = drawBy.ds.m_max = 4;
    Facts facts;
    facts.max = expression(9, false);
    const auto query = basekit2::make_object<fakes::FakeInfo>(facts);
    parser.getMinMax(query.get(), drawBy);
    EXPECT_EQ(drawBy.ds.m_min, 4) << "no expression leaves the value";
    EXPECT_EQ(drawBy.ds.m_max, 0);
}

TEST_F(DrawByQueries, RecogniseALifetimePair) {
    const auto member = [](const char* name, const basekit2::variant_t& value) {
        Facts facts;
        facts.attributes = {{name, value}};
        return info(facts);
    };
    const auto start = member("lifetimeStart", true);
    const auto end = member("lifetimeEnd", 1);
    EXPECT_TRUE(resolve({vectorOf({start, end}), plain()}).isLifetime);
    EXPECT_EQ(firstLayer().drawBy.displayName, "[%vector]");
    EXPECT_EQ(firstLayer().drawBy.ds.m_dataType, DicerDataSource::dsNone);
    EXPECT_NE(messages().find("resolves to multiple queries"), std::string::npos);
    EXPECT_FALSE(resolve({vectorOf({end, start})}).isLifetime);
    EXPECT_FALSE(resolve({vectorOf({start, member("lifetimeEnd", "true")})}).isLifetime);
    EXPECT_FALSE(resolve({vectorOf({start, member("lifetimeEnd", false)})}).isLifetime);
    const CapturedLog log;
    EXPECT_FALSE(resolve({vectorOf({start, nullptr})}).isLifetime);
    EXPECT_EQ(firstLayer().drawBy.displayName, "");
    EXPECT_EQ(log.count("it.current()"), 1);
    TLViewpointParser::DrawBy drawBy;
    EXPECT_FALSE(parser.resolveLifetimeQuery(vectorOf({start, end, end}), drawBy));
    EXPECT_EQ(log.count("bk2::iterator_util::get_item_count(it) == 2 "
                        "'Not enough items in the lifetime vector query!'"),
              1);
}

}  // namespace
}  // namespace lanefeed_1
