// The processor of derived expressions. A formula comes as steps in postfix order; a member that is
// derived itself stands for its own formula, so that a program needs nothing but plain queries. A
// member that several formulas share is computed once and kept in a register: formulas that use
// each other over many levels would double their length at each otherwise.
// What is no finite number is no value and stays none until the end, so that 1 / (1 / 0) is not 0.
// Tested by tests/base/derived_table_test.cpp.
#include <slicekit_1_0/rpn_formula.h>
#include <slicekit_1_0/rpn_processor.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <utility>

namespace slicekit_1_0 {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using dataface_1::IDerivedQuery;
using dataface_1::IQuery;

constexpr int kMostLevels = 32;
constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

struct Instruction {
    enum Kind { number, input, keep, recall, operation };
    Kind kind = number;
    double value = 0;
    std::size_t index = 0;  // of an input or a register
    rpn_operation_t operated = rpnNumber;
};

double finiteOrNone(double value) {
    return std::isfinite(value) ? value : kNoValue;
}

double combined(rpn_operation_t operation, double left, double right) {
    if (std::isnan(left) || std::isnan(right)) return kNoValue;
    switch (operation) {
    case rpnAdd: return left + right;
    case rpnSubtract: return left - right;
    case rpnMultiply: return left * right;
    case rpnDivide: return left / right;
    case rpnMin: return std::min(left, right);
    case rpnMax: return std::max(left, right);
    case rpnPercent: return 100.0 * left / right;
    default: return kNoValue;
    }
}

class Program : public IRpnProgram {
public:
    Program(std::vector<sptr_t<IQuery>> inputs,
            std::vector<Instruction> instructions,
            std::size_t registers)
        : m_inputs(std::move(inputs)),
          m_instructions(std::move(instructions)),
          m_registers(registers) {}

    basekit2::generic_iterator_t<sptr_t<IQuery>> getInputs() const override {
        return basekit2::make_iterator(m_inputs);
    }

    double evaluate(const std::vector<double>& inputs) override {
        m_stack.clear();
        for (const Instruction& instruction : m_instructions) {
            switch (instruction.kind) {
            case Instruction::number: push(instruction.value); break;
            case Instruction::input:
                push(instruction.index < inputs.size() ? inputs[instruction.index] : kNoValue);
                break;
            case Instruction::keep: m_registers[instruction.index] = m_stack.back(); break;
            case Instruction::recall: push(m_registers[instruction.index]); break;
            case Instruction::operation: apply(instruction.operated); break;
            }
        }
        return m_stack.back();
    }

private:
    void push(double value) { m_stack.push_back(finiteOrNone(value)); }
    double pop() {
        const double value = m_stack.back();
        m_stack.pop_back();
        return value;
    }
    void apply(rpn_operation_t operation) {
        const double right = pop();
        push(operation == rpnNegate ? -right : combined(operation, pop(), right));
    }

    const std::vector<sptr_t<IQuery>> m_inputs;
    const std::vector<Instruction> m_instructions;
    std::vector<double> m_registers;
    std::vector<double> m_stack;
};

// Turns the formula of a query, and those of its members, into one program.
class Compiler {
public:
    // Null when a formula is none; `error` then says which and why.
    sptr_t<IRpnProgram> compile(const sptr_t<IDerivedQuery>& query) {
        if (!addFormula(query, 1)) return {};
        return basekit2::make_object<Program>(std::move(m_inputs), std::move(m_instructions),
                                              m_registers.size());
    }
    const std::string& error() const { return m_error; }

private:
    bool addFormula(const sptr_t<IDerivedQuery>& query, int level) {
        if (level > kMostLevels) return fail(*query, "is used through more than 32 formulas");
        const auto formula = basekit2::interface_cast<IRpnFormula>(query.get());
        if (formula.is_null()) return fail(*query, "has no formula");
        std::vector<sptr_t<IQuery>> members;
        for (auto it = query->getQueries(1); !it.at_end(); it.next())
            members.push_back(it.current());
        int height = 0;
        for (const rpn_step_t& step : formula->getSteps()) {
            const int taken = operandsOf(step.operation);
            if (height < taken) return fail(*query, "has a formula that lacks a value");
            height += 1 - taken;
            if (step.operation == rpnMember) {
                if (!addMember(*query, members, step.member, level)) return false;
            } else {
                const bool isNumber = step.operation == rpnNumber;
                add(isNumber ? Instruction::number : Instruction::operation, 0, step.number,
                    step.operation);
            }
        }
        return height == 1 || fail(*query, "has a formula that leaves no single value");
    }

