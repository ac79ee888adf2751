// Every path that the references allow, in every form, against rows followed by hand.
#include "store/dialect.h"
#include "store/schema.h"
#include "store/sqlite_handle.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <map>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::rowsOf;

constexpr const char* kTrace = R"(
    process viewer
    thread main    0..100 a{"k":1}  10..12 b@io
    thread worker  5..50 c@io
    counter load   0=5  10=7.5
    marker main    5 gc@mem
    process other
    thread main    20..30 a
    track upload   3..9 part
    flow worker 5 main 9 wake
)";

// All rows of all tables as texts, by plain reads.
class PlainTables {
public:
    using Row = std::map<std::string, std::string>;  // column to text; absent is null
    using Rows = std::map<std::string, Row>;         // row id to row

    explicit PlainTables(const std::string& file) {
        std::string error;
        const auto connection = Connection::open(file, Connection::Mode::read, error);
        for (const TableDef& def : schemaTables())
            read(*connection, def);
    }

    const Rows& rows(const std::string& table) const {
        static const Rows none;
        const auto found = m_tables.find(table);
        return found == m_tables.end() ? none : found->second;
    }

private:
    void read(Connection& connection, const TableDef& def) {
        Statement all = connection.prepare("select * from " + dialect::quoted(def.name));
        if (!all) return;
        Rows& rows = m_tables[std::string(def.name)];
        while (all.step() == Statement::Step::row) {
            Row& row = rows[std::string(all.text(0))];
            row["rowid"] = all.text(0);
            for (std::size_t i = 0; i < def.columns.size(); ++i) {
                const auto field = static_cast<int>(i) + 1;
                if (all.isNull(field)) continue;
                row[std::string(def.columns[i].name)] =
                    all.type(field) == Statement::Type::real
                        ? storelink1::utils::variantToString(all.real(field))
                        : std::string(all.text(field));
            }
        }
    }

    std::map<std::string, Rows> m_tables;
};

struct Walk {
    std::vector<const ColumnDef*> columns;  // all but the last refer to a table

    std::string dotted(std::size_t from = 0) const {
        std::string text;
        for (std::size_t i = from; i < columns.size(); ++i)
            text += (i > from ? "." : "") + std::string(columns[i]->name);
        return text;
    }
};

void collectWalks(const TableDef& def, const Walk& before, std::vector<Walk>& out) {
    for (const ColumnDef& column : def.columns) {
        Walk walk = before;
        walk.columns.push_back(&column);
        out.push_back(walk);
        if (column.references.empty() || walk.columns.size() >= 4) continue;
        collectWalks(*findTable(column.references), walk, out);
    }
}

std::string follow(const PlainTables& tables, const TableDef& def, const Walk& walk) {
    std::string text;
    // As numbers, since row ids come in their order.
    std::map<long, std::string> ordered;
    for (const auto& [id, row] : tables.rows(std::string(def.name))) {
        const PlainTables::Row* at = &row;
        std::string value = "-";
        for (std::size_t i = 0; i < walk.columns.size() && at != nullptr; ++i) {
            const auto cell = at->find(std::string(walk.columns[i]->name));
            value = cell == at->end() ? "-" : cell->second;
            const bool isLast = i + 1 == walk.columns.size();
            if (value == "-" || isLast) break;
            const auto& target = tables.rows(std::string(walk.columns[i]->references));
            const auto next = target.find(value);
            at = next == target.end() ? nullptr : &next->second;
            if (at == nullptr) value = "-";
        }
        ordered[std::stol(id)] = value;
    }
    for (const auto& entry : ordered)
        text += entry.second + "\n";
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
    std::vector<std::string> forms = {walk.dotted(), own + "." + walk.dotted(),
                                      own + "::" + walk.dotted()};
    const std::string_view first = walk.columns.front()->references;
    const bool standsForTable = !first.empty() && columnFor(def, first) == walk.columns.front();
    if (!standsForTable || walk.columns.size() < 2) return forms;
    forms.push_back(std::string(first) + "::" + walk.dotted(1));
    forms.push_back(std::string(first) + "." + walk.dotted(1));
    if (first != "dd_band" || walk.columns.size() < 3) return forms;
    // Through the band, where the table has no way of its own.
    const std::string_view second = walk.columns[1]->references;
    if (columnFor(def, second) == nullptr)
        forms.push_back(std::string(second) + "::" + walk.dotted(2));
    return forms;
}

TEST(Path, LeadsWhereTheReferencesLead) {
    lanefeed_test::TextResult result(kTrace);
    const PlainTables tables(result.file());
    int compared = 0;
    for (const TableDef& def : schemaTables()) {
        if (!result.database().isTableExist(std::string(def.name))) continue;
        std::vector<Walk> walks;
        collectWalks(def, Walk(), walks);
        for (const Walk& walk : walks) {
            const std::string expected = follow(tables, def, walk);
            for (const std::string& form : formsOf(def, walk)) {
                ASSERT_EQ(rowsOf(result.database(), std::string(def.name), {form}), expected)
                    << def.name << ": " << form;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 500);
}

TEST(Path, NamesRowsAndBands) {
    lanefeed_test::TextResult result(kTrace);
    storelink1::IDatabase& database = result.database();
    EXPECT_EQ(rowsOf(database, "dd_process", {"dd_process", "rowid", "dd_process::rowid"}),
              "1 1 1\n2 2 2\n");
    EXPECT_EQ(rowsOf(database, "slice_data", {"dd_band", "dd_band::rowid", "dd_band.rowid"}),
              rowsOf(database, "slice_data", {"dd_band", "dd_band", "dd_band"}));
    // The bands of one type.
    EXPECT_EQ(rowsOf(database, "dd_band::dd_counter", {"dd_counter.name"}), "load\n");
    EXPECT_EQ(rowsOf(database, "dd_band::dd_thread", {"dd_thread.name", "dd_band::dd_thread"}),
              "main 1\nworker 2\nmain 3\nworker 4\n");
    EXPECT_EQ(rowsOf(database, "dd_band::dd_process", {"rowid"}), "");
}

TEST(Path, UnknownOnesAreRefused) {
    lanefeed_test::TextResult result(kTrace);
    storelink1::IDatabase& database = result.database();
    const auto query = database.createQuery("slice_data", 0);
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
        EXPECT_TRUE(database.createQuery(table, 2).is_null()) << table;
}

}  // namespace
}  // namespace lanefeed_runtime
