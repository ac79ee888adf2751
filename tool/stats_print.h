#pragma once

#include "instance_census.h"
#include "layer_json.h"
#include "layer_request.h"

#include <cstdint>
#include <vector>

namespace lanefeed_tool {

// How a layer was served and what became of its instances. Of bars and lines, each instance that
// touches the window is drawn, a child, counted only, or left out; of counts it is in the counts or
// left out. Series tell what the bucketed queries of the store looked at.
struct LayerStats {
    LayerTitle title;
    ServeStats serve;
    Census census;                  // of all kinds but series
    std::uint64_t drawn = 0;        // rows of the answer at the top
    std::uint64_t children = 0;     // below them: neighbours in the same cell
    std::uint64_t countedOnly = 0;  // neighbours that only the count of a row tells of

    // Bars or lines of a row: each has a count of others, and of those some as they are.
    template <class Drawn>
    void add(const std::vector<Drawn>& all) {
        drawn += all.size();
        for (const Drawn& one : all) {
            children += one.others().size();
            countedOnly += one.count - one.others().size();
        }
    }
};

// What --stats prints on stderr: JSON, an object for each layer.
void printStats(const std::vector<LayerStats>& layers);

}  // namespace lanefeed_tool
