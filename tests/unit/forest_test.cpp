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
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_1::BaseProviderImpl;
using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;
using lanefeed_1::OverTimeDataSeries;

// Folds its chain into a query of another name.
class FoldingQuery : public FakeInfoQuery {
public:
    using FakeInfoQuery::FakeInfoQuery;
    sptr_t<IQuery> combinedExpansion(const sptr_t<IQuery>& other) override {
        EXPECT_TRUE(other.is_null());
        QueryFacts folded = facts;
        folded.name += "+" + folded.next->getName();
        folded.next = nullptr;
        return basekit2::make_object<FakeInfoQuery>(folded);
    }
    sptr_t<IQuery> restricted(const basekit2::generic_iterator_t<variant_t>& values) override {
        QueryFacts narrowed = facts;
        narrowed.values = {values.current()};
        return basekit2::make_object<FoldingQuery>(narrowed);
    }
};

// That colour in a column: blue, green, red, alpha from the highest byte down.
std::string colorOf(unsigned id) {
    return std::to_string(0x30U << 24U | 0x20U << 16U | (10 * id) << 8U | 0x80U);
}

QueryFacts factsOf(const std::string& name) {
    QueryFacts facts;
    facts.id = name;
    facts.name = name;
    return facts;
}

class Forest : public testing::Test {
protected:
    // A series "busy" by "process" and "thread", with those names and ids.
    static OverTimeDataSeries series(const std::vector<std::string>& names,
                                     const std::vector<int>& ids,
                                     const std::vector<double>& values = {1}) {
        OverTimeDataSeries made;
        made.nameParts = names;
        made.idParts = ids;
        made.name = "joined";
        made.values = values;
        made.ds.m_defaultQuery = namedQuery("busy");
        for (const char* level : {"process", "thread"})
            made.ds.addExtra(namedQuery(level), "", "", "", "", "");
        return made;
    }
    static OverTimeData record(const std::vector<OverTimeDataSeries>& set, int row = 3) {
        OverTimeData data;
        data.row = row;
        data.seriesSet = set;
        return data;
    }
    // Each column as name, values that it is restricted to, and colour; nested ones indented.
    std::string columnsOf(const OverTimeData& data,
                          const BaseProviderImpl::ColumnQueries& queries) const {
        const auto tree = facekit_1_x::createTableTree();
        BaseProviderImpl::Columns columns;
        EXPECT_TRUE(
            m_bound.provider->createColumnsFromOvertimeSeries(data, queries, tree, columns));
        EXPECT_EQ(columns.size(), queries.size());
        std::string text;
        for (const auto& column : allColumns(tree))
            text += describe(column) + "\n";
        return text;
    }
    static std::string describe(const sptr_t<IColumnInfo>& column) {
        std::string text;
        for (auto parent = column->getParent(); !parent.is_null(); parent = parent->getParent())
            text += "  ";
        const auto vector = IVectorQuery::cast(column->getQuery());
        const auto query = vector.is_null() ? column->getQuery() : vector->getDefaultQuery();
        text += query->getName();
        const auto info = IInfoQuery::cast(query);
        for (auto values = info->getValues(0); !values.at_end(); values.next())
            text += "=" + values.current().get<std::string>();
        variant_t property;
        if (column->getContent(dataface_1::ccStyle, property)) {
            EXPECT_EQ(property.get_type(), basekit2::vtU32);
            text += " #" + std::to_string(property.get<basekit2::u32_t>());
        }
        if (column->getContent(dataface_1::ccId, property))
            text += " row " + std::to_string(property.get<int>());
        return text;
    }
    BaseProviderImpl::ColumnQueries queriesOf(const OverTimeData& data) const {
        BaseProviderImpl::ColumnQueries queries;
        EXPECT_TRUE(m_bound.provider->createColumnQueries(data, queries));
        return queries;
    }
    bool forestOf(const std::vector<OverTimeData>& records,
                  BaseProviderImpl::Forest& forest) const {
        return m_bound.provider->arrayToForest(nullptr, 10, nullptr, 1, records, forest,
                                               windowOf(0, 10, 1));
    }
    void offerMappers() {
        m_factory = basekit2::make_object<FakeMapperFactory>();
        m_bound.input->offer<dataface_1::IManipulatorMapperFactory>(m_factory);
    }

