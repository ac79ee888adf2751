// Types, reads, copies and printed forms of variants.
#include <basekit2/type_id.h>
#include <basekit2/variant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {

using namespace basekit2;  // NOLINT(google-build-using-namespace)

class Counted : public serializable_object_interface_t {
public:
    explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

private:
    int& m_alive;
};

// "CODE:PRINTED FORM" of each value.
std::string shown(std::initializer_list<variant_t> values) {
    std::string text;
    for (const variant_t& value : values) {
        variant_t out = "left over";
        print_variant(value, out, true);
        EXPECT_EQ(out.is_null(), value.is_null());
        text += (text.empty() ? "" : " ") + std::to_string(value.get_type()) + ":" +
                out.get<std::string>();
    }
    return text;
}

TEST(Variant, HasTheCodeOfItsConstructorAndPrintsItsValue) {
    EXPECT_EQ(shown({true, s8_t{-3}, u8_t{200}, s16_t{-300}, u16_t{300}, 1, 1U, -1L, 1LL, 1UL}),
              "0:true 2:-3 3:200 4:-300 5:300 6:1 7:1 8:-1 8:1 9:1");
    EXPECT_EQ(shown({~0ULL, 0.1F, 0.1, 100.0, 1.0 / 3, variant_t()}),
              "9:18446744073709551615 10:0.1 11:0.1 11:100 11:0.3333333333333333 17:");
    EXPECT_EQ(shown({"as it is", L"gr\u00fc\u00df \U0001F600"}),
              "12:as it is 13:gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
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
    EXPECT_TRUE(variant_t(7, nullptr).is_null());
    const variant_t text = object;
    object = 1;
    EXPECT_EQ(text.get<std::string>(), "text");
}

TEST(Variant, MultipliesWithoutLosingTheValue) {
    const auto product = [](const variant_t& a, const variant_t& b) {
        EXPECT_EQ(variant_mult(a, b), variant_mult(b, a));
        return shown({variant_mult(a, b)});
    };
    const u64_t half = u64_t{1} << 63;
    EXPECT_EQ(product(3, 4), "8:12");
    EXPECT_EQ(product(u8_t{200}, u8_t{200}), "8:40000");
    EXPECT_EQ(product(3, 2.5), "11:7.5");
    EXPECT_EQ(product(true, 2.0F), "11:2");
    EXPECT_EQ(product(half, 1), "9:9223372036854775808");
    EXPECT_EQ(product(half, -1), "8:-9223372036854775808");
    EXPECT_EQ(variant_mult(half, 4), variant_t(36893488147419103232.0));
    EXPECT_EQ(variant_mult(half, half).get<double>(), std::ldexp(1.0, 126));
    EXPECT_EQ(product("3", 4), "17:");
}

}  // namespace
