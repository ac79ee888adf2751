#pragma once

#include <parse_logger.h>
#include <viewpointparser.h>

namespace lanefeed_tool {

// Adds to the log of a parse what it passes over in layers whose queries are all known: counts of
// what is none, lines without rows, tooltips that nothing of a bar or line leads to.
void addLayerRules(const lanefeed_1::TLViewpointParser& viewpoint, lanefeed_1::ParseLogger& log);

}  // namespace lanefeed_tool