    BoundProvider m_bound;
    sptr_t<FakeMapperFactory> m_factory;
};

TEST_F(Forest, NestsAColumnForEachLevelOfAnExpansion) {
    const OverTimeData data = record({series({"lfd", "main"}, {1, 7}), series({"sh"}, {2})});
    // A level without a name of its own is restricted to that of the whole series.
    EXPECT_EQ(columnsOf(data, queriesOf(data)), R"(timeBin row 3
busy
  process=lfd
    thread=main
busy
  process=sh
    thread=joined
)");
}

TEST_F(Forest, FoldsChainsIntoOneQuery) {
    QueryFacts chained = factsOf("process");
    chained.next = namedQuery("thread");
    OverTimeData data = record({series({"lfd"}, {1})});
    data.seriesSet[0].ds.m_extras.clear();
    data.seriesSet[0].ds.m_defaultQuery = basekit2::make_object<FoldingQuery>(chained);
    data.seriesSet[0].ds.addExtra(basekit2::make_object<FoldingQuery>(chained), "", "", "", "", "");
    EXPECT_EQ(columnsOf(data, queriesOf(data)),
              "timeBin row 3\nprocess+thread\n  process+thread=lfd\n");
}

TEST_F(Forest, PaintsAllLevelsOfASeriesWithAColour) {
    OverTimeData data = record({series({"lfd", "main"}, {1, 7})});
    data.seriesSet[0].hasColor = true;
    data.seriesSet[0].color = 5;
    offerMappers();
    EXPECT_EQ(columnsOf(data, queriesOf(data)),
              "timeBin row 3\nbusy #5\n  process=lfd #5\n    thread=main #5\n");
    EXPECT_TRUE(m_factory->asked.empty());
}

TEST_F(Forest, PaintsExpansionValuesAsConfigured) {
    offerMappers();
    const OverTimeData data = record({series({"lfd", "main"}, {1, 99}), series({"sh"}, {})});
    EXPECT_EQ(columnsOf(data, queriesOf(data)),
              "timeBin row 3\nbusy\n  process=lfd #" + colorOf(1) +
                  "\n    thread=main\nbusy\n  process=sh\n    thread=joined\n");
    // Values without an id are not asked for.
    EXPECT_EQ(m_factory->asked, (std::vector<std::string>{"process", "thread"}));
}

TEST_F(Forest, TellsWhyAValueHasNoColour) {
    offerMappers();
    const OverTimeData data = record({series({"lfd"}, {1})});
    const auto queries = queriesOf(data);
    const auto tree = facekit_1_x::createTableTree();
    const auto column = facekit_1_x::createColumn(20, queries[0][1], tree);
    const auto bare = facekit_1_x::createColumn(20, namedQuery("bare"), tree);
    unsigned int color = 5;
    const auto ask = [&](const sptr_t<IColumnInfo>& of, int id) {
        return m_bound.provider->getManipulatorColorForColumn(of, color, id, m_factory);
    };
    const CapturedLog log;
    EXPECT_EQ(ask(column, -1).value(), error_code_t::noResult);
    EXPECT_EQ(ask(column, 99).value(), error_code_t::noResult);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(ask(column, 97).value(), error_code_t::failure);
    EXPECT_TRUE(log.contains("err.succeeded()"));
    const error_code_t text = ask(column, 98);
    EXPECT_EQ(*text.code(), dataface_1::error::FailedTo.Convert.The.Object);
    EXPECT_NE(text.as_string(1).find("packed color"), std::string::npos);
    EXPECT_TRUE(log.contains("bRet"));
    EXPECT_EQ(*ask(bare, 1).code(), dataface_1::error::IsNot.Valid.Query);
    EXPECT_TRUE(log.contains("colVectorQuery"));
    EXPECT_EQ(color, 5U);
    EXPECT_TRUE(basekit2::is_success(ask(column, 1)));
    EXPECT_NE(color, 5U);
    // Whether there is a mapper is asked once for each query.
    const auto unmapped = facekit_1_x::createColumn(20, queries[0][2], tree);
    m_factory->asked.clear();
    m_factory->answer = error_code_t::noResult;
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(ask(unmapped, 1).value(), error_code_t::noResult);
    EXPECT_EQ(m_factory->asked, std::vector<std::string>{"thread"});
}

