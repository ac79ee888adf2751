// The verbs and their options. The only file that knows the command line library. Tested by
// tests/tool/errors_test.cpp.

#include "command_line.h"

#include "failure.h"
#include "log_output.h"
#include "nearest.h"
#include "verbs.h"
#include "version.h"

#include <algorithm>
#include <charconv>
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <functional>
#include <importer.h>
#include <iostream>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace lanefeed_tool {

namespace {

const std::map<std::string, Format>& formats() {
    static const std::map<std::string, Format> names{
        {"table", Format::table}, {"csv", Format::csv}, {"json", Format::json}};
    return names;
}

CLI::Option* addFormat(CLI::App& verb, Format& format) {
    return verb
        .add_option_function<std::string>(
            "--format", [&format](const std::string& name) { format = formats().at(name); },
            "table (default), csv or json")
        ->check(CLI::IsMember({"table", "csv", "json"}))
        ->option_text("FORMAT");
}

void addQueryFiles(CLI::App& verb, ViewOptions& options) {
    verb.add_option("--queries", options.queries, "Further query definitions; may be repeated")
        ->allow_extra_args(false)
        ->option_text("FILE");
}

void addFilters(CLI::App& verb, ViewOptions& options) {
    verb.add_option("--filter", options.filters,
                    "Keep what fits, for this call: thread=main,worker* or name!=idle or "
                    "time=1s..2s; \\ takes the next character as it is, such as a comma; "
                    "repeated: all of them")
        ->allow_extra_args(false)
        ->option_text("FILTER");
}

void addViewpoint(CLI::App& verb, ViewOptions& options) {
    verb.add_option("--viewpoint", options.viewpoint,
                    "Viewpoint to apply: a file, or a shipped one by name, such as processes "
                    "(default: the shipped one that fits)")
        ->option_text("FILE");
    addQueryFiles(verb, options);
    verb.add_flag("--strict", options.strict, "Fail when the viewpoint's log has messages");
}

// The command line library clips a number that does not fit and takes an empty text for none.
std::string numberFault(const std::string& text) {
    long long number = 0;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec == std::errc::result_out_of_range) return text + " is more than fits";
    const bool isNumber = read.ec == std::errc() && read.ptr == end;
    return isNumber ? std::string() : fmt::format("'{}' is no whole number", text);
}

int areaOf(const std::string& text) {
    if (text == "ruler") return kRuler;
    int area = -1;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, area);
    if (read.ec == std::errc() && read.ptr == end && area >= 0) return area;
    throw CLI::ValidationError("--area", fmt::format("'{}' is none; write the number of an area, "
                                                     "from 0, or ruler",
                                                     text));
}

void addArea(CLI::App& verb, ViewOptions& options) {
    verb.add_option_function<std::string>(
            "--area", [&options](const std::string& text) { options.area = areaOf(text); },
            "Area of the viewpoint, from 0 (default 0), or 'ruler'")
        ->option_text("N");
}

CLI::App* addImport(CLI::App& app, ImportOptions& options) {
    CLI::App* verb = app.add_subcommand("import", "Turn a trace into a result");
    verb->add_option("trace", options.trace,
                     "Trace file, - for the standard input; the format is told by its content")
        ->required()
        ->option_text("TRACE");
    verb->add_option("-o,--output", options.output,
                     "Result to write (default: TRACE without .gz and .json, plus .lft)")
        ->option_text("NAME.lft");
    verb->add_option("--pause", options.pauses,
                     "Mark a span A..B from the first tick as paused; may be repeated")
        ->allow_extra_args(false)
        ->option_text("A..B");
    verb->add_flag("--keep-going", options.keepGoing, "Take what can be unpacked of a damaged .gz");
    verb->add_flag("--no-args", options.noArgs, "Leave the arguments of events out");
    verb->add_flag("--force", options.force, "Replace a result that was made from another trace");
    addFormat(*verb, options.format);
    verb->footer("Reads, plain or as .gz: " + lanefeed_importers::knownFormats() +
                 "\nExample: lanefeed import build.json.gz -o build.lft");
    return verb;
}

CLI::App* addInfo(CLI::App& app, ViewOptions& options) {
    CLI::App* verb =
        app.add_subcommand("info", "Tell what a result holds and what was left out of it");
    verb->add_option("result", options.result, "Result file")->required()->option_text("NAME.lft");
    addFilters(*verb, options);
    addFormat(*verb, options.format);
    verb->footer("Example: lanefeed info build.lft --format json");
    return verb;
}

