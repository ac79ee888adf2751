#pragma once

#include <basekit2/type_id.h>

#include <vector>

namespace slicekit_1_0 {

// What a step of a formula does to the stack of values. The operations on two values take the last
// one as the right operand.
enum rpn_operation_t {
    rpnNumber,  // puts a number
    rpnMember,  // puts the value of a member of the derived query
    rpnAdd,
    rpnSubtract,
    rpnMultiply,
    rpnDivide,
    rpnMin,
    rpnMax,
    rpnPercent,  // 100 * left / right
    rpnNegate    // of one value
};

struct rpn_step_t {
    rpn_operation_t operation = rpnNumber;
    double number = 0;  // of rpnNumber
    int member = 0;     // of rpnMember: place in IDerivedQuery::getQueries(1), from 0

    friend bool operator==(const rpn_step_t& a, const rpn_step_t& b) {
        return a.operation == b.operation && a.number == b.number && a.member == b.member;
    }
};

// Asked of a derived query, through adapt_to_pointer: how its value is computed. A query need not
// be derived from this; it may answer with a small object of its own. From any thread.
class IRpnFormula : public basekit2::interface_t<IRpnFormula> {
public:
    // In postfix order; one value is left at the end.
    virtual std::vector<rpn_step_t> getSteps() const = 0;

    static const char* interface_name() { return "slicekit::IRpnFormula"; }
};

}  // namespace slicekit_1_0
