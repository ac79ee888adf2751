// Facts of a result as a person reads them. Tested by tests/tool/series_facts_test.cpp.

#include "fact_table.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <ctime>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <rapidjson/document.h>
#include <store/result_facts.h>

namespace lanefeed_tool {

namespace {

using rapidjson::Value;

constexpr std::int64_t kYear10000 = 253402300800;  // in seconds since 1970

// Texts and numbers as they are, an object as "name value, ...".
std::string plainText(const Value& value, int depth) {
    if (value.IsString()) return {value.GetString(), value.GetStringLength()};
    if (value.IsInt64()) return std::to_string(value.GetInt64());
    if (value.IsUint64()) return std::to_string(value.GetUint64());
    if (value.IsDouble()) return fmt::format("{}", value.GetDouble());
    if (value.IsBool()) return value.GetBool() ? "yes" : "no";
    if (value.IsNull()) return "none";
    if (depth > 2) return "...";
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (value.IsObject()) {
        for (const auto& member : value.GetObject())
            add(plainText(member.name, depth + 1) + " " + plainText(member.value, depth + 1));
    } else {
        for (const Value& element : value.GetArray())
            add(plainText(element, depth + 1));
    }
    return text;
}

// A line for each part of a list or an object, one for all else.
std::vector<std::string> linesOf(const std::string& json) {
    rapidjson::Document document;
    // Iterative, so that deep nesting in a damaged file can't exhaust the stack.
    document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
    if (document.HasParseError()) return {json};
    std::vector<std::string> lines;
    if (document.IsObject()) {
        for (const auto& member : document.GetObject()) {
            const bool isNested = member.value.IsObject();
            lines.push_back(plainText(member.name, 0) + (isNested ? ": " : " ") +
                            plainText(member.value, 1));
        }
    } else if (document.IsArray()) {
        for (const Value& element : document.GetArray())
            lines.push_back(plainText(element, 1));
    } else {
        lines.push_back(plainText(document, 0));
    }
    return lines.empty() ? std::vector<std::string>{"none"} : lines;
}

std::string seconds(std::int64_t ticks, const lanefeed_runtime::ResultFacts& result) {
    return fmt::format("{:.6g} s",
                       static_cast<double>(ticks) /
                           static_cast<double>(std::max<std::uint64_t>(result.ticksPerSecond, 1)));
}

std::string bytesText(std::int64_t bytes) {
    constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB", "TB"};
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; size >= 1000 && unit + 1 < std::size(kUnits); ++unit)
        size /= 1000;
    return unit == 0 ? std::string() : fmt::format("{:.3g} {}", size, kUnits[unit]);
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Empty where a number says all there is.
std::string inWords(const std::string& name,
                    std::int64_t value,
                    const lanefeed_runtime::ResultFacts& result) {
    const std::int64_t first = result.origin + static_cast<std::int64_t>(result.firstTick);
    if (endsWith(name, "Bytes")) return bytesText(value);
    if (endsWith(name, "Total")) return seconds(value, result);
    if (name == "sourceModified" && value > 0 && value < kYear10000)
        return fmt::format("{:%Y-%m-%d %H:%M:%S} UTC", fmt::gmtime(std::time_t{value}));
    const bool isTime = name == "lastTick" || endsWith(name, "Start") || endsWith(name, "End");
    std::int64_t ticks = 0;
    if (!isTime || __builtin_sub_overflow(value, first, &ticks)) return {};
    return seconds(ticks, result) + " after the first tick";
}

}  // namespace

TextTable factTable(const std::vector<Fact>& facts, const lanefeed_runtime::ResultFacts& result) {
    TextTable table;
    table.columns = {{"fact", false}, {"value", false}};
    for (const auto& [name, value] : facts) {
        std::int64_t number = 0;
        const auto read = std::from_chars(value.data(), value.data() + value.size(), number);
        const bool isNumber = read.ec == std::errc() && read.ptr == value.data() + value.size();
        const std::string words = isNumber ? inWords(name, number, result) : std::string();
        std::string fact = name;
        for (const std::string& line : linesOf(value)) {
            table.rows.push_back({fact, words.empty() ? line : line + "  (" + words + ")"});
            fact.clear();
        }
    }
    return table;
}

}  // namespace lanefeed_tool
