#pragma once

#include "layer_json.h"
#include "stats_print.h"
#include "table_print.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_tool {

class AreaView;
class Session;

// Takes the cells of one line of a report.
using LineSink = std::function<void(const std::vector<std::string>&)>;

// One layer of a report: a table whose lines are made anew each time they are asked for, so that it
// never stands in memory as text.
class ReportLayer {
public:
    explicit ReportLayer(LayerTitle title) : m_title(std::move(title)) {}
    virtual ~ReportLayer() = default;
    ReportLayer(const ReportLayer&) = delete;
    ReportLayer& operator=(const ReportLayer&) = delete;

    const LayerTitle& title() const { return m_title; }
    // Row, level and layer first; then what fits the kind. Series come last, one column each.
    const std::vector<TextTable::Column>& columns() const { return m_columns; }
    std::size_t seriesColumns() const { return m_seriesColumns; }
    // How many of the series the viewpoint wants to be seen at first; -1: it does not say.
    int visibleSeries() const { return m_visibleSeries; }
    // A cell without a value is empty.
    virtual void forEachLine(const LineSink& sink) = 0;
    // How it was served, and what of it is drawn; without the census.
    virtual LayerStats stats() = 0;

protected:
    LayerTitle m_title;
    std::vector<TextTable::Column> m_columns;
    std::size_t m_seriesColumns = 0;
    int m_visibleSeries = -1;
};

// Sends the requests of a layer of any kind. Session, area and layer outlive the answer.
std::unique_ptr<ReportLayer> reportLayer(Session& session,
                                         AreaView& area,
                                         const ChosenLayer& layer,
                                         const LayerWindow& window,
                                         int areaNumber);

}  // namespace lanefeed_tool
