#pragma once

#include "importer.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace lanefeed_test {

// The result of a bundled trace, in the folder.
inline std::string importedTrace(const TempDirectory& folder, const std::string& trace) {
    lanefeed_importers::ImportRequest request;
    request.source = LANEFEED_TEST_DATA "/" + trace;
    request.target = folder.file("t.lft");
    const auto outcome = lanefeed_importers::importTrace(request);
    EXPECT_FALSE(outcome.error.failed()) << outcome.error.text;
    return request.target;
}

}  // namespace lanefeed_test