TEST_F(Forest, GivesEachRecordTheColumnsOfTheFirstFilledOne) {
    m_bound.database->pauses = {{1, 2}};
    OverTimeDataSeries second = series({"sh", "main"}, {2, 7}, {4});
    second.hasColor = true;
    BaseProviderImpl::Forest forest;
    ASSERT_TRUE(forestOf({record({}, 0), record({series({"lfd", "main"}, {1, 7}), second}, 1),
                          record({series({"x", "y"}, {5, 6}, {2})}, 2)},
                         forest));
    ASSERT_EQ(forest.size(), 3U);
    EXPECT_TRUE(allRows(forest[0]).empty());
    EXPECT_EQ(allRows(forest[1]).size(), 1U);
    EXPECT_EQ(allColumns(forest[0]).size(), 7U);
    EXPECT_EQ(allColumns(forest[2]).size(), 7U);
    variant_t value;
    const auto row = allRows(forest[2]).at(0);
    EXPECT_TRUE(row->getContent(allColumns(forest[2])[1], dataface_1::ccValue, value));
    EXPECT_EQ(value, variant_t(20.0));
    EXPECT_TRUE(row->getContent(allColumns(forest[2])[4], dataface_1::ccValue, value));
    EXPECT_EQ(value, variant_t(0.0));
    EXPECT_EQ(row->getQuery()->getName(), "timeBin");
    // Pauses are read once for all records.
    EXPECT_EQ(m_bound.database->pauseReads, 1);
}

TEST_F(Forest, LeavesOutBucketsInPauses) {
    m_bound.database->pauses = {{0, 5000}};
    BaseProviderImpl::Forest forest;
    ASSERT_TRUE(forestOf({record({series({"lfd"}, {1})})}, forest));
    EXPECT_TRUE(allRows(forest[0]).empty());
}

TEST_F(Forest, NeedsARecordWithSeries) {
    BaseProviderImpl::Forest forest;
    const CapturedLog log;
    EXPECT_FALSE(forestOf({record({}), record({})}, forest));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(forestOf({}, forest));
    EXPECT_EQ(log.count("otDataArray.size() > 0"), 1);
    OverTimeData bare = record({OverTimeDataSeries()});
    EXPECT_FALSE(forestOf({bare}, forest));
    EXPECT_EQ(log.count("ret && columnQueries.size() > 0"), 1);
    EXPECT_TRUE(forest.empty());
}

TEST_F(Forest, EndsQuietlyWhereverItIsCancelled) {
    const std::vector<OverTimeData> records(2, record({series({"lfd", "main"}, {1, 7})}));
    const auto progress = basekit2::make_object<FakeProgress>();
    m_bound.provider->setProgress(progress.get());
    BaseProviderImpl::Forest whole;
    ASSERT_TRUE(forestOf(records, whole));
    const int polls = progress->asked;
    EXPECT_GT(polls, 10);
    const CapturedLog log;
    for (int at = 1; at <= polls; ++at) {
        progress->asked = 0;
        progress->cancelsAt = at;
        BaseProviderImpl::Forest forest;
        EXPECT_FALSE(forestOf(records, forest)) << at;
        EXPECT_LT(forest.size(), 2U);
    }
    EXPECT_TRUE(log.empty());
    m_bound.provider->setProgress(nullptr);
}

