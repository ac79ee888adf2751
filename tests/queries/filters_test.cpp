// Filters as users write them; and as selections put in force, kept with the result, told, and
// taken back.
#include "session/apply_selection.h"
#include "session/filter_text.h"
#include "session/open_result.h"
#include "store/sqlite_handle.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <dataface_1/filters.h>
#include <storelink1/database.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fmt/format.h>
#include <fstream>
#include <iterator>

namespace lanefeed_test {
namespace {

using namespace lanefeed_runtime;  // NOLINT(google-build-using-namespace)
using basekit2::sptr_t;

class Filters : public testing::Test {
protected:
    // Row ids of a table that a client reads, under the named filter or those in force.
    std::string rows(const std::string& table, const std::string& filter = "") {
        const auto query = m_database->createQuery(table, 0);
        query->addColumn("rowid");
        if (filter.empty())
            query->useFilters();
        else
            query->addFilter(filter);
        std::string out = recordsText(query->execute(), 1);
        std::replace(out.begin(), out.end(), '\n', ' ');
        return out;
    }

    void open(const std::string& file) {
        m_result = nullptr;
        m_outcome = {};
        m_result = openResult(file, {}, m_outcome);
        ASSERT_TRUE(m_outcome.isOpened()) << m_outcome.text;
        sptr_t<storelink1::IPerfDatabase> performance;
        dataface_1::lookup(m_result, performance);
        m_database = performance->getDatabase(m_result);
    }

    sptr_t<dataface_1::IInputData> m_result;
    sptr_t<storelink1::IDatabase> m_database;
    OpenOutcome m_outcome;
};

class FilterText : public Filters {
protected:
    FilterText() { open(m_text.file()); }

