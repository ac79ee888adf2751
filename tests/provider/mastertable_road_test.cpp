// Series out of a master table that is given by hand: when it serves, when the store does, and what
// is told on the way.

#include "provider_fixture.h"
#include "reduciblemastertable.h"

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using lanefeed_1::OverTimeData;
using lanefeed_1::OverTimeDataSeries;
using lanefeed_1::QueryParam;
using storelink1::ITimelineQuery;
using Queries = std::vector<basekit2::sptr_t<dataface_1::IQuery>>;

constexpr char kSkipped[] =
    "Master table skipped for overtime query. Cache config update may be required!";

// What one reduction answers.
struct Reduction {
    error_code_t err;
    std::vector<OverTimeData> data;
    Strings series;
};

// A master table as far as the provider asks it, without the part that it belongs to its manager.
template <class Interface>
class TableFacts : public Interface {
public:
    std::string getInstanceTable() override { return "slice_data"; }
    ITimelineQuery::QueryType getQueryType() override { return ITimelineQuery::qtCount; }
    ITimelineQuery::ObjectType getObjectType() override { return ITimelineQuery::otPoint; }
    basekit2::generic_iterator_t<std::string> getRowBys() override { return {}; }
    basekit2::generic_iterator_t<std::string> getExpansions() override { return {}; }
    QueryParam getParameters() override { return {}; }
};

class FakeMasterTable : public TableFacts<lanefeed_1::IReducibleMasterTable> {
public:
    error_code_t reduce(std::vector<OverTimeData>& data,
                        std::vector<OverTimeDataSeries>& series,
                        const Queries& rowBys,
                        const QueryParam& /*param*/,
                        relay2::IProgress* /*progress*/) override {
        const Reduction& answer = reductions.at(depths.size());
        depths.push_back(rowBys.size());
        if (!basekit2::is_success(answer.err)) return answer.err;
        EXPECT_TRUE(data.empty()) << "records of an earlier path";
        data = answer.data;
        for (const std::string& name : answer.series) {
            series.emplace_back();
            series.back().name = name;
        }
        return answer.err;
    }

    std::vector<Reduction> reductions;
    std::vector<std::size_t> depths;  // length of the path at each call
};

class FakeMasterTableMgr : public lanefeed_1::IMasterTableMgr {
public:
    void add(const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IQuery>>& /*rowBys*/,
             const basekit2::sptr_t<dataface_1::IDataQuery>& /*dataQuery*/,
             const std::string& /*objectType*/) override {}
    void finalize() override {}
    error_code_t getMasterTable(const QueryParam& /*param*/,
                                basekit2::sptr_t<lanefeed_1::IMasterTable>& out,
                                relay2::IProgress* /*progress*/) override {
        out = table;
        return err;
    }
    void filterChanged() override {}
    void clear() override {}

    basekit2::sptr_t<lanefeed_1::IMasterTable> table;
    error_code_t err;
};

OverTimeData reduced(const std::vector<int>& dbIndexes, double value) {
    OverTimeData data;
    data.dbIndexes = dbIndexes;
    data.seriesSet.resize(1);
    data.seriesSet[0].name = "own";
    data.seriesSet[0].values = {value};
    return data;
}

class MasterTableRoad : public ProviderTest {
protected:
    MasterTableRoad() {
        m_mgr->table = m_table;
        m_provider->setMasterTableMgr(m_mgr);
        m_source.m_dataType = lanefeed_1::DicerDataSource::dsCount;
        m_db->answers = {answerOf({"stored"}, {{{20}, {7}}})};
    }
    std::string read() {
        m_table->depths.clear();
        QueryParam param = request();
        param.rowByDS = m_rowBySource.m_defaultQuery.is_null() ? nullptr : &m_rowBySource;
        std::vector<OverTimeData> data;
        return m_provider->read(param, data) ? dataText(data) : "failed";
    }
    // Rows 10 and 20 in two levels.
    void bindLevels() {
        bindRows({10, 20});
        QueryFacts outer;
        outer.path = "dd_thread";
        outer.next = infoQuery({});
        m_rowBySource = rowBy(outer).ds;
    }

    const basekit2::sptr_t<FakeMasterTable> m_table = basekit2::make_object<FakeMasterTable>();
    const basekit2::sptr_t<FakeMasterTableMgr> m_mgr = basekit2::make_object<FakeMasterTableMgr>();
};

TEST_F(MasterTableRoad, ServesRowsWithoutAskingTheStore) {
    bindRows({10, 20, 30});
    m_table->reductions = {{{}, {reduced({20}, 5), reduced({77}, 6)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[empty -] 1:[own 5] 2:[empty -]");
    EXPECT_EQ(m_table->depths, (std::vector<std::size_t>{1}));
    // Of several levels rows are filled from the last one.
    bindLevels();
    m_table->reductions = {{{}, {reduced({20}, 5)}, {"first"}}, {{}, {}, {"last"}}};
    EXPECT_EQ(read(), "0:[last -] 1:[own 5]");
    EXPECT_EQ(m_table->depths, (std::vector<std::size_t>{1, 2}));
    // An empty table leaves its rows without series, and that is an answer.
    m_table->reductions = {{error_code_t::noResult, {}, {}}, {error_code_t::noResult, {}, {}}};
    EXPECT_EQ(read(), "0:[] 1:[]");
    EXPECT_TRUE(m_db->calls.empty() && m_log.empty());
}

TEST_F(MasterTableRoad, LeadsToTheStoreWithAnAlertWithoutATable) {
    bindRows({10, 20});
    m_mgr->err = error_code_t::noResult;
    EXPECT_EQ(read(), "0:[stored -] 1:[stored 7]");
    EXPECT_EQ(m_log.count(kSkipped), 1);
    m_mgr->err = error_code_t::success;
    m_mgr->table.reset();
    EXPECT_EQ(read(), "0:[stored -] 1:[stored 7]");
    EXPECT_EQ(m_log.count(kSkipped), 2);
    m_mgr->table = basekit2::make_object<TableFacts<lanefeed_1::IMasterTable>>();
    EXPECT_EQ(read(), "0:[stored -] 1:[stored 7]") << "a table that cannot be reduced";
    EXPECT_TRUE(m_log.contains("masterTableImpl"));
    // Nothing found is nothing missed.
    m_log.clear();
    m_mgr->table.reset();
    m_db->answers = {};
    EXPECT_EQ(read(), "0:[] 1:[]");
    EXPECT_FALSE(m_log.contains(kSkipped));
}

TEST_F(MasterTableRoad, StartsAfreshAfterAFailedReductionButNotAfterACancel) {
    bindLevels();
    m_table->reductions = {{{}, {reduced({20}, 5)}, {"first"}}, {error_code_t::failure, {}, {}}};
    m_progress->cancelsAt = m_progress->asked + 1;
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.empty() && m_db->calls.empty());
    m_progress->cancelsAt = 0;
    m_db->answers = {answerOf({"stored"}, {})};
    EXPECT_EQ(read(), "0:[stored -] 1:[stored -]");
    EXPECT_TRUE(m_log.contains("err.succeeded()"));
}

TEST_F(MasterTableRoad, ServesAnAreaWithoutRowsWithOneRecordOnly) {
    bind();
    m_table->reductions = {{{}, {reduced({}, 5)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[own 5]");
    m_table->reductions = {{{}, {reduced({}, 5), reduced({}, 6)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[stored 7]");
    EXPECT_TRUE(m_log.contains("m_rowCount == 1 && currentArray.size() == 1"));
    EXPECT_FALSE(m_log.contains(kSkipped));
}

}  // namespace
}  // namespace lanefeed_test
