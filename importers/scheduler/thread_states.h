#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
}

namespace lanefeed_importers {

class TaskRows;

// What a thread does, in the terms of dd_state.
enum class ThreadState {
    none,  // not known yet, on a core, or gone
    running,
    runnable,  // ready, waiting for a core
    sleeping,  // waits and can be interrupted, or is a kernel thread without work
    blocked,   // waits and can't be interrupted, mostly for a device
    stopped,   // by a signal or a debugger
    parked,    // a kernel thread whose core is away
    idle       // a core without anything to run
};
inline constexpr std::size_t kThreadStates = static_cast<std::size_t>(ThreadState::idle) + 1;

// Empty for none.
std::string_view nameOf(ThreadState state);
// Of the letters of a switch, such as "R+" or "D|W", or of its bits as a number, such as "1" or
// "0x100"; none for a thread that has ended and for what has no meaning.
ThreadState stateOf(std::string_view letters);

// The states of all threads over time, as rows of state_data. Those of one thread don't overlap as
// long as the switches are in step.
class ThreadStates {
public:
    ThreadStates(TaskRows& tasks, lanefeed_runtime::ResultWriter& writer);

    // The task had the core from `begin` to `end`, when it left it for `next`.
    void ran(
        std::uint32_t task, std::int64_t begin, std::int64_t end, int coreRow, ThreadState next);
    // It left a core whose switch before isn't known.
    void left(std::uint32_t task, std::int64_t time, ThreadState next);
    void gotCore(std::uint32_t task, std::int64_t time);
    void woken(std::uint32_t task, std::int64_t time);
    // It has lost the core that it got at `since`, nobody knows when.
    void lost(std::uint32_t task, std::int64_t since);
    // What is open lasts to the last time of all.
    void finish();

    // Row of a state in dd_state.
    int row(ThreadState state);

private:
    struct Open {
        std::int64_t since = 0;
        ThreadState state = ThreadState::none;
        bool onCore = false;  // then the state is none
    };

    Open& openAt(std::uint32_t task, std::int64_t time);
    void close(std::uint32_t task, const Open& open, std::int64_t time);
    void store(
        std::uint32_t task, ThreadState state, std::int64_t begin, std::int64_t end, int coreRow);

    TaskRows& m_tasks;
    lanefeed_runtime::ResultWriter& m_writer;
    std::vector<Open> m_open;                 // by task
    std::array<int, kThreadStates> m_rows{};  // by state; -1 as long as nobody asked
    std::int64_t m_latest = std::numeric_limits<std::int64_t>::min();
};

}  // namespace lanefeed_importers
