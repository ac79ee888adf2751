// Selections put in force, kept with the result, told, and taken back.
#include "session/apply_selection.h"

#include "session/filter_text.h"
#include "session/open_result.h"
#include "store/sqlite_handle.h"
#include "support/store_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <dataface_1/filters.h>
#include <storelink1/database.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>

namespace lanefeed_test {
namespace {

using namespace lanefeed_runtime;  // NOLINT(google-build-using-namespace)
using basekit2::sptr_t;

class ApplySelection : public testing::Test {
protected:
    ApplySelection() {
        writeTraceText(m_file,
                       "thread main 0..100 render 10..20 idle\n"
                       "thread worker 5..50 read 60..70 idle\ncounter load 0=1 50=2\n");
        open();
    }

    void open() {
        m_result = nullptr;
        OpenOutcome outcome;
        m_result = openResult(m_file, {}, outcome);
        ASSERT_TRUE(outcome.isOpened()) << outcome.text;
        EXPECT_TRUE(outcome.warnings.empty());
        dataface_1::lookup(m_result, m_filters);
    }

    void select(const std::vector<std::string>& texts, const std::string& name = "selection") {
        std::string error;
        ASSERT_TRUE(readFilterTexts(m_result, texts, name, error)) << error;
    }

    // What a client reads of the tables, with the filters in force.
    std::string answer() {
        sptr_t<storelink1::IPerfDatabase> performance;
        dataface_1::lookup(m_result, performance);
        const auto database = performance->getDatabase(m_result);
        std::string out;
        for (const char* table : {"slice_data", "counter_data", "dd_band", "dd_thread"}) {
            const auto query = database->createQuery(table, 0);
            query->addColumn("rowid");
            query->useFilters();
            for (const char c : recordsText(query->execute(), 1))
                out += c == '\n' ? ' ' : c;
            out += "| ";
        }
        return out;
    }

    std::string described() {
        std::string out;
        for (const FilterDescription& one : describeFilters(m_result)) {
            out += one.name + ": " + one.query;
            for (const auto& span : one.kept)
                if (one.hasTime)
                    out += " " + std::to_string(span.start) + ".." + std::to_string(span.end);
            out += "\n";
        }
        return out;
    }

    TempDirectory m_directory;
    std::string m_file = m_directory.file("t.lft");
    sptr_t<dataface_1::IInputData> m_result;
    sptr_t<dataface_1::IFilterRegistry> m_filters;
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
    applySelection(m_result);
    EXPECT_EQ(answer(), "4 | | 2 | 2 | ");
    const std::string twice = described();
    applySelection(m_result);
    EXPECT_EQ(described(), twice);
    EXPECT_EQ(twice,
              "global: (thread = \"worker\") and (counter = nothing) and (task = \"idle\") 1..66\n"
              "selection: (counter = nothing) and (task = \"idle\") 1..66\n");
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
    clearFilters(m_result);
}

TEST_F(ApplySelection, LastsWithTheResult) {
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
    open();
    EXPECT_EQ(answer(), filtered);
    EXPECT_EQ(described(), told);
    EXPECT_FALSE(m_filters->hasFilter(address));
    std::ifstream in(m_file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(bytes.find("required_data_filter"), std::string::npos);
    clearFilters(m_result);
    EXPECT_EQ(saveFilters(m_result).kind, FilterOutcome::done);
    open();
    EXPECT_EQ(described(), "");
}

TEST_F(ApplySelection, TellsOfFiltersThatAreNotUnderstood) {
    const std::string first = answer();
    select({"thread=worker"});
    applySelection(m_result);
    saveFilters(m_result);
    {
        std::string error;
        const auto connection = Connection::open(m_file, Connection::Mode::write, error);
        ASSERT_TRUE(connection->run("update filters set level = 7"));
    }
    OpenOutcome outcome;
    m_result = openResult(m_file, {}, outcome);
    EXPECT_TRUE(outcome.isOpened());
    ASSERT_EQ(outcome.warnings.size(), 1U);
    EXPECT_NE(outcome.warnings.front().find(m_file), std::string::npos);
    EXPECT_EQ(answer(), first);
}

}  // namespace
}  // namespace lanefeed_test
