#include "query_traits.h"

#include <algorithm>
#include <array>

namespace lanefeed_runtime {
namespace {

struct KindName {
    QueryKind kind;
    const char* element;
};

constexpr std::array<KindName, 7> kKindNames = {{{QueryKind::info, "infoQuery"},
                                                 {QueryKind::data, "dataQuery"},
                                                 {QueryKind::time, "timeQuery"},
                                                 {QueryKind::count, "countQuery"},
                                                 {QueryKind::instanceCount, "instanceCountQuery"},
                                                 {QueryKind::derived, "derivedQuery"},
                                                 {QueryKind::vector, "vectorQuery"}}};

}  // namespace

const char* elementName(QueryKind kind) {
    return kKindNames[static_cast<std::size_t>(kind)].element;
}

std::string queryElements() {
    std::string names;
    for (const KindName& entry : kKindNames)
        names += (names.empty() ? "" : ", ") + std::string(entry.element);
    return names;
}

bool kindOfElement(const std::string& element, QueryKind& kind) {
    const auto* found =
        std::find_if(kKindNames.begin(), kKindNames.end(),
                     [&](const KindName& entry) { return element == entry.element; });
    if (found == kKindNames.end()) return false;
    kind = found->kind;
    return true;
}

}  // namespace lanefeed_runtime
