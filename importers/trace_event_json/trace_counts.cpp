// The accounts of an import as JSON. Tested by tests/importers/trace_facts_test.cpp.
#include "trace_event_json/trace_counts.h"

#include "common/counts_by_name.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

void append(std::string& json, std::string_view key, const std::string& value) {
    json += fmt::format("{}{}:{}", json.empty() ? "" : ",", jsonQuoted(key), value);
}

void append(std::string& json, std::string_view phase, const TraceCounts::Phase& count) {
    if (count.events == 0) return;
    append(json, phase, fmt::format(R"({{"events":{},"kept":{}}})", count.events, count.kept));
}

}  // namespace

std::uint64_t TraceCounts::notUnderstood() const {
    std::uint64_t count = 0;
    for (const std::string_view reason :
         {reasons::kNonObject, reasons::kBadTime, reasons::kUnknownPhase, reasons::kEmptyCounter,
          reasons::kMissingDuration, reasons::kNegativeDuration, reasons::kNonNumericCounter,
          reasons::kLongArgs})
        count += skipped(std::string(reason));
    return count;
}

std::string TraceCounts::phasesJson() const {
    std::string json;
    for (std::size_t i = 0; i < m_phases.size(); ++i) {
        append(json, std::string(1, static_cast<char>(i)), m_phases[i]);
    }
    for (const auto& [phase, count] : m_oddPhases)
        append(json, phase, count);
    return "{" + json + "}";
}

std::string TraceCounts::skippedJson() const {
    std::string json;
    for (const auto& [reason, count] : m_skipped)
        append(json, reason, fmt::format("{}", count));
    return "{" + json + "}";
}

}  // namespace lanefeed_importers
