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

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using lanefeed_1::BaseProviderImpl;
using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;
using lanefeed_1::OverTimeDataSeries;

// Folds its chain into a query of another name, and keeps it when it is narrowed.
class FoldingQuery : public FakeInfoQuery {
public:
    using FakeInfoQuery::FakeInfoQuery;
    Query combinedExpansion(const Query& other) override {
        EXPECT_TRUE(other.is_null());
        QueryFacts folded = facts;
        folded.name += "+" + folded.next->getName();
        folded.next = nullptr;
        return infoQuery(folded);
    }
    Query restricted(const basekit2::generic_iterator_t<basekit2::variant_t>& values) override {
        QueryFacts narrowed = facts;
        narrowed.values = {values.current()};
        return makeQuery<FoldingQuery>(narrowed);
    }
};

DicerDataSource sourceOf(const Query& query, const QueryList& extras) {
    DicerDataSource source;
    source.m_defaultQuery = query;
    for (const Query& extra : extras)
        source.addExtra(extra, "", "", "", "", "");
    return source;
}

// A series "busy" by "process" and "thread", with those names and ids.
OverTimeDataSeries seriesOf(const std::vector<std::string>& names,
                            const std::vector<int>& ids,
                            const std::vector<double>& values = {1}) {
    OverTimeDataSeries made;
    made.nameParts = names;
    made.idParts = ids;
    made.name = "joined";
    made.values = values;
    made.ds = sourceOf(namedQuery("busy"), {namedQuery("process"), namedQuery("thread")});
    return made;
}

OverTimeData recordOf(const std::vector<OverTimeDataSeries>& set, int row = 3) {
    OverTimeData data;
    data.row = row;
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
    BaseProviderImpl::ColumnQueries queriesOf(const OverTimeData& data) const {
        BaseProviderImpl::ColumnQueries queries;
        EXPECT_TRUE(provider().createColumnQueries(data, queries));
        return queries;
    }
    std::string columnsOf(const OverTimeData& data) const {
        const auto tree = facekit_1_x::createTableTree();
        BaseProviderImpl::Columns columns;
        EXPECT_TRUE(
            provider().createColumnsFromOvertimeSeries(data, queriesOf(data), tree, columns));
        EXPECT_EQ(columns.size(), data.seriesSet.size());
        std::string text;
        for (const auto& column : allColumns(tree))
            text += textOf(column);
        return text;
    }
    // Two buckets of ten ticks.
    bool forestOf(const std::vector<OverTimeData>& records,
                  BaseProviderImpl::Forest& forest) const {
        return provider().arrayToForest(nullptr, 10, nullptr, 2, records, forest,
                                        windowOf(0, 20, 2));
    }
    void offerMappers() {
        m_factory = basekit2::make_object<FakeMapperFactory>();
        m_bound.input->offer<dataface_1::IManipulatorMapperFactory>(m_factory);
    }
    BoundProvider m_bound;
    sptr_t<FakeMapperFactory> m_factory;
};

TEST_F(Forest, NestsAColumnForEachLevelOfAnExpansion) {
    // A level without a name of its own is restricted to that of the whole series.
    EXPECT_EQ(columnsOf(recordOf({seriesOf({"lfd", "main"}, {1, 7}), seriesOf({"sh"}, {2})})),
              "timeBin row 3\nbusy\n  process=lfd\n    thread=main\n"
              "busy\n  process=sh\n    thread=joined\n");
    QueryFacts chained;
    chained.name = "process";
    chained.next = namedQuery("thread");
    const auto folding = makeQuery<FoldingQuery>(chained);
    OverTimeData data = recordOf({seriesOf({"lfd"}, {1})});
    data.seriesSet[0].ds = sourceOf(folding, {folding});
    EXPECT_EQ(columnsOf(data), "timeBin row 3\nprocess+thread\n  process+thread=lfd\n");
}

TEST_F(Forest, PaintsSeriesAsConfiguredUnlessTheyHaveAColour) {
    offerMappers();
    OverTimeData data = recordOf({seriesOf({"lfd", "main"}, {1, 7})});
    data.seriesSet[0].hasColor = true;
    data.seriesSet[0].color = 5;
    EXPECT_EQ(columnsOf(data), "timeBin row 3\nbusy #5\n  process=lfd #5\n    thread=main #5\n");
    EXPECT_TRUE(m_factory->asked.empty());
    data = recordOf({seriesOf({"lfd", "main"}, {1, 99}), seriesOf({"sh"}, {})});
    EXPECT_EQ(columnsOf(data), "timeBin row 3\nbusy\n  process=lfd #" + colorOf(1) +
                                   "\n    thread=main\nbusy\n  process=sh\n    thread=joined\n");
    // Values without an id are not asked for.
    EXPECT_EQ(m_factory->asked, (std::vector<std::string>{"process", "thread"}));
}

TEST_F(Forest, TellsWhyAValueHasNoColour) {
    offerMappers();
    const auto queries = queriesOf(recordOf({seriesOf({"lfd"}, {1})}));
    const auto tree = facekit_1_x::createTableTree();
    const auto mapped = facekit_1_x::createColumn(20, queries[0][1], tree);
    const auto unmapped = facekit_1_x::createColumn(20, queries[0][2], tree);
    const auto bare = facekit_1_x::createColumn(20, namedQuery("bare"), tree);
    unsigned int color = 5;
    const auto ask = [&](const sptr_t<IColumnInfo>& column, int id) {
        const error_code_t found =
            provider().getManipulatorColorForColumn(column, color, id, m_factory);
        const std::string text = found.as_string(1);
        return text.substr(0, text.find(", at file"));
    };
    const CapturedLog log;
    for (const auto& column : {mapped, bare})
        EXPECT_EQ(ask(column, -1), "noResult");
    EXPECT_EQ(ask(mapped, 99), "noResult");
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(ask(mapped, 97), "failure");
    EXPECT_EQ(ask(mapped, 98), "FailedTo.Convert.The.Object: packed color");
    EXPECT_EQ(ask(bare, 1), "IsNot.Valid.Query: colVectorQuery");
    for (const char* text : {"err.succeeded()", "bRet", "colVectorQuery"})
        EXPECT_EQ(log.count(text), 1);
    EXPECT_EQ(color, 5U);
    // Whether there is a mapper is asked once for each query.
    m_factory->asked.clear();
    m_factory->answer = error_code_t::noResult;
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(ask(unmapped, 1), "noResult");
    EXPECT_EQ(m_factory->asked, std::vector<std::string>{"thread"});
}

