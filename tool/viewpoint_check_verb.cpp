// lanefeed viewpoint --check: what is wrong in a viewpoint file, line by line; with or without a
// result to read it against. Tested by tests/tool/viewpoint_author_test.cpp.

#include "viewpoint_check.h"

#include "failure.h"
#include "json_text.h"
#include "layer_rules.h"
#include "lined_document.h"
#include "log_output.h"
#include "session.h"
#include "verbs.h"

#include <fmt/format.h>
#include <iostream>
#include <session/query_files.h>
#include <session/shipped_viewpoints.h>
#include <typeinfo>
#include <utility>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;

// Stands for a result where there is none: it holds nothing.
class NoResult : public dataface_1::IInputData {};

// What a viewpoint is read against.
struct CheckedAgainst {
    std::vector<std::string> ids;
    sptr_t<dataface_1::IInputData> input;
    sptr_t<dataface_1::IQueryLibrary> library;
};

CheckedAgainst openFor(const ViewOptions& options) {
    lanefeed_runtime::OpenOptions how;
    how.queryFiles = options.queries;
    lanefeed_runtime::OpenOutcome outcome;
    CheckedAgainst against;
    for (const auto& listing : lanefeed_runtime::listQueries(how, outcome))
        against.ids.push_back(listing.id);
    if (!outcome.isOpened()) throw openFailure(outcome);
    if (options.result.empty()) {
        against.input = basekit2::make_object<NoResult>();
        against.library = lanefeed_runtime::openLibrary(how, outcome);
    } else {
        against.input = Session(options).input();
        dataface_1::lookup(against.input, against.library);
    }
    return against;
}

std::vector<Finding> check(const std::string& text,
                           const basekit2::variant_bag_t& bag,
                           const CheckedAgainst& against) {
    const LinedDocument document(text, bag);
    DocumentCheck checks(document, *against.library, against.ids);
    const auto log = basekit2::make_object<lanefeed_1::ParseLogger>();
    HeldLog held;
    try {
        lanefeed_1::TLViewpointParser parser;
        parser.parseViewpoint(bag, against.library, nullptr, against.input, log);
        checks.addLayers(parser.m_areas);
        addLayerRules(parser, *log);
    } catch (const std::bad_cast&) {  // of a number, which the check of the document has found
        std::cerr << "lanefeed: note: a text that is no number ends the parse; mend it and check "
                     "again, there may be more\n";
    }
    checks.addLog(*log);
    // What stands in the report need not be told twice.
    for (const std::string& message : allMessages(*log))
        held.drop(message);
    for (const std::string& message : checks.loggedTexts())
        held.drop(message);
    std::vector<Finding> findings = checks.findings();
    // Checks of the parser, which follow from what was found.
    if (!findings.empty()) held.drop("at file: src/viewpointparser");
    return findings;
}

std::string placeOf(const Finding& finding) {
    std::string place = finding.ruler ? "ruler" : "";
    if (finding.area >= 0) place = fmt::format("area {}", finding.area);
    if (finding.layer >= 0) place += fmt::format(", layer {}", finding.layer);
    return place;
}

// A message as one line: those that quote an element have several.
std::string oneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool blank = c == '\n' || c == '\t' || c == ' ';
        if (!blank)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    return line;
}

void printJson(const std::string& file, const std::vector<Finding>& findings) {
    std::string out = fmt::format("{{\n  \"viewpoint\": {},\n  \"messages\": [", jsonString(file));
    bool first = true;
    const auto number = [](int value) { return value < 0 ? "null" : std::to_string(value); };
    for (const Finding& finding : findings) {
        out += fmt::format(
            "{}\n    {{\"line\": {}, \"area\": {}, \"layer\": {}, \"ruler\": {}, \"message\": {}}}",
            first ? "" : ",", finding.line, number(finding.area), number(finding.layer),
            finding.ruler, jsonString(finding.text));
        first = false;
    }
    std::cout << out << (first ? "]\n}\n" : "\n  ]\n}\n");
}

void printLines(const std::string& file, const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) {
        const std::string place = placeOf(finding);
        std::cout << fmt::format("{}:{}: {}{}{}\n", file, finding.line, place,
                                 place.empty() ? "" : ": ", oneLine(finding.text));
    }
    if (findings.empty()) std::cout << file << ": nothing to mend\n";
}

TextTable textTable(const std::vector<Finding>& findings) {
    TextTable table;
    table.columns = {{"line", true}, {"place", false}, {"message", false}};
    for (const Finding& finding : findings)
        table.rows.push_back({std::to_string(finding.line), placeOf(finding), finding.text});
    return table;
}

}  // namespace

int runViewpointCheck(const ViewOptions& options) {
    const std::string text = readViewpointFile(options.check);
    const CheckedAgainst against = openFor(options);
    basekit2::variant_bag_t bag;
    std::string error;
    if (!lanefeed_runtime::readViewpoint(text, bag, error)) {
        throw Failure(exitNotUnderstood, fmt::format("{}:{}; mend it there", options.check, error));
    }
    const std::vector<Finding> findings = check(text, bag, against);
    if (options.format == Format::json) {
        printJson(options.check, findings);
    } else if (options.format == Format::csv) {
        printCsv(std::cout, textTable(findings));
    } else {
        printLines(options.check, findings);
    }
    return findings.empty() ? exitOk : exitNotUnderstood;
}

}  // namespace lanefeed_tool
