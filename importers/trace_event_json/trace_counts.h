#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace lanefeed_importers {

// Accounts for every event: by phase how many there were and how many are in the result, and by
// reason what was left out or repaired. Of each phase, events = kept + those left out for a reason
// that concerns events.
class TraceCounts {
public:
    struct Phase {
        std::uint64_t events = 0;
        std::uint64_t kept = 0;
    };

    void event(std::string_view phase) { ++at(phase).events; }
    void keep(char phase, std::uint64_t count = 1) {
        m_phases[static_cast<unsigned char>(phase)].kept += count;
    }
    void skip(std::string_view reason, std::uint64_t count = 1) {
        if (count) m_skipped[std::string(reason)] += count;
    }

    std::uint64_t kept(char phase) const {
        return m_phases[static_cast<unsigned char>(phase)].kept;
    }
    std::uint64_t skipped(const std::string& reason) const {
        const auto found = m_skipped.find(reason);
        return found == m_skipped.end() ? 0 : found->second;
    }
    // What isn't understood, be it left out or repaired; begins and ends that have lost the other
    // are not among it.
    std::uint64_t notUnderstood() const;
    // JSON objects: {"X":{"events":7,"kept":7}} and {"orphanEnd":1}.
    std::string phasesJson() const;
    std::string skippedJson() const;

private:
    Phase& at(std::string_view phase) {
        return phase.size() == 1 ? m_phases[static_cast<unsigned char>(phase[0])]
                                 : m_oddPhases[std::string(phase)];
    }

    std::array<Phase, 256> m_phases{};
    std::map<std::string, Phase> m_oddPhases;
    std::map<std::string, std::uint64_t> m_skipped;
};

// Reasons, as stored with a result. Those of the second group concern values or were repaired;
// their events are kept.
namespace reasons {
inline constexpr std::string_view kCut = "cut";              // the event in which the text ends
inline constexpr std::string_view kNonObject = "nonObject";  // entry of the array, no event
inline constexpr std::string_view kBadTime = "badTime";
inline constexpr std::string_view kUnknownPhase = "unknownPhase";
inline constexpr std::string_view kOtherMetadata = "otherMetadata";
inline constexpr std::string_view kOrphanEnd = "orphanEnd";
inline constexpr std::string_view kUnclosedBegin = "unclosedBegin";
inline constexpr std::string_view kOrphanAsyncEnd = "orphanAsyncEnd";
inline constexpr std::string_view kUnclosedAsync = "unclosedAsync";
inline constexpr std::string_view kOrphanFlow = "orphanFlow";          // t or f before any s
inline constexpr std::string_view kUnfinishedFlow = "unfinishedFlow";  // s that leads nowhere
inline constexpr std::string_view kEmptyCounter = "emptyCounter";      // no number in it

inline constexpr std::string_view kMissingDuration = "missingDuration";
inline constexpr std::string_view kNegativeDuration = "negativeDuration";
inline constexpr std::string_view kNonNumericCounter = "nonNumericCounter";
// Another value of the same series at the same time: the last one counts.
inline constexpr std::string_view kReplacedSample = "replacedSample";
inline constexpr std::string_view kLongArgs = "longArgs";  // above 64 kB
}  // namespace reasons

}  // namespace lanefeed_importers
