#include "support/fake_grid.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using dataface_1::IVectorQuery;
using lanefeed_test::FakeDataQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::makeQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::vectorOf;
using LayerInfo = TLViewpointParser::LayerInfo;
using RowBy = TLViewpointParser::RowBy;
using RowSet = TLViewpointParser::RowSet;

// Picks one query for every layer, and offers groupings.
class PickingGrid : public lanefeed_test::FakeGridParser {
public:
    PickingGrid() : FakeGridParser("", nullptr) {}
    void setColumnBy(const sptr_t<IVectorQuery>& query) override {
        columns = query;
        ++columnsSet;
    }
    sptr_t<dataface_1::IQuery> getRowByForLevel(const sptr_t<dataface_1::IQuery>& layer,
                                                int level) override {
        askedFor = layer;
        return level == 1 ? picked : sptr_t<dataface_1::IQuery>();
    }

    sptr_t<dataface_1::IQuery> picked;
    sptr_t<dataface_1::IQuery> askedFor;
    sptr_t<IVectorQuery> columns;
    int columnsSet = 0;
};

// A row set of rows named by letters; a small letter continues the group before it.
RowSet rowsOf(const std::string& letters) {
    RowSet rowSet;
    for (const char letter : letters) {
        RowBy row;
        row.displayName = letter;
        row.continuesGroup = letter >= 'a';
        row.ds.m_defaultQuery = infoQuery({});
        rowSet.rowBys.push_back(row);
    }
    return rowSet;
}

std::string names(const std::vector<RowBy>& rows) {
    std::string text;
    for (const RowBy& row : rows)
        text += row.displayName;
    return text;
}

class RowGroups : public fakes::ViewpointTest {
protected:
    const sptr_t<basekit2::ref_counted_t<PickingGrid>> m_grid =
        basekit2::make_object<PickingGrid>();
};
TEST_F(RowGroups, GiveALayerTheFirstOfEachWithoutAGrid) {
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowsOf("AbCD"))), "ACD");
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowsOf("abC"))), "aC") << "the first opens one";
    LayerInfo lifetime;
    lifetime.drawBy.isLifetime = true;
    const std::tuple<LayerInfo, const char*, int, const char*> cases[] = {
        {{}, "", 0, ""},    {{}, "A", 99, "A"}, {{}, "A", -1, "A"},        {{}, "ABc", 0, "A"},
        {{}, "ABc", 1, ""}, {{}, "AB", 2, ""},  {lifetime, "AbC", 7, "A"}, {{}, "AB", 1, "B"}};
    for (const auto& [layer, letters, level, expected] : cases)
        EXPECT_EQ(m_parser.getLayerRowBy(layer, rowsOf(letters), level).displayName, expected)
            << letters << level;
}

TEST_F(RowGroups, GiveALayerTheRowThatAGridPicks) {
    RowSet rowSet = rowsOf("ABcdEf");
    rowSet.gridQuery = m_grid;
    m_grid->picked = rowSet.rowBys[2].ds.m_defaultQuery;
    LayerInfo layer;
    layer.drawBy.ds.m_vectorQuery = vectorOf({infoQuery({})});
    EXPECT_EQ(names(m_parser.getAllLayerRowBy(layer, rowSet)), "Ac");
    EXPECT_EQ(m_grid->askedFor, layer.drawBy.ds.m_vectorQuery);
    m_grid->askedFor.reset();
    EXPECT_EQ(m_parser.getLayerRowBy(layer, rowSet, 1).displayName, "c");
    EXPECT_EQ(m_grid->askedFor, layer.drawBy.ds.m_vectorQuery);
    layer.drawBy.isLifetime = true;
    EXPECT_EQ(names(m_parser.getAllLayerRowBy(layer, rowSet)), "ABE") << "whatever the grid picks";
    EXPECT_EQ(m_parser.getLayerRowBy({}, rowSet, 2).displayName, "");
    m_grid->picked = infoQuery({});
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowSet)), "A");
}

TEST_F(RowGroups, AreAskedOfAGridOnlyWithoutRowsOfTheirOwn) {
    parse("<area><rowSet/></area><area><rowSet/></area><area><rowSet><columnBy/></rowSet></area>");
    for (TLViewpointParser::Area& area : m_parser.m_areas)
        area.rowSets[0].gridQuery = m_grid;
    m_parser.m_areas[0].rowSets[0].rowBys.resize(1);
    m_parser.resolveQueries();
    EXPECT_EQ(messages(),
              "area 1: Both rowBy and gridQuery sections are present in the same rowSet. "
              "Grid query won't be used\n");
    EXPECT_EQ(m_grid->columnsSet, 1);
}

