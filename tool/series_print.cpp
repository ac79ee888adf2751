// Series of rows as a table with curves, csv or JSON; what `overtime` and `counts` print. Tested by
// tests/tool/series_facts_test.cpp and layer_verbs_test.cpp.

#include "series_print.h"

#include "area_view.h"
#include "curve.h"
#include "json_text.h"
#include "layer_series.h"
#include "terminal.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iostream>
#include <iterator>
#include <limits>

namespace lanefeed_tool {

namespace {

// Whole ticks have no fraction; values have up to nine digits for people, all of them for programs.
std::string valueText(double value, bool ticks, Format format) {
    if (std::isnan(value)) return {};
    if (ticks) return fmt::format("{:.0f}", value);
    return format == Format::table ? fmt::format("{:.6g}", value) : jsonNumber(value);
}

void appendValues(std::string& out, const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0) out += ", ";
        out += jsonNumber(values[i]);
    }
}

// The largest value with its first bucket; 0 in the first for a series without data.
struct Peak {
    double value = 0;
    int bucket = 0;
};

Peak peakOf(const Series& series) {
    Peak peak;
    for (std::size_t i = 0; i < series.values.size(); ++i)
        if (series.values[i] > peak.value) peak = {series.values[i], static_cast<int>(i)};
    return peak;
}

void appendSeries(std::string& out, const Series& series, LayerKind kind) {
    out += fmt::format("{{\"name\": {}, \"parts\": [", jsonString(series.name));
    for (std::size_t i = 0; i < series.parts.size(); ++i)
        out += (i > 0 ? ", " : "") + jsonString(series.parts[i]);
    out += "], ";
    if (kind == LayerKind::counts) out += "\"peak\": " + jsonNumber(peakOf(series).value) + ", ";
    out += "\"values\": [";
    appendValues(out, series.values);
    out += "]}";
}

void appendLayer(std::string& out, const AreaView& area, const LayerSeries& layer) {
    out += layerJson(layer.title);
    bool first = true;
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        out += (first ? "" : ",") + rowJson(row, "series");
        first = false;
        const std::vector<Series>& all = layer.rows[static_cast<std::size_t>(row.id)];
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (i > 0) out += ", ";
            appendSeries(out, all[i], layer.title.kind);
        }
        out += "]}";
    }
    out += "]}";
}

void printJson(const AreaView& area, const std::vector<LayerSeries>& layers) {
    std::cout << '[';
    for (std::size_t i = 0; i < layers.size(); ++i) {
        std::string out = i > 0 ? "," : "";
        appendLayer(out, area, layers[i]);
        std::cout << out;
    }
    std::cout << "\n]\n";
}

// A line for each bucket with data.
std::string csvLines(const LayerSeries& layer,
                     const RowInfo& row,
                     const Series& series,
                     bool several) {
    std::string out;
    for (int bucket = 0; bucket < layer.title.window.bins; ++bucket) {
        const double value = series.values[static_cast<std::size_t>(bucket)];
        if (std::isnan(value)) continue;
        fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{}", row.id, csvField(row.name),
                       csvField(series.name), bucket, layer.title.window.bucketStart(bucket),
                       layer.title.window.bucketEnd(bucket),
                       valueText(value, layer.title.unit == "ticks", Format::csv));
        out += several ? fmt::format(",{}\n", layer.title.layer) : "\n";
    }
    return out;
}

void printCsvLines(const AreaView& area, const std::vector<LayerSeries>& layers) {
    // With several layers a column behind the others tells them apart.
    const bool several = layers.size() > 1;
    std::cout << "row_id,row,series,bucket,start,end,value" << (several ? ",layer\n" : "\n");
    for (const LayerSeries& layer : layers) {
        for (const int position : area.order()) {
            const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
            for (const Series& series : layer.rows[static_cast<std::size_t>(row.id)])
                std::cout << csvLines(layer, row, series, several);
        }
    }
}

struct Summary {
    double mean = 0;
    double highest = 0;
    int filled = 0;
};

// Mean over all buckets for what is summed (time, counts), over those with data for plain values.
Summary summarize(const Series& series, bool plainValues) {
    Summary summary;
    double sum = 0;
    summary.highest = -std::numeric_limits<double>::infinity();
    for (const double value : series.values) {
        if (std::isnan(value)) continue;
        sum += value;
        summary.highest = std::max(summary.highest, value);
        ++summary.filled;
    }
    const std::size_t parts =
        plainValues ? static_cast<std::size_t>(summary.filled) : series.values.size();
    summary.mean = parts > 0 ? sum / static_cast<double>(parts) : 0;
    return summary;
}

