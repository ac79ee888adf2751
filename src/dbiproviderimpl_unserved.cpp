// What the providers of this version don't serve: master tables. The answer is that of a failure.

#include "dbiproviderimpl.h"

namespace lanefeed_1 {

basekit2::sptr_t<IMasterTableMgr> DbiProviderImpl::createMastertableMgr() {
    return {};
}

}  // namespace lanefeed_1
