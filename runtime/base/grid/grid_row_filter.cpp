// A filter out of rows of a grid: any of the rows, and of a row all ids on its path. Rows with the
// same row above share the part that keeps it, so that a filter of many rows stays flat. Tested by
// tests/agreement/grid_test.cpp.
#include "grid_error.h"
#include "grid_table.h"

#include <map>

namespace lanefeed_runtime {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::IQueryFilter;
using dataface_1::IQueryFilterBuilder;
using dataface_1::ITableRow;

void GridRowFilter::addRow(const GridContents::Row& row, IQueryFilterBuilder& builder) const {
    const auto level = static_cast<std::size_t>(row.level);
    builder.addCondition(m_table->contents().idQueries[level], false, row.id);
}

void GridRowFilter::addRows(const Siblings& rows, IQueryFilterBuilder& builder) const {
    for (const GridContents::Row* row : rows)
        addRow(*row, builder);
}

// The rows above, all of them, and any of the rows; null on failure.
sptr_t<IQueryFilter> GridRowFilter::filterBelow(int parent, const Siblings& rows) const {
    const auto builder = m_table->contents().filters->createQueryFilterBuilder();
    if (builder.is_null()) return {};
    const auto& all = m_table->contents().rows;
    for (int place = parent; place >= 0; place = all[static_cast<std::size_t>(place)].parent)
        addRow(all[static_cast<std::size_t>(place)], *builder);
    builder->beginGroup(IQueryFilterBuilder::groupIncluded);
    addRows(rows, *builder);
    builder->endGroup();
    return builder->build();
}

error_code_t GridRowFilter::createFilter(
    const basekit2::generic_iterator_t<sptr_t<ITableRow>>& rows, sptr_t<IQueryFilter>& out) {
    const GridContents& contents = m_table->contents();
    std::map<int, Siblings> byParent;
    for (; !rows.at_end(); rows.next()) {
        const sptr_t<ITableRow> current = rows.current();
        const auto* row = dynamic_cast<const GridRow*>(current.get());
        if (row == nullptr || &row->table() != m_table.get())
            return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, "row", __FILE__,
                                       __LINE__);
        const GridContents::Row& own = contents.rows[static_cast<std::size_t>(row->place())];
        byParent[own.parent].push_back(&own);
    }
    sptr_t<IQueryFilterBuilder> builder;
    if (!contents.filters.is_null()) builder = contents.filters->createQueryFilterBuilder();
    if (builder.is_null()) return gridError("the result makes no filters of rows");
    builder->beginGroup(IQueryFilterBuilder::groupIncluded);
    for (const auto& [parent, siblings] : byParent) {
        if (parent < 0) {
            addRows(siblings, *builder);
            continue;
        }
        const sptr_t<IQueryFilter> below = filterBelow(parent, siblings);
        if (below.is_null()) return gridError("the result makes no filters of rows");
        builder->addFilter(below);
    }
    builder->endGroup();
    const sptr_t<IQueryFilter> filter = builder->build();
    if (filter.is_null()) return gridError("the result makes no filters of rows");
    out = filter;
    return error_code_t::success;
}

}  // namespace lanefeed_runtime
