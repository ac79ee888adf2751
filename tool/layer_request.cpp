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

// A request that failed. It is none when filters or the values that the layer is narrowed to leave
// nothing.
void checkFailure(Session& session,
                  AreaView& area,
                  const ChosenLayer& layer,
                  const LayerWindow& window,
                  HeldLog& log) {
    const std::string reason = reasonOf(log.firstError());
    log.drop("");
    session.requireWholeReads();
    const std::string& table = layer.info->drawBy.ds.m_table;
    const Census census = takeCensus(session, area, *layer.info, window);
    const bool isEmptied = census.read == 0;
    const bool isNarrowed =
        census.read > 0 && census.restricted == census.touching && census.restricted > 0;
    if (isEmptied || isNarrowed) {
        std::cerr << fmt::format("lanefeed: note: {}: {} leave nothing of {}\n", title(layer),
                                 isEmptied ? "the filters in force" : "the values that it shows",
                                 table);
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
        checkFailure(session, area, layer, window, log);
    }
    return isServed;
}

}  // namespace lanefeed_tool
