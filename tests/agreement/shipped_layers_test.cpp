// Layers of every kind in the shipped viewpoints, asked for as a pane does: on a result that holds
// everything all of them have something to show; on one that holds little the others are left out,
// and none of those that stay fails.
#include "agreement/viewpoint_result.h"
#include "idicerprovider.h"
#include "support/captured_log.h"
#include "support/table_text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;
using lanefeed_1::TLViewpointParser;
using LayerInfo = TLViewpointParser::LayerInfo;
using Forest = std::vector<sptr_t<ITableTree>>;

// Two threads on two cores; the marks of main are nested, worker is woken and moves once.
const char* const kEverything = R"(
    process app
    thread main  0..50 outer@ui  10..20 inner@io
    thread worker  20..100 job@gc
    track upload  3..9 part  5..40 part
    counter load  0=5  50=7.5
    marker main 5 tick  6 tick
    flow main 12 worker 20 handover
    core 0  0..40 main  40..60 -  60..100 worker
    core 1  20..50 worker  50..100 -
    state main  0..40 Running%0  40..100 Sleeping
    state worker  0..15 Sleeping  15..20 Runnable  20..50 Running%1  50..60 Blocked  60..100 Running%0
    wakeup main 15 worker 15 wakeup%1
    migration worker 1 50 0 60
    interrupt 0  12..14 timer@irq)";

class LayerResult : public ViewpointResult {
public:
    using ViewpointResult::ViewpointResult;

    const std::vector<TLViewpointParser::Area>& areas() const { return m_parser.m_areas; }
    bool hasMessages() const { return m_logger->hasMessages(); }
    std::string fitting() const { return lanefeed_runtime::fittingViewpoint(m_result); }

    // Layers of an area that can be shown, by their captions.
    std::string shown(std::size_t area) {
        open(area);
        std::string text;
        for (const LayerInfo& layer : rowSet().layers)
            if (m_parser.isApplicable(layer, m_provider.get()))
                text += (text.empty() ? "" : ", ") + layer.displayName;
        return text;
    }

    // A layer over the whole trace in ten buckets: a table for each row. False as the provider
    // answers.
    bool ask(std::size_t area, std::size_t index, Forest& forest) {
        open(area);
        const LayerInfo& layer = rowSet().layers.at(index);
        m_tooltip = &layer.tooltipBy.ds;
        m_provider->cacheTooltipData(m_tooltip);
        lanefeed_1::QueryParam param;
        param.dds = &layer.drawBy.ds;
        const TLViewpointParser::RowBy row = m_parser.getLayerRowBy(layer, rowSet(), 0);
        if (!rowSet().rowBys.empty()) param.rowByDS = &row.ds;
        if (layer.colorBy.m_defaultQuery) param.colorByDS = &layer.colorBy;
        param.endTime = m_provider->getDuration() + 1;
        param.binCount = 10;
        const auto& levels = layer.drawBy.ds.m_rowByLevels;
        param.applicableRowLevels.insert(levels.begin(), levels.end());
        return serve(layer, param, forest);
    }

    // Start, end and tooltip of each bar or line, rows parted by "|".
    std::string bars(std::size_t area, std::size_t index) {
        Forest forest;
        if (!ask(area, index, forest)) return "not served";
        std::string text;
        for (const sptr_t<ITableTree>& tree : forest) {
            if (&tree != &forest.front()) text += "| ";
            if (tree.is_null()) continue;
            for (const sptr_t<dataface_1::ITableRow>& row : allRows(tree))
                text += cell(tree, row, IDicerProvider::startTime) + ".." +
                        cell(tree, row, IDicerProvider::endTime) + " " + tooltip(tree, row) + " ";
        }
        return text;
    }

    // Filled buckets of each innermost series, rows parted by "|".
    std::string counts(std::size_t area, std::size_t index) {
        Forest forest;
        if (!ask(area, index, forest)) return "not served";
        std::string text;
        for (const sptr_t<ITableTree>& tree : forest) {
            if (&tree != &forest.front()) text += "| ";
            if (tree.is_null()) continue;
            const auto columns = allColumns(tree);
            for (const sptr_t<dataface_1::IColumnInfo>& column : columns) {
                basekit2::generic_iterator_t<sptr_t<dataface_1::IColumnInfo>> below;
                column->getChildren(below, nullptr, false);
                if (column == columns.front() || !below.at_end()) continue;
                for (const sptr_t<dataface_1::ITableRow>& row : allRows(tree))
                    text += textOf(row, columns.front()) + "=" + textOf(row, column) + " ";
                text += "; ";
            }
        }
        return text;
    }

