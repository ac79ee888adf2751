// What the base library does with anybody's queries: lists and equality.
#include "support/captured_log.h"
#include "support/fake_queries.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

namespace {

using basekit2::variant_t;
using dataface_1::IQuery;
using dataface_1::IVectorQuery;
using lanefeed_test::namedQuery;
using lanefeed_test::Query;

TEST(VectorQuery, PushBackMakesANewList) {
    const auto one = IVectorQuery::pushBack(nullptr, namedQuery("a"));
    const auto two = IVectorQuery::pushBack(one, namedQuery("b"));
    EXPECT_TRUE(one->getCount() == 1 && two->getCount() == 2);
    EXPECT_EQ(two->getDefaultQuery()->getId(), "a");
    EXPECT_EQ(IVectorQuery::pushBack(nullptr, two)->getDefaultQuery(), two) << "no flat list";
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
    EXPECT_TRUE(equal(nameless, nameless));
    EXPECT_TRUE(equal(one, a));
    EXPECT_TRUE(equal(IVectorQuery::pushBack(nullptr, one), a));
    EXPECT_TRUE(equal(ab, IVectorQuery::pushBack(one, namedQuery("b"))));
    EXPECT_FALSE(equal(nameless, namedQuery("")));
    EXPECT_FALSE(equal(a, nullptr) || equal(nullptr, nullptr));
    EXPECT_FALSE(equal(ab, a));
    EXPECT_FALSE(equal(ab, IVectorQuery::pushBack(one, namedQuery("c"))));
    EXPECT_FALSE(equal(IVectorQuery::pushBack(nullptr, nullptr), a));
}

TEST(Conversions, RowIdsComeFromIntegersOnly) {
    using storelink1::utils::variantToIndex;
    const lanefeed_test::CapturedLog log;
    EXPECT_EQ(variantToIndex(5), 5);
    EXPECT_EQ(variantToIndex(basekit2::u64_t{6}), 6);
    EXPECT_EQ(variantToIndex(0xFFFFFFFFU), -1);
    EXPECT_EQ(variantToIndex(variant_t()), -1);
    EXPECT_TRUE(log.empty());
    for (const variant_t& other : {variant_t("5"), variant_t(5.0), variant_t(true)})
        EXPECT_EQ(variantToIndex(other), -1);
    EXPECT_EQ(log.count("Variant cannot be converted to db index - type mismatch, at file: "
                        "runtime/base/store_values.cpp:"),
              3);
}

}  // namespace
