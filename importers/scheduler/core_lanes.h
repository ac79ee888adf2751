#pragma once

#include "scheduler/thread_states.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
}

namespace lanefeed_importers {

class TaskRows;

enum class InterruptKind { irq, softirq };

struct CoreSwitch {
    std::uint32_t prev = 0;  // task
    ThreadState prevState = ThreadState::none;
    std::uint32_t next = 0;
};

// What runs on each core: tasks, nothing, interrupts. The time between two switches of a core
// belongs to the task that leaves it at the second one; before the first and after the last switch
// nothing is known.
class CoreLanes {
public:
    CoreLanes(TaskRows& tasks, ThreadStates& states, lanefeed_runtime::ResultWriter& writer);

    void switched(int core, std::int64_t time, const CoreSwitch& change);
    void interruptBegin(int core, std::int64_t time, InterruptKind kind, std::string_view name);
    void interruptEnd(int core, std::int64_t time, InterruptKind kind);

    std::uint64_t switches() const { return m_switches; }
    // The task that leaves isn't the one that came: switches were lost.
    std::uint64_t switchesOutOfStep() const { return m_outOfStep; }
    // Left out because they would end before they begin.
    std::uint64_t backwardSpans() const { return m_backward; }
    // Of runningIntervals() those that are shorter than the clock shows. They aren't stored, for an
    // instance takes one tick at least.
    std::uint64_t emptyIntervals() const { return m_empty; }
    std::uint64_t runningIntervals() const { return m_runningIntervals; }
    std::int64_t runningTotal() const { return m_runningTotal; }  // ns
    std::uint64_t interruptPairs() const { return m_pairs; }
    std::uint64_t orphanInterruptEnds() const { return m_orphanEnds; }
    std::uint64_t unclosedInterrupts() const;

private:
    struct OpenInterrupt {
        std::int64_t begin = 0;
        int task = -1;  // row in dd_task
    };
    struct Core {
        bool known = false;  // has had a switch
        std::int64_t since = 0;
        std::uint32_t task = 0;                                // that came
        std::array<std::vector<OpenInterrupt>, 2> interrupts;  // by kind
    };

    Core& coreAt(int core);
    void closeLane(int core, std::int64_t begin, std::int64_t end, const CoreSwitch& change);
    int categoryRow(InterruptKind kind);

    TaskRows& m_tasks;
    ThreadStates& m_states;
    lanefeed_runtime::ResultWriter& m_writer;
    std::unordered_map<int, Core> m_cores;
    Core* m_last = nullptr;  // that m_lastCore names; entries of the map never move
    int m_lastCore = 0;
    std::array<int, 2> m_categoryRows{-1, -1};
    std::uint64_t m_switches = 0;
    std::uint64_t m_outOfStep = 0;
    std::uint64_t m_backward = 0;
    std::uint64_t m_empty = 0;
    std::uint64_t m_runningIntervals = 0;
    std::int64_t m_runningTotal = 0;
    std::uint64_t m_pairs = 0;
    std::uint64_t m_orphanEnds = 0;
};

}  // namespace lanefeed_importers