    // What a pane tells of the bars of a table; each must have a line.
    bool areTold(const sptr_t<ITableTree>& tree) {
        const auto rows = allRows(tree);
        return std::none_of(rows.begin(), rows.end(),
                            [&](const auto& row) { return tooltip(tree, row).empty(); });
    }

private:
    static std::string textOf(const sptr_t<dataface_1::ITableRow>& row,
                              const sptr_t<dataface_1::IColumnInfo>& column) {
        basekit2::variant_t value;
        basekit2::variant_t text;
        if (!row->getContent(column, dataface_1::ccValue, value)) return "-";
        basekit2::print_variant(value, text, false);
        return text.get<std::string>();
    }
    static std::string cell(const sptr_t<ITableTree>& tree,
                            const sptr_t<dataface_1::ITableRow>& row,
                            const std::string& column) {
        return textOf(row, columnNamed(tree, column));
    }

    TLViewpointParser::RowSet& rowSet() { return m_parser.m_areas.at(m_area).rowSets.at(0); }

    void open(std::size_t area) {
        m_area = area;
        m_provider = IDicerProvider::create(m_result);
        m_provider->setResult(static_cast<int>(area) + 1, m_result, &rowSet(), "shipped", 0);
        m_rows = 0;
        if (rowSet().rowBys.empty()) return;
        sptr_t<ITableTree> rows;
        if (m_provider->getRowSummary(rows, -1, true, true)) m_rows = allRows(rows).size();
    }

    bool serve(const LayerInfo& layer, lanefeed_1::QueryParam& param, Forest& forest) {
        using Viewpoint = TLViewpointParser;
        switch (layer.type) {
        case Viewpoint::RowIntervalNested: return m_provider->getTaskData(param, forest, nullptr);
        case Viewpoint::RowInterval:
        case Viewpoint::EventMarker: return m_provider->getIntervalData(param, forest, nullptr);
        case Viewpoint::Transition: return serveLines(param, forest);
        case Viewpoint::InstanceCountOverTime:
            return m_provider->getOverTimeData(param, IDicerProvider::otInstanceCount, forest);
        case Viewpoint::CountOverTime:
            return m_provider->getOverTimeData(param, IDicerProvider::otCount, forest);
        default:
            const int kind = layer.drawBy.ds.m_dataType;
            return m_provider->getOverTimeData(
                param,
                kind == lanefeed_1::DicerDataSource::dsDerived ? IDicerProvider::otDerived
                : kind == lanefeed_1::DicerDataSource::dsInfo  ? IDicerProvider::otAttribute
                                                               : IDicerProvider::otTime,
                forest);
        }
    }

    // The lines that arrive on each row.
    bool serveLines(lanefeed_1::QueryParam& param, Forest& forest) {
        for (std::size_t row = 0; row < m_rows; ++row) {
            param.rowLevel = static_cast<int>(row);
            forest.emplace_back();
            if (!m_provider->getTransitionData(param, forest.back())) return false;
        }
        return true;
    }

    std::string tooltip(const sptr_t<ITableTree>& tree, const sptr_t<dataface_1::ITableRow>& row) {
        basekit2::variant_t id;
        row->getContent(columnNamed(tree, IDicerProvider::dbAttrIdx), dataface_1::ccValue, id);
        std::string text;
        auto items = m_provider->getTooltips(m_tooltip, id.get<int>());
        for (; !items.at_end(); items.next())
            text += (text.empty() ? "" : "/") + items.current()->getValue().get<std::string>();
        return text;
    }

    std::size_t m_area = 0;
    std::size_t m_rows = 0;
    sptr_t<IDicerProvider> m_provider;
    const lanefeed_1::DicerDataSource* m_tooltip = nullptr;
};

bool isSomething(const Forest& forest) {
    return std::any_of(forest.begin(), forest.end(), [](const sptr_t<ITableTree>& tree) {
        return !tree.is_null() && !allRows(tree).empty();
    });
}

bool isBarLike(const LayerInfo& layer) {
    using Viewpoint = TLViewpointParser;
    return layer.type == Viewpoint::RowInterval || layer.type == Viewpoint::RowIntervalNested ||
           layer.type == Viewpoint::EventMarker || layer.type == Viewpoint::Transition;
}

// Asks for all layers that are shown; what goes wrong is a failure of the test.
void expectServed(LayerResult& result, const std::string& viewpoint, bool all) {
    SCOPED_TRACE(viewpoint);
    for (std::size_t area = 0; area < result.areas().size(); ++area) {
        const std::string shown = ", " + result.shown(area) + ",";
        const auto& layers = result.areas()[area].rowSets.at(0).layers;
        for (std::size_t i = 0; i < layers.size(); ++i) {
            SCOPED_TRACE(result.areas()[area].id + ", " + layers[i].displayName);
            const bool isShown = shown.find(", " + layers[i].displayName + ",") < shown.size();
            EXPECT_TRUE(isShown || !all);
            if (!isShown) continue;
            const CapturedLog log;
            Forest forest;
            EXPECT_TRUE(result.ask(area, i, forest));
            EXPECT_TRUE(isSomething(forest));
            for (const sptr_t<ITableTree>& tree : forest)
                EXPECT_TRUE(!isBarLike(layers[i]) || tree.is_null() || result.areTold(tree));
            for (const std::string& line : log.lines())
                ADD_FAILURE() << line;
        }
    }
}

