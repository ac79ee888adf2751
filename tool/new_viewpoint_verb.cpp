// lanefeed viewpoint --new: a commented viewpoint to start from, with an area for each kind of data
// that the result holds. Tested by tests/tool/viewpoint_author_test.cpp.

#include "failure.h"
#include "held_data.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <iterator>
#include <memory>
#include <session/query_files.h>
#include <string>
#include <vector>

namespace lanefeed_tool {

namespace {

struct LayerPiece {
    const char* type;
    const char* name;
    const char* query;
    const char* tooltips;          // queries; empty for none
    const char* colors = nullptr;  // query
};

struct AreaPiece {
    const char* id;
    const char* caption;
    const char* comment;
    const char* rows;  // query
    const char* band;  // type of the bands that it is about
    std::vector<LayerPiece> layers;
};

constexpr const char* kCurve = "Overtime";
constexpr const char* kBars = "RowInterval";
constexpr const char* kNestedBars = "RowIntervalNested";
constexpr const char* kLines = "Transition";

const std::vector<AreaPiece>& allPieces() {
    static const std::vector<AreaPiece> kPieces = {
        {"states",
         "States",
         "A row for each thread, with a bar for each of its states and a line for each wakeup.",
         "thread",
         "dd_thread",
         {{kBars, "States", "stateName", "stateName", "stateName"},
          {kLines, "Wakeups", "wakeup", "wakeup"},
          {kCurve, "Time by state", "timeByState", "stateName"}}},
        {"cores",
         "Cores",
         "A row for each core, with the threads that run on it.",
         "core",
         "dd_core",
         {{kBars, "Threads", "runningThread", "runningThread, tipThreadId", "runningThread"},
          {kNestedBars, "Interrupts", "interruptName", "interruptName"},
          {kCurve, "CPU use", "cpuUse", ""}}},
        {"threads",
         "Threads",
         "A row for each thread, and what its slices do on it. query=\"process\" makes a row for "
         "each process instead.",
         "thread",
         "dd_thread",
         {{kNestedBars, "Slices", "sliceName", "sliceName", "sliceName"},
          {kLines, "Flows", "flowName", "flowName"},
          {kCurve, "Busy time", "busyTime", ""},
          {kCurve, "Time by slice", "timeByName", "sliceName"},
          {kCurve, "Slices per bucket", "sliceCount", ""}}},
        {"instants",
         "Instants",
         "Points in time: as markers, and counted in each bucket.",
         "thread",
         "dd_thread",
         {{"EventMarker", "Instants", "instantName", "instantName"},
          {kCurve, "Instants per bucket", "instantCount", ""}}},
        {"counters",
         "Counters",
         "A row for each counter, with its value as a curve.",
         "counterTrack",
         "dd_counter",
         {{kCurve, "Value", "counterValue", ""}}},
        {"asynchronous",
         "Asynchronous operations",
         "A row for each track; operations on it may overlap.",
         "asyncTrack",
         "dd_track",
         {{kNestedBars, "Operations", "asyncName", "asyncName", "asyncName"},
          {kCurve, "Time with operations", "asyncBusyTime", ""},
          {kCurve, "Operations per bucket", "asyncCount", ""}}}};
    return kPieces;
}

constexpr const char* kHead =
    "  A viewpoint: areas of rows, and on each row layers of bars, lines and curves, the lowest "
    "one\n"
    "  first.\n"
    "  What to change: which query makes the rows (rowBy), which one each layer draws (drawBy), "
    "and\n"
    "  the captions. Areas and layers may be added, taken out and put in another order.\n"
    "  lanefeed's verb viewpoint tells with its option check what is wrong in a file, line by "
    "line;\n"
    "  report and rows take the file with their option viewpoint.\n";

// Comments must not hold two dashes in a row; options of commands do.
std::string commentText(std::string text) {
    for (std::size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at))
        text.replace(at, 2, "- -");
    return text;
}

std::string queriesText(const std::vector<lanefeed_runtime::QueryListing>& listings,
                        const HeldData* held) {
    std::string text = held != nullptr ? "  Queries that the result holds data for:\n"
                                       : "  Queries that may be named:\n";
    for (const auto& listing : listings) {
        if (held != nullptr && !held->holds(listing.id)) continue;
        text += fmt::format("    {:<16} {}: {}\n", listing.id, listing.kind, listing.help);
    }
    return text;
}

std::string layerText(const LayerPiece& layer) {
    std::string text = fmt::format(
        "      <layer type=\"{}\" displayName=\"{}\">\n        <drawBy query=\"{}\"/>\n",
        layer.type, layer.name, layer.query);
    if (layer.colors != nullptr)
        text += fmt::format("        <colorBy query=\"{}\"/>\n", layer.colors);
    if (*layer.tooltips != '\0')
        text += fmt::format("        <tooltipBy query=\"{}\"/>\n", layer.tooltips);
    return text + "      </layer>\n";
}

// With those layers alone that the result holds data for.
std::string areaText(const AreaPiece& area, const HeldData* held) {
    std::string text = fmt::format(
        "\n  <!-- {0} -->\n  <area id=\"{1}\" headerMode=\"{2}\">\n    <rowSet "
        "displayName=\"{2}\">\n"
        "      <rowBy useGridQuery=\"false\" displayName=\"Row\" query=\"{3}\"/>\n",
        area.comment, area.id, area.caption, area.rows);
    for (const LayerPiece& layer : area.layers)
        if (held == nullptr || held->holds(layer.query)) text += layerText(layer);
    return text + "    </rowSet>\n  </area>\n";
}

// What the result holds data for; nothing when there is no result, or nothing in it.
std::vector<AreaPiece> fittingPieces(const HeldData* held) {
    std::vector<AreaPiece> fitting;
    std::copy_if(allPieces().begin(), allPieces().end(), std::back_inserter(fitting),
                 [held](const AreaPiece& area) {
                     return held != nullptr && held->holds(area.layers.front().query) &&
                            held->hasBands(area.band);
                 });
    return fitting;
}

}  // namespace

int runNewViewpoint(const ViewOptions& options) {
    lanefeed_runtime::OpenOptions how;
    how.queryFiles = options.queries;
    lanefeed_runtime::OpenOutcome outcome;
    const auto listings = lanefeed_runtime::listQueries(how, outcome);
    if (!outcome.isOpened()) throw openFailure(outcome);
    std::unique_ptr<const HeldData> held;
    if (!options.result.empty()) held = std::make_unique<const HeldData>(Session(options).input());
    std::cout << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--\n"
              << commentText(std::string(kHead) + "\n" + queriesText(listings, held.get()))
              << "-->\n<viewpoint>";
    const std::vector<AreaPiece> fitting = fittingPieces(held.get());
    for (const AreaPiece& area : fitting.empty() ? allPieces() : fitting)
        std::cout << areaText(area, fitting.empty() ? nullptr : held.get());
    std::cout << "</viewpoint>\n";
    return exitOk;
}

}  // namespace lanefeed_tool
