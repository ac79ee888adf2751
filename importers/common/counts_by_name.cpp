// Counts that a result stores as JSON. Tested by tests/importers/perf_script_test.cpp.
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

void CountsByName::add(std::string_view name, std::uint64_t count) {
    if (count == 0) return;
    m_total += count;
    auto found = m_counts.find(name);
    if (found == m_counts.end()) {
        const std::string_view key = m_counts.size() < kMaxNames ? name : kOtherNames;
        found = m_counts.try_emplace(std::string(key), 0).first;
    }
    found->second += count;
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
