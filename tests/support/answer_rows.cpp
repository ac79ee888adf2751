#include "support/answer_rows.h"

#include <gtest/gtest.h>

namespace lanefeed_test {

namespace {

std::string bare(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \n");
    if (first == std::string::npos) return {};
    const std::size_t last = text.find_last_not_of(" \n");
    const bool isQuoted = last > first && text[first] == '\'' && text[last] == '\'';
    return isQuoted ? text.substr(first + 1, last - first - 1)
                    : text.substr(first, last - first + 1);
}

}  // namespace

void expectAnswers(const std::string& rows,
                   const std::function<std::string(const std::string& question)>& answer) {
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = rows.find_first_of(";\n", start);
        if (end != std::string::npos && end > 0 && rows[end - 1] == '|')
            end = rows.find_first_of(";\n", end + 1);
        const std::string row = rows.substr(start, end - start);
        if (bare(row).empty()) continue;
        const std::size_t bar = row.rfind('|');
        const std::string question = bare(row.substr(0, bar));
        const std::string expected = bar == std::string::npos ? "" : bare(row.substr(bar + 1));
        EXPECT_EQ(answer(question), expected) << "asked for " << question;
    }
}

}  // namespace lanefeed_test
