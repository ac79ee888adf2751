#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace lanefeed_test {

// A table of questions and answers, for tests that ask one thing many times. Rows are parted by
// line ends or ";":
//
//   dd_thread.name 2 | worker
//   '' | none; ' ' | none
//   a long question |
//       a long answer
//
// Blanks around a question and an answer don't count; "''" stands for an empty text and quotes
// around a text keep its blanks. A question without "|" expects an empty answer.
inline void expectAnswers(const std::string& rows,
                          const std::function<std::string(const std::string& question)>& answer) {
    const auto bare = [](const std::string& text) -> std::string {
        const std::size_t first = text.find_first_not_of(" \n");
        if (first == std::string::npos) return {};
        const std::size_t last = text.find_last_not_of(" \n");
        const bool isQuoted = last > first && text[first] == '\'' && text[last] == '\'';
        return isQuoted ? text.substr(first + 1, last - first - 1)
                        : text.substr(first, last - first + 1);
    };
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
