// Requests that the providers of this version don't serve: transition tables. Each answers what it
// answers on a failure.

#include "baseproviderimpl.h"

namespace lanefeed_1 {

bool BaseProviderImpl::getTransitionData(const QueryParam& /*param*/,
                                         basekit2::sptr_t<dataface_1::ITableTree>& /*out*/) {
    return false;
}

}  // namespace lanefeed_1
