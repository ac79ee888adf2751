#pragma once

#include <string>
#include <vector>

namespace lanefeed_tool {

// A drawn curve of block characters: the values folded into `width` columns, each as high as its
// largest value against `top`. A column without data (NaN) is blank.
std::string drawCurve(const std::vector<double>& values, int width, double top);

}  // namespace lanefeed_tool
