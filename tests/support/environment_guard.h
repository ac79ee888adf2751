#pragma once

#include <optional>
#include <string>

namespace lanefeed_test {

// Sets or unsets a variable of the environment and puts the old state back at the end. Not while
// other threads read the environment. What a process asks only once must be set before its start.
class EnvironmentGuard {
public:
    EnvironmentGuard(std::string name, const std::string& value);
    // Unsets it.
    explicit EnvironmentGuard(std::string name);
    ~EnvironmentGuard();
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

}  // namespace lanefeed_test
