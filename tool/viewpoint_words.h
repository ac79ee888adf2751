#pragma once

#include <basekit2/variant.h>

#include <string>
#include <vector>

namespace lanefeed_tool {

// How the value of an attribute has to be written.
enum class WordKind { flag, text, integer, count, levels, sizeMode, layerType };

struct AttributeWord {
    const char* name;
    WordKind kind;
};

// What an element of a viewpoint may hold.
struct ElementWords {
    const char* element;
    std::vector<AttributeWord> attributes;
    std::vector<std::string> children;
    bool toldByLog;  // the parser's log tells of other children
    bool namesQueries;
};

// Null for an element whose content is not known here.
const ElementWords* wordsOf(const std::string& element);

// Empty for a value that can be read as the kind, else what to write.
std::string valueAdvice(WordKind kind, const basekit2::variant_t& value);

}  // namespace lanefeed_tool
