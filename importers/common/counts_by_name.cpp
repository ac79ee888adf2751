// Counts that a result stores as JSON. Tested by tests/importers/text_formats_test.cpp.
#include "common/counts_by_name.h"

#include "common/clean_text.h"

#include <fmt/format.h>

namespace lanefeed_importers {

std::string jsonQuoted(std::string_view text) {
    std::string json = "\"";
    for (const char c : cleanText(text)) {
        if (c == '"' || c == '\\') json += '\\';
        if (static_cast<unsigned char>(c) < 0x20) {
            json += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        } else {
            json += c;
        }
    }
    return json + '"';
}

// Most names are one of a handful, and these are found by their length and last letter.
void CountsByName::add(std::string_view name, std::uint64_t count) {
    if (count == 0) return;
    m_total += count;
    const std::size_t place =
        name.empty() ? 0 : name.size() * 7 + static_cast<unsigned char>(name.back());
    Entry*& recent = m_recent[place % m_recent.size()];
    if (!recent || recent->first != name) recent = &entryOf(name);
    recent->second += count;
}

// The one of the other names when there are too many.
CountsByName::Entry& CountsByName::entryOf(std::string_view name) {
    const auto found = m_counts.find(name);
    if (found != m_counts.end()) return *found;
    const std::string_view key = m_counts.size() < kMaxNames ? name : kOtherNames;
    return *m_counts.try_emplace(std::string(key), 0).first;
}

std::uint64_t CountsByName::of(std::string_view name) const {
    const auto found = m_counts.find(name);
    return found == m_counts.end() ? 0 : found->second;
}

std::string CountsByName::json() const {
    std::string json;
    for (const auto& [name, count] : m_counts)
        json += fmt::format("{}{}:{}", json.empty() ? "" : ",", jsonQuoted(name), count);
    return "{" + json + "}";
}

}  // namespace lanefeed_importers
