#pragma once

#include "export.h"

namespace lanefeed_1 {

// A domain of the host's profiler, owned by the host and alive until the process ends.
struct ProfilingDomain {
    bool enabled = false;
};

// How the library tells a profiler of the host what it is doing. Each hook may be null: then
// nothing is told. Called on the threads that the work is done on.
struct ProfilingHooks {
    // Called once per process, with the name of the library's domain. May answer null.
    ProfilingDomain* (*createDomain)(const char* name) = nullptr;
    // A handle for the name of a task, which the host keeps.
    const void* (*createStringHandle)(const char* name) = nullptr;
    // Tasks nest: each end closes the latest begin of its thread.
    void (*beginTask)(ProfilingDomain* domain, const void* nameHandle) = nullptr;
    void (*endTask)(ProfilingDomain* domain) = nullptr;
};

// Installs the hooks. To be called before the first request, while no other thread is in the
// library.
LANEFEED_API void setProfilingHooks(const ProfilingHooks& hooks);

}  // namespace lanefeed_1
