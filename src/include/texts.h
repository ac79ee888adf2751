#pragma once

#include "export.h"

#include <string>

namespace lanefeed_1 {

// Text of a key in the catalogs of the host, the key itself when no catalog has it. What a host's
// TLViewpointParser::getString goes on to.
LANEFEED_API std::string getString(const std::string& key);

}  // namespace lanefeed_1