TEST_F(Forest, GivesEachRecordTheColumnsOfTheFirstFilledOne) {
    m_bound.database->pauses = {{1010, 5000}};
    OverTimeDataSeries second = seriesOf({"sh", "main"}, {2, 7}, {4, 4});
    second.hasColor = true;
    BaseProviderImpl::Forest forest;
    ASSERT_TRUE(forestOf({recordOf({}), recordOf({seriesOf({"lfd", "main"}, {1, 7}), second}),
                          recordOf({seriesOf({"x", "y"}, {5, 6}, {2, 2})})},
                         forest));
    ASSERT_EQ(forest.size(), 3U);
    const std::string head =
        "timeBin  busy  busy.process  busy.process.thread  "
        "busy  busy.process  busy.process.thread\n";
    const char* const row1 =
        "0        10    10            10                   40    40            40\n";
    const char* const row2 =
        "0        20    20            20                   0     0             0\n";
    EXPECT_EQ(tableText(forest[0]), head);
    EXPECT_EQ(tableText(forest[1]), head + row1);
    EXPECT_EQ(tableText(forest[2]), head + row2);
    EXPECT_EQ(allRows(forest[2]).at(0)->getQuery()->getName(), "timeBin");
    EXPECT_EQ(m_bound.database->pauseReads, 1) << "once for all records";
}

TEST_F(Forest, NeedsARecordWithSeries) {
    BaseProviderImpl::Forest forest;
    const CapturedLog log;
    EXPECT_FALSE(forestOf({recordOf({}), recordOf({})}, forest));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(forestOf({}, forest));
    EXPECT_EQ(log.count("otDataArray.size() > 0"), 1);
    EXPECT_FALSE(forestOf({recordOf({OverTimeDataSeries()})}, forest));
    EXPECT_EQ(log.count("ret && columnQueries.size() > 0"), 1);
    EXPECT_TRUE(forest.empty());
}

TEST_F(Forest, EndsQuietlyWhereverItIsCancelled) {
    const std::vector<OverTimeData> records(2, recordOf({seriesOf({"lfd", "main"}, {1, 7})}));
    const auto progress = basekit2::make_object<FakeProgress>();
    provider().setProgress(progress.get());
    const CapturedLog log;
    for (bool isWhole = false; !isWhole;) {
        progress->asked = 0;
        ++progress->cancelsAt;
        BaseProviderImpl::Forest forest;
        isWhole = forestOf(records, forest);
        EXPECT_EQ(forest.size() == 2, isWhole) << progress->cancelsAt;
    }
    EXPECT_GT(progress->asked, 10);
    EXPECT_TRUE(log.empty());
    provider().setProgress(nullptr);
}

TEST_F(Forest, ConvertsQueriesToSources) {
    using Time = FakeDataQuery<dataface_1::ITimeQuery>;
    m_bound.database->tables["slice_data"] = {};
    QueryFacts plain;
    plain.table = "slice_data";
    QueryFacts thread = plain;
    thread.path = "dd_thread";
    thread.attr = "name";
    thread.values = {"main", "io"};
    QueryFacts time = plain;
    time.next = infoQuery(thread);
    QueryFacts behindLink = plain;  // what is no attribute in a chain is stepped over
    behindLink.next = makeQuery<Time>(time);
    QueryFacts missing;
    missing.table = "missing_data";
    std::vector<DicerDataSource> sources;
    ASSERT_TRUE(provider().convertQueryToDataSource(
        vectorOf({makeQuery<Time>(time), makeQuery<Time>(missing),
                  makeQuery<FakeDataQuery<dataface_1::IInstanceCountQuery>>(plain),
                  makeQuery<FakeDataQuery<dataface_1::IDataQuery>>(plain),
                  makeQuery<FakeDataQuery<dataface_1::ICountQuery>>(behindLink)}),
        sources));
    std::string text;
    for (const DicerDataSource& source : sources) {
        EXPECT_FALSE(source.m_defaultQuery.is_null());
        EXPECT_EQ(source.m_extras.back().query, source.m_defaultQuery);
        text += std::to_string(source.m_dataType) + " " + source.m_table + ":";
        for (const auto& extra : source.m_extras)
            text += " [" + extra.path + " " + extra.table + " " + extra.attr + " " +
                    (extra.values.empty() ? "" : extra.values[0]) + "]";
    }
    EXPECT_EQ(text,
              "3 slice_data: [dd_thread slice_data name main] [ slice_data  ]"
              "5 slice_data: [ slice_data  ]"
              "4 slice_data: [dd_thread slice_data name main] [ slice_data  ]");
    const CapturedLog log;
    EXPECT_FALSE(provider().convertQueryToDataSource(nullptr, sources));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(provider().convertQueryToDataSource(vectorOf({nullptr}), sources));
    EXPECT_TRUE(log.contains("currQuery"));
}

}  // namespace
}  // namespace lanefeed_test
