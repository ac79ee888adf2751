#pragma once

#include <string_view>

namespace lanefeed_importers {

class Importer;

// The format of a file by its first unpacked bytes, 64 kB at most; null if it is none that is
// known. A text at least half of whose lines are events of a format is of that format, whatever its
// begin looks like: a text that was cut begins inside of a line. Else the begin decides.
const Importer* importerFor(std::string_view head);

}  // namespace lanefeed_importers
