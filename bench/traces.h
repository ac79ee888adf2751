#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Traces out of a seed, for benchmarks: the same shape and seed give the same trace on any machine.
namespace lanefeed_bench {

struct TraceShape {
    std::size_t instances = 1'000'000;
    int rows = 64;
    int depth = 7;     // of nested calls
    int names = 1000;  // of calls
    std::uint64_t seed = 1;
};

// One call: ticks [begin, end).
struct Call {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    int row = 0;   // 0 .. rows - 1
    int name = 0;  // 0 .. names - 1
};

struct Trace {
    TraceShape shape;
    std::vector<Call> calls;   // by begin, an outer call before the calls inside it
    std::uint64_t behind = 0;  // first tick after the trace; it starts at 1
};

// Rows differ in size like 1 / rank^0.8; calls come in bursts of nested stacks with idle gaps
// between them; on average there are 2000 ticks for each call of the trace.
Trace makeTrace(const TraceShape& shape);

}  // namespace lanefeed_bench
