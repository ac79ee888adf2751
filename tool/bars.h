#pragma once

#include "area_view.h"
#include "layer_request.h"
#include "named_cells.h"

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lanefeed_tool {

class Session;

// An instance as it is drawn, with neighbours that fall into the same cell of row, depth, series
// and bucket. Times are pane ticks, half open.
struct Bar {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    int attr = -1;  // database index of what the instance is
    std::string name;
    std::optional<std::uint32_t> color;  // packed, red lowest
    std::uint32_t count = 0;             // neighbours, as children or counted only
    std::uint64_t series = 0;
    int depth = 0;
    std::vector<Bar> children;  // the first of the neighbours

    const std::vector<Bar>& others() const { return children; }
};

// The rows of a layer of bars in their order; markers for all rows stand on one without an id.
std::vector<RowInfo> barRows(const AreaView& area, const LayerInfo& layer);

// The bars of one layer of intervals or tasks.
class LayerBars {
public:
    // Sends the request.
    LayerBars(Session& session,
              AreaView& area,
              const ChosenLayer& layer,
              const LayerWindow& window);

    // Bars of a row of the area, by its id; of a layer of markers for all rows the only row is 0.
    std::vector<Bar> row(int id);
    const ServeStats& stats() const { return m_stats; }

private:
    using Rows = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>;

    std::vector<Bar> readRows(const NamedCells& cells, Rows rows);

    AttributeNames m_names;
    std::vector<basekit2::sptr_t<dataface_1::ITableTree>> m_forest;  // by row id
    ServeStats m_stats;
};

}  // namespace lanefeed_tool
