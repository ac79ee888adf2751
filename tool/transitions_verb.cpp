// lanefeed transitions: the lines between the rows of an area, by the row on which they arrive.
// Tested by tests/tool/layer_verbs_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "json_text.h"
#include "lines.h"
#include "session.h"
#include "stats_print.h"
#include "verbs.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <iterator>
#include <memory>
#include <vector>

namespace lanefeed_tool {

namespace {

constexpr std::size_t kRowCharacters = 34;
constexpr std::size_t kNameCharacters = 60;
constexpr std::size_t kLinesShown = 20;  // of each row on a terminal

// A layer with its lines, which outlives what prints it.
struct Answer {
    LayerTitle title;
    LayerLines* lines = nullptr;
};

const RowInfo& rowAt(const AreaView& area, int position) {
    return area.rows()[static_cast<std::size_t>(position)];
}

std::string rowName(const AreaView& area, int row) {
    return row >= 0 && row < static_cast<int>(area.rows().size()) ? rowAt(area, row).name : "";
}

std::string lineJson(const Line& line) {
    std::string out = fmt::format(
        "{{\"start\": {}, \"end\": {}, \"attr\": {}, \"name\": {}, \"startRow\": {}, \"endRow\": "
        "{}, \"count\": {}, \"duplicates\": [",
        line.start, line.end, line.attr, jsonString(line.name), line.startRow, line.endRow,
        line.count);
    for (std::size_t i = 0; i < line.duplicates.size(); ++i) {
        const Line& further = line.duplicates[i];
        out += fmt::format("{}{{\"start\": {}, \"end\": {}, \"attr\": {}, \"name\": {}}}",
                           i > 0 ? ", " : "", further.start, further.end, further.attr,
                           jsonString(further.name));
    }
    return out + "]}";
}

void printJson(const AreaView& area, const std::vector<Answer>& answers) {
    std::cout << '[';
    for (std::size_t i = 0; i < answers.size(); ++i) {
        std::cout << (i > 0 ? "," : "") << layerJson(answers[i].title);
        bool first = true;
        for (const int position : area.order()) {
            const RowInfo& row = rowAt(area, position);
            std::string out = (first ? "" : ",") + rowJson(row, "transitions");
            first = false;
            const std::vector<Line> lines = answers[i].lines->row(row.id);
            for (std::size_t line = 0; line < lines.size(); ++line)
                out += (line > 0 ? ",\n      " : "\n      ") + lineJson(lines[line]);
            std::cout << out << "]}";
        }
        std::cout << "]}";
    }
    std::cout << "\n]\n";
}

std::string csvLine(const AreaView& area, const Line& line, bool isDuplicate) {
    return fmt::format("{},{},{},{},{},{},{},{},{},{}", line.startRow,
                       csvField(rowName(area, line.startRow)), line.endRow,
                       csvField(rowName(area, line.endRow)), line.start, line.end, line.attr,
                       csvField(line.name), line.count, isDuplicate ? 1 : 0);
}

// A line for each; those that it counts follow it as far as they are known.
void printCsvLines(const AreaView& area, const std::vector<Answer>& answers) {
    const bool several = answers.size() > 1;
    std::cout << "start_row_id,start_row,end_row_id,end_row,start,end,attr,name,count,duplicate"
              << (several ? ",layer\n" : "\n");
    for (const Answer& answer : answers) {
        const std::string tail = several ? fmt::format(",{}\n", answer.title.layer) : "\n";
        for (const int position : area.order()) {
            for (const Line& line : answer.lines->row(rowAt(area, position).id)) {
                std::cout << csvLine(area, line, false) << tail;
                for (const Line& further : line.duplicates)
                    std::cout << csvLine(area, further, true) << tail;
            }
        }
    }
}

void printTable(const AreaView& area, const Answer& answer) {
    std::cout << fmt::format("Layer {}: {} ({}), {} buckets of {} ticks\n", answer.title.layer,
                             answer.title.name, verbOf(answer.title.kind), answer.title.window.bins,
                             answer.title.window.binTicks());
    TextTable table;
    table.columns = {{"to row", false}, {"from row", false}, {"start", true},
                     {"end", true},     {"more", true},      {"name", false}};
    std::size_t emptyRows = 0;
    std::size_t hidden = 0;
    for (const int position : area.order()) {
        const RowInfo& row = rowAt(area, position);
        const std::vector<Line> lines = answer.lines->row(row.id);
        if (lines.empty()) ++emptyRows;
        const std::size_t shown = std::min(lines.size(), kLinesShown);
        for (std::size_t i = 0; i < shown; ++i) {
            const Line& line = lines[i];
            table.rows.push_back({i == 0 ? shortened(row.name, kRowCharacters) : "",
                                  shortened(rowName(area, line.startRow), kRowCharacters),
                                  std::to_string(line.start), std::to_string(line.end),
                                  line.count == 0 ? "" : "+" + std::to_string(line.count),
                                  shortened(line.name, kNameCharacters)});
        }
        hidden += lines.size() - shown;
    }
    printAligned(std::cout, table);
    // Never a silent truncation.
    if (emptyRows > 0)
        std::cout << fmt::format("no line arrives on {} of {} rows\n", emptyRows,
                                 area.order().size());
    if (hidden > 0)
        std::cout << fmt::format(
            "{} further lines are not shown; a narrower --time shows them, "
            "--format csv has them all\n",
            hidden);
    std::cout << '\n';
}

void print(const AreaView& area, const std::vector<Answer>& answers, Format format) {
    switch (format) {
    case Format::json: printJson(area, answers); break;
    case Format::csv: printCsvLines(area, answers); break;
    case Format::table:
        for (const Answer& answer : answers)
            printTable(area, answer);
    }
}

LayerStats statsOf(Session& session, AreaView& area, const Answer& answer) {
    LayerStats stats;
    stats.title = answer.title;
    stats.serve = answer.lines->stats();
    const auto layer = static_cast<std::size_t>(answer.title.layer);
    stats.census = takeCensus(session, area, area.rowSet()->layers[layer], answer.title.window);
    for (const RowInfo& row : area.rows())
        stats.add(answer.lines->row(row.id));
    return stats;
}

}  // namespace

int runTransitions(const ViewOptions& options) {
    Session session(options);
    session.readViewpoint();
    AreaView area(session, options.area);
    session.noteEmpty();
    const LayerWindow window = askedWindow(session, area, options);
    std::vector<std::unique_ptr<LayerLines>> lines;
    std::vector<Answer> answers;
    for (const ChosenLayer& layer :
         chooseLayers(session, area, options, {LayerKind::transitions})) {
        lines.push_back(std::make_unique<LayerLines>(session, area, layer, window));
        answers.push_back({{LayerKind::transitions, options.area, layer.index,
                            layerName(*layer.info), "", window},
                           lines.back().get()});
    }
    session.requireWholeReads();
    print(area, answers, options.format);
    if (!options.stats) return exitOk;
    std::vector<LayerStats> stats;
    for (const Answer& answer : answers)
        stats.push_back(statsOf(session, area, answer));
    printStats(stats);
    return exitOk;
}

}  // namespace lanefeed_tool
