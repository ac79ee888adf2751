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

// A walk over nothing, which needs no position: one serves all.
template <class Interface>
class EmptyWalk : public basekit2::iterator_impl_t<basekit2::sptr_t<Interface>> {
public:
    bool at_end() const override { return true; }
    basekit2::sptr_t<Interface> current() const override { return {}; }
    void next() override {}
    bool reset() override { return true; }
};

// A fresh walk over nodes that stay in place as long as their table; over no nodes it stays empty.
// Most nodes have no children.
template <class Interface, class Table, class Node>
basekit2::generic_iterator_t<basekit2::sptr_t<Interface>> walkTable(
    Table* table, const std::vector<Node*>& nodes) {
    using Walk = basekit2::generic_iterator_t<basekit2::sptr_t<Interface>>;
    static const auto none = std::make_shared<EmptyWalk<Interface>>();
    if (nodes.empty()) return Walk(none);
    return Walk(std::make_shared<TableWalk<Interface, Table, Node>>(table, nodes));
}

}  // namespace lanefeed_runtime