// Alternatives and the alternatives of a list become records; what follows a bad grouping does not.
TEST_F(RowGroups, BecomeRecordsUpToTheFirstThatCannotBeRead) {
    const auto info = [](const std::string& id, const std::string& color = "") {
        QueryFacts facts;
        facts.id = id;
        facts.table = "dd_band";
        facts.path = "dd_" + id;
        facts.attr = "name";
        if (!color.empty()) facts.attributes["timelineGraphColor"] = color.c_str();
        return infoQuery(facts);
    };
    const auto data = makeQuery<FakeDataQuery<dataface_1::ITimeQuery>>({});
    const auto good = vectorOf({info("a", "1,2,3"), vectorOf({info("b"), info("c")})});
    const std::pair<sptr_t<IVectorQuery>, std::string> cases[] = {
        {nullptr, "Null rowBy query"},
        {vectorOf({}), "Empty rowBy in gridQuery"},
        {vectorOf({vectorOf({})}), "Empty rowBy in gridQuery"},
        {vectorOf({info("d"), nullptr}), "rowBy is not a valid info or vector query"},
        {vectorOf({info("d"), data}), "rowBy is not a valid info or vector query"},
        {vectorOf({vectorOf({info("d"), data})}), "rowBy is not valid"},
    };
    for (const auto& [bad, text] : cases) {
        parse("<area><rowSet/></area>");
        RowSet& rowSet = m_parser.m_areas[0].rowSets[0];
        rowSet.gridQuery = m_grid;
        m_grid->groupings = {good, vectorOf({info("e")}), bad, good};
        m_parser.resolveQueries();
        EXPECT_EQ(messages().rfind("area 1: Failed to get groupings for gridQuery: "
                                   "IsNot.Expected.Situation: " +
                                       text + ", at file: ",
                                   0),
                  0U)
            << messages();
        m_logger = basekit2::make_object<ParseLogger>();
        ASSERT_EQ(rowSet.rowBys.size(), 4U) << text;
        std::string rows;
        for (const RowBy& row : rowSet.rowBys)
            rows += row.ds.m_table + "::" + row.ds.m_path + "." + row.ds.m_attr +
                    (row.continuesGroup ? "+" : "") + (row.valid ? " " : "invalid") +
                    (row.ds.m_defaultQuery.is_null() ? "without query" : "");
        EXPECT_EQ(rows,
                  "dd_band::dd_a.name dd_band::dd_b.name+ dd_band::dd_c.name+ "
                  "dd_band::dd_e.name ");
        EXPECT_EQ(rowSet.rowBys[3].displayName, "[%Running_wait_state]");
        EXPECT_TRUE(rowSet.rowBys[0].hasColor && rowSet.rowBys[0].color.blue == 3);
        EXPECT_FALSE(rowSet.rowBys[1].hasColor);
    }
}

TEST_F(RowGroups, GetTheirColumnsFromTheLayers) {
    QueryFacts facts;
    facts.id = "value";
    facts.name = "%value";
    facts.table = "counter_data";
    facts.path = "value";
    const auto time = makeQuery<FakeDataQuery<dataface_1::ITimeQuery>>({});
    m_library->vectors = {{"time", vectorOf({time})}, {"value", vectorOf({infoQuery(facts)})}};
    parse(
        "<area><rowSet><layer><drawBy query='time'/></layer><layer><drawBy query='none'/></layer>"
        "<layer><drawBy query='value'/></layer><layer><drawBy query='time'/></layer></rowSet>"
        "</area>");
    RowSet& rowSet = m_parser.m_areas[0].rowSets[0];
    rowSet.gridQuery = m_grid;
    rowSet.layers[3].drawBy.isLifetime = true;
    m_parser.setColumnByFromLayers(rowSet);
    ASSERT_EQ(m_grid->columns->getCount(), 2);
    const auto columns = m_grid->columns->getQueries();
    EXPECT_EQ(columns.current(), time);
    columns.next();
    EXPECT_EQ(columns.current()->getId(), "value");
    ASSERT_EQ(m_library->created.size(), 1U);
    EXPECT_EQ(printVariantBag(m_library->created[0], false),
              "<id> = value\n<displayName> = %value\ndbPath:\n<#text> = counter_data::value\n\n");
    EXPECT_EQ(m_library->created[0].get_name(), "instanceCountQuery");

    m_library->refuses = true;
    rowSet.layers.erase(rowSet.layers.begin());
    m_parser.setColumnByFromLayers(rowSet);
    EXPECT_TRUE(m_grid->columns.is_null());
}

}  // namespace
}  // namespace lanefeed_1
