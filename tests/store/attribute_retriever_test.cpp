// Values by row id, held in memory or read row by row: both must answer alike.
#include "support/answer_rows.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <thread>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::expectAnswers;

class AttributeRetrieverTest : public testing::TestWithParam<bool> {
protected:
    auto retriever(const std::string& path) {
        return m_result.database().createAttributeRetriever(path, GetParam());
    }

    // Of "PATH ID": "no retriever", "no" for false, "-" for null.
    std::string value(const std::string& question) {
        const std::size_t blank = question.rfind(' ');
        const auto values = retriever(question.substr(0, blank));
        if (values.is_null()) return "no retriever";
        basekit2::variant_t out;
        if (!values->getValue(std::stoi(question.substr(blank)), out)) return "no";
        return out.is_null() ? "-" : storelink1::utils::variantToString(out);
    }

    std::string leaf(const std::string& path) {
        std::string table;
        return retriever(path)->getLeafTable(table) ? table : "no";
    }

    lanefeed_test::TextResult m_result{R"(
        process viewer
        thread main    0..100 a{"k":1}  10..12 b
        process other
        thread worker  20..30 a
    )"};
};

TEST_P(AttributeRetrieverTest, FollowsPathsFromARow) {
    expectAnswers(R"(
        dd_thread 2 | 2;                   dd_thread.name 2 | worker
        dd_thread.dd_process 2 | 2;        dd_thread.dd_process.name 2 | other
        dd_band.dd_thread 2 | 2;           dd_band::dd_thread.dd_process.name 1 | viewer
        dd_band.dd_counter 1 | -;          slice_data.args.json 1 | {"k":1}
        slice_data.args.json 2 | -;        dd_thread.nothing 1 | no;  dd_category.name 1 | no
        dd_thread 3 | no;                  dd_thread.name 3 | no
        dd_thread 0 | no;                  dd_thread.name -1 | no
        dd_thread 1000000 | no;            dd_thread.name 1000000 | no
        nothing 1 | no retriever;          nothing.name 1 | no retriever
        ' 1' | no retriever)",
                  [this](const std::string& question) { return value(question); });
    for (const char* path : {"dd_thread", "dd_thread.dd_process", "dd_band::dd_thread"}) {
        basekit2::variant_t out;
        ASSERT_TRUE(retriever(path)->getValue(1, out)) << path;
        EXPECT_EQ(out.get_type(), basekit2::vtS32) << path;
    }
}

TEST_P(AttributeRetrieverTest, NamesTheLastTable) {
    // One is declared, though this result has none.
    expectAnswers(R"(
        dd_thread | dd_thread;              dd_thread.dd_process | dd_process
        dd_thread.dd_process.name | dd_process;  dd_task.name | dd_task
        dd_band::dd_thread | dd_thread;     dd_counter | dd_counter;  dd_thread.nothing | no)",
                  [this](const std::string& path) { return leaf(path); });
}

TEST_P(AttributeRetrieverTest, MayBeAskedFromSeveralThreadsAndAfterTheCachesAreCleared) {
    const auto names = retriever("dd_task.name");
    m_result.database().clearCaches();
    std::vector<std::thread> threads;
    std::vector<int> good(3, 0);
    for (int& count : good) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                basekit2::variant_t out;
                if (names->getValue(1 + i % 2, out) && out == (i % 2 == 0 ? "a" : "b")) ++count;
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
