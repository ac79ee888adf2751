// Documents with definitions, split into definitions that know where they stand.
// The base library reads the bags and tells the place of what is no XML; a second look at the
// document gives the line of each definition, which bags don't keep.
// Tested by tests/queries/query_definitions_test.cpp.
#include "query_definitions.h"

#include "query_builder.h"

#include <algorithm>
#include <map>
#include <pugixml.hpp>

namespace lanefeed_runtime {
namespace {

constexpr const char* kRoot = "queryLibrary";
constexpr const char* kValueStyles = "valueStyles";

// Lines of the children of the root, in document order.
std::vector<std::ptrdiff_t> childLines(const std::string& text) {
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    std::vector<std::ptrdiff_t> lines;
    std::ptrdiff_t line = 1;
    std::ptrdiff_t counted = 0;
    for (const pugi::xml_node& child : document.document_element().children()) {
        if (child.type() != pugi::node_element) continue;
        const std::ptrdiff_t offset = std::max(child.offset_debug(), counted);
        line += std::count(text.begin() + counted, text.begin() + offset, '\n');
        counted = offset;
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

std::string definitionError(const Definition& definition, const std::string& what) {
    return definition.place + ": " + definition.element.get_name() + " \"" + definition.id +
           "\": " + what;
}

void readDefinitions(const DefinitionText& document,
                     Definitions& definitions,
                     std::vector<std::string>& errors) {
    basekit2::variant_bag_t library;
    const basekit2::error_code_t read =
        basekit2::load_variant_bag_from_string2(library, document.text, kRoot);
    if (!basekit2::is_success(read)) {
        errors.push_back(document.source + ":" + read.expression() + "; mend it there");
        return;
    }
    const std::vector<std::ptrdiff_t> lines = childLines(document.text);
    std::map<std::string, std::string> places;
    std::size_t index = 0;
    for (auto it = library.begin<basekit2::variant_bag_t>(); !it.at_end(); it.next(), ++index) {
        const bool isStyles = it.get_name() == kValueStyles;
        Definition definition{entryText(it.get_value(), isStyles ? "query" : "id"), it.get_value(),
                              document.source + ":" + std::to_string(lines.at(index))};
        if (isStyles) {
            definitions.valueStyles.push_back(std::move(definition));
            continue;
        }
        const auto known = places.find(definition.id);
        if (!isQueryElement(it.get_name()) || it.get_name() == kReferenceElement)
            errors.push_back(definition.place + ": <" + it.get_name() +
                             "> defines no query; write " + queryElements());
        else if (definition.id.empty())
            errors.push_back(definition.place + ": <" + it.get_name() +
                             "> has no id, so that nothing can refer to it; give it one");
        else if (known != places.end())
            errors.push_back(definitionError(
                definition, "the id stands at " + known->second + " already; choose another"));
        else {
            places[definition.id] = definition.place;
            definitions.queries.push_back(std::move(definition));
        }
    }
}

}  // namespace lanefeed_runtime
