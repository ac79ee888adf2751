#pragma once

#include "common/trace_time.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace lanefeed_importers {

// A begin that waits for its end.
struct OpenSlice {
    TraceTime begin;
    std::uint32_t name = 0;
    std::uint32_t category = 0;
    std::string args;
};

// Joins the begins and ends of threads by name. Both are to come in order of time.
class OpenSlices {
public:
    void begin(std::uint32_t thread, OpenSlice slice);

    // Takes out what the end closes: the top for an anonymous end, else the nearest begin of that
    // name; begins above it stay without an end. False if there is none.
    bool end(std::uint32_t thread, std::uint32_t name, bool anonymous, OpenSlice& closed);

    std::uint64_t openCount() const { return m_open; }
    // Begins whose end can't come any more; at the end of a trace those still open come on top.
    std::uint64_t abandoned() const { return m_abandoned; }

private:
    struct Stack {
        std::vector<OpenSlice> slices;
        // Of each name on the stack, so that an end without begin needn't search all of it.
        std::unordered_map<std::uint32_t, std::size_t> names;
    };

    void pop(Stack& stack, OpenSlice& slice);

    std::vector<Stack> m_stacks;  // by thread
    std::uint64_t m_open = 0;
    std::uint64_t m_abandoned = 0;
};

}  // namespace lanefeed_importers