constexpr std::size_t kRowCharacters = 34;
constexpr std::size_t kSeriesCharacters = 40;
constexpr std::size_t kSeriesShown = 5;

// The series of a row, the largest ones first.
std::vector<std::pair<Summary, const Series*>> bySize(const std::vector<Series>& all,
                                                      bool plainValues) {
    std::vector<std::pair<Summary, const Series*>> filled;
    for (const Series& series : all) {
        const Summary summary = summarize(series, plainValues);
        if (summary.filled > 0) filled.emplace_back(summary, &series);
    }
    std::stable_sort(filled.begin(), filled.end(),
                     [](const auto& a, const auto& b) { return a.first.mean > b.first.mean; });
    return filled;
}

// How the curves of a layer are drawn.
struct LayerTable {
    int curveWidth = 0;  // 0: not at all
    double top = 0;
};

double highestOf(const LayerSeries& layer) {
    double highest = 0;
    for (const auto& row : layer.rows) {
        for (const Series& series : row)
            for (const double value : series.values)
                if (!std::isnan(value)) highest = std::max(highest, value);
    }
    return highest;
}

std::vector<std::string> seriesCells(const LayerSeries& layer,
                                     const Series& series,
                                     const Summary& summary,
                                     const LayerTable& look) {
    const bool ticks = layer.title.unit == "ticks";
    std::vector<std::string> cells{shortened(series.name, kSeriesCharacters),
                                   valueText(summary.mean, ticks, Format::table),
                                   valueText(summary.highest, ticks, Format::table)};
    if (layer.title.kind == LayerKind::counts)
        cells.push_back(std::to_string(layer.title.window.bucketStart(peakOf(series).bucket)));
    cells.push_back(std::to_string(summary.filled));
    if (look.curveWidth > 0) cells.push_back(drawCurve(series.values, look.curveWidth, look.top));
    return cells;
}

TextTable emptyTable(const LayerSeries& layer, int curveWidth) {
    TextTable table;
    table.columns = {{"row", false}, {"series", false}, {"mean", true}, {"max", true}};
    if (layer.title.kind == LayerKind::counts) table.columns.push_back({"max at", true});
    table.columns.push_back({"buckets", true});
    if (curveWidth > 0) table.columns.push_back({"over time", false});
    return table;
}

// Never a silent truncation.
void noteLeftOut(const AreaView& area, std::size_t emptyRows, std::size_t hidden) {
    if (emptyRows > 0)
        std::cout << fmt::format("{} of {} rows have no data here\n", emptyRows,
                                 area.rows().size());
    if (hidden > 0)
        std::cout << fmt::format("{} smaller series are not shown; --format csv has them all\n",
                                 hidden);
    std::cout << '\n';
}

void printLayer(const AreaView& area, const LayerSeries& layer, int curveWidth) {
    std::cout << fmt::format("Layer {}: {} ({}), {} buckets of {} ticks\n", layer.title.layer,
                             layer.title.name, layer.title.unit, layer.title.window.bins,
                             layer.title.window.binTicks());
    TextTable table = emptyTable(layer, curveWidth);
    const LayerTable look{curveWidth, layer.title.unit == "percent" ? 100.0 : highestOf(layer)};
    std::size_t emptyRows = 0;
    std::size_t hidden = 0;
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        const auto filled =
            bySize(layer.rows[static_cast<std::size_t>(row.id)], layer.title.unit == "value");
        if (filled.empty()) ++emptyRows;
        for (std::size_t i = 0; i < std::min(filled.size(), kSeriesShown); ++i) {
            std::vector<std::string> cells =
                seriesCells(layer, *filled[i].second, filled[i].first, look);
            cells.insert(cells.begin(), i == 0 ? shortened(row.name, kRowCharacters) : "");
            table.rows.push_back(std::move(cells));
        }
        hidden += filled.size() - std::min(filled.size(), kSeriesShown);
    }
    printAligned(std::cout, table);
    noteLeftOut(area, emptyRows, hidden);
}

void printTables(const AreaView& area, const std::vector<LayerSeries>& layers) {
    const int curveWidth = curveWidthOfTerminal();
    for (const LayerSeries& layer : layers)
        printLayer(area, layer, curveWidth);
}

}  // namespace

void printSeries(const AreaView& area, const std::vector<LayerSeries>& layers, Format format) {
    switch (format) {
    case Format::json: printJson(area, layers); break;
    case Format::csv: printCsvLines(area, layers); break;
    case Format::table: printTables(area, layers); break;
    }
}

}  // namespace lanefeed_tool
