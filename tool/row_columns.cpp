// From the references of an instance to the row that it is on. Tested by
// tests/tool/tooltip_test.cpp and layer_verbs_test.cpp.

#include "row_columns.h"

#include "area_view.h"

#include <dataface_1/query_kinds.h>

namespace lanefeed_tool {

std::vector<std::string> rowColumns(const lanefeed_1::DicerDataSource* rows) {
    std::vector<std::string> columns;
    auto query = rows != nullptr ? rows->m_defaultQuery : basekit2::sptr_t<dataface_1::IQuery>();
    for (; !query.is_null(); query = query->getExpansionQuery()) {
        const auto info = dataface_1::IInfoQuery::cast(query);
        if (info.is_null()) break;
        columns.push_back(info->getInstanceTable() + "::" + info->getAttributeTable());
    }
    return columns;
}

RowIndex::RowIndex(const AreaView& area) {
    const std::vector<RowInfo>& rows = area.rows();
    for (const RowInfo& row : rows)
        m_rows.emplace(area.pathOf(row.id), row.id);
    if (area.rowSource() == nullptr && !rows.empty()) m_rows.emplace(std::vector<int>(), 0);
}

int RowIndex::row(const std::vector<int>& indexes) const {
    const auto found = m_rows.find(indexes);
    return found == m_rows.end() ? -1 : found->second;
}

}  // namespace lanefeed_tool
