// The check of a viewpoint: its own look at the words, and what the parser's log says, both with
// lines. Tested by tests/tool/viewpoint_author_test.cpp.

#include "viewpoint_check.h"

#include "layer_choice.h"
#include "lined_document.h"
#include "log_places.h"
#include "nearest.h"
#include "viewpoint_words.h"

#include <dataface_1/query_kinds.h>
#include <platkit_2_18/strings.h>

#include <algorithm>
#include <fmt/format.h>
#include <queries/display_attributes.h>
#include <queries/query_builder.h>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::variant_t;
using lanefeed_runtime::elementText;
using lanefeed_runtime::entryText;

// Whether a "rowBy" makes rows of a grid: as it says, else as the one before it.
bool isGridRow(const LinedDocument& document, std::size_t rowBy) {
    bool grid = true;
    for (const std::size_t one : document.children(document.at(rowBy).parent, "rowBy")) {
        const auto* flag = document.at(one).bag->get<variant_t>("useGridQuery");
        if (flag != nullptr) grid = flag->get_type() != basekit2::vtBool || flag->get<bool>();
        if (one == rowBy) break;
    }
    return grid;
}

bool isOfGrid(const LinedDocument& document, std::size_t position) {
    const std::string& name = document.at(position).name;
    return name == "gridQuery" || name == "requiredData" || name == "columnBy" ||
           (name == "rowBy" && isGridRow(document, position));
}

// What stands in such an element is known to the grid alone.
bool isWithinGrid(const LinedDocument& document, std::size_t position) {
    for (std::size_t at = position; at != 0; at = document.at(at).parent) {
        if (isOfGrid(document, at)) return true;
    }
    return false;
}

std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool isMadeOf(const std::string& text, const char* digits, std::size_t most) {
    return !text.empty() && text.size() <= most &&
           text.find_first_not_of(digits) == std::string::npos;
}

// The parser takes what it can't read of a colour as 0.
bool isColor(const std::string& text) {
    std::string dense = text;
    dense.erase(std::remove(dense.begin(), dense.end(), ' '), dense.end());
    if (dense.compare(0, 2, "0x") == 0 || dense.compare(0, 2, "0X") == 0)
        return isMadeOf(dense.substr(2), "0123456789abcdefABCDEF", 8);
    const std::vector<std::string> parts = platkit_2_18::strings::split_string(dense, ",", 0);
    return parts.size() == 3 &&
           std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
               return isMadeOf(part, "0123456789", 3) && std::stoi(part) <= 255;
           });
}

// The ids in the attribute "query".
std::vector<std::string> queriesNamed(const basekit2::variant_bag_t& bag) {
    std::vector<std::string> ids;
    for (const std::string& id : platkit_2_18::strings::split_string(entryText(bag, "query"), ","))
        ids.push_back(trimmed(id));
    return ids;
}

// All ids of queries that an element names.
std::vector<std::string> queryIds(const LinedDocument& document, std::size_t position) {
    std::vector<std::string> ids;
    const basekit2::variant_bag_t& bag = *document.at(position).bag;
    if (bag.get<variant_t>("query") != nullptr) ids = queriesNamed(bag);
    for (const std::size_t child : document.children(position, lanefeed_runtime::kReferenceElement))
        ids.push_back(elementText(*document.at(child).bag));
    return ids;
}

// The tables of the rows that a query makes, a level each: "dd_process, dd_thread".
std::string rowTables(const basekit2::sptr_t<dataface_1::IQuery>& rowBy) {
    std::string tables;
    for (auto info = dataface_1::IInfoQuery::cast(rowBy); !info.is_null();
         info = dataface_1::IInfoQuery::cast(info->getExpansionQuery())) {
        const std::string path = info->getAttributeTable();
        const std::size_t at = path.rfind("dd_");
        const std::string leaf = at == std::string::npos ? path : path.substr(at);
        tables += (tables.empty() ? "" : ", ") + leaf.substr(0, leaf.find('.'));
    }
    return tables;
}

