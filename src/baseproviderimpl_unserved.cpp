// Requests that the providers of this version don't serve: derived series and transition tables.
// Each answers what it answers on a failure.

#include "baseproviderimpl.h"

#include <slicekit_1_0/rpn_processor.h>

namespace lanefeed_1 {

bool BaseProviderImpl::getDerivedOverTimeData(
    const QueryParam& /*param*/,
    std::vector<OverTimeData>& /*data*/,
    basekit2::sptr_t<slicekit_1_0::IRpnProcessor>& /*rpnProcessor*/,
    double& /*scale*/) {
    return false;
}

bool BaseProviderImpl::getTransitionData(const QueryParam& /*param*/,
                                         basekit2::sptr_t<dataface_1::ITableTree>& /*out*/) {
    return false;
}

}  // namespace lanefeed_1
