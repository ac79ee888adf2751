// lanefeed queries: what a viewpoint can name, with a line of help each; with a result also whether
// it holds the data. Tested by tests/tool/viewpoint_author_test.cpp and
// tests/queries/open_result_test.cpp.

#include "failure.h"
#include "held_data.h"
#include "json_text.h"
#include "session.h"
#include "verbs.h"

#include <fmt/format.h>
#include <iostream>
#include <memory>
#include <session/query_files.h>
#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_tool {

namespace {

using lanefeed_runtime::QueryListing;

// Of a help text on a terminal; csv and JSON have all of it.
constexpr std::size_t kHelpCharacters = 90;

std::vector<QueryListing> readListings(const ViewOptions& options) {
    lanefeed_runtime::OpenOptions how;
    how.queryFiles = options.queries;
    lanefeed_runtime::OpenOutcome outcome;
    std::vector<QueryListing> listings = lanefeed_runtime::listQueries(how, outcome);
    if (!outcome.isOpened()) throw openFailure(outcome);
    return listings;
}

void printJson(const std::vector<QueryListing>& listings, const HeldData* held) {
    std::string out = "[";
    for (const QueryListing& listing : listings) {
        out += fmt::format(
            "{}\n  {{\"id\": {}, \"kind\": {}, \"table\": {}, \"path\": {}, \"name\": {}, "
            "\"help\": {}, \"place\": {}",
            out.size() == 1 ? "" : ",", jsonString(listing.id), jsonString(listing.kind),
            jsonString(listing.table), jsonString(listing.path),
            jsonString(lanefeed_1::getString(listing.name)), jsonString(listing.help),
            jsonString(listing.place));
        if (held != nullptr) out += fmt::format(", \"held\": {}", held->holds(listing.id));
        out += "}";
    }
    std::cout << out << "\n]\n";
}

TextTable textTable(const std::vector<QueryListing>& listings,
                    const HeldData* held,
                    Format format) {
    TextTable table;
    table.columns = {{"id", false}, {"kind", false}, {"table", false}, {"path", false}};
    if (held != nullptr) table.columns.push_back({"held", false});
    table.columns.push_back({"help", false});
    for (const QueryListing& listing : listings) {
        std::vector<std::string> cells{listing.id, listing.kind, listing.table, listing.path};
        if (held != nullptr) cells.emplace_back(held->holds(listing.id) ? "yes" : "no");
        cells.push_back(format == Format::table ? shortened(listing.help, kHelpCharacters)
                                                : listing.help);
        table.rows.push_back(std::move(cells));
    }
    return table;
}

}  // namespace

int runQueries(const ViewOptions& options) {
    const std::vector<QueryListing> listings = readListings(options);
    std::unique_ptr<const HeldData> held;
    if (!options.result.empty()) held = std::make_unique<const HeldData>(Session(options).input());
    if (options.format == Format::json) {
        printJson(listings, held.get());
    } else if (options.format == Format::csv) {
        printCsv(std::cout, textTable(listings, held.get(), options.format));
    } else {
        printAligned(std::cout, textTable(listings, held.get(), options.format));
    }
    return exitOk;
}

}  // namespace lanefeed_tool