template <class Names>
std::string joined(const Names& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

DocumentCheck::DocumentCheck(const LinedDocument& document,
                             dataface_1::IQueryLibrary& library,
                             std::vector<std::string> ids)
    : m_document(document), m_library(library), m_ids(std::move(ids)) {
    for (std::size_t i = 0; i < m_document.size(); ++i)
        checkElement(i);
}

void DocumentCheck::checkElement(std::size_t position) {
    const LinedElement& element = m_document.at(position);
    checkQueries(position);
    for (std::size_t at = element.parent; at != 0; at = m_document.at(at).parent) {
        if (lanefeed_runtime::isQueryElement(m_document.at(at).name)) return;
    }
    requireChild(position);
    if (isWithinGrid(m_document, position)) {
        if (element.name == "rowBy") checkGrouping(position);
        if (wordsOf(element.name) != nullptr) checkAttributes(position);
        return;
    }
    if (lanefeed_runtime::isQueryElement(element.name)) checkDefinition(position);
    if (element.name == "displayAttributes") {
        std::string error;
        lanefeed_runtime::DisplayAttributes ignored;
        if (lanefeed_runtime::readDisplayAttributes(*element.bag, ignored, error)) {
            checkColors(position);
            return;
        }
        addMessage(position, error);
        m_logged.push_back(error);
        return;
    }
    if (wordsOf(element.name) == nullptr) return;
    checkAttributes(position);
    checkChildren(position);
}

// What an element is nothing without.
void DocumentCheck::requireChild(std::size_t position) {
    const std::string& name = m_document.at(position).name;
    const bool isGrid = name == "gridQuery" || name == "requiredData";
    if (!isGrid && name != "layer") return;
    const char* child = isGrid ? "rowBy" : "drawBy";
    if (m_document.children(position, child).empty())
        addMessage(position, fmt::format("<{}> has no <{}>; say what {}", name, child,
                                         isGrid ? "its rows are" : "it draws"));
}

// The queries of one grouping are alternatives, by what is counted, for the same rows.
void DocumentCheck::checkGrouping(std::size_t position) {
    std::string first;
    std::string tables;
    for (const std::string& id : queryIds(m_document, position)) {
        const std::string others = rowTables(m_library.findQuery(id, nullptr));
        if (others.empty()) continue;
        if (first.empty()) {
            first = id;
            tables = others;
        } else if (others != tables) {
            addMessage(position, fmt::format("\"{}\" makes rows of {}, but \"{}\" of {}; make a "
                                             "<rowBy> of each",
                                             first, tables, id, others));
        }
    }
}

void DocumentCheck::checkColors(std::size_t position) {
    const basekit2::variant_bag_t& bag = *m_document.at(position).bag;
    for (const char* name :
         {"timelineGraphColor", "timelineFilterColor", "timelineDecimationColor"}) {
        if (bag.get<variant_t>(name) == nullptr) continue;
        const std::string text = entryText(bag, name);
        if (!isColor(text))
            addMessage(position, fmt::format("{}=\"{}\": no colour; write red,green,blue from 0 "
                                             "to 255, or 0xAARRGGBB",
                                             name, text));
    }
}

// Bars and lines are drawn of an attribute of instances.
void DocumentCheck::addLayers(const std::vector<lanefeed_1::TLViewpointParser::Area>& areas) {
    const std::vector<std::size_t> elements = m_document.children(0, "area");
    for (std::size_t i = 0; i < std::min(areas.size(), elements.size()); ++i) {
        const auto rowSets = m_document.children(elements[i], "rowSet");
        if (rowSets.empty() || areas[i].rowSets.empty()) continue;
        const auto& layers = areas[i].rowSets.front().layers;
        const auto places = m_document.children(rowSets.front(), "layer");
        for (std::size_t j = 0; j < std::min(layers.size(), places.size()); ++j) {
            // It may follow from what is found already, such as a type that is none.
            if (hasFindingWithin(places[j])) continue;
            const LayerKind kind = kindOf(layers[j]);
            const auto& drawBy = layers[j].drawBy;
            const bool needsAttribute = layers[j].typeGiven && kind != LayerKind::series &&
                                        kind != LayerKind::counts && !drawBy.isLifetime;
            if (needsAttribute && !drawBy.ds.m_defaultQuery.is_null() && drawBy.ds.m_path.empty())
                addMessage(places[j], fmt::format("a layer of this type draws an infoQuery, such "
                                                  "as sliceName; \"{}\" is none",
                                                  drawBy.ds.m_defaultQuery->getId()));
        }
    }
}

void DocumentCheck::checkAttributes(std::size_t position) {
    const LinedElement& element = m_document.at(position);
    const ElementWords& words = *wordsOf(element.name);
    std::vector<std::string> known;
    for (const AttributeWord& word : words.attributes)
        known.emplace_back(word.name);
    for (auto it = element.bag->begin<variant_t>(); !it.at_end(); it.next()) {
        const std::string& name = it.get_name();
        if (name == "#text") {
            addMessage(position, fmt::format("text stands in <{}>; take it out", element.name));
            continue;
        }
        const auto word = std::find(known.begin(), known.end(), name);
        if (word == known.end()) {
            const std::string advice = nearestAdvice(name, known);
            addMessage(position,
                       fmt::format("unknown attribute \"{}\" of <{}>{}", name, element.name,
                                   !advice.empty() ? advice
                                   : known.empty() ? "; it takes none"
                                                   : "; known: " + joined(known)));
            continue;
        }
        const AttributeWord& knownWord =
            words.attributes[static_cast<std::size_t>(word - known.begin())];
        const std::string advice = valueAdvice(knownWord.kind, it.get_value());
        if (!advice.empty())
            addMessage(position, fmt::format("{}=\"{}\" of <{}>: {}", name,
                                             entryText(*element.bag, name), element.name, advice));
    }
}

// Only what the log does not tell.
void DocumentCheck::checkChildren(std::size_t position) {
    const LinedElement& element = m_document.at(position);
    const ElementWords& words = *wordsOf(element.name);
    if (words.toldByLog) return;
    for (const std::size_t child : m_document.children(position, "")) {
        const std::string& name = m_document.at(child).name;
        const bool known =
            std::find(words.children.begin(), words.children.end(), name) != words.children.end() ||
            (words.namesQueries &&
             (lanefeed_runtime::isQueryElement(name) || name == "displayAttributes"));
        if (known) continue;
        const std::string expected = words.namesQueries
                                         ? "queryRef, a definition of a query or displayAttributes"
                                         : joined(words.children);
        addMessage(child, fmt::format("unknown element <{}> in <{}>; expected: {}", name,
                                      element.name, expected));
    }
}

void DocumentCheck::checkQueries(std::size_t position) {
    const LinedElement& element = m_document.at(position);
    if (element.name == lanefeed_runtime::kReferenceElement) {
        requireQuery(position, elementText(*element.bag));
        return;
    }
    if (element.bag->get<variant_t>("query") == nullptr) return;
    for (const std::string& id : queriesNamed(*element.bag))
        requireQuery(position, id);
}

void DocumentCheck::requireQuery(std::size_t position, const std::string& id) {
    if (!m_library.findQuery(id, nullptr).is_null()) return;
    const std::string advice = nearestAdvice(id, m_ids);
    addMessage(position, fmt::format("no query \"{}\"{}", id,
                                     advice.empty() ? "; 'lanefeed queries' lists them" : advice));
}

// A definition on the spot is built as the library will do it.
void DocumentCheck::checkDefinition(std::size_t position) {
    const LinedElement& element = m_document.at(position);
    if (element.name == lanefeed_runtime::kReferenceElement) return;
    lanefeed_runtime::BuildContext context;
    context.find = [this](const std::string& id) { return m_library.findQuery(id, nullptr); };
    std::string error;
    if (!lanefeed_runtime::buildQuery(*element.bag, context, error).is_null()) return;
    m_logged.push_back(error);
    bool toldAlready = false;
    for (const std::string& id : lanefeed_runtime::referredIds(*element.bag))
        toldAlready = toldAlready || m_library.findQuery(id, nullptr).is_null();
    if (!toldAlready) addMessage(position, fmt::format("<{}>: {}", element.name, error));
}

bool DocumentCheck::hasFindingWithin(std::size_t position) const {
    return std::any_of(m_found.begin(), m_found.end(), [&](const Located& located) {
        return m_document.isWithin(located.element, position);
    });
}

void DocumentCheck::addMessage(std::size_t element, const std::string& message) {
    m_found.push_back({element, message});
}

void DocumentCheck::addLog(const lanefeed_1::ParseLogger& log) {
    LogPlaces places(m_document);
    std::vector<Located> located;
    for (const std::string& message : log.globalMessages)
        located.push_back({places.ofViewpoint(message), message});
    for (const auto& [area, messages] : log.areaMessages)
        for (const std::string& message : messages)
            located.push_back({places.ofArea(area, message), message});
    for (const auto& [area, layers] : log.layerMessages)
        for (const auto& [layer, messages] : layers)
            for (const std::string& message : messages)
                located.push_back({places.ofLayer(area, layer, message), message});
    // A query that nobody knows makes the element fail that names it.
    for (Located& one : located) {
        const ElementWords* words = wordsOf(m_document.at(one.element).name);
        const bool follows =
            words != nullptr && words->namesQueries && hasFindingWithin(one.element);
        if (!follows) m_found.push_back(std::move(one));
    }
}

Finding DocumentCheck::findingAt(const Located& located) const {
    Finding finding;
    finding.line = m_document.at(located.element).line;
    finding.text = located.text;
    const auto ordinal = [this](std::size_t element) {
        const LinedElement& one = m_document.at(element);
        const std::vector<std::size_t> like = m_document.children(one.parent, one.name);
        return static_cast<int>(std::find(like.begin(), like.end(), element) - like.begin());
    };
    for (std::size_t at = located.element; at != 0; at = m_document.at(at).parent) {
        const std::string& name = m_document.at(at).name;
        if (name == "layer" && finding.layer < 0) finding.layer = ordinal(at);
        if (name == "area") finding.area = ordinal(at);
        if (name == "ruler") finding.ruler = true;
    }
    return finding;
}

std::vector<Finding> DocumentCheck::findings() const {
    std::vector<Finding> all;
    for (const Located& located : m_found)
        all.push_back(findingAt(located));
    std::stable_sort(all.begin(), all.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return all;
}

}  // namespace lanefeed_tool
