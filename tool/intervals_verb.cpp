// lanefeed intervals and lanefeed tasks: the bars of an area's layers, row by row. Answers are
// turned into text row by row. Tested by tests/tool/layer_verbs_test.cpp.

#include "area_view.h"
#include "bars.h"
#include "bars_print.h"
#include "failure.h"
#include "session.h"
#include "stats_print.h"
#include "verbs.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace lanefeed_tool {

namespace {

void print(BarPrinter& printer,
           LayerBars& bars,
           const std::vector<RowInfo>& rows,
           LayerStats& account) {
    printer.beginLayer(account.title);
    for (const RowInfo& row : rows) {
        const std::vector<Bar> drawn = bars.row(std::max(row.id, 0));
        printer.row(row, drawn);
        account.add(drawn);
    }
    printer.endLayer();
}

int runBars(const ViewOptions& options, LayerKind kind) {
    Session session(options);
    session.readViewpoint();
    AreaView area(session, options.area);
    session.noteEmpty();
    const LayerWindow window = askedWindow(session, area, options);
    const auto layers = chooseLayers(session, area, options, {kind});
    // All answers first, so that a failure leaves no half output.
    std::vector<std::unique_ptr<LayerBars>> answers;
    for (const ChosenLayer& layer : layers)
        answers.push_back(std::make_unique<LayerBars>(session, area, layer, window));
    session.requireWholeReads();

    std::vector<LayerStats> stats;
    auto printer = makeBarPrinter(options.format, layers.size() > 1);
    for (std::size_t i = 0; i < layers.size(); ++i) {
        LayerStats account;
        account.title = {kind, options.area, layers[i].index, layerName(*layers[i].info),
                         "",   window};
        account.serve = answers[i]->stats();
        print(*printer, *answers[i], barRows(area, *layers[i].info), account);
        answers[i].reset();
        stats.push_back(std::move(account));
    }
    printer.reset();
    if (!options.stats) return exitOk;
    for (std::size_t i = 0; i < layers.size(); ++i)
        stats[i].census = takeCensus(session, area, *layers[i].info, window);
    printStats(stats);
    return exitOk;
}

}  // namespace

int runIntervals(const ViewOptions& options) {
    return runBars(options, LayerKind::intervals);
}

int runTasks(const ViewOptions& options) {
    return runBars(options, LayerKind::tasks);
}

}  // namespace lanefeed_tool
