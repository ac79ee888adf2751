#pragma once

#include <basekit2/type_id.h>
#include <basekit2/variant_bag.h>

namespace facekit_1_x {

// Asked of a query, through adapt_to_pointer, by toXmlString: the definition that the query was
// made from. Optional: a query without it is shown by its id. A query need not be derived from
// this; it may answer with a small object of its own. From any thread.
class IQueryDefinition : public basekit2::interface_t<IQueryDefinition> {
public:
    // The definition's element; the bag's own name is that of the element ("infoQuery", ...).
    virtual basekit2::variant_bag_t getDefinition() const = 0;

    static const char* interface_name() { return "facekit::IQueryDefinition"; }
};

}  // namespace facekit_1_x
