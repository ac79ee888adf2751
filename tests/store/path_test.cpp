// Paths along the references, in every form, and what is none.
#include "support/answer_rows.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_runtime {
namespace {

class PathTest : public testing::Test {
protected:
    // Of "TABLE PATH", row by row; single values by row id, held in memory or not, are the same.
    std::string values(const std::string& question) {
        const std::size_t blank = question.find(' ');
        const std::string table = question.substr(0, blank);
        const std::string path = question.substr(blank + 1);
        std::string text = lanefeed_test::rowsOf(m_database, table, {path});
        std::replace(text.begin(), text.end(), '\n', ' ');
        for (const bool isHeld : {false, true})
            if (table.find("::") == std::string::npos) {
                EXPECT_EQ(singleValues(table + "." + path, isHeld), text) << question;
            }
        return text.substr(0, text.find_last_not_of(' ') + 1);
    }

    std::string singleValues(const std::string& path, bool isHeld) {
        const auto values = m_database.createAttributeRetriever(path, isHeld);
        basekit2::variant_t value;
        EXPECT_FALSE(values->getValue(0, value) || values->getValue(-1, value) ||
                     values->getValue(1000000, value));
        std::string text;
        for (int row = 1; values->getValue(row, value); ++row)
            text += (value.is_null() ? "-" : storelink1::utils::variantToString(value)) + " ";
        return text;
    }

    lanefeed_test::TextResult m_result{R"(
        process viewer
        thread main    0..100 a{"k":1}  10..12 b@io
        thread worker  5..50 c@io
        counter load   0=5  10=7.5
        marker main    5 gc@mem
        process other
        thread main    20..30 a
        track upload   3..9 part
        flow worker 5 main 9 wake
    )"};
    storelink1::IDatabase& m_database = m_result.database();
};

TEST_F(PathTest, LeadsWhereTheReferencesLead) {
    lanefeed_test::expectAnswers(R"(
        slice_data attr | 1 3 2 1;                    slice_data dd_task | 1 3 2 1
        slice_data attr.name | a c b a;               slice_data slice_data.attr.name | a c b a
        slice_data slice_data::attr.name | a c b a;   slice_data dd_task::name | a c b a
        slice_data args.json | {"k":1} - - -;         slice_data dd_category.name | - io io -
        slice_data dd_band | 1 2 1 4;                 slice_data dd_band.rowid | 1 2 1 4
        slice_data dd_band::rowid | 1 2 1 4;          slice_data dd_band::start_tsc | 1 1 1 1
        slice_data dd_band::dd_thread | 1 2 1 3;      slice_data dd_thread::rowid | 1 2 1 3
        slice_data dd_thread::name | main worker main main
        slice_data dd_band.dd_thread.dd_process.name | viewer viewer viewer other
        slice_data dd_thread::dd_process.name | viewer viewer viewer other
        slice_data dd_band::dd_counter.name | - - - -;   counter_data value | 5 7.5
        counter_data dd_band::dd_counter.name | load load
        marker_data attr.name | gc;                   marker_data dd_category.name | mem
        flow_data dd_band::dd_thread | 3;             flow_data multi_band_index.dd_thread | 4
        flow_data multi_band_index.dd_thread.dd_process.name | other
        dd_thread dd_process.name | viewer viewer other other
        dd_process dd_process | 1 2;  dd_process rowid | 1 2;  dd_process dd_process::rowid | 1 2
        dd_band::dd_counter dd_counter.name | load;   dd_band::dd_process rowid | ''
        dd_band::dd_thread dd_thread.name | main worker main worker)",
                                 [this](const std::string& question) { return values(question); });
}

TEST_F(PathTest, EndAtTables) {
    lanefeed_test::expectAnswers(R"(
        dd_thread | dd_thread;      dd_thread.dd_process.name | dd_process
        dd_counter | dd_counter;    dd_band::dd_thread | dd_thread;  dd_thread.nothing | no
        nothing.name | none;        ' ' | none)",
                                 [this](const std::string& path) -> std::string {
                                     const auto values =
                                         m_database.createAttributeRetriever(path, true);
                                     std::string table;
                                     if (values.is_null()) return "none";
                                     return values->getLeafTable(table) ? table : "no";
                                 });
}

TEST_F(PathTest, UnknownOnesAreRefused) {
    const auto query = m_database.createQuery("slice_data", 0);
    for (const char* path :
         {"", ".", "nothing", "attr.", ".attr", "attr.nothing", "start_tsc.name",
          "dd_band::", "::attr", "dd_band::nothing", "nothing::name", "slice_data.nothing",
          "pauses::start_tsc", "dd_task::dd_task::name", "start_tsc\"", "name\" --"}) {
        EXPECT_EQ(query->addColumn(path), storelink1::InvalidColIdx) << path;
        EXPECT_FALSE(query->addOrderBy(path, false) || query->addKeyColumn(path)) << path;
        EXPECT_EQ(query->addCondition(path, 1, 1), storelink1::InvalidCondIdx) << path;
    }
    for (const char* table :
         {"", "nothing", "dd_band::nothing", "dd_band::start_tsc.x", "slice_data::attr", "pauses"})
        EXPECT_TRUE(m_database.createQuery(table, 2).is_null()) << table;
}

}  // namespace
}  // namespace lanefeed_runtime