TEST_F(Forest, ConvertsQueriesToSources) {
    m_bound.database->tables["slice_data"] = {};
    QueryFacts thread = factsOf("thread");
    thread.path = "dd_thread";
    thread.table = "slice_data";
    thread.attr = "name";
    thread.values = {"main", "io"};
    QueryFacts time = factsOf("time");
    time.table = "slice_data";
    time.next = basekit2::make_object<FakeInfoQuery>(thread);
    QueryFacts missing = time;
    missing.table = "missing_data";
    QueryFacts count = time;
    count.next = nullptr;
    sptr_t<IVectorQuery> queries;
    for (const sptr_t<IQuery>& query : std::vector<sptr_t<IQuery>>{
             basekit2::make_object<FakeDataQuery<dataface_1::ITimeQuery>>(time),
             basekit2::make_object<FakeDataQuery<dataface_1::ITimeQuery>>(missing),
             basekit2::make_object<FakeDataQuery<dataface_1::IInstanceCountQuery>>(count),
             basekit2::make_object<FakeDataQuery<dataface_1::IDataQuery>>(count),
             basekit2::make_object<FakeDataQuery<dataface_1::ICountQuery>>(count)})
        queries = IVectorQuery::pushBack(queries, query);
    std::vector<DicerDataSource> sources;
    ASSERT_TRUE(m_bound.provider->convertQueryToDataSource(queries, sources));
    ASSERT_EQ(sources.size(), 3U);
    EXPECT_EQ(sources[0].m_dataType, DicerDataSource::dsTime);
    EXPECT_EQ(sources[0].m_table, "slice_data");
    ASSERT_EQ(sources[0].m_extras.size(), 2U);
    EXPECT_EQ(sources[0].m_extras[0].path, "dd_thread");
    EXPECT_EQ(sources[0].m_extras[0].table, "slice_data");
    EXPECT_EQ(sources[0].m_extras[0].attr, "name");
    EXPECT_EQ(sources[0].m_extras[0].values, std::vector<std::string>{"main"});
    EXPECT_EQ(sources[0].m_extras[1].query, sources[0].m_defaultQuery);
    EXPECT_TRUE(sources[0].m_extras[1].values.empty());
    EXPECT_EQ(sources[1].m_dataType, DicerDataSource::dsInstanceCount);
    EXPECT_EQ(sources[2].m_dataType, DicerDataSource::dsCount);
    const CapturedLog log;
    EXPECT_FALSE(m_bound.provider->convertQueryToDataSource(nullptr, sources));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(m_bound.provider->convertQueryToDataSource(
        basekit2::make_object<FakeVectorQuery>(std::vector<sptr_t<IQuery>>(1), QueryFacts()),
        sources));
    EXPECT_TRUE(log.contains("currQuery"));
}

TEST_F(Forest, StepsOverWhatIsNoAttributeInTheChainOfASource) {
    m_bound.database->tables["slice_data"] = {};
    QueryFacts thread = factsOf("thread");
    thread.table = "slice_data";
    QueryFacts link = factsOf("link");
    link.next = basekit2::make_object<FakeInfoQuery>(thread);
    QueryFacts time = factsOf("time");
    time.table = "slice_data";
    time.next = basekit2::make_object<FakeDataQuery<dataface_1::ITimeQuery>>(link);
    std::vector<DicerDataSource> sources;
    const auto query = basekit2::make_object<FakeDataQuery<dataface_1::ITimeQuery>>(time);
    ASSERT_TRUE(m_bound.provider->convertQueryToDataSource(IVectorQuery::pushBack(nullptr, query),
                                                           sources));
    ASSERT_EQ(sources.at(0).m_extras.size(), 2U);
    EXPECT_EQ(sources[0].m_extras[0].query->getName(), "thread");
    EXPECT_EQ(sources[0].m_extras[1].query->getName(), "time");
}

}  // namespace
}  // namespace lanefeed_test
