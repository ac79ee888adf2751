#pragma once

#include "query_traits.h"

#include <basekit2/variant_bag.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// What a definition is built with.
struct BuildContext {
    // The query of an id that a definition refers to, null when there is none.
    std::function<basekit2::sptr_t<dataface_1::IQuery>(const std::string& id)> find;
    std::shared_ptr<const ColumnTest> hasColumn;
};

// Name of the element that refers to a query by its id, which is its text.
inline constexpr const char* kReferenceElement = "queryRef";

// Whether an element stands for a query: a definition or a reference.
bool isQueryElement(const std::string& name);

// The query that an element defines or refers to; its name tells the kind. Null when the definition
// has errors; `error` then tells the first one and what to do about it.
basekit2::sptr_t<dataface_1::IQuery> buildQuery(const basekit2::variant_bag_t& element,
                                                const BuildContext& context,
                                                std::string& error);

// Ids that an element refers to, at any depth.
std::vector<std::string> referredIds(const basekit2::variant_bag_t& element);

// Text of an entry of a bag in printed form, whatever its type; empty when it is absent.
std::string entryText(const basekit2::variant_bag_t& bag, const std::string& name);
// Text between the tags of an element, without blanks at its ends.
std::string elementText(const basekit2::variant_bag_t& element);

}  // namespace lanefeed_runtime
