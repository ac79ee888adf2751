#pragma once

#include <basekit2/variant.h>
#include <basekit2/variant_bag.h>
#include <dataface_1/query_kinds.h>
#include <slicekit_1_0/rpn_formula.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Most links that a chain of expansions may have, most levels of definitions inside each other and
// of members below a query.
inline constexpr int kMaxChainLength = 32;

enum class QueryKind { info, data, time, count, instanceCount, derived, vector };

// Name of the element that defines a query of a kind, such as "infoQuery".
const char* elementName(QueryKind kind);
// All such names, for messages.
std::string queryElements();
// The kind of an element; false when it defines no query.
bool kindOfElement(const std::string& element, QueryKind& kind);

// Values of getUnitKind. Only percent has a meaning to the library.
enum UnitKind : int { unitNone = 0, unitPercent = 1, unitCount = 2, unitValue = 3 };

// Tells whether a table of the open result has a column, both named as in a path. Without a result
// there is nothing to tell and no test is made.
using ColumnTest = std::function<bool(const std::string& table, const std::string& column)>;

// All that a definition says, for every kind of query. Immutable once a query holds it; a changed
// query holds a changed copy.
struct QueryTraits {
    QueryKind kind = QueryKind::info;
    std::string id;
    std::string name;            // key of the display name
    std::string help;            // one line for people, in lists of queries
    std::string instanceTable;   // before the "::" of the path
    std::string attributeTable;  // after it
    std::string attributeName;
    std::string displayText;
    std::string flatGrouping;
    std::string grouping;
    bool globalGrouping = false;
    int unitKind = unitNone;
    std::vector<basekit2::variant_t> values;                    // restrictions
    std::map<std::string, basekit2::variant_t> attributes;      // display attributes
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> members;  // of a vector or a derived query
    int memberLevels = 0;                                       // levels of members below this one
    std::vector<slicekit_1_0::rpn_step_t> formula;              // of a derived query
    std::vector<basekit2::sptr_t<dataface_1::IQuery>>
        inputs;  // what it is computed from, each once
    basekit2::sptr_t<dataface_1::IQuery> expansion;
    // Links of the chain that this query stands for as well, since it was combined.
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> folded;
    basekit2::sptr_t<dataface_1::IExpression> minExpression;
    basekit2::sptr_t<dataface_1::IExpression> maxExpression;
    std::shared_ptr<const ColumnTest> hasColumn;
    std::shared_ptr<const basekit2::variant_bag_t> definition;  // the element, for messages
};

// Mixed into every query of this library.
class HasTraits {
public:
    virtual const QueryTraits& traits() const = 0;

protected:
    ~HasTraits() = default;
};

}  // namespace lanefeed_runtime
