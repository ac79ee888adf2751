#pragma once

#include <basekit2/iterator.h>

#include <memory>
#include <utility>
#include <vector>

namespace lanefeed_runtime {

// Walks nodes that a table owns, and keeps the table alive.
template <class Interface, class Table, class Node>
class TableWalk : public basekit2::iterator_impl_t<basekit2::sptr_t<Interface>> {
public:
    TableWalk(basekit2::sptr_t<Table> table, const std::vector<Node*>& nodes)
        : m_table(std::move(table)), m_nodes(nodes) {}
    bool at_end() const override { return m_position >= m_nodes.size(); }
    basekit2::sptr_t<Interface> current() const override { return m_nodes[m_position]; }
    void next() override { ++m_position; }
    bool reset() override {
        m_position = 0;
        return true;
    }

private:
    const basekit2::sptr_t<Table> m_table;
    const std::vector<Node*>& m_nodes;
    std::size_t m_position = 0;
};

// A fresh walk over nodes that stay in place as long as their table.
template <class Interface, class Table, class Node>
basekit2::generic_iterator_t<basekit2::sptr_t<Interface>> walkTable(
    Table* table, const std::vector<Node*>& nodes) {
    return basekit2::generic_iterator_t<basekit2::sptr_t<Interface>>(
        std::make_shared<TableWalk<Interface, Table, Node>>(table, nodes));
}

}  // namespace lanefeed_runtime
