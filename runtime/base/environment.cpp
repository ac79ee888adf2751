// Values of the environment.
// Tested by tests/base/platform_test.cpp.
#include <basekit2/environment.h>

#include <cstdlib>

namespace basekit2 {

std::string get_environ_value(const std::string& name) {
    // Safe as long as nobody writes the environment meanwhile; the library never does.
    const char* value = std::getenv(name.c_str());  // NOLINT(concurrency-mt-unsafe)
    return value != nullptr ? value : "";
}

}  // namespace basekit2
