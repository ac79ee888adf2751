// Types, reads, copies and printed forms of variants.
#include <basekit2/type_id.h>
#include <basekit2/variant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

using namespace basekit2;  // NOLINT(google-build-using-namespace)

std::string printed(const variant_t& value) {
    variant_t out = "left over";
    print_variant(value, out, true);
    return out.is_null() ? "(null)" : out.get<std::string>();
}

class Counted : public serializable_object_interface_t {
public:
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

private:
    int& m_alive;
};

TEST(Variant, EachConstructorGivesItsCode) {
    const variant_t made[] = {true,     s8_t{1}, u8_t{1}, s16_t{1}, u16_t{1}, 1,   1U,  s64_t{1},
                              u64_t{1}, 1.0F,    1.0,     "a",      L"a",     1LL, 1ULL};
    std::vector<int> codes;
    for (const variant_t& value : made)
        codes.push_back(value.get_type());
    EXPECT_EQ(codes, (std::vector<int>{0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 8, 9}));
    EXPECT_EQ(variant_t().get_type(), 17);
}

TEST(Variant, ReadsByKind) {
    const variant_t flag = true;
    const variant_t large = std::numeric_limits<u64_t>::max();
    const variant_t real = 2.75;
    const variant_t text = "text";
    EXPECT_TRUE(flag.can_get<int>() && flag.can_get<double>() && !flag.can_get<std::string>());
    EXPECT_EQ(flag.get<int>(), 1);
    EXPECT_EQ(large.get<u64_t>(), std::numeric_limits<u64_t>::max());
    EXPECT_EQ(large.get<s32_t>(), -1);
    EXPECT_EQ(large.get<double>(), 18446744073709551616.0);
    EXPECT_FALSE(real.can_get<int>());
    EXPECT_EQ(real.get<int>(), 0);
    EXPECT_EQ(real.get<float>(), 2.75F);
    EXPECT_TRUE(text.can_get<const char*>() && !text.can_get<const wchar_t*>());
    EXPECT_STREQ(text.get<const char*>(), "text");
    EXPECT_EQ(text.get<double>(), 0.0);
    EXPECT_EQ(variant_t(L"wide").get<const char*>(), nullptr);
    EXPECT_EQ(variant_t().get<std::string>(), "");
    EXPECT_EQ(variant_t(static_cast<const char*>(nullptr)).get<std::string>(), "");
    EXPECT_EQ(variant_t(s8_t{-5}).get<s64_t>(), -5);
}

TEST(Variant, CopiesShareAndLetGo) {
    int alive = 0;
    {
        variant_t object(7, make_object<Counted>(alive));
        EXPECT_EQ(object.get_type(), 16);
        EXPECT_EQ(object.get_object_type(), 7U);
        variant_t copy = object;
        object = "text";
        EXPECT_EQ(alive, 1);
        EXPECT_EQ(object.get_object_type(), 0U);
        variant_t moved = std::move(copy);
        const variant_t& same = moved;
        moved = same;
        EXPECT_FALSE(moved.get<sptr_t<object_interface_t>>().is_null());
        moved = variant_t();
        EXPECT_EQ(alive, 0);
    }
    EXPECT_TRUE(variant_t(7, nullptr).is_null());
    variant_t text = "kept while copied";
    const variant_t copy = text;
    text = 1;
    EXPECT_EQ(copy.get<std::string>(), "kept while copied");
}

TEST(Variant, PrintsEachKind) {
    EXPECT_EQ(printed(true), "true");
    EXPECT_EQ(printed(s8_t{-3}), "-3");
    EXPECT_EQ(printed(u8_t{200}), "200");
    EXPECT_EQ(printed(std::numeric_limits<u64_t>::max()), "18446744073709551615");
    EXPECT_EQ(printed(0.1), "0.1");
    EXPECT_EQ(printed(0.1F), "0.1");
    EXPECT_EQ(printed(100.0), "100");
    EXPECT_EQ(printed(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(printed("as it is"), "as it is");
    EXPECT_EQ(printed(L"gr\u00fc\u00df \U0001F600"), "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    EXPECT_EQ(printed(variant_t()), "(null)");
}

TEST(Variant, MultipliesWithoutLosingTheValue) {
    EXPECT_EQ(variant_mult(3, 4).get_type(), vtS64);
    EXPECT_EQ(variant_mult(3, 4), variant_t(12));
    EXPECT_EQ(variant_mult(u8_t{200}, u8_t{200}), variant_t(40000));
    EXPECT_EQ(variant_mult(3, 2.5).get_type(), vtDouble);
    EXPECT_EQ(variant_mult(3, 2.5), variant_t(7.5));
    EXPECT_EQ(variant_mult(true, 2.0F), variant_t(2.0));
    const u64_t half = u64_t{1} << 63;
    EXPECT_EQ(variant_mult(half, 1).get_type(), vtU64);
    EXPECT_EQ(variant_mult(half, 1), variant_t(half));
    EXPECT_EQ(variant_mult(half, -1), variant_t(std::numeric_limits<s64_t>::min()));
    EXPECT_EQ(variant_mult(half, 4), variant_t(36893488147419103232.0));
    EXPECT_TRUE(variant_mult("3", 4).is_null());
    EXPECT_TRUE(variant_mult(3, variant_t()).is_null());
}

}  // namespace
