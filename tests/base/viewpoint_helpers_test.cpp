// What a result must hold for a query.
#include "support/fake_queries.h"
#include "support/fake_store.h"

#include <slicekit_1_0/prerequisites.h>

#include <gtest/gtest.h>

namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_test::FakeDataQuery;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::FakeInput;
using lanefeed_test::infoQuery;
using lanefeed_test::QueryFacts;
using slicekit_1_0::PrerequisiteHelper;

// Hands the database out through a proxy, as hosts may.
class Proxy : public basekit2::das_proxy_t {
public:
    unsigned int get_type() const override {
        return basekit2::type_id_t<storelink1::IPerfDatabase>::id();
    }
    sptr_t<basekit2::object_interface_t> instantiate_object_interface() override {
        const auto database = make_object<lanefeed_test::FakeDatabase>();
        database->tables = {{"dd_band", {{{"dd_thread", 1}}}}, {"slice_data", {}}};
        return make_object<lanefeed_test::FakePerfDatabase>(database);
    }
};

// A result with the tables "slice_data" and "dd_band", whose only column is "dd_thread".
sptr_t<dataface_1::IInputData> smallResult() {
    const auto result = make_object<FakeInput>();
    result->offered[basekit2::type_id_t<storelink1::IPerfDatabase>::id()] =
        basekit2::notype_ptr_t(make_object<Proxy>());
    return result;
}

QueryFacts on(const std::string& table, const std::string& path = "") {
    QueryFacts facts;
    facts.table = table;
    facts.path = path;
    return facts;
}

sptr_t<IVectorQuery> listOf(const std::vector<sptr_t<IQuery>>& queries) {
    sptr_t<IVectorQuery> list;
    for (const auto& query : queries)
        list = IVectorQuery::pushBack(list, query);
    return list;
}

const sptr_t<IQuery>& present() {
    static const sptr_t<IQuery> query =
        make_object<FakeDataQuery<dataface_1::ICountQuery>>(on("slice_data"));
    return query;
}
const sptr_t<IQuery>& absent() {
    static const sptr_t<IQuery> query =
        make_object<FakeDataQuery<dataface_1::ICountQuery>>(on("counter_data"));
    return query;
}

bool isValid(const std::vector<sptr_t<IQuery>>& queries,
             PrerequisiteHelper::operation_t operation = PrerequisiteHelper::group_and) {
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(smallResult(), listOf(queries), operation);
    return helper.arePrerequisitesValid();
}

TEST(Prerequisites, AskTheStoreForTablesAndAttributes) {
    EXPECT_TRUE(PrerequisiteHelper().arePrerequisitesValid());
    EXPECT_TRUE(isValid({present()}));
    EXPECT_FALSE(isValid({absent()}));
    EXPECT_TRUE(isValid({infoQuery(on("dd_band", "dd_thread"))}));
    EXPECT_TRUE(isValid({infoQuery(on("dd_band", ""))}));
    EXPECT_FALSE(isValid({infoQuery(on("dd_band", "dd_core"))}));
    EXPECT_FALSE(isValid({infoQuery(on("missing", "dd_thread"))}));
    EXPECT_TRUE(isValid({make_object<lanefeed_test::FakeQuery<IQuery>>(QueryFacts())}));
    EXPECT_FALSE(isValid({nullptr}));
}

TEST(Prerequisites, ADerivedQueryNeedsAllItsMembers) {
    const auto derived = [](lanefeed_test::QueryList members) {
        QueryFacts facts;
        facts.members = std::move(members);
        return make_object<FakeDerivedQuery>(facts);
    };
    EXPECT_TRUE(isValid({derived({present(), present()})}));
    EXPECT_FALSE(isValid({derived({present(), absent()})}));
    EXPECT_FALSE(isValid({derived({derived({absent()})})}));
    EXPECT_TRUE(isValid({derived({listOf({present()})})}));
    // Members that are shared over many levels are looked at once.
    sptr_t<IQuery> query = present();
    for (int level = 0; level < 32; ++level)
        query = derived({query, query});
    EXPECT_TRUE(isValid({query}));
}

TEST(Prerequisites, AnExpandedQueryNeedsItsAttributes) {
    const auto expandedBy = [](const std::string& table, const std::string& path) {
        QueryFacts link;
        link.next = infoQuery(on(table, path));
        QueryFacts facts = on("slice_data");
        facts.next = make_object<FakeDataQuery<dataface_1::ICountQuery>>(link);
        return make_object<FakeDataQuery<dataface_1::ICountQuery>>(facts);
    };
    EXPECT_TRUE(isValid({expandedBy("dd_band", "dd_thread")}));
    EXPECT_FALSE(isValid({expandedBy("dd_band", "dd_core")}));
}

TEST(Prerequisites, OperationsCombineOneListAndListsMustAllHold) {
    EXPECT_FALSE(isValid({absent(), present()}));
    EXPECT_TRUE(isValid({absent(), present()}, PrerequisiteHelper::group_or));
    EXPECT_FALSE(isValid({absent()}, PrerequisiteHelper::group_or));
    const auto result = smallResult();
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(result, listOf({absent()}), PrerequisiteHelper::group_and);
    helper.addPrerequisiteQuery(result, listOf({present()}), PrerequisiteHelper::group_or);
    EXPECT_FALSE(helper.arePrerequisitesValid());
}

TEST(Prerequisites, WithoutAStoreNothingHolds) {
    for (const sptr_t<dataface_1::IInputData>& input :
         {sptr_t<dataface_1::IInputData>(),
          sptr_t<dataface_1::IInputData>(make_object<FakeInput>())}) {
        PrerequisiteHelper helper;
        helper.addPrerequisiteQuery(input, listOf({present()}), PrerequisiteHelper::group_and);
        EXPECT_FALSE(helper.arePrerequisitesValid());
    }
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(smallResult(), nullptr, PrerequisiteHelper::group_or);
    EXPECT_FALSE(helper.arePrerequisitesValid());
}

}  // namespace
