// lanefeed info: what a result holds and what was left out of it, as the result itself tells it.
// Tested by tests/tool/series_facts_test.cpp.

#include "fact_table.h"
#include "failure.h"
#include "filter_print.h"
#include "json_text.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <fmt/format.h>
#include <iostream>
#include <session/open_result.h>
#include <store/result_facts.h>
#include <store/schema.h>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_tool {

namespace {

using lanefeed_runtime::ResultFacts;

// "ticks_per_second" as "ticksPerSecond".
std::string camelCase(const std::string& key) {
    std::string name;
    bool raise = false;
    for (const char c : key) {
        if (c == '_') {
            raise = true;
            continue;
        }
        name += raise ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        raise = false;
    }
    return name;
}

// As a whole number is written: without leading zeros or a plus.
bool isInteger(const std::string& text) {
    std::int64_t value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    return parsed.ec == std::errc() && text == std::to_string(value);
}

// Facts that are texts whatever they look like, such as a file called "7".
bool isText(const std::string& name) {
    return name == "source" || name == "importer" || name == "sourceIdentity";
}

// Facts are texts, whole numbers, or JSON objects and lists.
std::string jsonValue(const std::string& name, const std::string& value) {
    if (isText(name)) return jsonString(value);
    if (isInteger(value)) return value;
    const bool bracket = !value.empty() && (value.front() == '{' || value.front() == '[');
    return bracket && isJson(value) ? value : jsonString(value);
}

std::string pausesJson(const ResultFacts& facts) {
    std::string out = "[";
    for (const auto& pause : facts.pauses) {
        // From the first tick, half open, as they were given.
        out += fmt::format("{}{{\"start\": {}, \"end\": {}}}", out.size() == 1 ? "" : ", ",
                           pause.start - facts.firstTick, pause.end - facts.firstTick + 1);
    }
    return out + "]";
}

// Where the trace begins and ends on its own clock: what the importer noted, which regards events
// that were not kept too, else the ticks with the origin added back.
std::string edge(const ResultFacts& facts, const char* noted, std::uint64_t tick) {
    const std::string time = facts.entry(noted);
    return isInteger(time) ? time : std::to_string(static_cast<std::int64_t>(tick) + facts.origin);
}

bool toldOtherwise(const std::string& name) {
    return name == "firstTick" || name == "lastTick" || name == "firstTime" || name == "lastTime";
}

std::vector<Fact> allFacts(const ResultFacts& facts) {
    std::vector<Fact> all{{"file", jsonString(facts.file)},
                          {"schema", std::to_string(lanefeed_runtime::kSchemaVersion)}};
    for (const auto& [key, value] : facts.entries) {
        const std::string name = camelCase(key);
        if (!toldOtherwise(name)) all.emplace_back(name, jsonValue(name, value));
    }
    all.emplace_back("firstTick", edge(facts, "firstTime", facts.firstTick));
    all.emplace_back("lastTick", edge(facts, "lastTime", facts.lastTick));
    all.emplace_back("pauses", pausesJson(facts));
    return all;
}

void printJson(const std::vector<Fact>& facts) {
    std::string out = "{";
    for (const auto& [name, value] : facts)
        out += fmt::format("{}\n  {}: {}", out.size() == 1 ? "" : ",", jsonString(name), value);
    std::cout << out << "\n}\n";
}

// JSON texts without their quotes.
std::string plainText(const std::string& json) {
    if (json.size() < 2 || json.front() != '"' || json.find('\\') != std::string::npos) return json;
    return json.substr(1, json.size() - 2);
}

}  // namespace

int runInfo(const ViewOptions& options) {
    const Session session(options);
    std::vector<Fact> facts = allFacts(*lanefeed_runtime::resultFacts(session.input()));
    facts.emplace_back("filters", filtersJson(session.input()));
    if (options.format == Format::json) {
        printJson(facts);
        return exitOk;
    }
    if (options.format == Format::table) {
        printAligned(std::cout, factTable(facts, *lanefeed_runtime::resultFacts(session.input())));
        return exitOk;
    }
    TextTable table;
    table.columns = {{"fact", false}, {"value", false}};
    for (const auto& [name, value] : facts)
        table.rows.push_back({name, plainText(value)});
    printCsv(std::cout, table);
    return exitOk;
}

}  // namespace lanefeed_tool
