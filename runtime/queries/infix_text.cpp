// The notation that the ends of an axis and the formulas of derived queries share.
// Tested by tests/queries/formulas_test.cpp.
#include "infix_text.h"

#include <cctype>

namespace lanefeed_runtime {
namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}
bool isWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_';
}

}  // namespace

bool InfixText::read() {
    if (!readSum()) return false;
    skipBlanks();
    return m_position == m_text.size() || fail("an operator or the end is expected");
}

bool InfixText::readSum() {
    if (!readProduct()) return false;
    while (accept('+') || accept('-')) {
        const bool adds = m_text[m_position - 1] == '+';
        if (!readProduct()) return false;
        take(adds ? Operation::add : Operation::subtract);
    }
    return true;
}

bool InfixText::readProduct() {
    if (!readFactor()) return false;
    while (accept('*') || accept('/')) {
        const bool multiplies = m_text[m_position - 1] == '*';
        if (!readFactor()) return false;
        take(multiplies ? Operation::multiply : Operation::divide);
    }
    return true;
}

bool InfixText::readFactor() {
    if (++m_depth > kMaxChainLength) return fail("too many levels");
    bool isRead = false;
    if (accept('-')) {
        isRead = readFactor();
        if (isRead) take(Operation::negate);
    } else if (accept('(')) {
        isRead = readSum() && (accept(')') || fail("\")\" is expected"));
    } else {
        skipBlanks();
        isRead = readOperand();
    }
    --m_depth;
    return isRead;
}

void InfixText::skipBlanks() {
    while (m_position < m_text.size() &&
           std::isspace(static_cast<unsigned char>(m_text[m_position])) != 0)
        ++m_position;
}

bool InfixText::accept(char c) {
    skipBlanks();
    if (m_position >= m_text.size() || m_text[m_position] != c) return false;
    ++m_position;
    return true;
}

std::string InfixText::readWord() {
    const std::size_t start = m_position;
    while (m_position < m_text.size() &&
           (isWordCharacter(m_text[m_position]) || isExponentSign(start)))
        ++m_position;
    return m_text.substr(start, m_position - start);
}

// The sign in "1e-5".
bool InfixText::isExponentSign(std::size_t start) const {
    const char c = m_text[m_position];
    return (c == '-' || c == '+') && m_position > start && isDigit(m_text[start]) &&
           (m_text[m_position - 1] == 'e' || m_text[m_position - 1] == 'E') &&
           m_position + 1 < m_text.size() && isDigit(m_text[m_position + 1]);
}

bool InfixText::readUpTo(char c, std::string& out) {
    const std::size_t end = m_text.find(c, m_position);
    if (end == std::string::npos) return fail(std::string("\"") + c + "\" is expected");
    out = m_text.substr(m_position, end - m_position);
    m_position = end + 1;
    return true;
}

bool InfixText::fail(const std::string& what) {
    if (m_error.empty()) m_error = what + " at character " + std::to_string(m_position + 1);
    return false;
}

}  // namespace lanefeed_runtime
