#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace lanefeed_test {

// NOLINTBEGIN(concurrency-mt-unsafe)

// Sets a variable of the environment, or unsets it for a null value, and puts the old state back at
// the end. Not while other threads read the environment. What a process asks only once must be set
// before its start.
class EnvironmentGuard {
public:
    explicit EnvironmentGuard(std::string name, const char* value = nullptr)
        : m_name(std::move(name)) {
        const char* old = std::getenv(m_name.c_str());
        if (old != nullptr) m_old = old;
        put(value);
    }
    ~EnvironmentGuard() { put(m_old ? m_old->c_str() : nullptr); }
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    void put(const char* value) const {
        value != nullptr ? setenv(m_name.c_str(), value, 1) : unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_old;
};

// NOLINTEND(concurrency-mt-unsafe)

}  // namespace lanefeed_test
