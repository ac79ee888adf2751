// Filters as users write them.
#include "session/filter_text.h"

#include "session/apply_selection.h"
#include "session/open_result.h"
#include "support/store_text.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <storelink1/database.h>

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using namespace lanefeed_runtime;  // NOLINT(google-build-using-namespace)
using basekit2::sptr_t;

const char* const kTrace = R"(
    process app
    thread main     0..100 render@gfx  10..20 idle
    thread worker1  5..50 read@io
    thread worker2  60..70 Read
    process tool
    thread main     0..9 a,b
    track upload    30..40 read
    counter load    0=1 50=2
    marker main     90 gc
)";

class FilterText : public testing::Test {
protected:
    FilterText() {
        writeTraceText(m_file, kTrace);
        OpenOutcome outcome;
        m_result = openResult(m_file, {}, outcome);
        sptr_t<storelink1::IPerfDatabase> performance;
        dataface_1::lookup(m_result, performance);
        m_database = performance->getDatabase(m_result);
    }

    // Row ids that the texts leave of a table, or the error.
    std::string rows(const std::string& table, const std::vector<std::string>& texts) {
        std::string error;
        if (!readFilterTexts(m_result, texts, "text", error)) return error;
        const auto query = m_database->createQuery(table, 0);
        query->addColumn("rowid");
        query->addFilter("text");
        std::string out;
        for (const char c : recordsText(query->execute(), 1))
            out += c == '\n' ? ' ' : c;
        return out;
    }

    TempDirectory m_directory;
    std::string m_file = m_directory.file("t.lft");
    sptr_t<dataface_1::IInputData> m_result;
    sptr_t<storelink1::IDatabase> m_database;
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
        std::string given;
        for (const std::string& text : c.texts)
            given += text + " ";
        EXPECT_EQ(rows(c.table, c.texts), c.rows) << c.table << ": " << given;
    }
}

TEST_F(FilterText, TellsWhatItDoesNotTake) {
    const struct {
        const char* text;
        const char* words;
    } cases[] = {
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
    for (const auto& c : cases) {
        EXPECT_FALSE(readFilterTexts(m_result, {"process=app", c.text}, "text", error));
        EXPECT_EQ(error.rfind(c.text, 0), 0U) << error;
        EXPECT_NE(error.find(c.words), std::string::npos) << error;
    }
    // What stood there stands.
    EXPECT_EQ(describeFilters(m_result).at(0).query, "(thread = \"worker1\")");
    std::string columns;
    for (const FilterColumn& column : filterColumns(m_result))
        columns += column.name + (column.help.empty() ? "? " : " ");
    EXPECT_EQ(columns, "category counter marker name pid process task thread tid track unit time ");
}

}  // namespace
}  // namespace lanefeed_test
