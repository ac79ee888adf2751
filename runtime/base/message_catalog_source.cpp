// The source of message catalogs in force. The slot is never destroyed: texts may be asked for
// while the process ends.
// Tested by tests/base/platform_test.cpp.
#include <settingstore2/message_catalogs.h>

#include <mutex>

namespace settingstore2 {
namespace {

struct Slot {
    std::mutex mutex;
    basekit2::sptr_t<IMessageCatalogSource> source;  // guarded by mutex
};

Slot& slot() {
    static auto* const kept = new Slot;
    return *kept;
}

}  // namespace

basekit2::sptr_t<IMessageCatalogSource> getMessageCatalogSource() {
    Slot& current = slot();
    const std::lock_guard<std::mutex> lock(current.mutex);
    return current.source;
}

void setMessageCatalogSource(const basekit2::sptr_t<IMessageCatalogSource>& source) {
    Slot& current = slot();
    basekit2::sptr_t<IMessageCatalogSource> old = source;
    const std::lock_guard<std::mutex> lock(current.mutex);
    std::swap(current.source, old);
}

}  // namespace settingstore2
