// The declared tables hang together: every reader relies on it.
#include "store/schema.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace lanefeed_runtime {
namespace {

TEST(Schema, StandsInTheOrderOfItsIds) {
    std::set<std::string_view> names;
    for (std::size_t i = 0; i < schemaTables().size(); ++i) {
        const TableDef& def = schemaTables()[i];
        EXPECT_EQ(static_cast<std::size_t>(def.id), i) << def.name;
        EXPECT_EQ(findTable(def.name), &def);
        EXPECT_TRUE(names.insert(def.name).second) << def.name;
    }
    EXPECT_EQ(schemaTables().back().id, TableId::migrationData);
}

TEST(Schema, RefersToTablesThatAreThere) {
    for (const TableDef& def : schemaTables()) {
        for (const ColumnDef& column : def.columns) {
            if (column.references.empty()) continue;
            EXPECT_NE(findTable(column.references), nullptr) << def.name << "." << column.name;
            EXPECT_EQ(column.type, ColumnType::integer) << def.name << "." << column.name;
        }
    }
}

TEST(Schema, GivesEveryInstanceTableWhatReadersAskFor) {
    for (const TableDef& def : schemaTables()) {
        if (def.role != TableRole::instance) continue;
        // Sorting takes the first column for the start.
        EXPECT_EQ(def.columns.front().name, columns::kStart) << def.name;
        for (const std::string_view name :
             {columns::kStart, columns::kEnd, columns::kAttr, columns::kCount, columns::kBand})
            EXPECT_GE(columnIndex(def, name), 0) << def.name << "." << name;
        for (const ColumnDef& column : def.columns)
            EXPECT_NE(column.field, InstanceField::none) << def.name << "." << column.name;
    }
}

TEST(Schema, KnowsBandTypesByTheirTable) {
    EXPECT_TRUE(isBandType("dd_thread"));
    EXPECT_TRUE(isBandType("dd_counter"));
    EXPECT_FALSE(isBandType("dd_task"));
    EXPECT_FALSE(isBandType("start_tsc"));
}

}  // namespace
}  // namespace lanefeed_runtime