CLI::App* addQueries(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = app.add_subcommand("queries", "List the queries that a viewpoint can name");
    verb->add_option("result", options.result, "Result file: tell which it holds the data of")
        ->option_text("NAME.lft");
    addQueryFiles(*verb, options);
    addFormat(*verb, options.format);
    verb->footer("Example: lanefeed queries build.lft --queries mine.queries.xml");
    return verb;
}

CLI::App* addViewpointVerb(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = app.add_subcommand(
        "viewpoint", "Read a viewpoint against a result, check one, or write a new one");
    verb->add_option("result", options.result, "Result file; --check and --new do without")
        ->option_text("NAME.lft");
    CLI::Option* check =
        verb->add_option("--check", options.check,
                         "Tell what is wrong in a viewpoint, line by line; exit 3 if anything is")
            ->option_text("FILE");
    CLI::Option* fresh =
        verb->add_flag("--new", options.newViewpoint,
                       "Print a commented viewpoint to start from, with what the result holds")
            ->excludes(check);
    addViewpoint(*verb, options);
    addFilters(*verb, options);
    // It is XML whatever is asked for.
    fresh->excludes(addFormat(*verb, options.format));
    verb->footer(
        "Examples:\n"
        "  lanefeed viewpoint --new build.lft > mine.xml\n"
        "  lanefeed viewpoint --check mine.xml build.lft\n"
        "  lanefeed viewpoint build.lft --viewpoint mine.xml --strict");
    return verb;
}

int runViewpointVerb(const ViewOptions& options) {
    if (!options.check.empty()) return runViewpointCheck(options);
    if (options.newViewpoint) return runNewViewpoint(options);
    if (!options.result.empty()) return runViewpoint(options);
    throw Failure(exitUsage,
                  "result is required, or --check FILE, or --new (see lanefeed viewpoint --help)");
}

CLI::App* addRows(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = app.add_subcommand("rows", "Print the rows of an area");
    verb->add_option("result", options.result, "Result file")->required()->option_text("NAME.lft");
    addViewpoint(*verb, options);
    addFilters(*verb, options);
    addArea(*verb, options);
    verb->add_option("--sort", options.sort,
                     "Sort by a column: name, start, end or one of values; :desc turns it round")
        ->check([](const std::string& text) {
            return text.empty() ? std::string("it names no column") : std::string();
        })
        ->option_text("COLUMN[:desc]");
    verb->add_flag("--visible", options.visible,
                   "Only the rows that filters leave, with the ids they have without --filter");
    addFormat(*verb, options.format);
    verb->footer("Example: lanefeed rows build.lft --sort name --format csv");
    return verb;
}

CLI::App* addSelect(CLI::App& app, ViewOptions& view, SelectOptions& options) {
    CLI::App* verb =
        app.add_subcommand("select", "Select time, rows or an object; every later answer follows");
    verb->add_option("result", view.result, "Result file, which keeps the selection")
        ->required()
        ->option_text("NAME.lft");
    CLI::Option* time =
        verb->add_option("--time", view.time, "Span from the first tick, such as 1.2s..3.4s")
            ->option_text("A..B");
    CLI::Option* rows =
        verb->add_option("--rows", options.rows, "Ids of rows, as 'lanefeed rows' prints them")
            ->option_text("N,N...");
    CLI::Option* attr =
        verb->add_option("--attr", options.attr,
                         "Object of a layer, such as a name of slices, by its number or its name")
            ->excludes(time)
            ->excludes(rows)
            ->option_text("LAYER:ID");
    verb->add_flag("--exclude", options.exclude, "Leave out what is named instead");
    verb->add_flag("--dive", options.dive, "Take what the layer's diveBy names of the object")
        ->needs(attr);
    verb->add_flag("--replace", options.replace, "In place of what was selected, not within it");
    verb->add_flag("--clear", options.clear, "Drop all filters of the result")
        ->excludes(time)
        ->excludes(rows)
        ->excludes(attr);
    addViewpoint(*verb, view);
    addArea(*verb, view);
    addFormat(*verb, view.format);
    verb->footer(
        "Examples:\n"
        "  lanefeed select build.lft --time 1s..2s\n"
        "  lanefeed select build.lft --rows 3,5 --exclude\n"
        "  lanefeed select build.lft --clear");
    return verb;
}