TEST(ShippedLayers, AllAreShownAndServedOnAResultThatHoldsEverything) {
    LayerResult result(kEverything);
    for (const std::string& name : lanefeed_runtime::shippedViewpointNames()) {
        result.parseShipped(name);
        EXPECT_FALSE(result.hasMessages()) << name;
        expectServed(result, name, true);
    }
    result.parseExample("wakeups.xml");
    EXPECT_FALSE(result.hasMessages());
    expectServed(result, "wakeups.xml", true);
    EXPECT_EQ(result.bars(0, 0), "| 15..19 Runnable ") << "narrowed to one state";
}

TEST(ShippedLayers, ASchedulerTraceIsShownAsItWasWritten) {
    LayerResult result(kEverything);
    result.parseShipped("scheduler");
    EXPECT_EQ(result.bars(0, 0),
              "0..39 Running 40..99 Sleeping "
              "| 0..14 Sleeping 15..19 Runnable 20..49 Running 50..59 Blocked 60..99 Running ");
    EXPECT_EQ(result.bars(0, 1), "0..49 outer 10..19 inner | 20..99 job ");
    EXPECT_EQ(result.bars(0, 2), "5..5 tick 6..6 tick | ");
    EXPECT_EQ(result.bars(0, 3), "| 15..15 wakeup ");
    EXPECT_EQ(result.bars(1, 0), "40..59 Idle | 50..99 Idle ");
    EXPECT_EQ(result.bars(1, 1),
              "0..39 app / main/1/app 60..99 app / worker/2/app | 20..49 app / worker/2/app ");
    EXPECT_EQ(result.bars(1, 2), "12..13 timer | ");
    EXPECT_EQ(result.bars(1, 3), "50..60 app / worker/2/app | ");
    // Both cores are busy from 20 to 40, none from 50 to 60; runnable is worker from 15 to 20.
    EXPECT_EQ(result.counts(2, 0),
              "0=1 1=1 2=1 3=1 4=0 6=1 7=1 8=1 9=1 ; 0=0 1=0 2=1 3=1 4=1 6=0 7=0 8=0 9=0 ; ");
    EXPECT_EQ(result.counts(2, 1), "0=1 1=1 2=2 3=2 4=1 6=1 7=1 8=1 9=1 ; ");
    EXPECT_EQ(result.counts(2, 2), "1=0.5 ; ");
    EXPECT_EQ(result.counts(0, 6), "| 1=1 ; ");
    // Core 1 is not known before 20.
    EXPECT_EQ(result.counts(1, 5),
              "0=0 1=0 2=0 3=0 4=100 5=100 6=0 7=0 8=0 9=0 ; "
              "| 2=0 3=0 4=0 5=100 6=100 7=100 8=100 9=100 ; ");
    result.parseShipped("trace_events");
    EXPECT_EQ(result.counts(0, 7), "0=1 1=2 2=1 3=1 4=1 ; | 2=1 3=1 4=1 5=1 6=1 7=1 8=1 9=1 ; ");
    EXPECT_EQ(result.counts(0, 8), "0=2 ; | ") << "each instant";
}

// What is left of the viewpoint that fits, and that none of it fails.
TEST(ShippedLayers, ThoseWithoutDataAreLeftOutAndTheOthersServed) {
    const struct {
        const char* trace;
        const char* viewpoint;
        const char* shown;  // by area
    } kParts[] = {
        {"state main 0..50 Running 50..90 Runnable", "scheduler",
         "States, Time by state, Running and runnable||Mean of runnable threads|||"},
        {"wakeup main 0 worker 40 wake\nwakeup main 50 worker 90 wake", "scheduler",
         "Wakeups, Wakeups per bucket||Wakeups|||"},
        {"core 0 0..50 main", "scheduler",
         "|Threads, CPU use, Time by thread|Running threads, Mean of running threads|||"},
        {"core 0 0..50 -\ninterrupt 0 5..6 timer", "scheduler",
         "|Idle, Interrupts, Time in interrupts||||"},
        {"thread main 0..50 a 60..100 b", "trace_events",
         "Busy time, Time by slice, Slices per bucket, CPU share, Slices, Open slices||||"},
        {"marker main 0 tick 90 tick", "trace_events", "Instants, Instants per bucket||||"},
        {"counter load 0=5 90=6\ntrack up 0..90 part", "counters",
         "Value|Mean of counters|Time with operations, Operations per bucket, Operations, "
         "Operations at once|"},
        {"track up 0..90 part", "asynchronous",
         "Time with operations, Operations per bucket, Operations, Operations at once|"}};
    for (const auto& part : kParts) {
        LayerResult result(part.trace);
        EXPECT_EQ(result.fitting(), part.viewpoint) << part.trace;
        result.parseShipped(part.viewpoint);
        expectServed(result, part.trace, false);
        std::string shown;
        for (std::size_t area = 0; area < result.areas().size(); ++area)
            shown += result.shown(area) + "|";
        EXPECT_EQ(shown, part.shown) << part.trace;
    }
}

}  // namespace
}  // namespace lanefeed_test
