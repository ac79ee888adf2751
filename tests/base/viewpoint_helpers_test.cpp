// The viewpoint helpers: what a result must hold for a query, and what this library does not serve.
#include "fake_queries.h"

#include <facekit_1_x/table_helpers.h>
#include <slicekit_1_0/grid_viewpoint_parser.h>
#include <slicekit_1_0/prerequisites.h>
#include <slicekit_1_0/rpn_processor.h>
#include <storelink1/database.h>

#include <gtest/gtest.h>

#include <set>

namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::make_object;
using basekit2::sptr_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_test::FakeDataQuery;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::FakeInfoQuery;
using slicekit_1_0::PrerequisiteHelper;

// A store that knows names of tables ("dd_band") and columns ("dd_band::dd_thread") and no rows.
class NamesQuery : public storelink1::IQuery {
public:
    NamesQuery(const std::set<std::string>& names, std::string table)
        : m_names(names), m_table(std::move(table)) {}
    void useFilters() override {}
    void addFilter(const std::string&) override {}
    basekit2::u16_t addColumn(const std::string& name,
                              int,
                              const generic_iterator_t<std::string>&,
                              bool,
                              bool,
                              std::string&) override {
        return m_names.count(m_table + "::" + name) != 0 ? 0 : storelink1::InvalidColIdx;
    }
    basekit2::u16_t addCondition(const std::string&, int, const basekit2::variant_t&) override {
        return storelink1::InvalidCondIdx;
    }
    bool addOrderBy(const std::string&, bool) override { return false; }
    bool addKeyColumn(const std::string&) override { return false; }
    sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> execute(relay2::IProgress*,
                                                                            std::string&,
                                                                            std::string&) override {
        return nullptr;
    }

private:
    const std::set<std::string>& m_names;
    std::string m_table;
};

class NamesDatabase : public storelink1::IDatabase {
public:
    explicit NamesDatabase(std::set<std::string> names) : m_names(std::move(names)) {}
    sptr_t<storelink1::IQuery> createQuery(const std::string& table, int) override {
        return make_object<NamesQuery>(m_names, table);
    }
    sptr_t<storelink1::ITimelineQuery> createTimelineQuery() override { return nullptr; }
    sptr_t<storelink1::IAttributeDataRetriever> createAttributeRetriever(const std::string&,
                                                                         bool) override {
        return nullptr;
    }
    bool getTimeRange(basekit2::u64_t&, basekit2::u64_t&, int) override { return false; }
    basekit2::u64_t getTicksPerSecond() override { return 1000; }
    sptr_t<storelink1::IFilterRegistry> getFilterRegistry() override { return nullptr; }
    bool getBandKind(const std::string&, int&) override { return false; }
    bool isTableExist(const std::string& table) override { return m_names.count(table) != 0; }
    sptr_t<storelink1::ITimelineDatabase> getTimelineDatabase() override { return nullptr; }
    sptr_t<storelink1::ITimelineDatabase> getFilteredTimelineDatabase() override { return nullptr; }
    generic_iterator_t<storelink1::time_interval_t> getPausedIntervals() override { return {}; }
    void clearCaches() override {}

private:
    std::set<std::string> m_names;
};

class NamesPerfDatabase : public storelink1::IPerfDatabase {
public:
    sptr_t<storelink1::IDatabase> getDatabase(const sptr_t<dataface_1::IInputData>&) override {
        return make_object<NamesDatabase>(
            std::set<std::string>{"dd_band", "dd_band::dd_thread", "slice_data"});
    }
};

// Hands the database out through a proxy, as hosts may.
class Proxy : public basekit2::das_proxy_t {
public:
    unsigned int get_type() const override {
        return basekit2::type_id_t<storelink1::IPerfDatabase>::id();
    }
    sptr_t<basekit2::object_interface_t> instantiate_object_interface() override {
        return make_object<NamesPerfDatabase>();
    }
};

class NamesResult : public dataface_1::IInputData {
public:
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type == basekit2::type_id_t<storelink1::IPerfDatabase>::id())
            return basekit2::notype_ptr_t(make_object<Proxy>());
        return IInputData::adapt_to_pointer(type);
    }
};

sptr_t<IVectorQuery> listOf(const std::vector<sptr_t<IQuery>>& queries) {
    sptr_t<IVectorQuery> list;
    for (const auto& query : queries)
        list = IVectorQuery::pushBack(list, query);
    return list;
}