void addWindow(CLI::App& verb, ViewOptions& options) {
    verb.add_option("--layer", options.layer, "Layer of the area, from 0 (default: all)")
        ->check(numberFault)
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->option_text("N");
    verb.add_option("--time", options.time,
                    "Span from the first tick, such as 1.2s..3.4s or 10%..20%; 'content' for where "
                    "99 % of the instances lie (default: whole)")
        ->option_text("A..B");
    verb.add_option("--bins", options.bins,
                    "Number of buckets (default 100, fewer for a span of fewer ticks)")
        ->check(numberFault)
        ->option_text("N");
}

// What the verbs that print layers have in common.
CLI::App* addLayerVerb(CLI::App& app,
                       ViewOptions& options,
                       const std::string& name,
                       const std::string& help) {
    CLI::App* verb = app.add_subcommand(name, help);
    verb->add_option("result", options.result, "Result file")->required()->option_text("NAME.lft");
    addViewpoint(*verb, options);
    addFilters(*verb, options);
    addArea(*verb, options);
    addWindow(*verb, options);
    verb->add_flag("--stats", options.stats,
                   "Tell on stderr, as JSON, how each layer was served and what became of its "
                   "instances");
    addFormat(*verb, options.format);
    return verb;
}

CLI::App* addOvertime(CLI::App& app, ViewOptions& options) {
    CLI::App* verb =
        addLayerVerb(app, options, "overtime", "Print the over-time series of an area's layers");
    verb->add_option_function<std::string>(
            "--unit", [&options](const std::string& unit) { options.ticks = unit == "ticks"; },
            "own (default) or ticks: series of time as whole ticks")
        ->check(CLI::IsMember({"own", "ticks"}))
        ->option_text("UNIT");
    verb->footer(
        "Example: lanefeed overtime build.lft --layer 1 --time 1s..2s --bins 200 --format csv");
    return verb;
}

CLI::App* addIntervals(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = addLayerVerb(app, options, "intervals",
                                  "Print the bars and markers of an area's layers, thinned to what "
                                  "can be seen");
    verb->footer("Example: lanefeed intervals sched.lft --time 1s..1.1s --format csv");
    return verb;
}

CLI::App* addTasks(CLI::App& app, ViewOptions& options) {
    CLI::App* verb =
        addLayerVerb(app, options, "tasks", "Print the nested bars of an area's layers");
    verb->footer("Example: lanefeed tasks build.lft --time 1.2s..1.21s");
    return verb;
}

CLI::App* addTransitions(CLI::App& app, ViewOptions& options) {
    CLI::App* verb =
        addLayerVerb(app, options, "transitions", "Print the lines between the rows of an area");
    verb->footer("Example: lanefeed transitions sched.lft --time 1s..1.1s --format json --stats");
    return verb;
}

CLI::App* addCounts(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = addLayerVerb(app, options, "counts",
                                  "Print how many instances of an area's layers are active, with "
                                  "the peak of each bucket");
    verb->footer("Example: lanefeed counts sched.lft --bins 50");
    return verb;
}

CLI::App* addReport(CLI::App& app, ViewOptions& options) {
    CLI::App* verb = addLayerVerb(app, options, "report",
                                  "Print all layers of an area as tables, a line for each bucket, "
                                  "bar or line");
    verb->footer("Example: lanefeed report build.lft --bins 10 --format csv > build.csv");
    return verb;
}

CLI::App* addTooltip(CLI::App& app, ViewOptions& view, TooltipOptions& options) {
    CLI::App* verb = app.add_subcommand("tooltip", "Tell about what is under the pointer");
    verb->add_option("result", view.result, "Result file")->required()->option_text("NAME.lft");
    addViewpoint(*verb, view);
    addFilters(*verb, view);
    addArea(*verb, view);
    verb->add_option("--layer", view.layer,
                     "Layer of the area, from 0 (default: the first one that has a tooltip)")
        ->check(numberFault)
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->option_text("N");
    verb->add_option("--id", options.id, "Instance by its number in the table of the layer")
        ->check(numberFault)
        ->option_text("N");
    verb->add_option("--row", options.row, "Row by its id, as 'lanefeed rows' prints it")
        ->check(numberFault)
        ->option_text("R");
    verb->add_option("--at", options.at,
                     "Time from the first tick, such as 1.2s or 10%; all instances of the row "
                     "that cover it, the innermost first")
        ->option_text("TIME");
    verb->add_option("--limit", options.limit, "Most instances to tell about (default 10)")
        ->check(numberFault)
        ->check(CLI::Range(1LL, std::numeric_limits<long long>::max()))
        ->option_text("N");
    addFormat(*verb, view.format);
    verb->footer("Example: lanefeed tooltip build.lft --row 0 --at 1.5s");
    return verb;
}

