// XML text to a bag. pugixml parses; this file turns elements into bags, attributes into typed
// values, and offsets of errors into lines and columns.
// Tested by tests/base/bag_xml_test.cpp.
#include "text_file.h"
#include "typed_text.h"

#include <basekit2/variant_bag.h>

#include <algorithm>
#include <pugixml.hpp>

namespace basekit2 {
namespace {

// Deeper documents are refused: bags are walked and destroyed by recursion.
constexpr int kDeepest = 1000;

std::size_t behind(const std::string& text, const char* end, std::size_t from) {
    const std::size_t found = text.find(end, from);
    return found == std::string::npos ? text.size() : found;
}

// Walks a tag from its "<" to its ">". Where an attribute value holds a "<", the walk stops there.
std::size_t skipTag(const std::string& text, std::size_t at, bool& stray) {
    const bool declaration = text.compare(at, 2, "<!") == 0;
    char quote = 0;
    for (++at; at < text.size(); ++at) {
        const char c = text[at];
        if (quote == 0 && c == '>') break;
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
        } else if (quote != 0 && c == '<' && !declaration) {
            stray = true;
            break;
        } else if (c == quote) {
            quote = 0;
        }
    }
    return at;
}

// Place of a "<" in an attribute value, which is no XML but passes the parser; npos without one.
std::size_t strayAngle(const std::string& text) {
    bool stray = false;
    for (std::size_t at = text.find('<'); at < text.size(); at = text.find('<', at)) {
        if (text.compare(at, 4, "<!--") == 0)
            at = behind(text, "-->", at + 4);
        else if (text.compare(at, 9, "<![CDATA[") == 0)
            at = behind(text, "]]>", at + 9);
        else if (text.compare(at, 2, "<?") == 0)
            at = behind(text, "?>", at + 2);
        else
            at = skipTag(text, at, stray);
        if (stray) return at;
    }
    return std::string::npos;
}

class BagReader {
public:
    // sourceName: prefix of the places in errors, may be empty.
    BagReader(const std::string& text, std::string sourceName)
        : m_text(text), m_sourceName(std::move(sourceName)) {}

    error_code_t read(variant_bag_t& bag, const std::string& rootName) {
        pugi::xml_document document;
        const pugi::xml_parse_result parsed = document.load_buffer(m_text.data(), m_text.size());
        if (!parsed) return errorAt(parsed.offset, parsed.description());
        const std::size_t stray = strayAngle(m_text);
        if (stray != std::string::npos)
            return errorAt(static_cast<std::ptrdiff_t>(stray),
                           "\"<\" in the value of an attribute; write &lt; instead");
        const pugi::xml_node root = document.document_element();
        if (!rootName.empty() && rootName != root.name())
            return errorAt(root.offset_debug(), "the root element is \"" +
                                                    std::string(root.name()) + "\", not \"" +
                                                    rootName + '"');
        for (pugi::xml_node next = root.next_sibling(); next; next = next.next_sibling())
            if (next.type() == pugi::node_element)
                return errorAt(next.offset_debug(), "a second root element");
        variant_bag_t read(root.name());
        if (!readElement(root, read, 1)) return m_error;
        bag = std::move(read);
        return error_code_t::success;
    }

private:
    bool readElement(const pugi::xml_node& element, variant_bag_t& bag, int depth) {
        if (depth > kDeepest) return fail(element, "elements are nested too deeply");
        for (const pugi::xml_attribute& attribute : element.attributes())
            if (!readAttribute(element, attribute, bag)) return false;
        readText(element, bag);
        for (const pugi::xml_node& child : element.children()) {
            if (child.type() != pugi::node_element) continue;
            variant_bag_t& added = bag.add(child.name(), variant_bag_t());
            if (!readElement(child, added, depth + 1)) return false;
        }
        return true;
    }

    bool readAttribute(const pugi::xml_node& element,
                       const pugi::xml_attribute& attribute,
                       variant_bag_t& bag) {
        const std::string text = attribute.value();
        std::string type;
        std::string name;
        variant_t value = text;
        if (lanefeed_runtime::splitTypedName(attribute.name(), type, name)) {
            if (!lanefeed_runtime::readTyped(type, text, value))
                return fail(element, "attribute \"" + name + "\": \"" + text +
                                         "\" is no value of type " + type);
        } else {
            name = attribute.name();
            if (text == "true" || text == "false") value = text == "true";
        }
        bag.add(name, value);
        return true;
    }

    static void readText(const pugi::xml_node& element, variant_bag_t& bag) {
        std::string text;
        bool exact = false;
        for (const pugi::xml_node& child : element.children()) {
            const bool cdata = child.type() == pugi::node_cdata;
            exact = exact || cdata;
            if (cdata || child.type() == pugi::node_pcdata) text += child.value();
        }
        if (!exact) text = trimmed(text);
        if (exact || !text.empty()) bag.add("#text", text);
    }

    static std::string trimmed(const std::string& text) {
        const char* const white = " \t\r\n";
        const std::size_t first = text.find_first_not_of(white);
        if (first == std::string::npos) return "";
        return text.substr(first, text.find_last_not_of(white) - first + 1);
    }

    bool fail(const pugi::xml_node& element, const std::string& reason) {
        m_error = errorAt(element.offset_debug(), reason);
        return false;
    }

    error_code_t errorAt(std::ptrdiff_t offset, const std::string& reason) const {
        const std::size_t last = m_text.size();
        const std::size_t place =
            std::min(offset < 0 ? last : static_cast<std::size_t>(offset), last);
        const auto begin = m_text.begin();
        const auto here = begin + static_cast<std::ptrdiff_t>(place);
        const auto line = std::count(begin, here, '\n') + 1;
        const std::size_t lineEnd = place == 0 ? std::string::npos : m_text.rfind('\n', place - 1);
        const std::size_t column = lineEnd == std::string::npos ? place + 1 : place - lineEnd;
        std::string where = m_sourceName.empty() ? "" : m_sourceName + ':';
        where += std::to_string(line) + ':' + std::to_string(column) + ": ";
        return error_code_t::raise(error::IsNot.Valid.Argument, (where + reason).c_str(), nullptr,
                                   0);
    }

    const std::string& m_text;
    std::string m_sourceName;
    error_code_t m_error;
};

}  // namespace

error_code_t load_variant_bag_from_string2(variant_bag_t& bag,
                                           const std::string& text,
                                           const std::string& rootName) {
    return BagReader(text, "").read(bag, rootName);
}

error_code_t load_variant_bag2(variant_bag_t& bag,
                               const std::string& fileName,
                               const std::string& rootName) {
    std::string text;
    std::string reason;
    if (!lanefeed_runtime::readTextFile(fileName, text, reason))
        return error_code_t::raise(error::IsNot.Valid.Argument, (fileName + ": " + reason).c_str(),
                                   nullptr, 0);
    return BagReader(text, fileName).read(bag, rootName);
}

}  // namespace basekit2
