#pragma once

#include "table_print.h"

#include <optional>
#include <string>
#include <vector>

namespace lanefeed_tool {

// What the command line gives to each verb. A verb prints its data on stdout and all else on
// stderr, gives the exit code, and throws a Failure for what it can't do.

struct ImportOptions {
    std::string trace;
    std::string output;               // empty: named after the trace
    std::vector<std::string> pauses;  // spans A..B, from the first tick
    bool keepGoing = false;           // take what unpacked of a damaged compressed file
    bool noArgs = false;              // leave the arguments of events out
    bool force = false;               // replace a result of another source
    Format format = Format::table;
};

// Stands for the ruler of a viewpoint where areas have their number, in the log of a parse too.
constexpr int kRuler = -1;

// What the reading verbs have in common.
struct ViewOptions {
    std::string result;
    std::string viewpoint;             // file or shipped name; empty: the shipped one that fits
    std::string check;                 // viewpoint file to check; empty: none
    bool newViewpoint = false;         // write a template
    std::vector<std::string> queries;  // further files of query definitions
    std::vector<std::string> filters;  // in force for this call alone
    bool strict = false;               // a viewpoint with messages is an error
    int area = 0;                      // from 0, as in the viewpoint, or kRuler
    int layer = -1;                    // from 0; -1: all
    std::string sort;                  // COLUMN[:desc] of the rows; empty: as a pane does first
    bool visible = false;              // only rows that the filters in force leave
    std::string time;                  // empty: the whole result
    std::optional<long long> bins;     // none: 100, or as many as the span has ticks
    bool ticks = false;                // series of time in whole ticks
    bool stats = false;
    Format format = Format::table;
};

// What is pointed at, on top of what the reading verbs have in common: an instance by its id, or
// what is on a row at a time.
struct TooltipOptions {
    std::optional<long long> id;
    std::optional<long long> row;
    std::string at;        // a time from the first tick
    long long limit = 10;  // instances shown
};

// What is selected, on top of what the reading verbs have in common: `time` and one of these, or
// `clear`.
struct SelectOptions {
    std::string rows;  // ids, as in 3,5
    std::string attr;  // LAYER:ID
    bool exclude = false;
    bool dive = false;
    bool replace = false;
    bool clear = false;
};

int runImport(const ImportOptions& options);
int runInfo(const ViewOptions& options);
int runQueries(const ViewOptions& options);
int runViewpoint(const ViewOptions& options);
int runViewpointCheck(const ViewOptions& options);
int runNewViewpoint(const ViewOptions& options);
int runRows(const ViewOptions& options);
int runSelect(const ViewOptions& view, const SelectOptions& options);
int runOvertime(const ViewOptions& options);
int runIntervals(const ViewOptions& options);
int runTasks(const ViewOptions& options);
int runTransitions(const ViewOptions& options);
int runCounts(const ViewOptions& options);
int runReport(const ViewOptions& options);
int runTooltip(const ViewOptions& view, const TooltipOptions& options);

}  // namespace lanefeed_tool
