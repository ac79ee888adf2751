#pragma once

#include "query_traits.h"

#include <cstddef>
#include <string>

namespace lanefeed_runtime {

// Reads the text of a calculation in the usual notation: + - * /, a leading minus, parentheses, and
// operands that the derived reader knows. Tells what it reads in postfix order: operands first,
// then what is done with them. Recursive descent; at most kMaxChainLength levels.
class InfixText {
public:
    enum class Operation { add, subtract, multiply, divide, negate };

    // The text is not owned.
    explicit InfixText(const std::string& text) : m_text(text) {}
    virtual ~InfixText() = default;
    InfixText(const InfixText&) = delete;
    InfixText& operator=(const InfixText&) = delete;

    // False when the text is none; `error` then says what is wrong and at which character.
    bool read();
    const std::string& error() const { return m_error; }

protected:
    // A number, a name or a call, at the present place. False after fail().
    virtual bool readOperand() = 0;
    virtual void take(Operation operation) = 0;

    bool readSum();
    void skipBlanks();
    // Whether the character is next, behind blanks; it is passed over then.
    bool accept(char c);
    // The letters, digits, "_" and "." from the present place on; may be empty. A word that begins
    // with a digit may have a sign behind its "e".
    std::string readWord();
    // What stands up to the character, which is passed over too. False when it doesn't come.
    bool readUpTo(char c, std::string& out);
    // Keeps the first error, with its place. Always false.
    bool fail(const std::string& what);
    // Goes back to a place, so that an error is told there.
    std::size_t place() const { return m_position; }
    void goTo(std::size_t place) { m_position = place; }

private:
    bool isExponentSign(std::size_t start) const;
    bool readProduct();
    bool readFactor();

    const std::string& m_text;
    std::size_t m_position = 0;
    int m_depth = 0;
    std::string m_error;
};

}  // namespace lanefeed_runtime
