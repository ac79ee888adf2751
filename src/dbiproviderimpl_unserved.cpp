// Requests that the providers of this version don't serve: counts and master tables. Each answers
// what it answers on a failure.

#include "dbiproviderimpl.h"

namespace lanefeed_1 {

bool DbiProviderImpl::getCountData(const QueryParam& /*param*/, Forest& /*trees*/) {
    return false;
}

bool DbiProviderImpl::getInstanceCountData(const QueryParam& /*param*/, Forest& /*trees*/) {
    return false;
}

bool DbiProviderImpl::getData(const QueryParam& /*param*/, Forest& /*trees*/, DataType /*type*/) {
    return false;
}

bool DbiProviderImpl::needMergeData(const QueryParam& /*param*/, bool& /*merge*/) {
    return false;
}

bool DbiProviderImpl::getDataForRowLevel(
    const QueryParam& /*param*/,
    const basekit2::sptr_t<dataface_1::IInfoQuery>& /*rowQuery*/,
    int /*level*/,
    Forest& /*trees*/,
    bool /*merge*/,
    DataType /*type*/) {
    return false;
}

basekit2::sptr_t<IMasterTableMgr> DbiProviderImpl::createMastertableMgr() {
    return {};
}

}  // namespace lanefeed_1
