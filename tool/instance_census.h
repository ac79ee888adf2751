#pragma once

#include "layer_window.h"

#include <cstdint>

namespace lanefeed_tool {

class AreaView;
class Session;

// What the instances of a layer come to, counted from the table itself and not from an answer. With
// several levels of rows each instance counts once for each level that the layer is shown on.
struct Census {
    std::uint64_t read = 0;      // of the table, as the filters in force leave it
    std::uint64_t touching = 0;  // of those, that touch the window; the next ones are part of it
    // Why one is on no row:
    std::uint64_t restricted = 0;  // the layer shows other values only
    std::uint64_t withoutReference =
        0;                         // it lacks its attribute, its band or a value it is split by
    std::uint64_t withoutRow = 0;  // the area has no row for it
    // Why a transition is no line between two rows:
    std::uint64_t withoutSource = 0;  // there is no row that it leaves
    std::uint64_t acrossParents = 0;  // the two rows are no siblings
    std::uint64_t withinRow = 0;      // it arrives on the row that it leaves

    std::uint64_t leftOut() const {
        return restricted + withoutReference + withoutRow + withoutSource + acrossParents +
               withinRow;
    }
};

// Reads the whole table of the layer. Throws a Failure when it can't be read.
Census takeCensus(Session& session,
                  AreaView& area,
                  const LayerInfo& layer,
                  const LayerWindow& window);

}  // namespace lanefeed_tool
