#pragma once

#include <basekit2/error_code.h>

#include <string>

namespace lanefeed_runtime {

// An error of a grid section or query, without a place in these sources: it is about what the
// section says, and is shown to whoever wrote it.
inline basekit2::error_code_t gridError(const std::string& text) {
    return basekit2::error_code_t::raise(basekit2::error::IsNot.Expected.Situation, text.c_str(),
                                         nullptr, 0);
}

}  // namespace lanefeed_runtime
