// Versions of what is running.

#include "version.h"

#include <fmt/format.h>
#include <store/schema.h>

namespace lanefeed_tool {

std::string versionText() {
    return fmt::format("lanefeed {} (result schema {}, commit {})", LANEFEED_VERSION,
                       lanefeed_runtime::kSchemaVersion, LANEFEED_COMMIT);
}

}  // namespace lanefeed_tool
