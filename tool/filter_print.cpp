// Filters in force, for people and programs. Tested by tests/tool/selection_test.cpp.

#include "filter_print.h"

#include "json_text.h"

#include <fmt/format.h>
#include <session/apply_selection.h>
#include <session/open_result.h>
#include <store/result_facts.h>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using lanefeed_runtime::FilterDescription;

std::string timeJson(const FilterDescription& filter, std::uint64_t firstTick) {
    if (!filter.hasTime) return "null";
    std::string out = "[";
    for (const auto& span : filter.kept) {
        out += fmt::format("{}{{\"start\": {}, \"end\": {}}}", out.size() == 1 ? "" : ", ",
                           span.start - firstTick, span.end - firstTick);
    }
    return out + "]";
}

std::string timeText(const FilterDescription& filter, const lanefeed_runtime::ResultFacts& facts) {
    if (!filter.hasTime) return "";
    const auto seconds = [&](std::uint64_t tick) {
        return fmt::format("{:.12g}s", static_cast<double>(tick - facts.firstTick) /
                                           static_cast<double>(facts.ticksPerSecond));
    };
    std::string out;
    for (const auto& span : filter.kept)
        out += (out.empty() ? "" : ", ") + seconds(span.start) + ".." + seconds(span.end);
    return out.empty() ? "nothing" : out;
}

}  // namespace

std::string filtersJson(const sptr_t<dataface_1::IInputData>& result) {
    const auto facts = lanefeed_runtime::resultFacts(result);
    std::string out = "[";
    for (const FilterDescription& filter : lanefeed_runtime::describeFilters(result)) {
        out += fmt::format("{}{{\"name\": {}, \"time\": {}, \"query\": {}}}",
                           out.size() == 1 ? "" : ", ", jsonString(filter.name),
                           timeJson(filter, facts->firstTick),
                           filter.query.empty() ? "null" : jsonString(filter.query));
    }
    return out + "]";
}

TextTable filtersTable(const sptr_t<dataface_1::IInputData>& result) {
    const auto facts = lanefeed_runtime::resultFacts(result);
    TextTable table;
    table.columns = {{"filter", false}, {"time", false}, {"keeps", false}};
    for (const FilterDescription& filter : lanefeed_runtime::describeFilters(result))
        table.rows.push_back({filter.name, timeText(filter, *facts), filter.query});
    return table;
}

}  // namespace lanefeed_tool
