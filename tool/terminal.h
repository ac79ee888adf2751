#pragma once

namespace lanefeed_tool {

// Columns left for drawn curves on stdout: 0 when it is no terminal that shows them.
int curveWidthOfTerminal();

// True when stderr is a terminal, for progress.
bool showsProgress();

}  // namespace lanefeed_tool