const sptr_t<IQuery>& present() {
    static const sptr_t<IQuery> query = make_object<FakeDataQuery>("slice_data");
    return query;
}
const sptr_t<IQuery>& absent() {
    static const sptr_t<IQuery> query = make_object<FakeDataQuery>("counter_data");
    return query;
}

bool isValid(const std::vector<sptr_t<IQuery>>& queries,
             PrerequisiteHelper::operation_t operation = PrerequisiteHelper::group_and) {
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(make_object<NamesResult>(), listOf(queries), operation);
    return helper.arePrerequisitesValid();
}

TEST(Prerequisites, AskTheStoreForTablesAndAttributes) {
    EXPECT_TRUE(PrerequisiteHelper().arePrerequisitesValid());
    EXPECT_TRUE(isValid({present()}));
    EXPECT_FALSE(isValid({absent()}));
    EXPECT_TRUE(isValid({make_object<FakeInfoQuery>("dd_band", "dd_thread")}));
    EXPECT_TRUE(isValid({make_object<FakeInfoQuery>("dd_band", "")}));
    EXPECT_FALSE(isValid({make_object<FakeInfoQuery>("dd_band", "dd_core")}));
    EXPECT_FALSE(isValid({make_object<FakeInfoQuery>("missing", "dd_thread")}));
    EXPECT_TRUE(isValid({lanefeed_test::fakeQuery("needs nothing")}));
    EXPECT_FALSE(isValid({nullptr}));
}

TEST(Prerequisites, ADerivedQueryNeedsAllItsMembers) {
    const auto derived = [](std::vector<sptr_t<IQuery>> members) {
        return make_object<FakeDerivedQuery>(std::move(members));
    };
    EXPECT_TRUE(isValid({derived({present(), present()})}));
    EXPECT_FALSE(isValid({derived({present(), absent()})}));
    EXPECT_FALSE(isValid({derived({derived({absent()})})}));
    EXPECT_TRUE(isValid({derived({listOf({present()})})}));
}

TEST(Prerequisites, OperationsCombineOneListAndListsMustAllHold) {
    EXPECT_FALSE(isValid({absent(), present()}));
    EXPECT_TRUE(isValid({absent(), present()}, PrerequisiteHelper::group_or));
    EXPECT_FALSE(isValid({absent()}, PrerequisiteHelper::group_or));
    const auto result = make_object<NamesResult>();
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(result, listOf({absent()}), PrerequisiteHelper::group_and);
    helper.addPrerequisiteQuery(result, listOf({present()}), PrerequisiteHelper::group_or);
    EXPECT_FALSE(helper.arePrerequisitesValid());
}

TEST(Prerequisites, WithoutAStoreNothingHolds) {
    class EmptyResult : public dataface_1::IInputData {};
    for (const sptr_t<dataface_1::IInputData>& input :
         {sptr_t<dataface_1::IInputData>(),
          sptr_t<dataface_1::IInputData>(make_object<EmptyResult>())}) {
        PrerequisiteHelper helper;
        helper.addPrerequisiteQuery(input, listOf({present()}), PrerequisiteHelper::group_and);
        EXPECT_FALSE(helper.arePrerequisitesValid());
    }
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(make_object<NamesResult>(), nullptr, PrerequisiteHelper::group_or);
    EXPECT_FALSE(helper.arePrerequisitesValid());
}

TEST(Unsupported, RequestsFailWithAReason) {
    sptr_t<slicekit_1_0::IGridViewpointParser> parser;
    const error_code_t grid = slicekit_1_0::createGridViewpointParser(
        basekit2::variant_bag_t("gridQuery"), parser, nullptr, nullptr, nullptr);
    EXPECT_FALSE(grid.succeeded());
    EXPECT_EQ(grid.expression(), "\"gridQuery\" sections are not supported");
    EXPECT_TRUE(parser.is_null());

    error_code_t err;
    const auto processor = slicekit_1_0::createRpnProcessor();
    processor->init(err, nullptr);
    EXPECT_EQ(err.expression(), "derived expressions are not supported");
    const auto helper = facekit_1_x::createDerivedTableTreeHelper();
    sptr_t<IVectorQuery> queries;
    sptr_t<dataface_1::ITableTree> out;
    err = error_code_t();
    helper->init(err, nullptr, nullptr, processor, 3);
    EXPECT_FALSE(err.succeeded());
    err = error_code_t();
    helper->getInputColumnBy(err, queries, 1.0);
    EXPECT_FALSE(err.succeeded());
    EXPECT_EQ(helper->derive(out, nullptr, nullptr, 0).expression(),
              "derived tables are not supported");
}

}  // namespace
