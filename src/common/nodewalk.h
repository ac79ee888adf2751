#pragma once

#include <basekit2/iterator.h>
#include <basekit2/object.h>

#include <cstddef>
#include <memory>
#include <utility>

namespace lanefeed_1 {

// A fresh iterator over rows or columns of a table, which the iterator keeps alive. `nodes` is a
// list of pointers, raw or counted, that stays in place and unchanged as long as the owner lives.
// Used as walkNodes<dataface_1::ITableRow>(owner, rows).
template <class Node, class Pointers>
basekit2::generic_iterator_t<basekit2::sptr_t<Node>> walkNodes(
    basekit2::sptr_t<basekit2::object_interface_t> owner, const Pointers& nodes) {
    class Walk : public basekit2::iterator_impl_t<basekit2::sptr_t<Node>> {
    public:
        Walk(basekit2::sptr_t<basekit2::object_interface_t> owner, const Pointers& nodes)
            : m_owner(std::move(owner)), m_nodes(nodes) {}
        bool at_end() const override { return m_position >= m_nodes.size(); }
        basekit2::sptr_t<Node> current() const override {
            return basekit2::sptr_t<Node>(&*m_nodes[m_position]);
        }
        void next() override { ++m_position; }
        bool reset() override {
            m_position = 0;
            return true;
        }

    private:
        basekit2::sptr_t<basekit2::object_interface_t> m_owner;
        const Pointers& m_nodes;
        std::size_t m_position = 0;
    };
    return basekit2::generic_iterator_t<basekit2::sptr_t<Node>>(
        std::make_shared<Walk>(std::move(owner), nodes));
}

}  // namespace lanefeed_1
