#pragma once

#include <basekit2/variant_bag.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// A document with definitions of queries: a "queryLibrary" element whose children each define one.
struct DefinitionText {
    std::string source;  // name of the file, for messages
    std::string text;
};

// One definition as it was read.
struct Definition {
    std::string id;
    basekit2::variant_bag_t element;
    std::string place;  // "file:line"
};

// What documents hold, in their order.
struct Definitions {
    std::vector<Definition> queries;
    std::vector<Definition> valueStyles;  // under the id of the query that they name
};

// Appends what a document holds. Each error is a line "file:line: what", and what it concerns is
// left out: the whole document when it is no XML, else the one definition.
void readDefinitions(const DefinitionText& document,
                     Definitions& definitions,
                     std::vector<std::string>& errors);

// "file:line: infoQuery "id": what", the form of all errors of a definition.
std::string definitionError(const Definition& definition, const std::string& what);

}  // namespace lanefeed_runtime
