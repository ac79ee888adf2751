// lanefeed import: a trace into a result. Ctrl-C ends it without leaving anything behind. Tested by
// tests/tool/errors_test.cpp.

#include "failure.h"
#include "interrupt.h"
#include "json_text.h"
#include "progress_line.h"
#include "terminal.h"
#include "time_range.h"
#include "verbs.h"

#include <filesystem>
#include <fmt/format.h>
#include <importer.h>
#include <iostream>
#include <limits>
#include <string_view>
#include <system_error>

namespace lanefeed_tool {

namespace {

using lanefeed_importers::ImportError;
using lanefeed_importers::ImportOutcome;
using lanefeed_importers::ImportRequest;

void dropEnding(std::string& name, std::string_view ending) {
    if (name.size() <= ending.size()) return;
    if (std::string_view(name).substr(name.size() - ending.size()) == ending) {
        name.resize(name.size() - ending.size());
    }
}

// The trace's place is the result's; where nothing can be written, and for a pipe, the current
// folder.
std::string defaultOutput(const std::string& trace) {
    if (trace == "-") return "stdin.lft";
    const std::size_t slash = trace.rfind('/');
    std::string name = slash == std::string::npos ? trace : trace.substr(slash + 1);
    dropEnding(name, ".gz");
    dropEnding(name, ".json");
    name += ".lft";
    const std::string folder = slash == std::string::npos ? "" : trace.substr(0, slash + 1);
    std::error_code error;
    const bool isBeside =
        std::filesystem::is_regular_file(trace, error) && isWritableFolder(folder);
    return isBeside ? folder + name : name;
}

std::pair<std::int64_t, std::int64_t> parsePause(const std::string& text) {
    // The length of the trace is not known yet: no %, and an end must be told.
    constexpr TimeScale kNanoseconds{1000000000, std::numeric_limits<std::int64_t>::max()};
    const std::size_t dots = text.find("..");
    if (text.find('%') != std::string::npos || dots == std::string::npos ||
        dots + 2 == text.size()) {
        throw Failure(
            exitUsage,
            fmt::format("--pause {}: write A..B from the first tick, as in 1.2s..3.4s", text));
    }
    const TickSpan span = parseTimeSpan(text, kNanoseconds, "--pause");
    return {static_cast<std::int64_t>(span.start), static_cast<std::int64_t>(span.end)};
}

ImportRequest makeRequest(const ImportOptions& options, ProgressLine& line) {
    ImportRequest request;
    request.source = options.trace;
    request.target = options.output.empty() ? defaultOutput(options.trace) : options.output;
    request.force = options.force;
    for (const std::string& pause : options.pauses)
        request.pauses.push_back(parsePause(pause));
    request.options.args = !options.noArgs;
    request.options.keepGoing = options.keepGoing;
    if (line.shown()) {
        request.options.progress = [&line](const lanefeed_importers::ImportProgress& progress) {
            line.show(progress);
        };
    }
    return request;
}

ExitCode exitOf(const ImportError& error) {
    switch (error.kind) {
    case ImportError::Kind::none: return exitOk;
    case ImportError::Kind::notUnderstood: return exitNotUnderstood;
    case ImportError::Kind::cancelled: return exitInterrupted;
    default: return exitFailure;
    }
}

void report(const ImportRequest& request, const ImportOutcome& outcome, Format format) {
    if (format == Format::json) {
        std::cout << fmt::format(
            "{{\"result\": {}, \"events\": {}, \"instances\": {}, \"bytes\": {}}}\n",
            jsonString(request.target), outcome.events, outcome.instances, outcome.bytes);
        return;
    }
    TextTable table;
    table.columns = {{"result", false}, {"events", true}, {"instances", true}, {"bytes", true}};
    table.rows.push_back({request.target, std::to_string(outcome.events),
                          std::to_string(outcome.instances), std::to_string(outcome.bytes)});
    if (format == Format::csv) {
        printCsv(std::cout, table);
    } else {
        printAligned(std::cout, table);
    }
}

}  // namespace

int runImport(const ImportOptions& options) {
    ProgressLine line;
    ImportRequest request = makeRequest(options, line);
    ImportOutcome outcome;
    bool isInterrupted = false;
    {
        const HeldInterrupt held;
        request.options.cancel = &held.flag();
        outcome = lanefeed_importers::importTrace(request);
        isInterrupted = held.flag();
    }
    line.clear();
    if (outcome.error.failed()) throw Failure(exitOf(outcome.error), outcome.error.text);
    if (isInterrupted) {
        throw Failure(exitInterrupted,
                      fmt::format("interrupted; {} is complete already", request.target));
    }
    for (const std::string& warning : outcome.warnings)
        std::cerr << "lanefeed: warning: " << warning << '\n';
    report(request, outcome, options.format);
    return exitOk;
}

}  // namespace lanefeed_tool
