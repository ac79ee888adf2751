// The declared tables hang together: every reader relies on it.
#include "store/schema.h"

#include <gtest/gtest.h>

namespace lanefeed_runtime {
namespace {

TEST(Schema, HangsTogether) {
    for (std::size_t i = 0; i < schemaTables().size(); ++i) {
        const TableDef& def = schemaTables()[i];
        SCOPED_TRACE(def.name);
        EXPECT_EQ(static_cast<std::size_t>(def.id), i);
        EXPECT_EQ(findTable(def.name), &def) << "names are unique";
        for (const ColumnDef& column : def.columns) {
            if (column.references.empty()) continue;
            EXPECT_NE(findTable(column.references), nullptr) << column.name;
            EXPECT_EQ(column.type, ColumnType::integer) << column.name;
        }
        if (def.role != TableRole::instance) continue;
        // Sorting takes the first column for the start.
        EXPECT_EQ(def.columns.front().name, columns::kStart);
        for (const std::string_view name :
             {columns::kEnd, columns::kAttr, columns::kCount, columns::kBand})
            EXPECT_GE(columnIndex(def, name), 0) << name;
        for (const ColumnDef& column : def.columns)
            EXPECT_NE(column.field, InstanceField::none) << column.name;
    }
    EXPECT_EQ(schemaTables().back().id, TableId::migrationData);
    EXPECT_TRUE(isBandType("dd_counter"));
    EXPECT_FALSE(isBandType("dd_task"));
    EXPECT_FALSE(isBandType("start_tsc"));
}

}  // namespace
}  // namespace lanefeed_runtime
