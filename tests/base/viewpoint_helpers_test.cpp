// What a result must hold for a query.
#include "support/fake_queries.h"
#include "support/fake_store.h"

#include <slicekit_1_0/prerequisites.h>

#include <gtest/gtest.h>

namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using dataface_1::IInputData;
using lanefeed_test::FakeDataQuery;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::FakeInput;
using lanefeed_test::infoQuery;
using lanefeed_test::Query;
using lanefeed_test::QueryFacts;
using lanefeed_test::QueryList;
using lanefeed_test::vectorOf;
using slicekit_1_0::PrerequisiteHelper;

using Count = FakeDataQuery<dataface_1::ICountQuery>;

// Hands the database out through a proxy, as hosts may: a result with the tables "slice_data" and
// "dd_band", whose only column is "dd_thread".
class SmallResult : public basekit2::das_proxy_t {
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

sptr_t<IInputData> smallResult() {
    const auto result = make_object<FakeInput>();
    result->offered[basekit2::type_id_t<storelink1::IPerfDatabase>::id()] =
        basekit2::notype_ptr_t(make_object<SmallResult>());
    return result;
}

template <class Kind>
Query on(const std::string& table, const std::string& path = "", const Query& next = nullptr) {
    QueryFacts facts;
    facts.table = table;
    facts.path = path;
    facts.next = next;
    return make_object<Kind>(facts);
}
Query attribute(const std::string& table, const std::string& path) {
    return on<lanefeed_test::FakeInfoQuery>(table, path);
}
Query derived(const QueryList& members) {
    QueryFacts facts;
    facts.members = members;
    return make_object<FakeDerivedQuery>(facts);
}

bool isValid(const QueryList& queries,
             PrerequisiteHelper::operation_t operation = PrerequisiteHelper::group_and,
             const sptr_t<IInputData>& result = smallResult()) {
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(result, vectorOf(queries), operation);
    return helper.arePrerequisitesValid();
}

TEST(Prerequisites, AskTheStoreForTablesAndAttributes) {
    const Query present = on<Count>("slice_data");
    const Query absent = on<Count>("counter_data");
    const auto expandedBy = [](const Query& next) {
        return on<Count>("slice_data", "", on<Count>("", "", next));
    };
    // Members that are shared over many levels are looked at once.
    Query deep = present;
    for (int level = 0; level < 32; ++level)
        deep = derived({deep, deep});
    for (const Query& held :
         {present, attribute("dd_band", "dd_thread"), attribute("dd_band", ""),
          Query(make_object<lanefeed_test::FakeQuery<dataface_1::IQuery>>(QueryFacts())),
          derived({present, present}), derived({vectorOf({present})}), deep,
          expandedBy(attribute("dd_band", "dd_thread"))})
        EXPECT_TRUE(isValid({held}));
    for (const Query& missing :
         {absent, Query(), attribute("dd_band", "dd_core"), attribute("missing", "dd_thread"),
          derived({present, absent}), derived({derived({absent})}),
          expandedBy(attribute("dd_band", "dd_core"))})
        EXPECT_FALSE(isValid({missing}));
}

TEST(Prerequisites, OperationsCombineOneListAndListsMustAllHold) {
    const Query present = on<Count>("slice_data");
    const Query absent = on<Count>("counter_data");
    EXPECT_FALSE(isValid({absent, present}));
    EXPECT_TRUE(isValid({absent, present}, PrerequisiteHelper::group_or));
    EXPECT_FALSE(isValid({absent}, PrerequisiteHelper::group_or));
    EXPECT_FALSE(isValid({present}, PrerequisiteHelper::group_and, nullptr));
    EXPECT_FALSE(isValid({present}, PrerequisiteHelper::group_and, make_object<FakeInput>()));
    PrerequisiteHelper helper;
    EXPECT_TRUE(helper.arePrerequisitesValid());
    helper.addPrerequisiteQuery(smallResult(), vectorOf({absent}), PrerequisiteHelper::group_and);
    helper.addPrerequisiteQuery(smallResult(), vectorOf({present}), PrerequisiteHelper::group_or);
    EXPECT_FALSE(helper.arePrerequisitesValid());
    PrerequisiteHelper none;
    none.addPrerequisiteQuery(smallResult(), nullptr, PrerequisiteHelper::group_or);
    EXPECT_FALSE(none.arePrerequisitesValid());
}

}  // namespace
