#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace lanefeed_importers {

// Numbers texts in the order in which they first come, from 0. Texts never move.
class TextTable {
public:
    std::uint32_t idOf(std::string_view text) {
        const auto found = m_ids.find(text);
        if (found != m_ids.end()) return found->second;
        const auto id = static_cast<std::uint32_t>(m_texts.size());
        m_ids.emplace(m_texts.emplace_back(text), id);
        return id;
    }
    const std::string& text(std::uint32_t id) const { return m_texts[id]; }
    std::size_t size() const { return m_texts.size(); }

private:
    std::deque<std::string> m_texts;
    std::unordered_map<std::string_view, std::uint32_t> m_ids;
};

}  // namespace lanefeed_importers
