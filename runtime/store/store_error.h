#pragma once

#include <string>

namespace lanefeed_runtime {

// Why a result could not be opened, read or written. The text names the file, the place and what to
// do about it, and is fit for a user.
struct StoreError {
    enum class Kind {
        none,
        cannotRead,     // no file, no permission, input or output error
        cannotWrite,    // the same on the way out; disk full
        exists,         // another result stands at the target
        notUnderstood,  // no result, another schema version, damaged
        cancelled
    };

    Kind kind = Kind::none;
    std::string text;

    bool failed() const { return kind != Kind::none; }
};

}  // namespace lanefeed_runtime
