// Expressions for the ends of an axis.
// The text is turned into steps of a stack machine when a definition is read, so that a slip is
// told with its place; evaluating runs the steps against the open result, without any filter, so
// that an axis keeps still while the user filters.
// Tested by tests/queries/formulas_test.cpp.
#include "expressions.h"

#include "infix_text.h"

#include <platkit_2_18/convert.h>
#include <storelink1/database.h>

#include <cmath>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using storelink1::IDatabase;

enum class Op { number, add, subtract, multiply, divide, negate, count, min, max, duration, ticks };

struct Step {
    Op op = Op::number;
    double number = 0;
    std::string table;
    std::string path;
};

// Leaves the steps of what it reads in postfix order.
class ExpressionText : public InfixText {
public:
    using InfixText::InfixText;
    std::vector<Step> takeSteps() { return std::move(m_steps); }

private:
    bool readOperand() override {
        const std::size_t start = place();
        const std::string word = readWord();
        Step step;
        if (platkit_2_18::generic::convert::str_to_double(word, step.number)) return push(step);
        if (word == "duration") return push(Op::duration);
        if (word == "ticksPerSecond") return push(Op::ticks);
        if (word == "count" || word == "min" || word == "max") return readAggregate(word);
        goTo(start);
        return fail(
            "a number, \"(\" or one of count, min, max, duration, ticksPerSecond is expected");
    }
    bool readAggregate(const std::string& word) {
        if (!accept('(')) return fail("\"(\" is expected");
        const std::size_t start = place();
        std::string inside;
        if (!readUpTo(')', inside)) return false;
        const std::size_t colons = inside.find("::");
        Step step;
        step.op = word == "count" ? Op::count : word == "min" ? Op::min : Op::max;
        step.table = inside.substr(0, colons);
        if (colons != std::string::npos) step.path = inside.substr(colons + 2);
        if (!step.table.empty() && step.path.empty() == (step.op == Op::count)) return push(step);
        goTo(start);
        return fail(step.op == Op::count ? "a table is expected" : "TABLE::PATH is expected");
    }

    void take(Operation operation) override {
        switch (operation) {
        case Operation::add: push(Op::add); break;
        case Operation::subtract: push(Op::subtract); break;
        case Operation::multiply: push(Op::multiply); break;
        case Operation::divide: push(Op::divide); break;
        case Operation::negate: push(Op::negate); break;
        }
    }
    bool push(Op op) {
        Step step;
        step.op = op;
        return push(std::move(step));
    }
    bool push(Step step) {
        m_steps.push_back(std::move(step));
        return true;
    }

    std::vector<Step> m_steps;
};

// One read of a table: its rows, and the ends of the numbers in a column.
struct TableRead {
    std::size_t rows = 0;
    std::size_t numbers = 0;
    double smallest = 0;
    double largest = 0;

    void take(const variant_t& value) {
        ++rows;
        if (!value.can_get<double>()) return;
        const double number = value.get<double>();
        smallest = numbers == 0 ? number : std::min(smallest, number);
        largest = numbers == 0 ? number : std::max(largest, number);
        ++numbers;
    }
};

bool readTable(IDatabase& database,
               const std::string& table,
               const std::string& column,
               TableRead& out) {
    if (!database.isTableExist(table)) return false;
    const sptr_t<storelink1::IQuery> query = database.createQuery(table, 2);
    if (query.is_null()) return false;
    const basekit2::u16_t index = query->addColumn(column);
    if (index == storelink1::InvalidColIdx) return false;
    const storelink1::QueryMutexHolder lock(&database);
    const auto records = query->execute();
    if (records.is_null()) return false;
    for (; !records->atEnd(); records->next())
        out.take(records->current()->getField(index));
    return true;
}

// Runs the steps of one expression.
class Evaluation {
public:
    explicit Evaluation(sptr_t<IDatabase> database) : m_database(std::move(database)) {}

    bool run(const Step& step) {
        switch (step.op) {
        case Op::number: return push(step.number);
        case Op::negate: return push(-pop());
        case Op::count:
        case Op::min:
        case Op::max: return aggregate(step);
        case Op::duration: return duration();
        case Op::ticks:
            return !m_database.is_null() &&
                   push(static_cast<double>(m_database->getTicksPerSecond()));
        default: return combine(step.op);
        }
    }
    double result() { return pop(); }

private:
    bool combine(Op op) {
        const double right = pop();
        const double left = pop();
        if (op == Op::add) return push(left + right);
        if (op == Op::subtract) return push(left - right);
        return push(op == Op::multiply ? left * right : left / right);
    }
    bool aggregate(const Step& step) {
        TableRead read;
        const std::string column = step.op == Op::count ? "rowid" : step.path;
        if (m_database.is_null() || !readTable(*m_database, step.table, column, read)) return false;
        if (step.op == Op::count) return push(static_cast<double>(read.rows));
        return read.numbers != 0 && push(step.op == Op::min ? read.smallest : read.largest);
    }
    bool duration() {
        basekit2::u64_t start = 0;
        basekit2::u64_t end = 0;
        if (m_database.is_null() || !m_database->getTimeRange(start, end, 0) || end < start)
            return false;
        return push(static_cast<double>(end - start) + 1);
    }
    bool push(double value) {
        m_stack.push_back(value);
        return true;
    }
    double pop() {
        const double value = m_stack.back();
        m_stack.pop_back();
        return value;
    }

    sptr_t<IDatabase> m_database;
    std::vector<double> m_stack;
};

class Expression : public dataface_1::IExpression {
public:
    explicit Expression(std::vector<Step> steps) : m_steps(std::move(steps)) {}

    bool evaluate(variant_t& out, const sptr_t<dataface_1::IInputData>& input) override {
        sptr_t<storelink1::IPerfDatabase> performance;
        dataface_1::lookup(input, performance);
        Evaluation evaluation(performance.is_null() ? sptr_t<IDatabase>()
                                                    : performance->getDatabase(input));
        for (const Step& step : m_steps)
            if (!evaluation.run(step)) return false;
        const double value = evaluation.result();
        if (!std::isfinite(value)) return false;
        out = variant_t(value);
        return true;
    }

private:
    const std::vector<Step> m_steps;
};

}  // namespace

sptr_t<dataface_1::IExpression> parseExpression(const std::string& text, std::string& error) {
    ExpressionText reader(text);
    if (!reader.read()) {
        error = reader.error();
        return {};
    }
    return basekit2::make_object<Expression>(reader.takeSteps());
}

}  // namespace lanefeed_runtime
