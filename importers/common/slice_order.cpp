// Which of several slices of the same ticks is the inner one shows in their order alone.
// Tested by tests/importers/import_rows_test.cpp.
#include "common/slice_order.h"

#include <algorithm>

namespace lanefeed_importers {

using lanefeed_runtime::InstanceRow;

void SliceOrder::add(std::uint32_t thread, const InstanceRow& row) {
    const auto last = [](const InstanceRow& slice) { return std::max(slice.begin, slice.end - 1); };
    if (thread >= m_held.size()) m_held.resize(thread + 1);
    std::vector<InstanceRow>& held = m_held[thread];
    if (!held.empty() && (held.back().begin != row.begin || last(held.back()) != last(row))) {
        letGo(held);
    }
    held.push_back(row);
}

void SliceOrder::finish() {
    for (std::vector<InstanceRow>& rows : m_held)
        letGo(rows);
}

void SliceOrder::letGo(std::vector<InstanceRow>& rows) {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        m_writer.add(lanefeed_runtime::TableId::sliceData, *row);
    rows.clear();
}

}  // namespace lanefeed_importers
