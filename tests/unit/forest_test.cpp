// Series to table trees: shape and queries of the columns, their colours, and queries to sources.

#include "bound_provider.h"
#include "series_tables.h"
#include "support/captured_log.h"
#include "support/fake_mapper.h"
#include "support/table_text.h"

#include <dataface_1/error.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using lanefeed_1::BaseProviderImpl;
using lanefeed_1::OverTimeData;
using lanefeed_1::OverTimeDataSeries;

// A series "busy" by "process" and "thread", with those names and ids.
OverTimeDataSeries seriesOf(const std::vector<std::string>& names, const std::vector<int>& ids) {
    OverTimeDataSeries made;
    made.nameParts = names;
    made.idParts = ids;
    made.name = "joined";
    made.values = {1};
    made.ds.m_defaultQuery = namedQuery("busy");
    for (const char* extra : {"process", "thread"})
        made.ds.addExtra(namedQuery(extra), "", "", "", "", "");
    return made;
}

OverTimeData recordOf(const std::vector<OverTimeDataSeries>& set) {
    OverTimeData data;
    data.row = 3;
    data.seriesSet = set;
    return data;
}

// A column as name, values that it is restricted to, and colour; a nested one indented.
std::string textOf(const sptr_t<IColumnInfo>& column) {
    std::string text;
    for (auto parent = column->getParent(); !parent.is_null(); parent = parent->getParent())
        text += "  ";
    const auto vector = dataface_1::IVectorQuery::cast(column->getQuery());
    const auto query = vector.is_null() ? column->getQuery() : vector->getDefaultQuery();
    text += query->getName();
    for (auto values = IInfoQuery::cast(query)->getValues(0); !values.at_end(); values.next())
        text += "=" + values.current().get<std::string>();
    basekit2::variant_t property;
    if (column->getContent(dataface_1::ccStyle, property)) {
        EXPECT_EQ(property.get_type(), basekit2::vtU32);
        text += " #" + std::to_string(property.get<basekit2::u32_t>());
    }
    if (column->getContent(dataface_1::ccId, property))
        text += " row " + std::to_string(property.get<int>());
    return text + "\n";
}

// That colour in a column: blue, green, red, alpha from the highest byte down.
std::string colorOf(unsigned id) {
    return std::to_string(0x30U << 24U | 0x20U << 16U | (10 * id) << 8U | 0x80U);
}

class Forest : public testing::Test {
protected:
    BaseProviderImpl& provider() const { return *m_bound.provider; }
    std::string columnsOf(const OverTimeData& data) const {
        const auto tree = facekit_1_x::createTableTree();
        BaseProviderImpl::ColumnQueries queries;
        BaseProviderImpl::Columns columns;
        EXPECT_TRUE(provider().createColumnQueries(data, queries));
        EXPECT_TRUE(provider().createColumnsFromOvertimeSeries(data, queries, tree, columns));
        EXPECT_EQ(columns.size(), data.seriesSet.size());
        std::string text;
        for (const auto& column : allColumns(tree))
            text += textOf(column);
        return text;
    }
    void offerMappers() {
        m_factory = basekit2::make_object<FakeMapperFactory>();
        m_bound.input->offer<dataface_1::IManipulatorMapperFactory>(m_factory);
    }
    BoundProvider m_bound;
    sptr_t<FakeMapperFactory> m_factory;
};

TEST_F(Forest, NestsAndPaintsSeriesAsConfiguredUnlessTheyHaveAColour) {
    offerMappers();
    OverTimeData data = recordOf({seriesOf({"lfd", "main"}, {1, 7})});
    data.seriesSet[0].hasColor = true;
    data.seriesSet[0].color = 5;
    EXPECT_EQ(columnsOf(data), "timeBin row 3\nbusy #5\n  process=lfd #5\n    thread=main #5\n");
    EXPECT_TRUE(m_factory->asked.empty());
    // A level without a name of its own is restricted to that of the whole series.
    data = recordOf({seriesOf({"lfd", "main"}, {1, 99}), seriesOf({"sh"}, {})});
    EXPECT_EQ(columnsOf(data), "timeBin row 3\nbusy\n  process=lfd #" + colorOf(1) +
                                   "\n    thread=main\nbusy\n  process=sh\n    thread=joined\n");
    // Values without an id are not asked for.
    EXPECT_EQ(m_factory->asked, (std::vector<std::string>{"process", "thread"}));
}

TEST_F(Forest, TellsWhyAValueHasNoColour) {
    offerMappers();
    const auto tree = facekit_1_x::createTableTree();
    const auto mapped = facekit_1_x::createColumn(20, vectorOf({namedQuery("process")}), tree);
    const auto bare = facekit_1_x::createColumn(20, namedQuery("bare"), tree);
    unsigned int color = 5;
    const auto ask = [&](const sptr_t<IColumnInfo>& column, int id) {
        const std::string text =
            provider().getManipulatorColorForColumn(column, color, id, m_factory).as_string(1);
        return text.substr(0, text.find(", at file"));
    };
    const CapturedLog log;
    EXPECT_EQ(ask(bare, -1), "noResult");
    EXPECT_EQ(ask(mapped, 99), "noResult");
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(ask(mapped, 97), "failure");
    EXPECT_EQ(ask(mapped, 98), "FailedTo.Convert.The.Object: packed color");
    EXPECT_EQ(ask(bare, 1), "IsNot.Valid.Query: colVectorQuery");
    for (const char* text : {"err.succeeded()", "bRet", "colVectorQuery"})
        EXPECT_EQ(log.count(text), 1);
    // Whether there is a mapper is asked once for each query.
    const auto unmapped = facekit_1_x::createColumn(20, vectorOf({namedQuery("thread")}), tree);
    m_factory->answer = basekit2::error_code_t::noResult;
    EXPECT_EQ(ask(unmapped, 1) + ask(unmapped, 1), "noResultnoResult");
    EXPECT_EQ(m_factory->asked, (std::vector<std::string>{"process", "thread"}));
    EXPECT_EQ(color, 5U);
}

TEST_F(Forest, NeedsARecordWithSeries) {
    BaseProviderImpl::Forest forest;
    const auto make = [&](const std::vector<OverTimeData>& records) {
        return provider().arrayToForest(nullptr, 10, nullptr, 2, records, forest,
                                        windowOf(0, 20, 2));
    };
    const CapturedLog log;
    EXPECT_FALSE(make({recordOf({}), recordOf({})}));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(make({}));
    EXPECT_EQ(log.count("otDataArray.size() > 0"), 1);
    EXPECT_FALSE(make({recordOf({OverTimeDataSeries()})}));
    EXPECT_EQ(log.count("ret && columnQueries.size() > 0"), 1);
    EXPECT_TRUE(forest.empty());
    std::vector<lanefeed_1::DicerDataSource> sources;
    EXPECT_FALSE(provider().convertQueryToDataSource(nullptr, sources));
    EXPECT_FALSE(provider().convertQueryToDataSource(vectorOf({nullptr}), sources));
    EXPECT_EQ(log.count("currQuery"), 1);
}

}  // namespace
}  // namespace lanefeed_test
