#pragma once

#include "layer_request.h"
#include "named_cells.h"

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_tool {

class AreaView;
class Session;

// A line from one row to another: what leaves the first at `start` and arrives on the second at
// `end`, in pane ticks. Lines between the same rows and buckets are one line that counts the
// others.
struct Line {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    int attr = -1;  // database index of what the transition is
    std::string name;
    int startRow = -1;  // ids of rows of the area
    int endRow = -1;
    std::uint32_t count = 0;       // further ones
    std::vector<Line> duplicates;  // the first of these

    const std::vector<Line>& others() const { return duplicates; }
};

// The lines of one layer of transitions, asked for row by row.
class LayerLines {
public:
    // Buckets of lines are told apart by so many numbers.
    static constexpr int kMostBins = 32767;

    // Sends the requests. Throws a usage failure for more buckets than lines are told apart by.
    LayerLines(Session& session,
               AreaView& area,
               const ChosenLayer& layer,
               const LayerWindow& window);

    // Lines that arrive on a row of the area, by its id.
    std::vector<Line> row(int id);
    const ServeStats& stats() const { return m_stats; }

private:
    using Rows = basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>;

    std::vector<Line> readRows(const NamedCells& cells, Rows rows);

    AttributeNames m_names;
    std::vector<basekit2::sptr_t<dataface_1::ITableTree>> m_forest;  // by row id
    ServeStats m_stats;
};

}  // namespace lanefeed_tool
