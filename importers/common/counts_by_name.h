#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace lanefeed_importers {

// Text as a JSON string, whatever bytes it is made of.
std::string jsonQuoted(std::string_view text);

// How often each of a few names came. Keeps kMaxNames of them, for a text may be nothing but names;
// the others count as one.
class CountsByName {
public:
    static constexpr std::size_t kMaxNames = 1000;
    static constexpr std::string_view kOtherNames = "(other names)";

    CountsByName() = default;
    CountsByName(const CountsByName&) = delete;
    CountsByName& operator=(const CountsByName&) = delete;

    void add(std::string_view name, std::uint64_t count = 1);
    std::uint64_t of(std::string_view name) const;
    std::uint64_t total() const { return m_total; }
    // Object: {"name":7}.
    std::string json() const;

private:
    using Counts = std::map<std::string, std::uint64_t, std::less<>>;
    using Entry = Counts::value_type;

    Entry& entryOf(std::string_view name);

    Counts m_counts;  // its entries never move
    std::array<Entry*, 32> m_recent{};
    std::uint64_t m_total = 0;
};

}  // namespace lanefeed_importers
