// lanefeed report: all layers of an area as tables, for other programs and for the record. Lines go
// out as they are made; what stands in memory is the provider's answer of one layer. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "area_view.h"
#include "failure.h"
#include "json_text.h"
#include "lines.h"
#include "report_layer.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <iostream>
#include <numeric>
#include <optional>
#include <vector>

namespace lanefeed_tool {

namespace {

using Cells = std::vector<std::string>;

constexpr std::size_t kCellCharacters = 40;
constexpr std::size_t kSeriesShown = 5;  // on a terminal, if the viewpoint wants no other number

void printCsvLayer(ReportLayer& layer, bool isFirst) {
    // A blank line tells tables apart, since each has columns of its own.
    if (!isFirst) std::cout << '\n';
    const auto print = [](const Cells& cells) {
        std::string out;
        for (const std::string& cell : cells)
            out += (out.empty() && &cell == &cells.front() ? "" : ",") + csvField(cell);
        std::cout << out << '\n';
    };
    Cells names;
    for (const TextTable::Column& column : layer.columns())
        names.push_back(column.name);
    print(names);
    layer.forEachLine(print);
}

std::string cellJson(const TextTable::Column& column, const std::string& cell) {
    if (!column.numeric) return jsonString(cell);
    return cell.empty() ? "null" : cell;
}

void printJsonLayer(ReportLayer& layer, bool isFirst) {
    const auto& columns = layer.columns();
    std::string names;
    for (const TextTable::Column& column : columns)
        names += (names.empty() ? "" : ", ") + jsonString(column.name);
    std::cout << (isFirst ? "" : ",")
              << layerJson(layer.title(), fmt::format("\"columns\": [{}], \"lines\"", names));
    bool first = true;
    layer.forEachLine([&](const Cells& cells) {
        std::string out = first ? "\n    [" : ",\n    [";
        first = false;
        for (std::size_t i = 0; i < cells.size(); ++i)
            out += (i > 0 ? ", " : "") + cellJson(columns[i], cells[i]);
        std::cout << out << ']';
    });
    std::cout << "]}";
}

double numberOf(const std::string& cell) {
    double value = 0;
    std::from_chars(cell.data(), cell.data() + cell.size(), value);
    return value;
}

// The columns that a terminal has room for: of series the largest ones.
std::vector<std::size_t> shownColumns(ReportLayer& layer) {
    std::vector<std::size_t> shown(layer.columns().size());
    std::iota(shown.begin(), shown.end(), 0);
    const std::size_t most =
        layer.visibleSeries() > 0 ? static_cast<std::size_t>(layer.visibleSeries()) : kSeriesShown;
    if (layer.seriesColumns() <= most) return shown;
    const std::size_t fixed = shown.size() - layer.seriesColumns();
    std::vector<double> sums(shown.size());
    layer.forEachLine([&](const Cells& cells) {
        for (std::size_t i = fixed; i < cells.size(); ++i)
            sums[i] += numberOf(cells[i]);
    });
    std::stable_sort(shown.begin() + static_cast<std::ptrdiff_t>(fixed), shown.end(),
                     [&](std::size_t a, std::size_t b) { return sums[a] > sums[b]; });
    shown.resize(fixed + most);
    return shown;
}

TextTable shownTable(const ReportLayer& layer, const std::vector<std::size_t>& shown) {
    TextTable table;
    for (const std::size_t column : shown) {
        table.columns.push_back(layer.columns()[column]);
        table.columns.back().name = shortened(table.columns.back().name, kCellCharacters);
    }
    return table;
}

// Broken numbers with six digits; programs get all of them.
Cells shownCells(const Cells& cells,
                 const std::vector<std::size_t>& shown,
                 const TextTable& table) {
    Cells kept;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        const std::string& cell = cells[shown[i]];
        const bool isBroken =
            table.columns[i].numeric && cell.find_first_of(".e") != std::string::npos;
        kept.push_back(isBroken ? fmt::format("{:.6g}", numberOf(cell))
                                : shortened(cell, kCellCharacters));
    }
    return kept;
}

// Whether a line of series says nothing in the columns that are shown.
bool isBlank(const Cells& cells, std::size_t fixed) {
    return cells.size() > fixed &&
           std::all_of(cells.begin() + static_cast<std::ptrdiff_t>(fixed), cells.end(),
                       [](const std::string& cell) { return cell.empty(); });
}

// Lines are made once for the widths of the columns and once to be printed.
void printTableLayer(ReportLayer& layer) {
    const LayerTitle& title = layer.title();
    std::cout << fmt::format("Layer {}: {} ({}), {} buckets of {} ticks\n", title.layer, title.name,
                             title.unit.empty() ? verbOf(title.kind) : title.unit,
                             title.window.bins, title.window.binTicks());
    const std::vector<std::size_t> shown = shownColumns(layer);
    const TextTable table = shownTable(layer, shown);
    const std::size_t fixed = layer.columns().size() - layer.seriesColumns();
    AlignedLines lines(std::cout, table);
    std::size_t count = 0;
    const auto forEachShown = [&](const LineSink& sink) {
        layer.forEachLine([&](const Cells& all) {
            const Cells cells = shownCells(all, shown, table);
            if (!isBlank(cells, fixed)) sink(cells);
        });
    };
    layer.forEachLine([&](const Cells& /*all*/) { ++count; });
    std::size_t blank = count;
    forEachShown([&](const Cells& cells) {
        lines.measure(cells);
        --blank;
    });
    lines.printHeader();
    forEachShown([&](const Cells& cells) { lines.print(cells); });
    if (count == 0) std::cout << "no data here\n";
    // Never a silent truncation.
    const std::size_t hidden = layer.columns().size() - shown.size();
    if (hidden > 0)
        std::cout << fmt::format(
            "{} smaller series and {} lines with values in these alone are "
            "not shown; --format csv has them all\n",
            hidden, blank);
    std::cout << '\n';
}

// A list that is closed when the verb ends, however it ends.
class JsonList {
public:
    JsonList() { std::cout << '['; }
    ~JsonList() { std::cout << "\n]\n"; }
    JsonList(const JsonList&) = delete;
    JsonList& operator=(const JsonList&) = delete;
};

void print(ReportLayer& layer, bool isFirst, Format format) {
    switch (format) {
    case Format::json: printJsonLayer(layer, isFirst); break;
    case Format::csv: printCsvLayer(layer, isFirst); break;
    case Format::table: printTableLayer(layer); break;
    }
}

// Lines have fewer buckets than other layers, which are printed all the same.
void leaveOutFineLines(std::vector<ChosenLayer>& layers, const LayerWindow& window) {
    if (window.bins <= LayerLines::kMostBins) return;
    const auto isLines = [](const ChosenLayer& layer) {
        return kindOf(*layer.info) == LayerKind::transitions;
    };
    for (const ChosenLayer& layer : layers) {
        if (!isLines(layer)) continue;
        std::cerr << fmt::format(
            "lanefeed: note: layer {} ({}) draws lines in {} buckets at most; left out\n",
            layer.index, layerName(*layer.info), LayerLines::kMostBins);
    }
    layers.erase(std::remove_if(layers.begin(), layers.end(), isLines), layers.end());
}

// What comes in a value for each row and bucket.
bool hasSeries(const ChosenLayer& layer) {
    const LayerKind kind = kindOf(*layer.info);
    return kind == LayerKind::series || kind == LayerKind::counts;
}

}  // namespace

int runReport(const ViewOptions& options) {
    Session session(options);
    session.readViewpoint();
    AreaView area(session, options.area);
    session.noteEmpty();
    const LayerWindow window = askedWindow(session, area, options);
    auto layers = chooseLayers(session, area, options,
                               {LayerKind::series, LayerKind::intervals, LayerKind::tasks,
                                LayerKind::transitions, LayerKind::counts});
    if (std::any_of(layers.begin(), layers.end(), hasSeries)) requireRoomForSeries(window, area);
    if (options.layer < 0) leaveOutFineLines(layers, window);
    std::vector<LayerStats> stats;
    {
        std::optional<JsonList> list;
        if (options.format == Format::json) list.emplace();
        bool isFirst = true;
        for (const ChosenLayer& chosen : layers) {
            const auto layer = reportLayer(session, area, chosen, window, options.area);
            session.requireWholeReads();
            print(*layer, isFirst, options.format);
            isFirst = false;
            if (!options.stats) continue;
            stats.push_back(layer->stats());
            if (layer->title().kind != LayerKind::series)
                stats.back().census = takeCensus(session, area, *chosen.info, window);
        }
    }
    if (options.stats) printStats(stats);
    return exitOk;
}

}  // namespace lanefeed_tool
