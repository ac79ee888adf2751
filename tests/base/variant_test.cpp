// Variants: types, reads, copies, printed forms, products, and an order that is a strict weak one,
// by value and without rounding.
#include <basekit2/type_id.h>
#include <basekit2/variant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace {

using namespace basekit2;  // NOLINT(google-build-using-namespace)

constexpr u64_t kLargest = std::numeric_limits<u64_t>::max();
constexpr s64_t kSmallest = std::numeric_limits<s64_t>::min();
constexpr s64_t kBeyond = (s64_t{1} << 53) + 1;  // as a double it would be even

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
    const variant_t large = kLargest;
    const variant_t real = 2.75;
    EXPECT_TRUE(flag.can_get<int>() && flag.can_get<double>() && !flag.can_get<std::string>());
    EXPECT_TRUE(large.get<u64_t>() == kLargest && large.get<s32_t>() == -1);
    EXPECT_EQ(large.get<double>(), 18446744073709551616.0);
    EXPECT_TRUE(!real.can_get<int>() && real.get<int>() == 0 && real.get<float>() == 2.75F);
    EXPECT_EQ(variant_t("text").get<double>(), 0.0);
    EXPECT_EQ(variant_t(L"wide").get<const char*>(), nullptr);
    EXPECT_EQ(variant_t(static_cast<const char*>(nullptr)).get<std::string>(), "");
}

TEST(Variant, CopiesShareAndLetGo) {
    int alive = 0;
    variant_t object(7, make_object<Counted>(alive));
    variant_t copy = object;
    object = "text";
    EXPECT_EQ(alive, 1);
    variant_t moved = std::move(copy);
    const variant_t& same = moved;
    moved = same;
    EXPECT_EQ(moved.get_object_type(), 7U);
    moved = variant_t();
    EXPECT_EQ(alive, 0);
    EXPECT_TRUE(variant_t(7, nullptr).is_null());
    const variant_t text = object;
    object = 1;
    EXPECT_STREQ(text.get<const char*>(), "text");
}

TEST(Variant, MultipliesWithoutLosingTheValue) {
    const u64_t half = u64_t{1} << 63;
    EXPECT_EQ(shown({variant_mult(3, 4), variant_mult(u8_t{200}, u8_t{200}), variant_mult(3, 2.5),
                     variant_mult(half, 1), variant_mult(-1, half), variant_mult("3", 4)}),
              "8:12 8:40000 11:7.5 9:9223372036854775808 8:-9223372036854775808 17:");
    EXPECT_EQ(variant_mult(half, 4), variant_t(36893488147419103232.0));
    EXPECT_EQ(variant_mult(half, half).get<double>(), std::ldexp(1.0, 126));
}

// Ascending; those of one line are equal.
std::vector<std::vector<variant_t>> ladder(int& alive) {
    return {{variant_t()},
            {variant_t(1, make_object<Counted>(alive))},
            {"", L""},
            {"B"},
            {"a", L"a"},
            {"aa", L"aa"},
            {"\xC3\xA4", L"\u00e4"},
            {std::nan(""), std::nanf("")},
            {-std::numeric_limits<double>::infinity()},
            {-9223372036854777856.0},
            {kSmallest, -9223372036854775808.0},
            {kSmallest + 1},
            {-5, s8_t{-5}, -5.0},
            {-0.5},
            {0, 0U, -0.0, false, u64_t{0}},
            {1, 1.0, true, u8_t{1}, 1.0F},
            {1.5, 1.5F},
            {2U, 2.0},
            {static_cast<double>(kBeyond - 1), kBeyond - 1},
            {kBeyond, static_cast<u64_t>(kBeyond)},
            {kBeyond + 1, static_cast<double>(kBeyond + 1)},
            {std::numeric_limits<s64_t>::max()},
            {u64_t{1} << 63, 9223372036854775808.0},
            {kLargest},
            {18446744073709551616.0},
            {std::numeric_limits<double>::infinity()}};
}

TEST(Variant, IsOrderedByKindThenByValueWhateverTheType) {
    int alive = 0;
    const auto steps = ladder(alive);
    for (std::size_t i = 0; i < steps.size(); ++i)
        for (std::size_t j = 0; j < steps.size(); ++j)
            for (const variant_t& a : steps[i])
                for (const variant_t& b : steps[j]) {
                    EXPECT_EQ(a < b, i < j) << i << " " << j;
                    EXPECT_EQ(a == b, i == j) << i << " " << j;
                }
    const variant_t object(1, make_object<Counted>(alive));
    const variant_t& other = steps[1].front();
    EXPECT_NE(object < other, other < object);
    EXPECT_EQ(variant_t::string_compare(5, ""), 0);
}

}  // namespace
