// What the base library does with anybody's queries: lists, equality, texts and sort defaults.
#include "support/captured_log.h"
#include "support/fake_queries.h"

#include <facekit_1_x/conversions.h>
#include <facekit_1_x/query_definition.h>
#include <storelink1/utils.h>

#include <gtest/gtest.h>

namespace {

using namespace facekit_1_x;  // NOLINT(google-build-using-namespace)
using basekit2::make_object;
using basekit2::variant_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::namedQuery;
using lanefeed_test::Query;

TEST(VectorQuery, PushBackMakesANewList) {
    const auto one = IVectorQuery::pushBack(nullptr, namedQuery("a"));
    const auto two = IVectorQuery::pushBack(one, namedQuery("b"));
    EXPECT_EQ(one->getCount(), 1);
    EXPECT_EQ(two->getCount(), 2);
    EXPECT_EQ(two->getDefaultQuery()->getId(), "a");
    EXPECT_EQ(IVectorQuery::cast(Query(two)), two);
    EXPECT_TRUE(IVectorQuery::cast(namedQuery("a")).is_null());
    const auto nested = IVectorQuery::pushBack(nullptr, two);
    EXPECT_EQ(nested->getCount(), 1);
    EXPECT_EQ(nested->getDefaultQuery(), two);
    variant_t out = "old";
    two->getAttribute("any", out);
    EXPECT_TRUE(out.is_null());
}

TEST(VectorQuery, AListOfOneIsEqualToItsMember) {
    const auto equal = [](const Query& a, const Query& b) {
        EXPECT_EQ(IQuery::areEqual(a, b, true, true), IQuery::areEqual(b, a, true, true));
        return IQuery::areEqual(a, b, true, true);
    };
    const Query a = namedQuery("a");
    const Query nameless = namedQuery("");
    const auto one = IVectorQuery::pushBack(nullptr, namedQuery("a"));
    const auto ab = IVectorQuery::pushBack(one, namedQuery("b"));
    EXPECT_TRUE(equal(a, namedQuery("a")));
    EXPECT_TRUE(equal(nameless, nameless));
    EXPECT_TRUE(equal(one, a));
    EXPECT_TRUE(equal(IVectorQuery::pushBack(nullptr, one), a));
    EXPECT_TRUE(equal(ab, IVectorQuery::pushBack(one, namedQuery("b"))));
    EXPECT_FALSE(equal(nameless, namedQuery("")));
    EXPECT_FALSE(equal(a, nullptr));
    EXPECT_FALSE(equal(nullptr, nullptr));
    EXPECT_FALSE(equal(ab, a));
    EXPECT_FALSE(equal(ab, IVectorQuery::pushBack(one, namedQuery("c"))));
    EXPECT_FALSE(equal(IVectorQuery::pushBack(nullptr, nullptr), a));
}

class Definition : public IQueryDefinition {
public:
    basekit2::variant_bag_t getDefinition() const override {
        basekit2::variant_bag_t bag("infoQuery");
        bag.add("id", "Thread");
        bag.add("dbPath", basekit2::variant_bag_t()).add("#text", "dd_band");
        return bag;
    }
};

class DefinedQuery : public lanefeed_test::FakeInfoQuery {
public:
    using FakeInfoQuery::FakeInfoQuery;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
        if (type == basekit2::type_id_t<IQueryDefinition>::id())
            return basekit2::notype_ptr_t(make_object<Definition>());
        return FakeInfoQuery::adapt_to_pointer(type);
    }
};

TEST(Conversions, QueryAsTextIsItsDefinitionElseItsId) {
    EXPECT_EQ(toXmlString(make_object<DefinedQuery>(lanefeed_test::QueryFacts())),
              "<infoQuery id=\"Thread\">\n  <dbPath>dd_band</dbPath>\n</infoQuery>");
    EXPECT_EQ(toXmlString(namedQuery("Thread")), "Thread");
    EXPECT_EQ(toXmlString(nullptr), "");
}

TEST(Conversions, SortDefaultsComeFromAttributes) {
    const auto sorting = [](const Query& query) {
        SortInfo info{"old", true};
        getSortFlags(query, info);
        return info.name + (info.descending ? " down " : " up ") +
               std::to_string(getSortValueType(query));
    };
    lanefeed_test::QueryFacts facts;
    EXPECT_EQ(sorting(nullptr), "old down " + std::to_string(dataface_1::ccValue));
    EXPECT_EQ(sorting(infoQuery(facts)), " up " + std::to_string(dataface_1::ccValue));
    facts.attributes = {{"sortName", "Name"}, {"sortDescending", true}, {"sortValueType", 10}};
    EXPECT_EQ(sorting(infoQuery(facts)), "Name down " + std::to_string(dataface_1::ccSecondValue));
}

TEST(Conversions, ColoursAndRowIdsComeFromIntegersOnly) {
    dataface_1::color_t color;
    EXPECT_TRUE(unpackColor(0x44332211U, color));
    EXPECT_EQ(color, (dataface_1::color_t{0x11, 0x22, 0x33, 0x44}));
    for (const variant_t& other : {variant_t(true), variant_t(1.0), variant_t("1"), variant_t()})
        EXPECT_FALSE(unpackColor(other, color));
    EXPECT_EQ(color.red, 0x11);

    using storelink1::utils::variantToIndex;
    const lanefeed_test::CapturedLog log;
    EXPECT_EQ(variantToIndex(5), 5);
    EXPECT_EQ(variantToIndex(basekit2::u64_t{6}), 6);
    EXPECT_EQ(variantToIndex(0xFFFFFFFFU), -1);
    EXPECT_EQ(variantToIndex(variant_t()), -1);
    EXPECT_TRUE(log.empty());
    for (const variant_t& other :
         {variant_t("5"), variant_t(5.0), variant_t(true), variant_t(basekit2::u16_t{5})})
        EXPECT_EQ(variantToIndex(other), -1);
    EXPECT_EQ(log.count("Variant cannot be converted to db index - type mismatch, at file: "
                        "runtime/base/store_values.cpp:"),
              4);
    EXPECT_EQ(log.entries().front().level, 40000);
}

}  // namespace
