#pragma once

#include <string>
#include <utility>

namespace lanefeed_importers {

// What came of an import. The text names file, place and remedy in one line.
struct ImportError {
    enum class Kind {
        none,
        failed,         // no file, no permission, disk full
        notUnderstood,  // not a trace, or a damaged one
        cancelled
    };

    Kind kind = Kind::none;
    std::string text;

    bool failed() const { return kind != Kind::none; }

    static ImportError failure(std::string text) { return {Kind::failed, std::move(text)}; }
    static ImportError badInput(std::string text) { return {Kind::notUnderstood, std::move(text)}; }
    static ImportError cancelled() { return {Kind::cancelled, "interrupted"}; }
};

}  // namespace lanefeed_importers
