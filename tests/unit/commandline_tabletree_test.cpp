// The form of the command line: bounds of buckets as columns in front of the series.

#include "bound_provider.h"
#include "series_tables.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "tabletrees.h"

#include <gtest/gtest.h>

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ITableTree;

const double kNone = lanefeed_test::kNoData;

// The table of a series over a window, with bounds in front.
sptr_t<ITableTree> withBounds(const std::vector<double>& values,
                              const QueryParam& param,
                              IDicerProvider* provider = nullptr) {
    const auto overtime =
        createOvertimeTableTree(lanefeed_test::seriesColumns({"cpu", ".read"}), nullptr,
                                lanefeed_test::recordOf({values}), 10, param, nullptr);
    return createCommandLineTableTree(overtime, provider, param);
}

TEST(CommandLineTable, PutsTheBoundsOfBucketsInFront) {
    const lanefeed_test::BoundProvider bound;
    const QueryParam param = lanefeed_test::windowOf(100, 110, 3);
    const auto tree = withBounds({1, 2, 3}, param, bound.provider.get());
    // Three whole ticks a bucket; the last takes the tick that is left.
    EXPECT_EQ(lanefeed_test::tableText(tree), R"(Bin Start Time  Bin End Time  cpu  cpu.read
100             103           10   10
103             106           20   20
106             110           30   30
)");
    EXPECT_EQ(bound.library->created.size(), 2U);
    const auto end = lanefeed_test::columnNamed(tree, "Bin End Time");
    EXPECT_EQ(end->getType(), dataface_1::numericColumnBit);
    EXPECT_TRUE(end->getParent().is_null());
    variant_t value;
    EXPECT_FALSE(end->getContent(dataface_1::ccStyle, value));
    EXPECT_TRUE(lanefeed_test::allRows(tree)[1]->getContent(end, dataface_1::ccStyle, value));
    EXPECT_EQ(value.get_type(), basekit2::vtU64);
    EXPECT_EQ(value, variant_t(106));
    EXPECT_TRUE(createCommandLineTableTree(nullptr, nullptr, param).is_null());
    EXPECT_TRUE(lanefeed_test::keepsTableContract([] {
        return withBounds({1, kNone, 3}, lanefeed_test::windowOf(0, 30, 3));
    }));
}

TEST(CommandLineTable, EndsTheLastBucketOfTheRequestAloneWithIt) {
    const auto text = [](const std::vector<double>& values, const QueryParam& param) {
        return lanefeed_test::tableText(withBounds(values, param));
    };
    const QueryParam four = lanefeed_test::windowOf(100, 111, 4);
    EXPECT_EQ(text({1, kNone, 3, kNone}, four),
              "?    ?    cpu  cpu.read\n100  102  10   10\n104  106  30   30\n");
    EXPECT_EQ(text({kNone, kNone, kNone, 4}, four), "?    ?    cpu  cpu.read\n106  111  40   40\n");
    // No bounds of what is no bucket of the request: more than that has, or a text for its number.
    const QueryParam two = lanefeed_test::windowOf(0, 10, 2);
    EXPECT_EQ(text({1, 2, 3}, two),
              "?  ?   cpu  cpu.read\n0  5   10   10\n5  10  20   20\n-  -   30   30\n");
    EXPECT_EQ(text({1}, lanefeed_test::windowOf(0, 10, 0)), "?  ?  cpu  cpu.read\n-  -  10   10\n");
    const auto odd = lanefeed_test::seriesColumns({"cpu"});
    for (const variant_t& bin : {variant_t("0"), variant_t(-1), variant_t(true), variant_t()}) {
        const auto row = facekit_1_x::createVectorRow(nullptr, odd);
        row->setContent(lanefeed_test::columnNamed(odd, "timeBin"), dataface_1::ccValue, bin);
        odd->addRow(row, nullptr);
    }
    EXPECT_EQ(lanefeed_test::tableText(createCommandLineTableTree(odd, nullptr, two)),
              "?  ?  cpu\n-  -  -\n-  -  -\n-  -  -\n-  -  -\n");
}

}  // namespace
}  // namespace lanefeed_1
