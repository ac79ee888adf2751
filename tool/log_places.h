#pragma once

#include "lined_document.h"

#include <cstddef>
#include <string>
#include <vector>

namespace lanefeed_tool {

// Finds the elements that messages of a viewpoint's log speak of. The log names areas and layers by
// their place, counted from 1, and says in its text which element of them it means.
class LogPlaces {
public:
    explicit LogPlaces(const LinedDocument& document);

    // Each gives the position of an element, that of the root when none fits. Equal messages speak
    // of one element after the other, so they are to be asked for in their order.
    std::size_t ofViewpoint(const std::string& message);
    // Area: -1 for the ruler.
    std::size_t ofArea(int area, const std::string& message);
    // Area: 0 for dives, whose area the log does not tell, and for words in layers of the ruler.
    std::size_t ofLayer(int area, int layer, const std::string& message);

private:
    std::size_t areaElement(int area) const;
    std::size_t layerElement(int area, int layer) const;
    std::size_t divingLayer(int layer, const std::string& message) const;
    // The child of an element that a message names, or the element itself.
    std::size_t namedChild(std::size_t element, const std::string& message);

    const LinedDocument& m_document;
    std::vector<std::string> m_seen;
};

}  // namespace lanefeed_tool
