// Scopes of self-profiling over the hooks of the host. Tested by tests/provider/services_test.cpp.

#include "common/tracescope.h"

namespace lanefeed_1 {

namespace {

ProfilingHooks& installedHooks() {
    static ProfilingHooks hooks;
    return hooks;
}

// The library's one domain, made when it is first needed and kept for the process.
ProfilingDomain* libraryDomain(const ProfilingHooks& hooks) {
    static ProfilingDomain* const domain = hooks.createDomain("morlo");
    return domain;
}

}  // namespace

void setProfilingHooks(const ProfilingHooks& hooks) {
    installedHooks() = hooks;
}

trace_event_scope::trace_event_scope(const std::string& name) {
    const ProfilingHooks& hooks = installedHooks();
    if (hooks.createDomain == nullptr || hooks.createStringHandle == nullptr) return;
    if (hooks.beginTask == nullptr || hooks.endTask == nullptr) return;
    ProfilingDomain* domain = libraryDomain(hooks);
    if (domain == nullptr) return;
    const void* handle = hooks.createStringHandle(name.c_str());
    if (!domain->enabled) return;
    hooks.beginTask(domain, handle);
    m_domain = domain;
    m_endTask = hooks.endTask;
}

trace_event_scope::~trace_event_scope() {
    // The same test again: a domain that the host has disabled meanwhile takes no more calls.
    if (m_domain != nullptr && m_domain->enabled) m_endTask(m_domain);
}

}  // namespace lanefeed_1
