#pragma once

#include <string>
#include <vector>

namespace lanefeed_tool {

// The known word that a misspelt one most likely meant: at most two letters off. Empty for none.
std::string nearestWord(const std::string& given, const std::vector<std::string>& known);
// "; did you mean 'X'?" for that word, empty for none.
std::string nearestAdvice(const std::string& given, const std::vector<std::string>& known);

}  // namespace lanefeed_tool
