// Layers in the form that a report on the command line wants: series as the provider's tables with
// the bounds of the buckets in front, bars and lines as what they are. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "report_layer.h"

#include "area_view.h"
#include "bars.h"
#include "json_text.h"
#include "layer_series.h"
#include "lines.h"
#include "series.h"

#include <storelink1/utils.h>

#include <algorithm>
#include <tabletrees.h>

namespace lanefeed_tool {

namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using Cells = std::vector<std::string>;

constexpr std::size_t kBounds = 2;  // columns of the provider's table before its series

Cells headOf(const RowInfo& row, const LayerTitle& title) {
    return {row.name, std::to_string(row.level), title.name};
}

std::vector<TextTable::Column> headColumns() {
    return {{"row", false}, {"level", true}, {"layer", false}};
}

const RowInfo& rowAt(const AreaView& area, int position) {
    return area.rows()[static_cast<std::size_t>(position)];
}

class SeriesReport : public ReportLayer {
public:
    SeriesReport(LayerTitle title, Session& session, AreaView& area, const ChosenLayer& layer)
        : ReportLayer(std::move(title)),
          m_area(area),
          m_layer(*layer.info),
          m_param(requestFor(m_layer, area, m_title.window)) {
        m_forest = requestSeries(session, area, layer, m_title.window, m_stats);
        m_visibleSeries = m_layer.visibleSeriesCount;
        m_columns = headColumns();
        m_columns.push_back({"bin start", true});
        m_columns.push_back({"bin end", true});
        // All tables of an answer have the same columns.
        for (const auto& tree : m_forest) {
            if (tree.is_null()) continue;
            const auto columns = columnsOf(bounded(tree));
            for (std::size_t i = kBounds; i < columns.size(); ++i)
                m_columns.push_back({seriesName(columns[i]), true});
            m_seriesColumns = columns.size() - kBounds;
            break;
        }
    }

    void forEachLine(const LineSink& sink) override {
        for (const int position : m_area.order()) {
            const RowInfo& row = rowAt(m_area, position);
            const auto id = static_cast<std::size_t>(row.id);
            if (id >= m_forest.size() || m_forest[id].is_null()) continue;
            const sptr_t<ITableTree> table = bounded(m_forest[id]);
            const auto columns = columnsOf(table);
            for (auto it = table->getRows(nullptr); !it.at_end(); it.next()) {
                const sptr_t<ITableRow> line = it.current();
                Cells cells = headOf(row, m_title);
                for (std::size_t i = 0; i < columns.size(); ++i)
                    cells.push_back(cellText(*line, columns[i], i >= kBounds));
                sink(cells);
            }
        }
    }

    LayerStats stats() override {
        LayerStats stats;
        stats.title = m_title;
        stats.serve = m_stats;
        stats.serve.cells = 0;
        const auto count = [&](const Cells& cells) {
            const auto series = cells.end() - static_cast<std::ptrdiff_t>(m_seriesColumns);
            stats.serve.cells += static_cast<std::uint64_t>(
                std::count_if(series, cells.end(), [](const auto& cell) { return !cell.empty(); }));
        };
        forEachLine(count);
        return stats;
    }

private:
    sptr_t<ITableTree> bounded(const sptr_t<ITableTree>& tree) {
        return lanefeed_1::createCommandLineTableTree(tree, &m_area.provider(), m_param);
    }

    static std::vector<sptr_t<IColumnInfo>> columnsOf(const sptr_t<ITableTree>& table) {
        std::vector<sptr_t<IColumnInfo>> columns;
        for (auto it = table->getColumns(nullptr); !it.at_end(); it.next())
            if (columns.size() < kBounds || !isPlaceholder(it.current()))
                columns.push_back(it.current());
        return columns;
    }

    // A sum of 0 is a bucket without data.
    std::string cellText(ITableRow& row, const sptr_t<IColumnInfo>& column, bool isSeries) const {
        variant_t value;
        if (!row.getContent(column, dataface_1::ccValue, value) || value.is_null()) return {};
        if (isSeries && !keepsZeros(m_layer) && value.get<double>() == 0) return {};
        return value.get_type() == basekit2::vtDouble || value.get_type() == basekit2::vtFloat
                   ? jsonNumber(value.get<double>())
                   : storelink1::utils::variantToString(value);
    }

