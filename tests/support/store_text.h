#pragma once

#include <storelink1/database.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A record set as text: one line per record, fields parted by a blank, "-" for null.
std::string recordsText(
    const basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>>& set,
    std::size_t columns);

// The rows of a table in the store's own order. "no table" and "no column NAME" where there is
// none.
std::string rowsOf(storelink1::IDatabase& database,
                   const std::string& table,
                   const std::vector<std::string>& columns);

}  // namespace lanefeed_test
