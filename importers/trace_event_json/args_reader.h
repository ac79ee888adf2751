#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace lanefeed_importers {

// A member of the arguments of an event.
struct ArgsMember {
    std::string_view key;
    std::string_view text;     // of a plain value
    bool maybeNumber = false;  // a number, or a text that may hold one
};

// Calls `member` for each member of the object in `json`, which is well-formed.
void readArgs(const std::string& json, const std::function<void(const ArgsMember&)>& member);

}  // namespace lanefeed_importers