// The command line library only says that a verb is required; say which word is none, and which
// one was meant.
void checkVerb(const CLI::App& app, int count, const char* const* arguments) {
    int position = 1;
    while (position < count && arguments[position][0] == '-') {
        position += std::string(arguments[position]) == "--log" ? 2 : 1;
    }
    if (position >= count) return;
    const std::string given = arguments[position];
    std::vector<std::string> known;
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (verb->get_name() == given) return;
        known.push_back(verb->get_name());
    }
    throw Failure(exitUsage, fmt::format("no verb '{}'{} (verbs: {})", given,
                                         nearestAdvice(given, known), fmt::join(known, ", ")));
}

int parse(CLI::App& app, int count, const char* const* arguments, bool& done) {
    done = true;
    try {
        app.parse(count, arguments);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForAllHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForVersion& version) {
        return app.exit(version);
    } catch (const CLI::ParseError& error) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n', ' ');
        std::string verb;
        for (const CLI::App* used : app.get_subcommands())
            verb = used->get_name() + " ";
        throw Failure(exitUsage, fmt::format("{} (see lanefeed {}--help)", text, verb));
    }
    done = false;
    return exitOk;
}

}  // namespace

int runCommandLine(int count, const char* const* arguments) {
    CLI::App app(
        "Looks at traces: turns a trace into a result and answers what a timeline asks of it.",
        "lanefeed");
    app.footer(
        "Examples:\n"
        "  lanefeed import trace.json.gz         # writes trace.lft\n"
        "  lanefeed overtime trace.lft           # busy time and more, row by row\n"
        "Exit codes: 0 ok, 1 failure, 2 usage, 3 input not understood, 130 interrupted.");
    app.set_version_flag("--version", versionText());
    app.require_subcommand(1);
    app.fallthrough();
    std::string log = "error";
    app.add_option("--log", log,
                   "What the library tells on stderr: debug, info, error (default) or off")
        ->check(CLI::IsMember({"debug", "info", "error", "off"}))
        ->option_text("LEVEL");

    ImportOptions import;
    ViewOptions view;
    TooltipOptions tooltip;
    SelectOptions select;
    std::vector<std::pair<CLI::App*, std::function<int()>>> verbs;
    verbs.emplace_back(addImport(app, import), [&import] { return runImport(import); });
    verbs.emplace_back(addInfo(app, view), [&view] { return runInfo(view); });
    verbs.emplace_back(addQueries(app, view), [&view] { return runQueries(view); });
    verbs.emplace_back(addViewpointVerb(app, view), [&view] { return runViewpointVerb(view); });
    verbs.emplace_back(addRows(app, view), [&view] { return runRows(view); });
    verbs.emplace_back(addSelect(app, view, select), [&] { return runSelect(view, select); });
    verbs.emplace_back(addOvertime(app, view), [&view] { return runOvertime(view); });
    verbs.emplace_back(addIntervals(app, view), [&view] { return runIntervals(view); });
    verbs.emplace_back(addTasks(app, view), [&view] { return runTasks(view); });
    verbs.emplace_back(addTransitions(app, view), [&view] { return runTransitions(view); });
    verbs.emplace_back(addCounts(app, view), [&view] { return runCounts(view); });
    verbs.emplace_back(addReport(app, view), [&view] { return runReport(view); });
    verbs.emplace_back(addTooltip(app, view, tooltip), [&] { return runTooltip(view, tooltip); });

    checkVerb(app, count, arguments);
    bool done = false;
    const int code = parse(app, count, arguments, done);
    if (done) return code;
    const LogOutput output(log);
    for (const auto& [verb, run] : verbs) {
        if (verb->parsed()) return run();
    }
    return exitUsage;
}

}  // namespace lanefeed_tool
