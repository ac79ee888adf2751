#pragma once

#include <storelink1/database.h>
#include <storelink1/utils.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A record set as text: one line per record, fields parted by a blank, "-" for null.
inline std::string recordsText(
    const basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>>& set,
    std::size_t columns) {
    if (set.is_null()) return "failed";
    std::string text;
    for (; !set->atEnd(); set->next()) {
        for (std::size_t i = 0; i < columns; ++i) {
            const auto& value = set->current()->getField(static_cast<basekit2::u16_t>(i));
            text += i > 0 ? " " : "";
            text += value.is_null() ? "-" : storelink1::utils::variantToString(value);
        }
        text += "\n";
    }
    return text;
}

// The rows of a table in the store's own order. "no table" and "no column NAME" where there is
// none.
inline std::string rowsOf(storelink1::IDatabase& database,
                          const std::string& table,
                          const std::vector<std::string>& columns) {
    const auto query = database.createQuery(table, 0);
    if (query.is_null()) return "no table";
    for (const std::string& column : columns)
        if (query->addColumn(column) == storelink1::InvalidColIdx) return "no column " + column;
    const storelink1::QueryMutexHolder lock(&database);
    return recordsText(query->execute(), columns.size());
}

}  // namespace lanefeed_test
