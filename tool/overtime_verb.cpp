// lanefeed overtime: the series of an area's layers, row by row. One request per layer through the
// provider; the answer is kept as plain series and printed as a table with curves, csv or JSON.
// Tested by tests/tool/series_facts_test.cpp.

#include "area_view.h"
#include "curve.h"
#include "failure.h"
#include "json_text.h"
#include "layer_series.h"
#include "series.h"
#include "session.h"
#include "terminal.h"
#include "verbs.h"

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

void appendSeries(std::string& out, const Series& series) {
    out += fmt::format("{{\"name\": {}, \"parts\": [", jsonString(series.name));
    for (std::size_t i = 0; i < series.parts.size(); ++i)
        out += (i > 0 ? ", " : "") + jsonString(series.parts[i]);
    out += "], \"values\": [";
    appendValues(out, series.values);
    out += "]}";
}

void appendLayer(std::string& out, const AreaView& area, const LayerSeries& layer) {
    out += fmt::format(
        "\n  {{\"area\": {}, \"layer\": {}, \"name\": {}, \"unit\": {}, \"start\": {}, \"end\": "
        "{}, "
        "\"bins\": {}, \"binTicks\": {}, \"rows\": [",
        layer.area, layer.layer, jsonString(layer.name), jsonString(layer.unit), layer.span.start,
        layer.span.end, layer.bins, layer.binTicks());
    bool first = true;
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        out += fmt::format(
            "{}\n    {{\"id\": {}, \"dbIndex\": {}, \"level\": {}, \"name\": {}, \"series\": [",
            first ? "" : ",", row.id, row.dbIndex, row.level, jsonString(row.name));
        first = false;
        const std::vector<Series>& all = layer.rows[static_cast<std::size_t>(row.id)];
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (i > 0) out += ", ";
            appendSeries(out, all[i]);
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
    for (int bucket = 0; bucket < layer.bins; ++bucket) {
        const double value = series.values[static_cast<std::size_t>(bucket)];
        if (std::isnan(value)) continue;
        fmt::format_to(std::back_inserter(out), "{},{},{},{},{},{},{}", row.id, csvField(row.name),
                       csvField(series.name), bucket, layer.bucketStart(bucket),
                       layer.bucketEnd(bucket),
                       valueText(value, layer.unit == "ticks", Format::csv));
        out += several ? fmt::format(",{}\n", layer.layer) : "\n";
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

double highestOf(const LayerSeries& layer) {
    double highest = 0;
    for (const auto& row : layer.rows) {
        for (const Series& series : row)
            for (const double value : series.values)
                if (!std::isnan(value)) highest = std::max(highest, value);
    }
    return highest;
}

void printLayer(const AreaView& area, const LayerSeries& layer, int curveWidth) {
    std::cout << fmt::format("Layer {}: {} ({}), {} buckets of {} ticks\n", layer.layer, layer.name,
                             layer.unit, layer.bins, layer.binTicks());
    TextTable table;
    table.columns = {
        {"row", false}, {"series", false}, {"mean", true}, {"max", true}, {"buckets", true}};
    if (curveWidth > 0) table.columns.push_back({"over time", false});
    const bool ticks = layer.unit == "ticks";
    const double top = layer.unit == "percent" ? 100.0 : highestOf(layer);
    std::size_t emptyRows = 0;
    std::size_t hidden = 0;
    for (const int position : area.order()) {
        const RowInfo& row = area.rows()[static_cast<std::size_t>(position)];
        const auto filled =
            bySize(layer.rows[static_cast<std::size_t>(row.id)], layer.unit == "value");
        if (filled.empty()) ++emptyRows;
        for (std::size_t i = 0; i < std::min(filled.size(), kSeriesShown); ++i) {
            const auto& [summary, series] = filled[i];
            std::vector<std::string> cells{i == 0 ? shortened(row.name, kRowCharacters) : "",
                                           shortened(series->name, kSeriesCharacters),
                                           valueText(summary.mean, ticks, Format::table),
                                           valueText(summary.highest, ticks, Format::table),
                                           std::to_string(summary.filled)};
            if (curveWidth > 0) cells.push_back(drawCurve(series->values, curveWidth, top));
            table.rows.push_back(std::move(cells));
        }
        hidden += filled.size() - std::min(filled.size(), kSeriesShown);
    }
    printAligned(std::cout, table);
    // Never a silent truncation.
    if (emptyRows > 0)
        std::cout << fmt::format("{} of {} rows have no data here\n", emptyRows,
                                 area.rows().size());
    if (hidden > 0) {
        std::cout << fmt::format("{} smaller series are not shown; --format csv has them all\n",
                                 hidden);
    }
    std::cout << '\n';
}

void printTables(const AreaView& area, const std::vector<LayerSeries>& layers) {
    const int curveWidth = curveWidthOfTerminal();
    for (const LayerSeries& layer : layers)
        printLayer(area, layer, curveWidth);
}

void printStats(const std::vector<LayerSeries>& layers) {
    std::string out = "[";
    for (const LayerSeries& layer : layers) {
        out += fmt::format(
            "{}\n  {{\"area\": {}, \"layer\": {}, \"served\": {}, \"ms\": {:.3f}, \"storeReads\": "
            "{}, "
            "\"instances\": {}, \"cells\": {}, \"leftOut\": {}}}",
            out.size() == 1 ? "" : ",", layer.area, layer.layer, jsonString(layer.stats.served),
            layer.stats.milliseconds, layer.stats.storeReads, layer.stats.instances,
            layer.stats.cells, layer.stats.leftOut);
    }
    std::cerr << out << "\n]\n";
}

}  // namespace

int runOvertime(const ViewOptions& options) {
    Session session(options);
    session.readViewpoint();
    AreaView area(session, options.area);
    session.noteEmpty();
    const std::vector<LayerSeries> layers = readLayers(session, area, options);
    session.requireWholeReads();
    if (options.format == Format::json) {
        printJson(area, layers);
    } else if (options.format == Format::csv) {
        printCsvLines(area, layers);
    } else {
        printTables(area, layers);
    }
    if (options.stats) printStats(layers);
    return exitOk;
}

}  // namespace lanefeed_tool
