#pragma once

#include "store/attribute_retriever.h"
#include "store/sql_text.h"
#include "store/store_session.h"

#include <storelink1/query.h>

#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Where the value of a column comes from: a field of the statement, or the row of `lookup` whose id
// stands in that field.
struct RecordColumn {
    int field = 0;
    ValueKind kind = ValueKind::id;
    std::shared_ptr<const AttributeColumn> lookup;

    friend bool operator==(const RecordColumn& a, const RecordColumn& b) {
        return a.field == b.field && a.kind == b.kind && a.lookup == b.lookup;
    }
};

// What a record set reads, by column id. `key` is a column of which each value comes once.
struct RecordPlan {
    std::vector<RecordColumn> columns;
    bool hasKey = false;
    RecordColumn key;
    bool isKeyOrdered = false;  // equal keys stand together
    // Columns of start and end of the instances of a table in the order of the file, which are
    // checked; none without a name.
    std::string instanceTable;
    std::size_t start = 0;
    std::size_t end = 0;
};

// Value of a field as the variant that the library expects: ids are signed 32-bit, ticks unsigned
// 64-bit, other integers signed 64-bit. What can't be the id of a row is null.
void readVariant(const Statement& statement, int field, ValueKind kind, basekit2::variant_t& out);

// Records of a statement that has been prepared and bound. Null, with the error, when the first one
// can't be read; the set is at its end when `progress` is cancelled. Without a record `sql` is the
// statement as it ran.
basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> makeRecordSet(
    const std::shared_ptr<StoreSession>& session,
    Statement statement,
    RecordPlan plan,
    relay2::IProgress* progress,
    std::string& error,
    std::string& sql);

}  // namespace lanefeed_runtime
