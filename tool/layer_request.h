#pragma once

#include "layer_window.h"

#include <cstdint>
#include <functional>
#include <idicerprovider.h>
#include <queryparam.h>
#include <string>

namespace lanefeed_tool {

class AreaView;
class Session;

// How a layer was served.
struct ServeStats {
    std::string served = "store";  // read from the result
    double milliseconds = 0;
    std::uint64_t storeReads = 0;  // bucketed queries that the store ran
    std::uint64_t instances = 0;   // instances that those looked at
    std::uint64_t cells = 0;       // cells of the answer that have data
    std::uint64_t leftOut = 0;     // instances that the answer does not account for
};

// Asks the provider of an area for a layer. The request may be changed before it is sent.
using Ask = std::function<bool(lanefeed_1::IDicerProvider&, lanefeed_1::QueryParam&)>;

// Sends a request. False when there is nothing to show: nothing lies in the window, or filters
// leave nothing. Throws a Failure, with the reason that the library logged, for a request that
// failed, such as that of an empty table.
bool serve(Session& session,
           AreaView& area,
           const ChosenLayer& layer,
           const LayerWindow& window,
           ServeStats& stats,
           const Ask& ask);

}  // namespace lanefeed_tool
