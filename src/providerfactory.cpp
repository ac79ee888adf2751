// Which provider a client gets. Tested by tests/provider/binding_test.cpp.

#include "common/check.h"
#include "dbiproviderimpl.h"
#include "timelinedbproviderimpl.h"

#include <basekit2/environment.h>

namespace lanefeed_1 {

basekit2::sptr_t<IDicerProvider> IDicerProvider::create(
    basekit2::sptr_t<dataface_1::IInputData> input) {
    auto ret = createDbiProvider(std::move(input));
    LF_CHECK(ret);
    return ret;
}

basekit2::sptr_t<IDicerProvider> createDbiProvider(basekit2::sptr_t<dataface_1::IInputData> input) {
    // Whatever comes of it: asking alone makes a database behind a proxy.
    basekit2::sptr_t<storelink1::IPerfDatabase> perfDb;
    dataface_1::lookup(input, perfDb);
    return createDbiProvider();
}

basekit2::sptr_t<IDicerProvider> createDbiProvider() {
    if (!basekit2::get_environ_value("LANEFEED_SQLITE").empty())
        return basekit2::make_object<DbiProviderImpl>();
    return basekit2::make_object<TimelineDbProviderImpl>();
}

}  // namespace lanefeed_1
