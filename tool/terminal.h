#pragma once

#include <string>

namespace lanefeed_tool {

// Columns left for drawn curves on stdout: 0 when it is no terminal that shows them.
int curveWidthOfTerminal();

// True when stderr is a terminal, for progress.
bool showsProgress();

// Whether files can be made in a folder; an empty name is the current one.
bool isWritableFolder(const std::string& folder);

}  // namespace lanefeed_tool
