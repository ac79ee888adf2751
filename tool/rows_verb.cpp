// lanefeed rows: the rows of an area in display order. Tested by tests/tool/series_facts_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "json_text.h"
#include "session.h"
#include "verbs.h"

#include <cstddef>
#include <fmt/format.h>
#include <iostream>
#include <utility>

namespace lanefeed_tool {

namespace {

// Of a name on a terminal; csv and JSON have all of it.
constexpr std::size_t kNameCharacters = 120;

std::string valueText(const basekit2::variant_t& value) {
    if (value.is_null()) return {};
    basekit2::variant_t text;
    basekit2::print_variant(value, text, false);
    return text.get<std::string>();
}

// Whole numbers as they are, others as the shortest text that reads back the same.
std::string valueJson(const basekit2::variant_t& value) {
    if (value.is_null()) return "null";
    const bool real =
        value.get_type() == basekit2::vtFloat || value.get_type() == basekit2::vtDouble;
    return real ? jsonNumber(value.get<double>()) : valueText(value);
}

std::string valuesJson(const AreaView& area, const RowInfo& row) {
    if (area.valueColumns().empty()) return {};
    std::string out = ", \"values\": {";
    for (std::size_t i = 0; i < row.values.size(); ++i) {
        out += fmt::format("{}{}: {}", i == 0 ? "" : ", ", jsonString(area.valueColumns()[i].name),
                           valueJson(row.values[i]));
    }
    return out + "}";
}

void printJson(const AreaView& area) {
    std::string out = "[";
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        out += fmt::format(
            "{}\n  {{\"id\": {}, \"dbIndex\": {}, \"parent\": {}, \"level\": {}, \"name\": {}, "
            "\"start\": {}, \"end\": {}{}}}",
            out.size() == 1 ? "" : ",", row.id, row.dbIndex,
            row.parent < 0 ? "null" : std::to_string(row.parent), row.level, jsonString(row.name),
            row.start, row.end, valuesJson(area, row));
    }
    std::cout << out << "\n]\n";
}

TextTable textTable(const AreaView& area, Format format) {
    TextTable table;
    table.columns = {{"id", true},    {"dbIndex", true}, {"parent", true}, {"level", true},
                     {"name", false}, {"start", true},   {"end", true}};
    for (const ValueColumn& value : area.valueColumns())
        table.columns.push_back({value.name, true});
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        const std::string indent(
            format == Format::table ? 2 * static_cast<std::size_t>(row.level) : 0, ' ');
        std::vector<std::string> cells{
            std::to_string(row.id),
            std::to_string(row.dbIndex),
            row.parent < 0 ? "" : std::to_string(row.parent),
            std::to_string(row.level),
            format == Format::table ? shortened(indent + row.name, kNameCharacters) : row.name,
            std::to_string(row.start),
            std::to_string(row.end)};
        for (const basekit2::variant_t& value : row.values)
            cells.push_back(valueText(value));
        table.rows.push_back(std::move(cells));
    }
    return table;
}

// With --visible the rows are read as they are without the filters of the call, so that ids stay,
// and then cut down to those that these leave.
ViewOptions optionsOfRows(const ViewOptions& options) {
    ViewOptions read = options;
    if (options.visible) read.filters.clear();
    return read;
}

void noteNoRows(const Session& session, const AreaView& area, const ViewOptions& options) {
    std::string reason;
    if (session.isEmpty())
        reason = fmt::format("{} holds no instances", options.result);
    else if (area.isEmpty())
        reason =
            fmt::format("{} holds nothing that {} shows", options.result, areaName(options.area));
    else if (area.isFilteredOut())
        reason = fmt::format("the filters in force leave no row of {} of {}",
                             areaName(options.area), options.result);
    if (reason.empty())
        session.noteEmpty();
    else
        std::cerr << "lanefeed: note: " << reason << "; there are no rows\n";
}

}  // namespace

int runRows(const ViewOptions& options) {
    const ViewOptions readOptions = optionsOfRows(options);
    Session session(readOptions);
    session.readViewpoint();
    AreaView area(session, options.area);
    if (!options.sort.empty()) area.sortBy(options.sort);
    if (options.visible) {
        session.applyFilters(options.filters);
        area.keepVisible(session);
        if (!area.valueColumns().empty() && !options.filters.empty()) {
            AreaView filtered(session, options.area);
            if (!options.sort.empty()) filtered.sortBy(options.sort);
            area.takeValues(filtered);
        }
    }
    session.requireWholeReads();
    noteNoRows(session, area, options);
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
