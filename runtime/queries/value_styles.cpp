// Styles configured for the values of attributes, next to the definitions of queries.
// An element names its attribute by the id of a query, so that a slip in a table or a column is
// told by that query; the styles then belong to the attribute, whichever query reads it.
// Tested by tests/queries/value_styles_test.cpp.
#include "value_styles.h"

#include "query_builder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::color_t;

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// A whole number that takes all of the text, within 0 and `largest`.
std::optional<unsigned> readNumber(std::string_view text, int base, unsigned largest) {
    unsigned number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number, base);
    if (read.ec != std::errc() || read.ptr != end || number > largest) return std::nullopt;
    return number;
}

std::uint8_t byteOf(unsigned number, unsigned shift) {
    return static_cast<std::uint8_t>((number >> shift) & 0xFFU);
}

// "0xAARRGGBB" or "red,green,blue".
std::optional<color_t> readColor(std::string_view text) {
    constexpr std::string_view kHexPrefix = "0x";
    if (text.substr(0, 2) == kHexPrefix) {
        constexpr std::size_t kDigits = 8;
        const auto number = readNumber(text.substr(2), 16, ~0U);
        if (text.size() != 2 + kDigits || !number) return std::nullopt;
        return color_t{byteOf(*number, 16), byteOf(*number, 8), byteOf(*number, 0),
                       byteOf(*number, 24)};
    }
    std::array<std::uint8_t, 3> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::size_t comma = i + 1 < parts.size() ? text.find(',') : text.size();
        const auto part = comma == std::string_view::npos
                              ? std::nullopt
                              : readNumber(text.substr(0, comma), 10, 255);
        if (!part) return std::nullopt;
        parts[i] = byteOf(*part, 0);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return color_t{parts[0], parts[1], parts[2], 255};
}

// Reads one "style" element; the answer is an error, empty for none.
std::string readStyle(const variant_bag_t& element, ValueStyle& style) {
    if (element.get_name() != "style") return "<" + element.get_name() + "> is no <style>";
    if (!element.begin<variant_bag_t>().at_end()) return "a <style> holds no elements";
    bool hasValue = false;
    bool hasColor = false;
    for (auto it = element.begin<variant_t>(); !it.at_end(); it.next()) {
        const std::string& name = it.get_name();
        const std::string text = entryText(element, name);
        if (name == "value" || name == "pattern") {
            if (hasValue) return "it has a value and a pattern; keep one of them";
            hasValue = true;
            style.isPattern = name == "pattern";
            style.text = text;
        } else if (name == "color") {
            const auto color = readColor(text);
            if (!color)
                return "color is \"" + text +
                       "\"; write red,green,blue from 0 to 255, or 0xAARRGGBB";
            hasColor = true;
            style.fill.color = *color;
        } else if (name == "hatch") {
            constexpr unsigned kMostHatches = 1000;
            const auto hatch = readNumber(text, 10, kMostHatches);
            if (!hatch) return "hatch is \"" + text + "\"; write a whole number from 0 on";
            style.fill.hatch = static_cast<int>(*hatch);
        } else if (name == "name") {
            style.fill.name = text;
        } else if (name == "description") {
            style.fill.description = text;
        } else {
            return "unknown attribute \"" + name +
                   "\"; write value or pattern, color, hatch, name or description";
        }
    }
    if (!hasValue) return "it needs a value or a pattern";
    return hasColor ? std::string() : "it needs a color";
}

std::string readList(const variant_bag_t& element, ValueStyleList& styles) {
    for (auto it = element.begin<variant_t>(); !it.at_end(); it.next())
        if (it.get_name() != "query")
            return "unknown attribute \"" + it.get_name() + "\"; write query alone";
    for (auto it = element.begin<variant_bag_t>(); !it.at_end(); it.next()) {
        ValueStyle style;
        const std::string place = "style " + std::to_string(styles.size() + 1) + ": ";
        const std::string error = readStyle(it.get_value(), style);
        if (!error.empty()) return place + error;
        const bool isRepeated =
            std::any_of(styles.begin(), styles.end(), [&](const ValueStyle& other) {
                return other.text == style.text && other.isPattern == style.isPattern;
            });
        if (isRepeated) return place + "\"" + style.text + "\" stands above already";
        styles.push_back(std::move(style));
    }
    return styles.empty() ? "it has no <style>" : std::string();
}

// The attribute that the query of an element names; empty with an error.
std::string namedAttribute(const std::string& id, const QueriesById& queries, std::string& error) {
    const auto found = queries.find(id);
    if (found == queries.end()) {
        error = "names no query that can be used; write query=\"ID\" with the id of an infoQuery";
        return {};
    }
    const auto info = dataface_1::IInfoQuery::cast(found->second);
    std::string attribute = info.is_null() ? std::string() : attributeOf(*info);
    if (attribute.empty())
        error =
            "its query shows no attribute; name an infoQuery with <dbPath>TABLE::PATH</dbPath> and "
            "<displayDbPathSuffix>";
    return attribute;
}

}  // namespace

std::string attributeOf(const dataface_1::IInfoQuery& query) {
    const std::string path = query.getAttributeTable();
    const std::string column = query.getAttributeName();
    if (path.empty() || column.empty()) return {};
    return path.substr(path.rfind('.') + 1) + "." + column;
}

ValueStyles readValueStyles(const std::vector<Definition>& elements,
                            const QueriesById& queries,
                            std::vector<std::string>& errors) {
    ValueStyles all;
    for (const Definition& definition : elements) {
        std::string error;
        ValueStyleList styles;
        const std::string attribute = namedAttribute(definition.id, queries, error);
        if (error.empty()) error = readList(definition.element, styles);
        if (!error.empty()) {
            errors.push_back(definitionError(definition, error));
            continue;
        }
        ValueStyleList& known = all[attribute];
        known.insert(known.begin(), styles.begin(), styles.end());
    }
    return all;
}

const ValueStyle* findStyle(const ValueStyleList& styles, std::string_view value) {
    const auto found = std::find_if(styles.begin(), styles.end(), [&](const ValueStyle& style) {
        return style.isPattern ? fitsPattern(value, style.text) : value == style.text;
    });
    return found == styles.end() ? nullptr : &*found;
}

// After a mismatch behind a star the walk goes on one character further from where that star
// began to stand for text, so that no nesting is needed.
bool fitsPattern(std::string_view text, std::string_view pattern) {
    std::size_t at = 0;
    std::size_t next = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starAt = 0;
    while (at < text.size()) {
        if (next < pattern.size() && pattern[next] == '*') {
            star = ++next;
            starAt = at;
            continue;
        }
        const std::size_t literal =
            next + (next + 1 < pattern.size() && pattern[next] == '\\' ? 1U : 0U);
        if (literal < pattern.size() && lowered(pattern[literal]) == lowered(text[at])) {
            next = literal + 1;
            ++at;
        } else if (star != std::string_view::npos) {
            next = star;
            at = ++starAt;
        } else {
            return false;
        }
    }
    while (next < pattern.size() && pattern[next] == '*')
        ++next;
    return next == pattern.size();
}

}  // namespace lanefeed_runtime
