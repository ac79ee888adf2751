#pragma once

#include <basekit2/variant.h>

#include <atomic>
#include <string>

namespace basekit2 {

// Texts of variants: shared by the copies of a variant, never changed once made.
struct variant_t::text_t {
    explicit text_t(std::string value) : text(std::move(value)) {}
    std::atomic<int> count{1};
    const std::string text;
};

struct variant_t::wide_text_t {
    explicit wide_text_t(std::wstring value) : text(std::move(value)) {}
    std::atomic<int> count{1};
    const std::wstring text;
};

}  // namespace basekit2
