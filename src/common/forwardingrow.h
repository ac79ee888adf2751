#pragma once

#include <dataface_1/table_tree.h>

#include <utility>

namespace lanefeed_1 {

// Row of a table that wraps another: stands for a row of the wrapped table and hands everything on
// to it but its table and its cells. Belongs to the wrapping table.
class ForwardingRow : public dataface_1::ITableRow {
public:
    explicit ForwardingRow(basekit2::sptr_t<dataface_1::ITableRow> row) : m_row(std::move(row)) {}

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override { return m_row->getQuery(); }
    basekit2::sptr_t<dataface_1::ITableRow> getParent() override { return m_row->getParent(); }
    status_t getChildren(basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& out,
                         relay2::IProgress* progress,
                         bool flag) override {
        return m_row->getChildren(out, progress, flag);
    }

protected:
    const basekit2::sptr_t<dataface_1::ITableRow>& wrapped() const { return m_row; }

private:
    basekit2::sptr_t<dataface_1::ITableRow> m_row;
};

}  // namespace lanefeed_1
