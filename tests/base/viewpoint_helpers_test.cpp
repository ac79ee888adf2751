// What a result must hold for a query.
#include "support/fake_queries.h"
#include "support/fake_store.h"

#include <slicekit_1_0/prerequisites.h>

#include <gtest/gtest.h>

namespace {

using basekit2::make_object;
using lanefeed_test::Query;
using lanefeed_test::QueryFacts;
using lanefeed_test::QueryList;
using lanefeed_test::vectorOf;
using slicekit_1_0::PrerequisiteHelper;

// A result with the tables "slice_data" and "dd_band", whose only column is "dd_thread".
basekit2::sptr_t<dataface_1::IInputData> smallResult() {
    const auto database = make_object<lanefeed_test::FakeDatabase>();
    database->tables = {{"dd_band", {{{"dd_thread", 1}}}}, {"slice_data", {}}};
    const auto result = make_object<lanefeed_test::FakeInput>();
    result->offer<storelink1::IPerfDatabase>(
        make_object<lanefeed_test::FakePerfDatabase>(database));
    return result;
}

Query count(const std::string& table, const Query& next = nullptr) {
    QueryFacts facts;
    facts.table = table;
    facts.next = next;
    return make_object<lanefeed_test::FakeDataQuery<dataface_1::ICountQuery>>(facts);
}
Query attribute(const std::string& table, const std::string& path) {
    QueryFacts facts;
    facts.table = table;
    facts.path = path;
    return lanefeed_test::infoQuery(facts);
}
Query derived(const QueryList& members) {
    QueryFacts facts;
    facts.members = members;
    return make_object<lanefeed_test::FakeDerivedQuery>(facts);
}

bool isValid(const QueryList& queries,
             PrerequisiteHelper::operation_t operation = PrerequisiteHelper::group_and) {
    PrerequisiteHelper helper;
    helper.addPrerequisiteQuery(smallResult(), vectorOf(queries), operation);
    const bool isHeld = helper.arePrerequisitesValid();
    // Of more than one list all must hold, and nothing holds without a result.
    helper.addPrerequisiteQuery(smallResult(), vectorOf({count("slice_data")}), operation);
    EXPECT_EQ(helper.arePrerequisitesValid(), isHeld);
    helper.addPrerequisiteQuery(nullptr, vectorOf({}), operation);
    EXPECT_FALSE(helper.arePrerequisitesValid());
    return isHeld;
}

TEST(Prerequisites, AskTheStoreForTablesAndAttributes) {
    const Query present = count("slice_data");
    const Query absent = count("counter_data");
    // Members that are shared over many levels are looked at once.
    Query deep = present;
    for (int level = 0; level < 32; ++level)
        deep = derived({deep, deep});
    for (const Query& held : {present, attribute("dd_band", "dd_thread"), attribute("dd_band", ""),
                              deep, derived({vectorOf({present})}),
                              count("slice_data", count("", attribute("dd_band", "dd_thread")))})
        EXPECT_TRUE(isValid({held}));
    for (const Query& missing :
         {absent, Query(), attribute("dd_band", "dd_core"), attribute("missing", "dd_thread"),
          derived({present, absent}), derived({derived({absent})}),
          count("slice_data", count("", attribute("dd_band", "dd_core")))})
        EXPECT_FALSE(isValid({missing}));
    EXPECT_FALSE(isValid({absent, present}));
    EXPECT_TRUE(isValid({absent, present}, PrerequisiteHelper::group_or));
    EXPECT_FALSE(isValid({absent}, PrerequisiteHelper::group_or));
}

}  // namespace
