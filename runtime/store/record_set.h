#pragma once

#include "store/sql_text.h"
#include "store/store_session.h"

#include <storelink1/query.h>

#include <memory>
#include <vector>

namespace lanefeed_runtime {

// What a record set reads. `fields` tells the field of each column id; `key` is the field of which
// each value comes once, -1 for none.
struct RecordPlan {
    std::vector<int> fields;
    std::vector<ValueKind> kinds;  // by field
    int key = -1;
    bool isKeyOrdered = false;  // equal keys stand together
    std::string sql;
};

// Value of a field as the variant that the library expects: ids are signed 32-bit, ticks unsigned
// 64-bit, other integers signed 64-bit.
void readVariant(const Statement& statement, int field, ValueKind kind, basekit2::variant_t& out);

// Records of a statement that has been prepared and bound. Null when the first step fails; the set
// is at its end when `progress` is cancelled.
basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> makeRecordSet(
    const std::shared_ptr<StoreSession>& session,
    Statement statement,
    RecordPlan plan,
    relay2::IProgress* progress);

}  // namespace lanefeed_runtime
