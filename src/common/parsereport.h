#pragma once

#include "common/check.h"
#include "parse_logger.h"

#include <string>

namespace lanefeed_1 {

// What goes wrong in a viewpoint and is severe goes two ways: an alert in the caller's name, which
// tells where, and the bare message to the logger of the parse, which may be null.

void reportViewpoint(ParseLogger* logger, const std::string& text, const Place& place);
// Area: its index, or -1 for the ruler.
void reportArea(ParseLogger* logger, int area, const std::string& text, const Place& place);
void reportLayer(
    ParseLogger* logger, int area, int layer, const std::string& text, const Place& place);

// The milder ones, for the logger alone.
void noteViewpoint(ParseLogger* logger, const std::string& text);
void noteArea(ParseLogger* logger, int area, const std::string& text);
void noteLayer(ParseLogger* logger, int area, int layer, const std::string& text);

}  // namespace lanefeed_1
