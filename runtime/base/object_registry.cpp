// The registry of type keys. One per process, because all modules share this library; it is never
// destroyed, since objects may ask for types while the process ends.
// Tested by tests/base/platform_test.cpp.
#include <basekit2/type_id.h>

#include <mutex>
#include <unordered_map>

namespace basekit2 {
namespace {

struct Registry {
    std::mutex mutex;
    std::unordered_map<std::string, unsigned int> numbers;  // guarded by mutex
};

Registry& registry() {
    static auto* const kept = new Registry;
    return *kept;
}

}  // namespace

unsigned int register_type_id(const std::string& key) {
    Registry& types = registry();
    const std::lock_guard<std::mutex> lock(types.mutex);
    const auto next = static_cast<unsigned int>(types.numbers.size() + 1);
    return types.numbers.emplace(key, next).first->second;
}

}  // namespace basekit2
