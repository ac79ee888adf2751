// Every path that the references allow, in every form, against joins made by hand.
#include "store/dialect.h"
#include "store/schema.h"
#include "store/sqlite_handle.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <fmt/format.h>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::rowsOf;

class PathTest : public testing::Test {
protected:
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

using Walk = std::vector<const ColumnDef*>;  // all but the last refer to a table

std::string dotted(const Walk& walk, std::size_t from = 0) {
    std::string text;
    for (std::size_t i = from; i < walk.size(); ++i)
        text += (i > from ? "." : "") + std::string(walk[i]->name);
    return text;
}

void collectWalks(const TableDef& def, const Walk& before, std::vector<Walk>& out) {
    for (const ColumnDef& column : def.columns) {
        Walk walk = before;
        walk.push_back(&column);
        out.push_back(walk);
        if (column.references.empty() || walk.size() >= 4) continue;
        collectWalks(*findTable(column.references), walk, out);
    }
}

// The values at the end of a walk, null where a table on the way is not in the file.
std::string joined(Connection& connection, const TableDef& def, const Walk& walk) {
    std::string joins = fmt::format(" from \"{}\" as t0", def.name);
    for (std::size_t i = 0; i + 1 < walk.size(); ++i)
        joins += fmt::format(" left join \"{}\" as t{} on t{}.rowid = t{}.\"{}\"",
                             walk[i]->references, i + 1, i + 1, i, walk[i]->name);
    const std::string column = fmt::format("t{}.\"{}\"", walk.size() - 1, walk.back()->name);
    Statement rows = connection.prepare("select " + column + joins + " order by t0.rowid");
    if (!rows) rows = connection.prepare(fmt::format("select null from \"{}\"", def.name));
    std::string text;
    while (rows.step() == Statement::Step::row) {
        if (rows.isNull(0))
            text += "-";
        else if (rows.type(0) == Statement::Type::real)
            text += storelink1::utils::variantToString(rows.real(0));
        else
            text += rows.text(0);
        text += "\n";
    }
    return text;
}

// The column that a table name stands for: one of that name, else the first that refers to it.
const ColumnDef* columnFor(const TableDef& def, std::string_view table) {
    const int named = columnIndex(def, table);
    if (named >= 0) return &def.columns[static_cast<std::size_t>(named)];
    for (const ColumnDef& column : def.columns) {
        if (column.references == table) return &column;
    }
    return nullptr;
}

std::vector<std::string> formsOf(const TableDef& def, const Walk& walk) {
    const std::string own(def.name);
    std::vector<std::string> forms = {dotted(walk), own + "." + dotted(walk),
                                      own + "::" + dotted(walk)};
    const std::string_view first = walk.front()->references;
    const bool standsForTable = !first.empty() && columnFor(def, first) == walk.front();
    if (!standsForTable || walk.size() < 2) return forms;
    forms.push_back(std::string(first) + "::" + dotted(walk, 1));
    forms.push_back(std::string(first) + "." + dotted(walk, 1));
    if (first != "dd_band" || walk.size() < 3) return forms;
    // Through the band, where the table has no way of its own.
    const std::string_view second = walk[1]->references;
    if (columnFor(def, second) == nullptr)
        forms.push_back(std::string(second) + "::" + dotted(walk, 2));
    return forms;
}

TEST_F(PathTest, LeadsWhereTheReferencesLead) {
    std::string error;
    const auto connection = Connection::open(m_result.file(), Connection::Mode::read, error);
    int compared = 0;
    for (const TableDef& def : schemaTables()) {
        if (!m_database.isTableExist(std::string(def.name))) continue;
        std::vector<Walk> walks;
        collectWalks(def, Walk(), walks);
        for (const Walk& walk : walks) {
            const std::string expected = joined(*connection, def, walk);
            for (const std::string& form : formsOf(def, walk)) {
                ASSERT_EQ(rowsOf(m_database, std::string(def.name), {form}), expected)
                    << def.name << ": " << form;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 500);
}

TEST_F(PathTest, NamesRowsAndBands) {
    EXPECT_EQ(rowsOf(m_database, "dd_process", {"dd_process", "rowid", "dd_process::rowid"}),
              "1 1 1\n2 2 2\n");
    EXPECT_EQ(rowsOf(m_database, "slice_data", {"dd_band", "dd_band::rowid", "dd_band.rowid"}),
              rowsOf(m_database, "slice_data", {"dd_band", "dd_band", "dd_band"}));
    // The bands of one type.
    EXPECT_EQ(rowsOf(m_database, "dd_band::dd_counter", {"dd_counter.name"}), "load\n");
    EXPECT_EQ(rowsOf(m_database, "dd_band::dd_thread", {"dd_thread.name", "dd_band::dd_thread"}),
              "main 1\nworker 2\nmain 3\nworker 4\n");
    EXPECT_EQ(rowsOf(m_database, "dd_band::dd_process", {"rowid"}), "");
}

TEST_F(PathTest, UnknownOnesAreRefused) {
    const auto query = m_database.createQuery("slice_data", 0);
    for (const char* path :
         {"", ".", "nothing", "attr.", ".attr", "attr.nothing", "start_tsc.name",
          "dd_band::", "::attr", "dd_band::nothing", "nothing::name", "slice_data.nothing",
          "pauses::start_tsc", "dd_task::dd_task::name", "start_tsc\"", "name\" --"}) {
        EXPECT_EQ(query->addColumn(path), storelink1::InvalidColIdx) << path;
        EXPECT_FALSE(query->addOrderBy(path, false)) << path;
        EXPECT_FALSE(query->addKeyColumn(path)) << path;
        EXPECT_EQ(query->addCondition(path, 1, 1), storelink1::InvalidCondIdx) << path;
    }
    for (const char* table :
         {"", "nothing", "dd_band::nothing", "dd_band::start_tsc.x", "slice_data::attr", "pauses"})
        EXPECT_TRUE(m_database.createQuery(table, 2).is_null()) << table;
}

}  // namespace
}  // namespace lanefeed_runtime
