#pragma once

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
void expectAnswers(const std::string& rows,
                   const std::function<std::string(const std::string& question)>& answer);

}  // namespace lanefeed_test
