// Elements, queries and data sources. Tested by tests/viewpoint/parser_test.cpp.

#include "common/querysource.h"

namespace lanefeed_1 {

basekit2::sptr_t<dataface_1::IVectorQuery> resolveElement(dataface_1::IQueryLibrary* library,
                                                          const basekit2::variant_bag_t& element,
                                                          relay2::IMessenger* messenger) {
    if (library == nullptr) return nullptr;
    return library->resolveQuery(element, messenger);
}

void setSource(DicerDataSource& source, const dataface_1::IInfoQuery& query) {
    source.set(query.getAttributeTable(), query.getInstanceTable(), query.getAttributeName(), "");
}

}  // namespace lanefeed_1
