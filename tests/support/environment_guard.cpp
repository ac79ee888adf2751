// Variables of the environment for the length of a test, which is where alone they are written.
// NOLINTBEGIN(concurrency-mt-unsafe)
#include "environment_guard.h"

#include <cstdlib>

namespace lanefeed_test {
namespace {

std::optional<std::string> current(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace

EnvironmentGuard::EnvironmentGuard(std::string name)
    : m_name(std::move(name)), m_old(current(m_name)) {
    unsetenv(m_name.c_str());
}

EnvironmentGuard::EnvironmentGuard(std::string name, const std::string& value)
    : EnvironmentGuard(std::move(name)) {
    setenv(m_name.c_str(), value.c_str(), 1);
}

EnvironmentGuard::~EnvironmentGuard() {
    if (m_old)
        setenv(m_name.c_str(), m_old->c_str(), 1);
    else
        unsetenv(m_name.c_str());
}

}  // namespace lanefeed_test
// NOLINTEND(concurrency-mt-unsafe)
