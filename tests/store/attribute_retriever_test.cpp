// Values by row id, held in memory or read row by row: both must answer alike.
#include "support/store_text.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <thread>

namespace lanefeed_runtime {
namespace {

constexpr const char* kTrace = R"(
    process viewer
    thread main    0..100 a{"k":1}  10..12 b
    process other
    thread worker  20..30 a
)";

class AttributeRetrieverTest : public testing::TestWithParam<bool> {
protected:
    // "none" for a null retriever, "no" for false, "-" for null.
    std::string value(const std::string& path, int id) {
        const auto retriever = m_result.database().createAttributeRetriever(path, GetParam());
        if (retriever.is_null()) return "none";
        basekit2::variant_t out("untouched");
        if (!retriever->getValue(id, out)) return "no";
        return out.is_null() ? "-" : storelink1::utils::variantToString(out);
    }

    std::string leaf(const std::string& path) {
        const auto retriever = m_result.database().createAttributeRetriever(path, GetParam());
        if (retriever.is_null()) return "none";
        std::string table;
        return retriever->getLeafTable(table) ? table : "no";
    }

    lanefeed_test::TextResult m_result{kTrace};
};

TEST_P(AttributeRetrieverTest, FollowsPathsFromARow) {
    EXPECT_EQ(value("dd_thread", 2), "2");
    EXPECT_EQ(value("dd_thread.name", 2), "worker");
    EXPECT_EQ(value("dd_thread.dd_process", 2), "2");
    EXPECT_EQ(value("dd_thread.dd_process.name", 2), "other");
    EXPECT_EQ(value("dd_band.dd_thread", 2), "2");
    EXPECT_EQ(value("dd_band::dd_thread.dd_process.name", 1), "viewer");
    EXPECT_EQ(value("dd_band.dd_counter", 1), "-");
    EXPECT_EQ(value("slice_data.args.json", 1), "{\"k\":1}");
    EXPECT_EQ(value("slice_data.args.json", 2), "-");
}

TEST_P(AttributeRetrieverTest, GivesIdsAsSigned32Bit) {
    for (const char* path : {"dd_thread", "dd_thread.dd_process", "dd_band::dd_thread"}) {
        const auto retriever = m_result.database().createAttributeRetriever(path, GetParam());
        basekit2::variant_t out;
        ASSERT_TRUE(retriever->getValue(1, out)) << path;
        EXPECT_EQ(out.get_type(), basekit2::vtS32) << path;
    }
}

TEST_P(AttributeRetrieverTest, AnswersFalseForUnknownRowsAndColumns) {
    for (const int id : {-1, 0, 3, 1000000}) {
        EXPECT_EQ(value("dd_thread", id), "no") << id;
        EXPECT_EQ(value("dd_thread.name", id), "no") << id;
    }
    EXPECT_EQ(value("dd_thread.nothing", 1), "no");
    EXPECT_EQ(value("dd_category.name", 1), "no");
    EXPECT_EQ(value("nothing", 1), "none");
    EXPECT_EQ(value("nothing.name", 1), "none");
    EXPECT_EQ(value("", 1), "none");
}

TEST_P(AttributeRetrieverTest, NamesTheLastTable) {
    EXPECT_EQ(leaf("dd_thread"), "dd_thread");
    EXPECT_EQ(leaf("dd_thread.dd_process"), "dd_process");
    EXPECT_EQ(leaf("dd_thread.dd_process.name"), "dd_process");
    EXPECT_EQ(leaf("dd_task.name"), "dd_task");
    EXPECT_EQ(leaf("dd_band::dd_thread"), "dd_thread");
    // Declared, though this result has none.
    EXPECT_EQ(leaf("dd_counter"), "dd_counter");
    EXPECT_EQ(leaf("dd_thread.nothing"), "no");
    EXPECT_EQ(leaf("nothing"), "none");
}

TEST_P(AttributeRetrieverTest, StaysGoodAfterTheCachesAreCleared) {
    const auto retriever = m_result.database().createAttributeRetriever("dd_task.name", GetParam());
    m_result.database().clearCaches();
    basekit2::variant_t out;
    EXPECT_TRUE(retriever->getValue(1, out));
    EXPECT_EQ(out.get<std::string>(), "a");
}

TEST_P(AttributeRetrieverTest, MayBeAskedFromSeveralThreads) {
    const auto retriever = m_result.database().createAttributeRetriever("dd_task.name", GetParam());
    std::vector<std::thread> threads;
    std::vector<int> good(3, 0);
    for (std::size_t t = 0; t < good.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                basekit2::variant_t out;
                const int id = 1 + i % 2;
                if (retriever->getValue(id, out) && out.get<std::string>() == (id == 1 ? "a" : "b"))
                    ++good[t];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, std::vector<int>(3, 500));
}

INSTANTIATE_TEST_SUITE_P(Cache, AttributeRetrieverTest, testing::Bool());

}  // namespace
}  // namespace lanefeed_runtime
