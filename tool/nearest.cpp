// Advice for misspelt words: verbs, columns, ids of queries. Tested by
// tests/tool/errors_test.cpp.

#include "nearest.h"

#include <algorithm>
#include <cstddef>

namespace lanefeed_tool {

namespace {

constexpr std::size_t kFarthest = 2;

std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> line(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        line[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = line[0];
        line[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = line[j];
            line[j] = std::min({line[j] + 1, line[j - 1] + 1, replaced});
        }
    }
    return line[b.size()];
}

}  // namespace

std::string nearestWord(const std::string& given, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t best = kFarthest + 1;
    for (const std::string& word : known) {
        // Words of other lengths are farther than that; no need to compare long texts.
        if (word.size() > given.size() + kFarthest || given.size() > word.size() + kFarthest)
            continue;
        const std::size_t distance = editDistance(given, word);
        if (distance < best) {
            best = distance;
            nearest = word;
        }
    }
    return nearest;
}

std::string nearestAdvice(const std::string& given, const std::vector<std::string>& known) {
    const std::string nearest = nearestWord(given, known);
    return nearest.empty() ? nearest : "; did you mean '" + nearest + "'?";
}

}  // namespace lanefeed_tool
