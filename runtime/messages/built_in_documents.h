#pragma once

#include <string_view>
#include <vector>

namespace lanefeed_runtime {

// An XML document that was compiled in; the build makes them from the files of three folders.
struct BuiltInDocument {
    std::string_view folder;  // "definitions", "texts" or "viewpoints"
    std::string_view name;    // of the file, such as "trace_events.xml"
    std::string_view text;
};

// All of them, by folder and name in ascending order.
const std::vector<BuiltInDocument>& builtInDocuments();

}  // namespace lanefeed_runtime
