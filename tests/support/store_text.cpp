#include "support/store_text.h"

#include <storelink1/utils.h>

namespace lanefeed_test {

std::string recordsText(
    const basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>>& set,
    std::size_t columns) {
    if (set.is_null()) return "failed";
    std::string text;
    for (; !set->atEnd(); set->next()) {
        for (std::size_t i = 0; i < columns; ++i) {
            const basekit2::variant_t& value =
                set->current()->getField(static_cast<basekit2::u16_t>(i));
            text += i > 0 ? " " : "";
            text += value.is_null() ? "-" : storelink1::utils::variantToString(value);
        }
        text += "\n";
    }
    return text;
}

std::string rowsOf(storelink1::IDatabase& database,
                   const std::string& table,
                   const std::vector<std::string>& columns) {
    const auto query = database.createQuery(table, 0);
    if (query.is_null()) return "no table";
    for (const std::string& column : columns) {
        if (query->addColumn(column) == storelink1::InvalidColIdx) return "no column " + column;
    }
    const storelink1::QueryMutexHolder lock(&database);
    return recordsText(query->execute(), columns.size());
}

}  // namespace lanefeed_test
