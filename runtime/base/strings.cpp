// Splitting and lower case of texts, without a locale.
// Tested by tests/base/platform_test.cpp.
#include <platkit_2_18/strings.h>

namespace platkit_2_18::strings {

std::vector<std::string> split_string(const std::string& text,
                                      const std::string& separator,
                                      int limit) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    std::size_t start = 0;
    const auto mayCut = [&] {
        return limit <= 0 || pieces.size() + 1 < static_cast<std::size_t>(limit);
    };
    while (!separator.empty() && mayCut()) {
        const std::size_t end = text.find(separator, start);
        if (end == std::string::npos) break;
        pieces.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

std::string lower_case(const std::string& text) {
    std::string lower = text;
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

}  // namespace platkit_2_18::strings
