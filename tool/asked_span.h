#pragma once

#include "time_range.h"

#include <string>

namespace lanefeed_tool {

class AreaView;
class Session;

// The span that the option --time asks for: "A..B", "content" for where nearly all instances lie,
// "whole" or nothing for all of the result. Throws a usage failure for any other text.
TickSpan askedSpan(const Session& session, const AreaView& area, const std::string& text);

}  // namespace lanefeed_tool
