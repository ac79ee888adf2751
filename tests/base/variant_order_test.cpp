// The order of variants is a strict weak order, by value and without rounding.
#include <basekit2/type_id.h>
#include <basekit2/variant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using basekit2::s64_t;
using basekit2::u64_t;
using basekit2::variant_t;

class Object : public basekit2::serializable_object_interface_t {};

constexpr u64_t kLargest = std::numeric_limits<u64_t>::max();
constexpr s64_t kSmallest = std::numeric_limits<s64_t>::min();
constexpr s64_t kBeyond = (s64_t{1} << 53) + 1;  // as a double it would be even

// Ascending; those of one line are equal.
std::vector<std::vector<variant_t>> ladder() {
    return {{variant_t()},
            {variant_t(1, basekit2::make_object<Object>())},
            {"", L""},
            {"B"},
            {"a", L"a"},
            {"aa", L"aa"},
            {"z"},
            {"\xC3\xA4", L"\u00e4"},
            {std::nan(""), std::nanf("")},
            {-std::numeric_limits<double>::infinity()},
            {-9223372036854777856.0},
            {kSmallest, -9223372036854775808.0},
            {kSmallest + 1},
            {-5, basekit2::s8_t{-5}, -5.0},
            {-1, s64_t{-1}, -1.0F},
            {-0.5},
            {0, 0U, -0.0, false, u64_t{0}},
            {1, 1.0, true, basekit2::u8_t{1}, 1.0F},
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

TEST(VariantOrder, FollowsKindsThenValuesWhateverTheType) {
    const auto steps = ladder();
    for (std::size_t i = 0; i < steps.size(); ++i)
        for (std::size_t j = 0; j < steps.size(); ++j)
            for (const variant_t& a : steps[i])
                for (const variant_t& b : steps[j]) {
                    EXPECT_EQ(a < b, i < j) << i << " " << j;
                    EXPECT_EQ(a == b, i == j) << i << " " << j;
                }
    const variant_t object(1, basekit2::make_object<Object>());
    const variant_t other(1, basekit2::make_object<Object>());
    EXPECT_NE(object < other, other < object);
    EXPECT_FALSE(object == other);
    EXPECT_GT(variant_t::string_compare("b", L"a"), 0);
    EXPECT_EQ(variant_t::string_compare(5, ""), 0);
}

}  // namespace
