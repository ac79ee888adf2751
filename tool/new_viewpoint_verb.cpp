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
    const char* name;
    const char* query;
    const char* tooltips;  // queries; empty for none
};

struct AreaPiece {
    const char* id;
    const char* caption;
    const char* comment;
    const char* rows;  // query
    const char* band;  // type of the bands that it is about
    std::vector<LayerPiece> layers;
};

const std::vector<AreaPiece>& allPieces() {
    static const std::vector<AreaPiece> kPieces = {
        {"threads",
         "Threads",
         "A row for each thread, and what its slices do on it. query=\"process\" makes a row for "
         "each process instead.",
         "thread",
         "dd_thread",
         {{"Busy time", "busyTime", ""},
          {"Time by slice", "timeByName", "sliceName, sliceCategory"},
          {"Slices", "sliceCount", ""}}},
        {"instants",
         "Instants",
         "Points in time, counted in each bucket.",
         "thread",
         "dd_thread",
         {{"Instants", "instantCount", "instantName"}}},
        {"counters",
         "Counters",
         "A row for each counter, with its value as a curve.",
         "counterTrack",
         "dd_counter",
         {{"Value", "counterValue", ""}}},
        {"asynchronous",
         "Asynchronous operations",
         "A row for each track; operations on it may overlap.",
         "asyncTrack",
         "dd_track",
         {{"Time with operations", "asyncBusyTime", "asyncName"},
          {"Operations", "asyncCount", ""}}}};
    return kPieces;
}

constexpr const char* kHead =
    "  A viewpoint: areas of rows, and on each row layers of curves, the lowest one first.\n"
    "  What to change: which query makes the rows (rowBy), which one each layer draws (drawBy), "
    "and\n"
    "  the captions. Areas and layers may be added, taken out and put in another order.\n"
    "  lanefeed's verb viewpoint tells with its option check what is wrong in a file, line by "
    "line;\n"
    "  overtime and rows take the file with their option viewpoint.\n";

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
        "      <layer type=\"Overtime\" displayName=\"{}\">\n        <drawBy query=\"{}\"/>\n",
        layer.name, layer.query);
    if (*layer.tooltips != '\0')
        text += fmt::format("        <tooltipBy query=\"{}\"/>\n", layer.tooltips);
    return text + "      </layer>\n";
}

std::string areaText(const AreaPiece& area) {
    std::string text = fmt::format(
        "\n  <!-- {0} -->\n  <area id=\"{1}\" headerMode=\"{2}\">\n    <rowSet "
        "displayName=\"{2}\">\n"
        "      <rowBy useGridQuery=\"false\" displayName=\"Row\" query=\"{3}\"/>\n",
        area.comment, area.id, area.caption, area.rows);
    for (const LayerPiece& layer : area.layers)
        text += layerText(layer);
    return text + "    </rowSet>\n  </area>\n";
}

// What the result holds data for; everything when there is no result, or nothing in it.
std::vector<AreaPiece> fittingPieces(const HeldData* held) {
    std::vector<AreaPiece> fitting;
    std::copy_if(allPieces().begin(), allPieces().end(), std::back_inserter(fitting),
                 [held](const AreaPiece& area) {
                     return held != nullptr && held->holds(area.layers.front().query) &&
                            held->hasBands(area.band);
                 });
    return fitting.empty() ? allPieces() : fitting;
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
    for (const AreaPiece& area : fittingPieces(held.get()))
        std::cout << areaText(area);
    std::cout << "</viewpoint>\n";
    return exitOk;
}

}  // namespace lanefeed_tool
