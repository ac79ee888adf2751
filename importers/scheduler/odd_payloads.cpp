// Tells a recording without the fields of its events from one with broken lines. Tested by
// tests/importers/text_formats_test.cpp.
#include "scheduler/odd_payloads.h"

#include "common/line_reader.h"
#include "common/wording.h"

#include <algorithm>
#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

constexpr KernelEvent kScheduler[] = {KernelEvent::switchTo, KernelEvent::wakeup,
                                      KernelEvent::migration};

}  // namespace

bool OddPayloads::anyUnderstood() const {
    return std::any_of(m_understood.begin(), m_understood.end(),
                       [](std::uint64_t count) { return count > 0; });
}

// The last line of a text that is cut lacks fields, whatever the others have.
void OddPayloads::note(KernelEvent kind, const TextLine& line, std::string_view event) {
    constexpr std::size_t kShown = 160;
    if (!line.ended) return;
    Odd& odd = m_odd[indexOf(kind)];
    if (++odd.count > 1) return;
    odd.line = line.number;
    odd.event = oneLine(event, kShown);
    odd.text = oneLine(line.text, kShown);
}

// Switches are what the trace is about; one wakeup that is odd beside them may be a broken line.
const OddPayloads::Odd* OddPayloads::refused() const {
    bool anyScheduler = false;
    for (const KernelEvent kind : kScheduler)
        anyScheduler = anyScheduler || m_understood[indexOf(kind)] > 0;
    for (const KernelEvent kind : kScheduler) {
        const Odd& odd = m_odd[indexOf(kind)];
        const std::uint64_t least = anyScheduler && kind != KernelEvent::switchTo ? 2 : 1;
        if (m_understood[indexOf(kind)] == 0 && odd.count >= least) return &odd;
    }
    if (anyUnderstood()) return nullptr;
    const auto first =
        std::find_if(m_odd.begin(), m_odd.end(), [](const Odd& odd) { return odd.count > 0; });
    return first == m_odd.end() ? nullptr : &*first;
}

std::string OddPayloads::refusal() const {
    const Odd* const odd = refused();
    if (!odd) return {};
    return fmt::format("line {} has a {} with other fields than expected: \"{}\"", odd->line,
                       odd->event, odd->text);
}

}  // namespace lanefeed_importers