    TextResult m_text{R"(
    process app
    thread main     0..100 render@gfx  10..20 idle
    thread worker1  5..50 read@io
    thread worker2  60..70 Read
    process tool
    thread main     0..9 a,b
    track upload    30..40 read
    counter load    0=1 50=2
    marker main     90 gc
)"};
};

TEST_F(FilterText, NamesRowsByColumnsOfTheResult) {
    const struct {
        const char* table;
        std::vector<std::string> texts;
        const char* rows;
    } cases[] = {
        {"dd_thread", {"thread=main"}, "1 4 "},
        {"dd_thread", {"thread=worker*"}, "2 3 "},
        {"dd_thread", {"Thread=WORKER*"}, "2 3 "},
        {"dd_thread", {"thread=app / main,worker2"}, "1 3 "},
        {"dd_thread", {"thread!=main,nobody"}, "2 3 "},
        {"dd_thread", {"process=app"}, "1 2 3 "},
        {"dd_thread", {"process=app", "thread=*1,main"}, "1 2 "},
        {"dd_thread", {"name=read"}, "2 "},
        {"dd_thread", {"name=Read"}, "3 "},
        {"dd_thread", {"name=READ"}, "2 3 "},
        {"dd_thread", {"name=r*d*"}, "1 2 "},
        {"dd_thread", {"name=a\\,b"}, "4 "},
        {"dd_track", {"process=tool"}, "1 "},
        {"dd_track", {"thread=main"}, ""},
        {"dd_track", {"name=re*"}, "1 "},
        {"slice_data", {"category=io,gfx"}, "1 3 "},
        {"slice_data", {"category!=gfx", "thread!=main"}, "3 5 "},
        {"slice_data", {"time=60ns..65ns"}, "1 5 "},
        {"slice_data", {"time=0ns..60ns", "time=55ns..70ns"}, "1 "},
        {"slice_data", {"time!=9ns..100%"}, "1 2 3 "},
        {"slice_data", {"time=0%..10%", "time=90%..100%"}, ""},
        {"slice_data", {"sliceName=idle"}, "4 "},
        {"marker_data", {"name=gc"}, "1 "},
        {"marker_data", {"name=idle"}, ""},
        {"counter_data", {"counterValue=2"}, "2 "},
        {"counter_data", {"counter=load", "time=0ns..10ns"}, "1 "},
        {"counter_data", {}, "1 2 "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(fmt::format("{}: {}", c.table, fmt::join(c.texts, " ")));
        std::string error;
        EXPECT_TRUE(readFilterTexts(m_result, c.texts, "text", error)) << error;
        EXPECT_EQ(rows(c.table, "text"), c.rows);
    }
}

TEST_F(FilterText, TellsWhatItDoesNotTake) {
    const std::pair<const char*, const char*> cases[] = {
        {"thred=main", "'thred' is no column of the result; the columns are category, counter, "},
        {"thread=mian", "holds no thread 'mian'; there are main, worker1"},
        {"thread", "write as in thread=main"},
        {"=x", "write as in"},
        {"time=5", "write A..B"},
        {"time=9s..10s", "outside of the result"},
        {"busyTime=1", "is no column"},
        {"counterValue=2*", "a column of values"},
    };
    std::string error;
    ASSERT_TRUE(readFilterTexts(m_result, {"thread=worker1"}, "text", error));
    for (const auto& [text, words] : cases) {
        EXPECT_FALSE(readFilterTexts(m_result, {"process=app", text}, "text", error));
        EXPECT_EQ(error.rfind(text, 0), 0U) << error;
        EXPECT_NE(error.find(words), std::string::npos) << error;
    }
    // What stood there stands.
    EXPECT_EQ(describeFilters(m_result).at(0).query, "(thread = \"worker1\")");
    std::string columns;
    for (const FilterColumn& column : filterColumns(m_result))
        columns += column.name + (column.help.empty() ? "? " : " ");
    EXPECT_EQ(columns, "category counter marker name pid process task thread tid track unit time ");
}

class ApplySelection : public Filters {
protected:
    ApplySelection() { open(m_text.file()); }

    void select(const std::vector<std::string>& texts, const std::string& name = "selection") {
        std::string error;
        ASSERT_TRUE(readFilterTexts(m_result, texts, name, error)) << error;
    }
    std::string answer() {
        std::string out;
        for (const char* table : {"slice_data", "counter_data", "dd_band", "dd_thread"})
            out += rows(table) + "| ";
        return out;
    }
    std::string described() {
        std::string out;
        for (const FilterDescription& one : describeFilters(m_result)) {
            out += one.name + ": " + one.query;
            for (const auto& span : one.kept)
                if (one.hasTime) out += fmt::format(" {}..{}", span.start, span.end);
            out += "\n";
        }
        return out;
    }

    TextResult m_text{
        "thread main 0..100 render 10..20 idle\n"
        "thread worker 5..50 read 60..70 idle\ncounter load 0=1 50=2\n"};
};

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
        EXPECT_EQ(
            described(),
            "global: (thread = \"worker\") and (counter = nothing) and (task = \"idle\") 1..66\n"
            "selection: (counter = nothing) and (task = \"idle\") 1..66\n");
    }
    // Times that have nothing in common keep nothing.
    select({"time=70ns..90ns"});
    applySelection(m_result);
    EXPECT_EQ(answer(), "| | | | ");
    // One takes the place of all before.
    select({"name!=idle"}, "deep_view_selection_filter");
    applySelection(m_result, "deep_view_selection_filter", SelectionMode::replace);
    EXPECT_EQ(answer(), "1 2 | 1 2 | 1 2 3 | 1 2 | ");
    clearFilters(m_result);
    EXPECT_EQ(answer(), first);
    EXPECT_EQ(described(), "");
    // What is named can be left out instead, and twice is as it was.
    select({"thread=worker"});
    EXPECT_EQ(excludeSelection(m_result).kind, FilterOutcome::done);
    applySelection(m_result);
    EXPECT_EQ(answer(), "1 3 | 1 2 | 1 3 | 1 | ");
    EXPECT_EQ(excludeSelection(m_result).kind, FilterOutcome::done);
    applySelection(m_result, "selection", SelectionMode::replace);
    EXPECT_EQ(answer(), "2 4 | | 2 | 2 | ");
    select({"time=0ns..65ns"});
    EXPECT_EQ(excludeSelection(m_result).kind, FilterOutcome::nothingSelected);
}

TEST_F(ApplySelection, LastsWithTheResultAndIsToldWhenItIsNotUnderstood) {
    const std::string first = answer();
    select({"thread=worker"});
    applySelection(m_result);
    const std::string address =
        "required_data_filter_" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
    select({"thread=main"}, address);
    const std::string told = described();
    const std::string filtered = answer();
    const FilterOutcome outcome = saveFilters(m_result);
    EXPECT_EQ(outcome.kind, FilterOutcome::done) << outcome.text;
    // The result stays usable, and opens with them.
    EXPECT_EQ(answer(), filtered);
    open(m_text.file());
    EXPECT_TRUE(m_outcome.warnings.empty());
    EXPECT_EQ(answer(), filtered);
    EXPECT_EQ(described(), told);
    std::ifstream in(m_text.file(), std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(bytes.find("required_data_filter"), std::string::npos);

    std::string error;
    ASSERT_TRUE(Connection::open(m_text.file(), Connection::Mode::write, error)
                    ->run("update filters set level = 7"));
    open(m_text.file());
    ASSERT_EQ(m_outcome.warnings.size(), 1U);
    EXPECT_NE(m_outcome.warnings.front().find(m_text.file()), std::string::npos);
    EXPECT_EQ(answer(), first);
    clearFilters(m_result);
    EXPECT_EQ(saveFilters(m_result).kind, FilterOutcome::done);
    open(m_text.file());
    EXPECT_TRUE(m_outcome.warnings.empty());
    EXPECT_EQ(described(), "");
}

}  // namespace
}  // namespace lanefeed_test
