#pragma once

namespace lanefeed_runtime {

// Tells that something is wrong and goes on: the text and its place at error level on the library's
// logger, and the assertion handler when the environment asks for it.
void alert(const char* text, const char* file, int line);

}  // namespace lanefeed_runtime
