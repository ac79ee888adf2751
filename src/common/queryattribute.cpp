// Display attributes of queries, read with the kind that the reader expects. Tested by
// tests/viewpoint/parser_test.cpp.

#include "common/queryattribute.h"

#include "common/valuekind.h"

namespace lanefeed_1 {

basekit2::variant_t queryAttribute(const dataface_1::IQuery* query, const char* name) {
    basekit2::variant_t value;
    if (query != nullptr) query->getAttribute(name, value);
    return value;
}

std::string textAttribute(const dataface_1::IQuery* query,
                          const char* name,
                          const Place& place,
                          const std::string& fallback) {
    const basekit2::variant_t value = queryAttribute(query, name);
    if (value.is_null()) return fallback;
    checked(isText(value), place, "can_get<const char*>()");
    return value.get<std::string>();
}

bool flagAttribute(const dataface_1::IQuery* query,
                   const char* name,
                   const Place& place,
                   bool fallback) {
    const basekit2::variant_t value = queryAttribute(query, name);
    if (value.is_null()) return fallback;
    checked(isFlag(value), place, "can_get<bool>()");
    return value.get<bool>();
}

basekit2::variant_t layeredAttribute(const DicerDataSource& source,
                                     const char* name,
                                     ValueTest fits,
                                     const Place& place,
                                     const char* noDefaultQuery) {
    basekit2::variant_t value = queryAttribute(source.m_vectorQuery.get(), name);
    if (fits(value)) return value;
    checked(!source.m_defaultQuery.is_null(), place, noDefaultQuery);
    return queryAttribute(source.m_defaultQuery.get(), name);
}

}  // namespace lanefeed_1
