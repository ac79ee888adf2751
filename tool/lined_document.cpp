// Elements of a document with their lines: the bags are walked beside the nodes of a second look at
// the text, which come in the same order. Tested by tests/tool/viewpoint_author_test.cpp.

#include "lined_document.h"

#include <algorithm>
#include <pugixml.hpp>

namespace lanefeed_tool {

namespace {

using basekit2::variant_bag_t;

// Lines of all elements in document order.
struct LineWalker : pugi::xml_tree_walker {
    explicit LineWalker(const std::string& xml) : text(xml) {}

    bool for_each(pugi::xml_node& node) override {
        if (node.type() != pugi::node_element) return true;
        const std::ptrdiff_t offset = std::clamp<std::ptrdiff_t>(
            node.offset_debug(), counted, static_cast<std::ptrdiff_t>(text.size()));
        line += std::count(text.begin() + counted, text.begin() + offset, '\n');
        counted = offset;
        lines.push_back(line);
        return true;
    }

    const std::string& text;
    std::vector<long> lines;
    std::ptrdiff_t counted = 0;
    long line = 1;
};

}  // namespace

LinedDocument::LinedDocument(const std::string& text, const variant_bag_t& bag) {
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    LineWalker walker(text);
    document.traverse(walker);
    m_lines = std::move(walker.lines);
    add(bag.get_name(), bag, 0);
}

void LinedDocument::add(const std::string& name, const variant_bag_t& bag, std::size_t parent) {
    const std::size_t position = m_elements.size();
    m_elements.push_back(
        {name, &bag, position < m_lines.size() ? m_lines[position] : 0, parent, 0});
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
        add(it.get_name(), it.get_value(), position);
    m_elements[position].end = m_elements.size();
}

std::vector<std::size_t> LinedDocument::children(std::size_t parent,
                                                 const std::string& name) const {
    std::vector<std::size_t> found;
    for (std::size_t i = parent + 1; i < m_elements[parent].end; i = m_elements[i].end)
        if (name.empty() || m_elements[i].name == name) found.push_back(i);
    return found;
}

}  // namespace lanefeed_tool