    static int operandsOf(rpn_operation_t operation) {
        if (operation == rpnNumber || operation == rpnMember) return 0;
        return operation == rpnNegate ? 1 : 2;
    }

    bool addMember(const IDerivedQuery& query,
                   const std::vector<sptr_t<IQuery>>& members,
                   int index,
                   int level) {
        const auto place = static_cast<std::size_t>(index);
        if (index < 0 || place >= members.size() || members[place].is_null())
            return fail(query, "has a formula with an unknown member");
        const sptr_t<IDerivedQuery> derived = IDerivedQuery::cast(members[place]);
        if (derived.is_null()) {
            add(Instruction::input, inputOf(members[place]));
            return true;
        }
        const auto known = m_registers.find(derived.get());
        if (known != m_registers.end()) {
            add(Instruction::recall, known->second);
            return true;
        }
        if (!addFormula(derived, level + 1)) return false;
        add(Instruction::keep,
            m_registers.emplace(derived.get(), m_registers.size()).first->second);
        return true;
    }

    std::size_t inputOf(const sptr_t<IQuery>& query) {
        const auto known =
            std::find_if(m_inputs.begin(), m_inputs.end(), [&](const sptr_t<IQuery>& input) {
                return IQuery::areEqual(input, query, true, false);
            });
        if (known != m_inputs.end()) return static_cast<std::size_t>(known - m_inputs.begin());
        m_inputs.push_back(query);
        return m_inputs.size() - 1;
    }

    void add(Instruction::Kind kind,
             std::size_t index,
             double value = 0,
             rpn_operation_t operated = rpnNumber) {
        m_instructions.push_back({kind, value, index, operated});
    }

    bool fail(const IDerivedQuery& query, const char* what) {
        m_error = "derived query \"" + query.getId() + "\" " + what;
        return false;
    }

    std::vector<sptr_t<IQuery>> m_inputs;
    std::vector<Instruction> m_instructions;
    std::map<const IDerivedQuery*, std::size_t> m_registers;  // of members computed already
    std::string m_error;
};

class RpnProcessor : public IRpnProcessor {
public:
    void init(error_code_t& error, const sptr_t<dataface_1::IInputData>& input) override {
        m_isReady = !input.is_null();
        error = m_isReady ? error_code_t() : invalid("input");
    }

    error_code_t getProgram(const sptr_t<IDerivedQuery>& query, sptr_t<IRpnProgram>& out) override {
        if (!m_isReady) return invalid("processor initialised with a result");
        if (query.is_null()) return invalid("derived query");
        const auto known = m_programs.find(query);
        if (known != m_programs.end()) {
            out = known->second;
            return error_code_t::success;
        }
        Compiler compiler;
        const sptr_t<IRpnProgram> program = compiler.compile(query);
        if (program.is_null()) return invalid(compiler.error());
        m_programs.emplace(query, program);
        out = program;
        return error_code_t::success;
    }

private:
    static error_code_t invalid(const std::string& text) {
        return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, text.c_str(), __FILE__,
                                   __LINE__);
    }

    bool m_isReady = false;
    std::map<sptr_t<IDerivedQuery>, sptr_t<IRpnProgram>> m_programs;
};

}  // namespace

sptr_t<IRpnProcessor> createRpnProcessor() {
    return basekit2::make_object<RpnProcessor>();
}

}  // namespace slicekit_1_0
