// One request to the provider, and what became of it. The library answers false for a failure and,
// in part, for an answer with nothing in it; what it logged tells the two apart. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "layer_request.h"

#include "area_view.h"
#include "failure.h"
#include "instance_census.h"
#include "log_output.h"
#include "session.h"

#include <chrono>
#include <fmt/format.h>
#include <iostream>
#include <session/open_result.h>

namespace lanefeed_tool {

namespace {

std::string title(const ChosenLayer& layer) {
    return fmt::format("layer {} ({})", layer.index, layerName(*layer.info));
}

// What a message of a failed check says, without the place in the library's sources. The text that
// some have behind the condition tells more.
std::string reasonOf(const std::string& message) {
    if (message.empty()) return "it gave no reason";
    const std::string check = message.substr(0, message.rfind(", at file: "));
    const std::size_t text = check.find(" '");
    return text == std::string::npos ? "this does not hold: " + check
                                     : check.substr(text + 2, check.size() - text - 3);
}

// Why nothing of a table can be shown; empty when there is something. The library looks at the
// whole table, whatever the window.
std::string emptiness(Session& session, AreaView& area, const LayerInfo& layer) {
    const LayerWindow whole{{0, area.time().duration}, 1};
    const Census census = takeCensus(session, area, layer, whole);
    const std::string& table = layer.drawBy.ds.m_table;
    if (census.read == 0) return "the filters in force leave nothing of " + table;
    const std::uint64_t left = census.restricted + census.withoutReference;
    if (census.touching == 0 || left < census.touching) return {};
    if (census.withoutReference == 0) return "the values that it shows leave nothing of " + table;
    return "no instance of " + table + " has a value of what it is told apart by, or a row";
}

// A request that failed. It is none when there is nothing that could be shown.
void checkFailure(Session& session, AreaView& area, const ChosenLayer& layer, HeldLog& log) {
    const std::string reason = reasonOf(log.firstError());
    log.drop("");
    session.requireWholeReads();
    const std::string nothing = emptiness(session, area, *layer.info);
    if (!nothing.empty()) {
        std::cerr << fmt::format("lanefeed: note: {}: {}\n", title(layer), nothing);
        return;
    }
    throw Failure(exitFailure,
                  fmt::format("{} of {} could not be read: {}; 'lanefeed viewpoint --check' tells "
                              "what is wrong in a viewpoint, --log debug what was asked",
                              title(layer), session.resultName(), reason));
}

// Series answer false without a word for a window without data; bars and lines never do.
bool isFailure(LayerKind kind, const HeldLog& log) {
    if (kind == LayerKind::series) return false;
    return kind != LayerKind::counts || !log.firstError().empty();
}

// What the library logs of an answer that is good otherwise, said once for a layer. It looks at
// instances outside of the window too.
void noteGaps(const ChosenLayer& layer, HeldLog& log) {
    const bool lacks = log.drop("Empty references found in ");
    const bool unmatched = log.drop("Unmatched data rows ");
    if (lacks || unmatched)
        std::cerr << fmt::format(
            "lanefeed: note: {}: some instances of {} have no {} and are not drawn; --stats counts "
            "those in the window\n",
            title(layer), layer.info->drawBy.ds.m_table,
            lacks ? "row or attribute" : "row that they leave");
}

}  // namespace

bool serve(Session& session,
           AreaView& area,
           const ChosenLayer& layer,
           const LayerWindow& window,
           ServeStats& stats,
           const Ask& ask) {
    // Filters leave no row; there is nothing to ask for.
    if (area.isFilteredOut()) return false;
    lanefeed_1::QueryParam param = requestFor(*layer.info, area, window);
    const lanefeed_runtime::ReadCounts before = lanefeed_runtime::readCounts(session.input());
    const auto begin = std::chrono::steady_clock::now();
    HeldLog log;
    const bool isServed = ask(area.provider(), param);
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - begin;
    const lanefeed_runtime::ReadCounts after = lanefeed_runtime::readCounts(session.input());
    stats.milliseconds = taken.count();
    stats.storeReads = after.queries - before.queries;
    stats.instances = after.instances - before.instances;
    stats.leftOut = after.leftOut - before.leftOut;
    if (isServed) {
        noteGaps(layer, log);
    } else if (isFailure(kindOf(*layer.info), log)) {
        checkFailure(session, area, layer, log);
    }
    return isServed;
}

}  // namespace lanefeed_tool
