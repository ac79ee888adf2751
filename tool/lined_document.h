#pragma once

#include <basekit2/variant_bag.h>

#include <cstddef>
#include <string>
#include <vector>

namespace lanefeed_tool {

// An element of a document with the line it begins in.
struct LinedElement {
    std::string name;
    const basekit2::variant_bag_t* bag = nullptr;
    long line = 0;           // from 1
    std::size_t parent = 0;  // its position; the root is its own
    std::size_t end = 0;     // position behind its last descendant
};

// The elements of an XML document in their order, with lines, which bags don't keep. The bag was
// read from the text and outlives this.
class LinedDocument {
public:
    LinedDocument(const std::string& text, const basekit2::variant_bag_t& bag);

    std::size_t size() const { return m_elements.size(); }
    const LinedElement& at(std::size_t position) const { return m_elements[position]; }
    // Positions of the children of that name, of all for an empty name.
    std::vector<std::size_t> children(std::size_t parent, const std::string& name) const;
    bool isWithin(std::size_t inner, std::size_t outer) const {
        return inner >= outer && inner < m_elements[outer].end;
    }

private:
    void add(const std::string& name, const basekit2::variant_bag_t& bag, std::size_t parent);

    std::vector<long> m_lines;
    std::vector<LinedElement> m_elements;
};

}  // namespace lanefeed_tool
