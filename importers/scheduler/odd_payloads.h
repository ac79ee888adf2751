#pragma once

#include "scheduler/event_payloads.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace lanefeed_importers {

struct TextLine;

// Whether the events of a text have the fields that are needed. A broken line here and there is
// counted and left out; events that never have their fields come of a recording without them, or of
// a tool that prints them in another order, and such a text is refused.
class OddPayloads {
public:
    // To be told of each event but `other`. `event` is its name as the text has it.
    void see(KernelEvent kind, bool understood, const TextLine& line, std::string_view event) {
        if (understood) {
            ++m_understood[indexOf(kind)];
        } else {
            note(kind, line, event);
        }
    }

    bool anyUnderstood() const;
    // In words, with the line, why the text is refused; empty if it isn't.
    std::string refusal() const;

private:
    struct Odd {
        std::uint64_t count = 0;
        std::uint64_t line = 0;  // the first
        std::string event;
        std::string text;
    };
    static constexpr std::size_t kKinds = static_cast<std::size_t>(KernelEvent::mark) + 1;

    static std::size_t indexOf(KernelEvent kind) { return static_cast<std::size_t>(kind); }
    void note(KernelEvent kind, const TextLine& line, std::string_view event);
    const Odd* refused() const;

    std::array<std::uint64_t, kKinds> m_understood{};
    std::array<Odd, kKinds> m_odd;
};

}  // namespace lanefeed_importers
