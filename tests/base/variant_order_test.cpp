// The order of variants is a strict weak order, by value and without rounding.
#include <basekit2/type_id.h>
#include <basekit2/variant.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace {

using basekit2::s64_t;
using basekit2::u64_t;
using basekit2::variant_t;

class Object : public basekit2::serializable_object_interface_t {};

// Values near the places where types, signs and roundings meet, so that equal ones are frequent.
class RandomVariants {
public:
    explicit RandomVariants(unsigned seed) : m_random(seed) {
        for (int i = 0; i < 3; ++i)
            m_objects.push_back(basekit2::make_object<Object>());
    }

    variant_t next() {
        switch (pick(12)) {
        case 0: return variant_t();
        case 1: return pick(2) == 0;
        case 2: return static_cast<int>(pick(7)) - 3;
        case 3: return static_cast<unsigned>(pick(4));
        case 4: return static_cast<s64_t>(edge());
        case 5: return edge();
        case 6: return real();
        case 7: return static_cast<float>(real());
        case 8: return text();
        case 9: return std::wstring(pick(3), L'\u00e4');
        case 10: return variant_t(1, m_objects[pick(m_objects.size())]);
        default: return static_cast<basekit2::u8_t>(pick(4));
        }
    }

private:
    std::size_t pick(std::size_t count) { return m_random() % count; }

    u64_t edge() {
        const int bit = static_cast<int>(pick(3)) * 10 + 53 - static_cast<int>(pick(2)) * 10;
        return (u64_t{1} << std::min(bit, 63)) + pick(5) - 2;
    }
    double real() {
        switch (pick(6)) {
        case 0: return std::nan("");
        case 1: return std::numeric_limits<double>::infinity() * (pick(2) == 0 ? 1 : -1);
        case 2: return static_cast<double>(edge());
        case 3: return -static_cast<double>(edge());
        case 4: return static_cast<double>(pick(7)) - 3;
        default: return static_cast<double>(pick(13)) / 2 - 3;
        }
    }
    std::string text() {
        std::string made(pick(3), 'a');
        if (pick(2) == 0) made += "\xC3\xA4";
        return made;
    }

    std::mt19937 m_random;
    std::vector<basekit2::sptr_t<Object>> m_objects;
};

TEST(VariantOrder, IsAStrictWeakOrder) {
    const unsigned seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomVariants random(seed);
    std::vector<variant_t> values(120);
    for (variant_t& value : values)
        value = random.next();

    for (const variant_t& a : values) {
        ASSERT_FALSE(a < a);
        for (const variant_t& b : values) {
            ASSERT_FALSE(a < b && b < a);
            ASSERT_EQ(a == b, !(a < b) && !(b < a));
            for (const variant_t& c : values) {
                ASSERT_TRUE(!(a < b && b < c) || a < c);
                ASSERT_TRUE(!(a == b && b == c) || a == c);
            }
        }
    }
    std::sort(values.begin(), values.end());
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    const std::set<variant_t> keys(values.begin(), values.end());
    EXPECT_EQ(keys.size(), static_cast<std::size_t>(std::distance(
                               values.begin(), std::unique(values.begin(), values.end()))));
}

TEST(VariantOrder, ComparesNumbersByValueAcrossTypes) {
    const u64_t large = std::numeric_limits<u64_t>::max();
    EXPECT_EQ(variant_t(1), variant_t(1.0));
    EXPECT_EQ(variant_t(true), variant_t(basekit2::u8_t{1}));
    EXPECT_LT(variant_t(-1), variant_t(0U));
    EXPECT_LT(variant_t(s64_t{-1}), variant_t(large));
    EXPECT_LT(variant_t(std::numeric_limits<s64_t>::max()), variant_t(large));
    EXPECT_LT(variant_t(-0.5), variant_t(0));
    EXPECT_EQ(variant_t(-0.0), variant_t(0U));
    // As doubles these would be equal.
    const s64_t beyond = (s64_t{1} << 53) + 1;
    EXPECT_LT(variant_t(static_cast<double>(beyond - 1)), variant_t(beyond));
    EXPECT_LT(variant_t(large), variant_t(18446744073709551616.0));
    EXPECT_LT(variant_t(-9223372036854777856.0), variant_t(std::numeric_limits<s64_t>::min()));
    EXPECT_EQ(variant_t(-9223372036854775808.0), variant_t(std::numeric_limits<s64_t>::min()));
}

TEST(VariantOrder, PutsLargerCodesOfUnlikeKindsFirst) {
    const variant_t object(1, basekit2::make_object<Object>());
    const std::vector<variant_t> ascending = {variant_t(), object, "", "z", std::nan(""), -5, 1.5};
    EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end()));
    for (std::size_t i = 1; i < ascending.size(); ++i)
        EXPECT_LT(ascending[i - 1], ascending[i]) << i;
}

TEST(VariantOrder, ComparesTextsByBytesNarrowAndWideAlike) {
    EXPECT_EQ(variant_t("\xC3\xA4"), variant_t(L"\u00e4"));
    EXPECT_LT(variant_t("B"), variant_t("a"));
    EXPECT_LT(variant_t("a"), variant_t(L"aa"));
    EXPECT_LT(variant_t("z"), variant_t("\xC3\xA4"));
    EXPECT_GT(variant_t::string_compare("b", L"a"), 0);
    EXPECT_EQ(variant_t::string_compare(5, ""), 0);
}

}  // namespace
