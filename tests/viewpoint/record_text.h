#pragma once

#include "viewpointparser.h"

#include <string>

namespace lanefeed_1::fakes {

// All records of a parse as indented text, a line each. Flags stand by their name when set, texts
// when not empty, numbers always.
std::string recordText(const TLViewpointParser& parser);

}  // namespace lanefeed_1::fakes
