#pragma once

#include "profilinghooks.h"

#include <string>

namespace lanefeed_1 {

// Reports a stretch of work to the host's profiler: the task begins with the scope and ends with
// it, on every way out. Does nothing when the host has installed no hooks.
class trace_event_scope {
public:
    explicit trace_event_scope(const std::string& name);
    ~trace_event_scope();
    trace_event_scope(const trace_event_scope&) = delete;
    trace_event_scope& operator=(const trace_event_scope&) = delete;

private:
    ProfilingDomain* m_domain = nullptr;  // null: nothing has begun; owned by the host
    void (*m_endTask)(ProfilingDomain*) = nullptr;
};

}  // namespace lanefeed_1
