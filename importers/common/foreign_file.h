#pragma once

#include <string>
#include <string_view>

namespace lanefeed_importers {

// A file of a kind that is known and that no importer reads, by its first bytes.
bool isForeignFile(std::string_view head);

// What a file is that no importer reads, by its first bytes, and what makes a trace of it: a
// recording that must be printed first, another packing, another encoding. For a file of no known
// kind, how it begins and the formats that are read.
std::string foreignFileText(std::string_view head);

}  // namespace lanefeed_importers
