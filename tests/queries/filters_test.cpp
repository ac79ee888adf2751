// Filters as users write them; and as selections put in force, kept with the result, told, and
// taken back.
#include "session/apply_selection.h"
#include "session/filter_text.h"
#include "session/open_result.h"
#include "support/answer_rows.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <dataface_1/filters.h>
#include <platkit_2_18/strings.h>
#include <storelink1/database.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace lanefeed_test {
namespace {

using namespace lanefeed_runtime;  // NOLINT(google-build-using-namespace)
using basekit2::sptr_t;

class Filters : public testing::Test {
protected:
    explicit Filters(const std::string& trace)
        : m_text(trace), m_result(openResult(m_text.file(), {}, m_outcome)) {}

    // Row ids of a table that a client reads, under the named filter or those in force.
    std::string rows(const std::string& table, const std::string& filter = "") {
        sptr_t<storelink1::IPerfDatabase> performance;
        dataface_1::lookup(m_result, performance);
        const auto query = performance->getDatabase(m_result)->createQuery(table, 0);
        query->addColumn("rowid");
        if (filter.empty())
            query->useFilters();
        else
            query->addFilter(filter);
        std::string out = recordsText(query->execute(), 1);
        std::replace(out.begin(), out.end(), '\n', ' ');
        return out;
    }
    void select(const std::vector<std::string>& texts, const std::string& name = "selection") {
        std::string error;
        EXPECT_TRUE(readFilterTexts(m_result, texts, name, error)) << error;
    }

    // Row ids of a table under filters: "table & text & text".
    std::string kept(const std::string& question) {
        auto texts = platkit_2_18::strings::split_string(question, " & ");
        const std::string table = texts.front();
        texts.erase(texts.begin());
        select(texts, "text");
        const std::string ids = rows(table, "text");
        return ids.substr(0, ids.find_last_of(' '));
    }

    OpenOutcome m_outcome;
    TextResult m_text;
    sptr_t<dataface_1::IInputData> m_result;
};

struct FilterText : Filters {
    FilterText()
        : Filters(R"(
    process app
    thread main     0..100 render@gfx  10..20 idle
    thread worker1  5..50 read@io
    thread worker2  60..70 Read
    process tool
    thread main     0..9 a,b
    track upload    30..40 read
    counter load    0=1 50=2
    marker main     90 gc
)") {}
};

TEST_F(FilterText, NamesRowsByColumnsOfTheResult) {
    // Texts behind the table are parted by "&".
    expectAnswers(R"(
        dd_thread & thread=main | 1 4
        dd_thread & thread=worker* | 2 3
        dd_thread & Thread=WORKER* | 2 3
        dd_thread & thread=app / main,worker2 | 1 3
        dd_thread & thread!=main,nobody | 2 3
        dd_thread & process=app & thread=*1,main | 1 2
        dd_thread & name=Read | 3
        dd_thread & name=READ | 2 3
        dd_thread & name=r*d* | 1 2
        dd_thread & name=a\,b | 4
        dd_track & process=tool | 1
        slice_data & category=io,gfx | 1 3
        slice_data & category!=gfx & thread!=main | 3 5
        slice_data & time=0ns..60ns & time=55ns..70ns | 1
        slice_data & time!=9ns..100% | 1 2 3
        slice_data & time=0%..10% & time=90%..100%
        slice_data & sliceName=idle | 4
        marker_data & name=gc | 1
        counter_data & counterValue=2 | 2
        counter_data & counter=load & time=0ns..10ns | 1
        counter_data | 1 2)",
                  [this](const std::string& question) { return kept(question); });
}

TEST_F(FilterText, TellsWhatItDoesNotTake) {
    const std::pair<const char*, const char*> cases[] = {
        {"thred=main", "'thred' is no column of the result; the columns are category, counter, "},
        {"thread=mian", "holds no thread 'mian'; there are main, worker1"},
        {"thread", "write as in thread=main"},
        {"time=5", "write A..B"},
        {"time=9s..10s", "outside of the result"},
        {"counterValue=2*", "a column of values"},
    };
    select({"thread=worker1"}, "text");
    std::string error;
    for (const auto& [text, words] : cases) {
        EXPECT_FALSE(readFilterTexts(m_result, {"process=app", text}, "text", error));
        EXPECT_EQ(error.rfind(text, 0), 0U) << error;
        EXPECT_NE(error.find(words), std::string::npos) << error;
    }
    EXPECT_EQ(describeFilters(m_result).at(0).query, "(thread = \"worker1\")")
        << "what stood there";
}

struct SchedulerFilterText : Filters {
    SchedulerFilterText()
        : Filters(
              "core 0  0..10 main  10..20 -\n"
              "thread main\nstate main 0..10 Running%0 10..20 Sleeping\n"
              "thread worker\nstate worker 0..20 Sleeping\n") {}
};

// Threads are what time on cores is called by, and rows that states stand on.
TEST_F(SchedulerFilterText, ANameIsAskedOfInstancesAlone) {
    expectAnswers(R"(
        state_data & name=Running | 2
        dd_thread & name=Running | 1
        running_data & name=Running
        running_data & name!=Idle | 1
        dd_core & name!=Idle | 1
        dd_core & name=main | 1
        dd_thread & name!=Running | 1 2)",
                  [this](const std::string& question) { return kept(question); });
}

struct ApplySelection : Filters {
    ApplySelection()
        : Filters(
              "thread main 0..100 render 10..20 idle\n"
              "thread worker 5..50 read 60..70 idle\ncounter load 0=1 50=2\n") {}

    std::string answer() {
        std::string out;
        for (const char* table : {"slice_data", "counter_data", "dd_band", "dd_thread"})
            out += rows(table) + "| ";
        return out;
    }
};

// That selections are told and last with the result is seen by tests/tool/selection_test.cpp.
TEST_F(ApplySelection, ChangesAnswersOnceItIsApplied) {
    const std::string first = answer();
    EXPECT_EQ(applySelection(m_result).kind, FilterOutcome::nothingSelected);
    select({"thread=worker"});
    EXPECT_EQ(answer(), first);
    EXPECT_EQ(applySelection(m_result).kind, FilterOutcome::done);
    EXPECT_EQ(answer(), "2 4 | | 2 | 2 | ");
    // A further one narrows it, twice the same one does no more.
    select({"name=idle", "time=0ns..65ns"});
    for (int times = 0; times < 2; ++times) {
        applySelection(m_result);
        EXPECT_EQ(answer(), "4 | | 2 | 2 | ");
    }
    // Times that have nothing in common keep nothing.
    select({"time=70ns..90ns"});
    applySelection(m_result);
    EXPECT_EQ(answer(), "| | | | ");
    EXPECT_EQ(excludeSelection(m_result).kind, FilterOutcome::nothingSelected);
    clearFilters(m_result);
    EXPECT_EQ(answer(), first);
    // What is named can be left out instead, and twice is as it was.
    select({"thread=worker"});
    EXPECT_EQ(excludeSelection(m_result).kind, FilterOutcome::done);
    applySelection(m_result);
    EXPECT_EQ(answer(), "1 3 | 1 2 | 1 3 | 1 | ");
    excludeSelection(m_result);
    applySelection(m_result, "selection", SelectionMode::replace);
    EXPECT_EQ(answer(), "2 4 | | 2 | 2 | ");

    select({"thread=main"}, "required_data_filter_4711");
    EXPECT_EQ(saveFilters(m_result).kind, FilterOutcome::done);
    std::ifstream in(m_text.file(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(bytes.find("required_data_filter"), std::string::npos);
}

}  // namespace
}  // namespace lanefeed_test
