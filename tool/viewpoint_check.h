#pragma once

#include <dataface_1/query_library.h>

#include <parse_logger.h>
#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_tool {

class LinedDocument;

// Something wrong in a viewpoint. Areas and layers count from 0, as options do.
struct Finding {
    long line = 0;  // 0: of the whole file
    int area = -1;  // -1: of none, or of the ruler
    int layer = -1;
    bool ruler = false;
    std::string text;  // what is wrong and what to do
};

// What the document itself shows: words that nobody reads, values of the wrong kind, queries that
// are not defined, definitions with errors. `ids`: those of all queries, for advice.
class DocumentCheck {
public:
    DocumentCheck(const LinedDocument& document,
                  dataface_1::IQueryLibrary& library,
                  std::vector<std::string> ids);

    // Adds what the log of a parse says, with the lines that it speaks of. What only follows from
    // something found already is left out.
    void addLog(const lanefeed_1::ParseLogger& log);
    // Adds what layers can't draw, as a parse has resolved them.
    void addLayers(const std::vector<lanefeed_1::TLViewpointParser::Area>& areas);
    // By line.
    std::vector<Finding> findings() const;
    // Texts that the library logs of definitions which stand here with a line.
    const std::vector<std::string>& loggedTexts() const { return m_logged; }

private:
    struct Located {
        std::size_t element;
        std::string text;
    };

    void checkElement(std::size_t position);
    void requireChild(std::size_t position);
    void checkGrouping(std::size_t position);
    void checkColors(std::size_t position);
    void checkAttributes(std::size_t position);
    void checkChildren(std::size_t position);
    void checkQueries(std::size_t position);
    void checkDefinition(std::size_t position);
    void requireQuery(std::size_t position, const std::string& id);
    bool hasFindingWithin(std::size_t position) const;
    void addMessage(std::size_t element, const std::string& message);
    Finding findingAt(const Located& located) const;

    const LinedDocument& m_document;
    dataface_1::IQueryLibrary& m_library;
    const std::vector<std::string> m_ids;
    std::vector<Located> m_found;
    std::vector<std::string> m_logged;
};

}  // namespace lanefeed_tool
