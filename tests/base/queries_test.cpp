// What the base library does with anybody's queries: lists, equality, texts and sort defaults.
#include "support/captured_log.h"
#include "support/fake_queries.h"

#include <facekit_1_x/conversions.h>
#include <facekit_1_x/query_definition.h>
#include <storelink1/utils.h>

#include <gtest/gtest.h>

namespace {

using basekit2::make_object;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::namedQuery;

std::string idsOf(const sptr_t<IVectorQuery>& vector) {
    std::string ids;
    for (const auto it = vector->getQueries(); !it.at_end(); it.next())
        ids += it.current()->getId() + " ";
    return ids;
}

TEST(VectorQuery, PushBackMakesANewList) {
    const sptr_t<IVectorQuery> one = IVectorQuery::pushBack(nullptr, namedQuery("a"));
    const sptr_t<IVectorQuery> two = IVectorQuery::pushBack(one, namedQuery("b"));
    EXPECT_EQ(idsOf(one), "a ");
    EXPECT_EQ(idsOf(two), "a b ");
    EXPECT_EQ(two->getCount(), 2);
    EXPECT_EQ(two->getDefaultQuery()->getId(), "a");
    EXPECT_EQ(IVectorQuery::cast(sptr_t<IQuery>(two)), two);
    EXPECT_TRUE(IVectorQuery::cast(sptr_t<IQuery>(namedQuery("a"))).is_null());
    const sptr_t<IVectorQuery> nested = IVectorQuery::pushBack(nullptr, two);
    EXPECT_EQ(nested->getCount(), 1);
    EXPECT_EQ(nested->getDefaultQuery(), two);
    variant_t out = "old";
    two->getAttribute("any", out);
    EXPECT_TRUE(out.is_null());
}

TEST(VectorQuery, AListOfOneIsEqualToItsMember) {
    const auto equal = [](const sptr_t<IQuery>& a, const sptr_t<IQuery>& b) {
        EXPECT_EQ(IQuery::areEqual(a, b, true, true), IQuery::areEqual(b, a, true, true));
        return IQuery::areEqual(a, b, true, true);
    };
    const sptr_t<IQuery> a = namedQuery("a");
    const sptr_t<IQuery> nameless = namedQuery("");
    const sptr_t<IVectorQuery> one = IVectorQuery::pushBack(nullptr, namedQuery("a"));
    EXPECT_TRUE(equal(a, namedQuery("a")));
    EXPECT_TRUE(equal(nameless, nameless));
    EXPECT_FALSE(equal(nameless, namedQuery("")));
    EXPECT_FALSE(equal(a, nullptr));
    EXPECT_FALSE(equal(nullptr, nullptr));
    EXPECT_TRUE(equal(one, a));
    EXPECT_TRUE(equal(IVectorQuery::pushBack(nullptr, one), a));
    const auto ab = IVectorQuery::pushBack(one, namedQuery("b"));
    EXPECT_FALSE(equal(ab, a));
    EXPECT_TRUE(equal(ab, IVectorQuery::pushBack(one, namedQuery("b"))));
    EXPECT_FALSE(equal(ab, IVectorQuery::pushBack(one, namedQuery("c"))));
    EXPECT_FALSE(equal(IVectorQuery::pushBack(nullptr, nullptr), a));
}

TEST(Conversions, QueryAsTextIsItsDefinitionElseItsId) {
    class Definition : public facekit_1_x::IQueryDefinition {
    public:
        basekit2::variant_bag_t getDefinition() const override {
            basekit2::variant_bag_t bag("infoQuery");
            bag.add("id", "Thread");
            bag.add("dbPath", basekit2::variant_bag_t()).add("#text", "dd_band");
            return bag;
        }
    };
    class Defined : public lanefeed_test::FakeInfoQuery {
    public:
        using FakeInfoQuery::FakeInfoQuery;
        basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override {
            if (type == basekit2::type_id_t<facekit_1_x::IQueryDefinition>::id())
                return basekit2::notype_ptr_t(make_object<Definition>());
            return FakeInfoQuery::adapt_to_pointer(type);
        }
    };
    EXPECT_EQ(facekit_1_x::toXmlString(make_object<Defined>(lanefeed_test::QueryFacts())),
              "<infoQuery id=\"Thread\">\n  <dbPath>dd_band</dbPath>\n</infoQuery>");
    EXPECT_EQ(facekit_1_x::toXmlString(namedQuery("Thread")), "Thread");
    EXPECT_EQ(facekit_1_x::toXmlString(nullptr), "");
}

TEST(Conversions, SortDefaultsComeFromAttributes) {
    lanefeed_test::QueryFacts facts;
    facekit_1_x::SortInfo info{"old", true};
    facekit_1_x::getSortFlags(nullptr, info);
    EXPECT_TRUE(info.name == "old" && info.descending);
    facekit_1_x::getSortFlags(infoQuery(facts), info);
    EXPECT_TRUE(info.name.empty() && !info.descending);
    EXPECT_EQ(facekit_1_x::getSortValueType(infoQuery(facts)), dataface_1::ccValue);
    facts.attributes = {{"sortName", "Name"}, {"sortDescending", true}, {"sortValueType", 10}};
    facekit_1_x::getSortFlags(infoQuery(facts), info);
    EXPECT_TRUE(info.name == "Name" && info.descending);
    EXPECT_EQ(facekit_1_x::getSortValueType(infoQuery(facts)), dataface_1::ccSecondValue);
    EXPECT_EQ(facekit_1_x::getSortValueType(nullptr), dataface_1::ccValue);
}

TEST(Conversions, ColoursUnpackFromTheLowestByte) {
    dataface_1::color_t color;
    EXPECT_TRUE(facekit_1_x::unpackColor(0x44332211U, color));
    EXPECT_EQ(color, (dataface_1::color_t{0x11, 0x22, 0x33, 0x44}));
    EXPECT_TRUE(facekit_1_x::unpackColor(-1, color));
    EXPECT_EQ(color, (dataface_1::color_t{255, 255, 255, 255}));
    for (const variant_t& other : {variant_t(true), variant_t(1.0), variant_t("1"), variant_t()})
        EXPECT_FALSE(facekit_1_x::unpackColor(other, color));
    EXPECT_EQ(color.red, 255);
}

TEST(Conversions, RowIdsComeFromWideIntegersOnly) {
    const lanefeed_test::CapturedLog log;
    EXPECT_EQ(storelink1::utils::variantToIndex(5), 5);
    EXPECT_EQ(storelink1::utils::variantToIndex(basekit2::u64_t{6}), 6);
    EXPECT_EQ(storelink1::utils::variantToIndex(0xFFFFFFFFU), -1);
    EXPECT_EQ(storelink1::utils::variantToIndex(variant_t()), -1);
    EXPECT_TRUE(log.empty());
    for (const variant_t& other :
         {variant_t("5"), variant_t(5.0), variant_t(true), variant_t(basekit2::u16_t{5})})
        EXPECT_EQ(storelink1::utils::variantToIndex(other), -1);
    EXPECT_EQ(log.count("Variant cannot be converted to db index - type mismatch, at file: "
                        "runtime/base/store_values.cpp:"),
              4);
    EXPECT_EQ(log.entries().front().level, 40000);
}

}  // namespace
