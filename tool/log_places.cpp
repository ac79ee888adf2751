// From messages of a viewpoint's log back to the elements of its file. Tested by
// tests/tool/viewpoint_author_test.cpp.

#include "log_places.h"

#include "verbs.h"

#include <algorithm>

namespace lanefeed_tool {

namespace {

constexpr int kUnknownArea = 0;

// Messages that name their element by a word instead of its tag.
struct Wording {
    const char* begins;
    const char* element;
};
constexpr Wording kWordings[] = {
    {"Row by query", "rowBy"}, {"colorBy query", "colorBy"}, {"hatchBy query", "hatchBy"}};

// Name of the element that a message speaks of; empty for none.
std::string elementNamed(const std::string& message) {
    for (const Wording& wording : kWordings)
        if (message.rfind(wording.begins, 0) == 0) return wording.element;
    const std::size_t open = message.find('<');
    const std::size_t close = message.find('>', open);
    if (open == std::string::npos || close == std::string::npos) return {};
    return message.substr(open + 1, close - open - 1);
}

// The first element with that name is the one that counts; the message is about those behind it.
bool isAboutRepeats(const std::string& message) {
    return message.find("Multiple <") != std::string::npos || message.rfind("repeating <", 0) == 0;
}

}  // namespace

LogPlaces::LogPlaces(const LinedDocument& document) : m_document(document) {}

std::size_t LogPlaces::ofViewpoint(const std::string& message) {
    return namedChild(0, message);
}

std::size_t LogPlaces::ofArea(int area, const std::string& message) {
    const std::size_t element = areaElement(area);
    const std::size_t child = namedChild(element, message);
    if (child != element) return child;
    const std::vector<std::size_t> rowSets = m_document.children(element, "rowSet");
    return rowSets.empty() ? element : namedChild(rowSets.front(), message);
}

std::size_t LogPlaces::ofLayer(int area, int layer, const std::string& message) {
    if (area != kUnknownArea) return namedChild(layerElement(area, layer), message);
    const bool dive = message.rfind("<diveBy>", 0) == 0;
    return namedChild(dive ? divingLayer(layer, message) : layerElement(kRuler, layer), message);
}

std::size_t LogPlaces::areaElement(int area) const {
    if (area == kRuler) {
        // A ruler without a layer does not count.
        for (const std::size_t ruler : m_document.children(0, "ruler"))
            if (!m_document.children(ruler, "layer").empty()) return ruler;
        const std::vector<std::size_t> rulers = m_document.children(0, "ruler");
        return rulers.empty() ? 0 : rulers.front();
    }
    const std::vector<std::size_t> areas = m_document.children(0, "area");
    const bool known = area >= 1 && static_cast<std::size_t>(area) <= areas.size();
    return known ? areas[static_cast<std::size_t>(area) - 1] : 0;
}

std::size_t LogPlaces::layerElement(int area, int layer) const {
    const std::size_t element = areaElement(area);
    const std::vector<std::size_t> rowSets = m_document.children(element, "rowSet");
    const std::size_t holder = area == kRuler || rowSets.empty() ? element : rowSets.front();
    const std::vector<std::size_t> layers = m_document.children(holder, "layer");
    const bool known = layer >= 1 && static_cast<std::size_t>(layer) <= layers.size();
    return known ? layers[static_cast<std::size_t>(layer) - 1] : element;
}

// Messages of dives quote what their layer draws.
std::size_t LogPlaces::divingLayer(int layer, const std::string& message) const {
    std::size_t first = 0;
    const auto areas = static_cast<int>(m_document.children(0, "area").size());
    for (int area = kRuler; area <= areas; ++area) {
        if (area == kUnknownArea) continue;
        const std::size_t element = layerElement(area, layer);
        if (m_document.children(element, "diveBy").empty()) continue;
        if (first == 0) first = element;
        for (const std::size_t drawBy : m_document.children(element, "drawBy")) {
            const auto* query = m_document.at(drawBy).bag->get<basekit2::variant_t>("query");
            if (query != nullptr && message.find(query->get<std::string>()) != std::string::npos)
                return element;
        }
    }
    return first;
}

std::size_t LogPlaces::namedChild(std::size_t element, const std::string& message) {
    const std::string name = elementNamed(message);
    if (name.empty()) return element;
    const std::vector<std::size_t> children = m_document.children(element, name);
    if (children.empty()) return element;
    const std::string key = std::to_string(element) + message;
    const auto before = static_cast<std::size_t>(std::count(m_seen.begin(), m_seen.end(), key)) +
                        (isAboutRepeats(message) ? 1 : 0);
    m_seen.push_back(key);
    return children[std::min(before, children.size() - 1)];
}

}  // namespace lanefeed_tool
