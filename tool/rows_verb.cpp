// lanefeed rows: the rows of an area in display order. Tested by tests/tool/series_facts_test.cpp.

#include "failure.h"
#include "json_text.h"
#include "session.h"
#include "verbs.h"

#include <cstddef>
#include <fmt/format.h>
#include <iostream>

namespace lanefeed_tool {

namespace {

// Of a name on a terminal; csv and JSON have all of it.
constexpr std::size_t kNameCharacters = 120;

void printJson(const AreaView& area) {
    std::string out = "[";
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        out += fmt::format(
            "{}\n  {{\"id\": {}, \"dbIndex\": {}, \"parent\": {}, \"level\": {}, \"name\": {}, "
            "\"start\": {}, \"end\": {}}}",
            out.size() == 1 ? "" : ",", row.id, row.dbIndex,
            row.parent < 0 ? "null" : std::to_string(row.parent), row.level, jsonString(row.name),
            row.start, row.end);
    }
    std::cout << out << "\n]\n";
}

TextTable textTable(const AreaView& area, Format format) {
    TextTable table;
    table.columns = {{"id", true},    {"dbIndex", true}, {"parent", true}, {"level", true},
                     {"name", false}, {"start", true},   {"end", true}};
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        const std::string indent(
            format == Format::table ? 2 * static_cast<std::size_t>(row.level) : 0, ' ');
        table.rows.push_back(
            {std::to_string(row.id), std::to_string(row.dbIndex),
             row.parent < 0 ? "" : std::to_string(row.parent), std::to_string(row.level),
             format == Format::table ? shortened(indent + row.name, kNameCharacters) : row.name,
             std::to_string(row.start), std::to_string(row.end)});
    }
    return table;
}

}  // namespace

int runRows(const ViewOptions& options) {
    Session session(options);
    session.readViewpoint();
    const AreaView area(session, options.area);
    session.requireWholeReads();
    if (area.isEmpty()) {
        std::cerr << "lanefeed: note: "
                  << (session.isEmpty() ? fmt::format("{} holds no instances", options.result)
                                        : fmt::format("{} holds nothing that area {} shows",
                                                      options.result, options.area))
                  << "; there are no rows\n";
    }
    if (options.format == Format::json) {
        printJson(area);
    } else if (options.format == Format::csv) {
        printCsv(std::cout, textTable(area, options.format));
    } else {
        printAligned(std::cout, textTable(area, options.format));
    }
    return exitOk;
}

}  // namespace lanefeed_tool
