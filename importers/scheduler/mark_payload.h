#pragma once

#include <cstdint>
#include <string_view>

namespace lanefeed_importers {

// What a program wrote into the kernel's trace. Texts are parts of the line.
struct MarkPayload {
    enum class Kind {
        begin,       // B|TGID|NAME; a cut one without a name still awaits its end
        end,         // E or E|TGID
        counter,     // C|TGID|NAME|VALUE
        asyncBegin,  // S|TGID|NAME|COOKIE
        asyncEnd,    // F|TGID|NAME|COOKIE
        text         // anything else
    };
    Kind kind = Kind::text;
    std::int32_t process = -1;  // -1 if the mark doesn't tell
    // Of a text who writes, or all of it. Empty for an end, and for a cut begin.
    std::string_view name;
    // Of a counter its value, of an async mark its cookie, of a text what its writer says.
    std::string_view value;
};

// Of a mark event's payload, with or without the "tracing_mark_write: " of some tools before it.
// False for a mark that lacks a part, such as "C|12|name".
bool parseMark(std::string_view text, MarkPayload& out);

}  // namespace lanefeed_importers
