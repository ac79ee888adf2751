// Formulas of derived queries: text to steps in postfix order, and whether their members can be
// computed with each other. All is checked when a definition is read, since a formula that fails
// later fails row by row and far from its place.
// Tested by tests/queries/formulas_test.cpp.
#include "formulas.h"

#include "infix_text.h"
#include "query_objects.h"

#include <platkit_2_18/convert.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using slicekit_1_0::rpn_operation_t;
using slicekit_1_0::rpn_step_t;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

class FormulaText : public InfixText {
public:
    FormulaText(const std::string& text, const std::vector<sptr_t<IQuery>>& members)
        : InfixText(text), m_members(members) {}
    std::vector<rpn_step_t> takeSteps() { return std::move(m_steps); }

private:
    struct Function {
        const char* name;
        rpn_operation_t operation;
        bool takesMore;  // than two values
    };

    bool readOperand() override {
        const std::size_t start = place();
        if (accept('[')) {
            std::string id;
            return readUpTo(']', id) && takeMember(id, start);
        }
        const std::string word = readWord();
        rpn_step_t step;
        if (!word.empty() &&
            (std::isdigit(static_cast<unsigned char>(word.front())) != 0 || word.front() == '.')) {
            if (platkit_2_18::generic::convert::str_to_double(word, step.number)) {
                m_steps.push_back(step);
                return true;
            }
        }
        if (word.empty())
            return fail("a number, \"(\", a member or one of min, max, percent is expected");
        return accept('(') ? readCall(word, start) : takeMember(word, start);
    }

    bool readCall(const std::string& name, std::size_t start) {
        static constexpr Function kFunctions[] = {{"min", slicekit_1_0::rpnMin, true},
                                                  {"max", slicekit_1_0::rpnMax, true},
                                                  {"percent", slicekit_1_0::rpnPercent, false}};
        const auto* function =
            std::find_if(std::begin(kFunctions), std::end(kFunctions),
                         [&](const Function& known) { return name == known.name; });
        if (function == std::end(kFunctions)) {
            goTo(start);
            return fail(quoted(name) + " is no function; write min, max or percent");
        }
        if (!readSum()) return false;
        int count = 1;
        for (; (count < 2 || function->takesMore) && accept(','); ++count) {
            if (!readSum()) return false;
            add(function->operation);
        }
        if (count < 2) return fail("\",\" and another value are expected");
        return accept(')') || fail("\")\" is expected");
    }

    bool takeMember(const std::string& id, std::size_t start) {
        const auto member =
            std::find_if(m_members.begin(), m_members.end(),
                         [&](const sptr_t<IQuery>& known) { return known->getId() == id; });
        if (member == m_members.end()) {
            goTo(start);
            return fail(quoted(id) + " is no member; its members are " + memberNames());
        }
        rpn_step_t step;
        step.operation = slicekit_1_0::rpnMember;
        step.member = static_cast<int>(member - m_members.begin());
        m_steps.push_back(step);
        return true;
    }
    std::string memberNames() const {
        std::string names;
        for (const sptr_t<IQuery>& member : m_members) {
            if (member->getId().empty()) continue;
            names += (names.empty() ? "" : ", ") + member->getId();
        }
        return names.empty() ? "without ids" : names;
    }

    void take(Operation operation) override {
        switch (operation) {
        case Operation::add: add(slicekit_1_0::rpnAdd); break;
        case Operation::subtract: add(slicekit_1_0::rpnSubtract); break;
        case Operation::multiply: add(slicekit_1_0::rpnMultiply); break;
        case Operation::divide: add(slicekit_1_0::rpnDivide); break;
        case Operation::negate: add(slicekit_1_0::rpnNegate); break;
        }
    }
    void add(rpn_operation_t operation) {
        rpn_step_t step;
        step.operation = operation;
        m_steps.push_back(step);
    }

    const std::vector<sptr_t<IQuery>>& m_members;
    std::vector<rpn_step_t> m_steps;
};

bool canBeComputedWith(const sptr_t<IQuery>& query) {
    const QueryKind kind = traitsOf(query)->kind;
    return kind == QueryKind::time || kind == QueryKind::count ||
           kind == QueryKind::instanceCount || kind == QueryKind::derived;
}

std::vector<sptr_t<IInfoQuery>> expansionsOf(const sptr_t<IQuery>& query) {
    std::vector<sptr_t<IInfoQuery>> levels;
    for (auto link = query->getExpansionQuery(); !link.is_null(); link = link->getExpansionQuery())
        if (const auto info = IInfoQuery::cast(link); !info.is_null()) levels.push_back(info);
    return levels;
}

// Whether two inputs break down into the same attributes, so that their series can be paired.
bool expandAlike(const sptr_t<IQuery>& a, const sptr_t<IQuery>& b) {
    const auto left = expansionsOf(a);
    const auto right = expansionsOf(b);
    if (left.empty() || right.empty()) return true;
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const sptr_t<IInfoQuery>& x, const sptr_t<IInfoQuery>& y) {
                          return x->getAttributeTable() == y->getAttributeTable() &&
                                 x->getAttributeName() == y->getAttributeName();
                      });
}

// The queries that the formula is computed from in the end, each once.
std::vector<sptr_t<IQuery>> inputsOf(const QueryTraits& traits) {
    std::vector<sptr_t<IQuery>> inputs;
    const auto add = [&inputs](const sptr_t<IQuery>& input) {
        if (std::find(inputs.begin(), inputs.end(), input) == inputs.end()) inputs.push_back(input);
    };
    for (const rpn_step_t& step : traits.formula) {
        if (step.operation != slicekit_1_0::rpnMember) continue;
        const sptr_t<IQuery>& member = traits.members[static_cast<std::size_t>(step.member)];
        const QueryTraits& own = *traitsOf(member);
        if (own.kind != QueryKind::derived) {
            add(member);
            continue;
        }
        for (const sptr_t<IQuery>& input : own.inputs)
            add(input);
    }
    return inputs;
}

// Empty when the inputs go together.
std::string disagreement(const std::vector<sptr_t<IQuery>>& inputs) {
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!canBeComputedWith(inputs[i])) {
            return quoted(inputs[i]->getId()) +
                   " is no time, count or derived query, which alone can be computed with";
        }
        for (std::size_t k = 0; k < i; ++k) {
            if (inputs[k]->getId() == inputs[i]->getId()) {
                return "two queries that it is computed from are called " +
                       quoted(inputs[i]->getId()) + "; give them ids of their own";
            }
            if (!expandAlike(inputs[k], inputs[i])) {
                return quoted(inputs[k]->getId()) + " and " + quoted(inputs[i]->getId()) +
                       " are expanded by different attributes; expand them alike, or only one";
            }
        }
    }
    return {};
}

}  // namespace

bool readFormula(const std::string& text, QueryTraits& traits, std::string& error) {
    FormulaText reader(text, traits.members);
    if (!reader.read()) {
        error = "<formula> " + text + ": " + reader.error();
        return false;
    }
    traits.formula = reader.takeSteps();
    traits.inputs = inputsOf(traits);
    if (traits.inputs.empty())
        error = "<formula> " + text + " names no member, so that there is nothing to compute";
    else
        error = disagreement(traits.inputs);
    return error.empty();
}

}  // namespace lanefeed_runtime