    AreaView& m_area;
    const LayerInfo& m_layer;
    lanefeed_1::QueryParam m_param;
    Forest m_forest;
    ServeStats m_stats;
};

class BarReport : public ReportLayer {
public:
    BarReport(LayerTitle title, Session& session, AreaView& area, const ChosenLayer& layer)
        : ReportLayer(std::move(title)),
          m_rows(barRows(area, *layer.info)),
          m_bars(session, area, layer, m_title.window) {
        m_columns = headColumns();
        m_columns.insert(m_columns.end(), {{"start", true},
                                           {"end", true},
                                           {"name", false},
                                           {"depth", true},
                                           {"series", true},
                                           {"count", true}});
    }

    void forEachLine(const LineSink& sink) override {
        for (const RowInfo& row : m_rows) {
            for (const Bar& bar : m_bars.row(std::max(row.id, 0))) {
                sink(cellsOf(row, bar));
                for (const Bar& child : bar.children)
                    sink(cellsOf(row, child));
            }
        }
    }

    LayerStats stats() override {
        LayerStats stats;
        stats.title = m_title;
        stats.serve = m_bars.stats();
        for (const RowInfo& row : m_rows)
            stats.add(m_bars.row(std::max(row.id, 0)));
        return stats;
    }

private:
    Cells cellsOf(const RowInfo& row, const Bar& bar) const {
        Cells cells = headOf(row, m_title);
        cells.insert(cells.end(), {std::to_string(bar.start), std::to_string(bar.end), bar.name,
                                   std::to_string(bar.depth), std::to_string(bar.series),
                                   std::to_string(bar.count)});
        return cells;
    }

    std::vector<RowInfo> m_rows;
    LayerBars m_bars;
};

class LineReport : public ReportLayer {
public:
    LineReport(LayerTitle title, Session& session, AreaView& area, const ChosenLayer& layer)
        : ReportLayer(std::move(title)),
          m_area(area),
          m_lines(session, area, layer, m_title.window) {
        m_columns = headColumns();
        m_columns.insert(m_columns.end(), {{"from row", false},
                                           {"start", true},
                                           {"end", true},
                                           {"name", false},
                                           {"count", true}});
    }

    void forEachLine(const LineSink& sink) override {
        for (const int position : m_area.order()) {
            const RowInfo& row = rowAt(m_area, position);
            for (const Line& line : m_lines.row(row.id)) {
                sink(cellsOf(row, line));
                for (const Line& further : line.duplicates)
                    sink(cellsOf(row, further));
            }
        }
    }

    LayerStats stats() override {
        LayerStats stats;
        stats.title = m_title;
        stats.serve = m_lines.stats();
        for (const RowInfo& row : m_area.rows())
            stats.add(m_lines.row(row.id));
        return stats;
    }

private:
    Cells cellsOf(const RowInfo& row, const Line& line) const {
        Cells cells = headOf(row, m_title);
        cells.insert(cells.end(),
                     {rowAt(m_area, line.startRow).name, std::to_string(line.start),
                      std::to_string(line.end), line.name, std::to_string(line.count)});
        return cells;
    }

    AreaView& m_area;
    LayerLines m_lines;
};

}  // namespace

std::unique_ptr<ReportLayer> reportLayer(Session& session,
                                         AreaView& area,
                                         const ChosenLayer& layer,
                                         const LayerWindow& window,
                                         int areaNumber) {
    LayerTitle title{kindOf(*layer.info),    areaNumber, layer.index,
                     layerName(*layer.info), "",         window};
    switch (title.kind) {
    case LayerKind::intervals:
    case LayerKind::tasks:
        return std::make_unique<BarReport>(std::move(title), session, area, layer);
    case LayerKind::transitions:
        return std::make_unique<LineReport>(std::move(title), session, area, layer);
    default:
        title.unit = unitOf(*layer.info);
        return std::make_unique<SeriesReport>(std::move(title), session, area, layer);
    }
}

}  // namespace lanefeed_tool
